// The router's own LAN address and MAC. Kept alone in this file so a test or
// a router build can supply its own Utilities::GetGatewayInfo at link time.
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <arpa/inet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "dpiwrapper/platform.h"

namespace {

// The LAN bridge names of the usual router firmwares, most preferred first.
const char *const kPreferredInterfaces[] = {"br-lan", "br0"};

const ifaddrs *find_ipv4(const ifaddrs *list, const char *name)
{
    for (const ifaddrs *a = list; a; a = a->ifa_next)
        if (a->ifa_addr && a->ifa_addr->sa_family == AF_INET && std::strcmp(a->ifa_name, name) == 0)
            return a;
    return nullptr;
}

const ifaddrs *choose_interface(const ifaddrs *list)
{
    for (const char *name : kPreferredInterfaces)
        if (const ifaddrs *a = find_ipv4(list, name)) return a;
    for (const ifaddrs *a = list; a; a = a->ifa_next)
        if (a->ifa_addr && a->ifa_addr->sa_family == AF_INET && (a->ifa_flags & IFF_UP) &&
            !(a->ifa_flags & IFF_LOOPBACK))
            return a;
    return nullptr;
}

bool hw_address_ioctl(const char *name, unsigned char mac[6])
{
    int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) return false;
    ifreq req;
    std::memset(&req, 0, sizeof req);
    std::snprintf(req.ifr_name, sizeof req.ifr_name, "%s", name);
    bool ok = ioctl(sock, SIOCGIFHWADDR, &req) == 0;
    close(sock);
    if (ok) std::memcpy(mac, req.ifr_hwaddr.sa_data, 6);
    return ok;
}

bool hw_address_sysfs(const char *name, unsigned char mac[6])
{
    char path[IFNAMSIZ + 32];
    std::snprintf(path, sizeof path, "/sys/class/net/%s/address", name);
    FILE *f = std::fopen(path, "re");
    if (!f) return false;
    unsigned int b[6];
    int n = std::fscanf(f, "%2x:%2x:%2x:%2x:%2x:%2x", &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]);
    std::fclose(f);
    if (n != 6) return false;
    for (int i = 0; i < 6; ++i) mac[i] = static_cast<unsigned char>(b[i]);
    return true;
}

}  // namespace

namespace Utilities {

int GetGatewayInfo(std::string &ip, std::string &mac)
{
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0) return -1;
    std::unique_ptr<ifaddrs, void (*)(ifaddrs *)> owner(list, freeifaddrs);
    if (const ifaddrs *a = choose_interface(list)) {
        char text[INET_ADDRSTRLEN];
        const sockaddr_in *sin = reinterpret_cast<const sockaddr_in *>(a->ifa_addr);
        unsigned char hw[6];
        if (inet_ntop(AF_INET, &sin->sin_addr, text, sizeof text) &&
            (hw_address_ioctl(a->ifa_name, hw) || hw_address_sysfs(a->ifa_name, hw))) {
            ip = text;
            mac = FormatMACAddress(hw, ':', false);
            return 0;
        }
    }
    return -1;
}

}  // namespace Utilities
