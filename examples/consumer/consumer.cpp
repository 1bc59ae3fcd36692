// Lists the engine's users through the facade.
#include <cstdio>
#include <dpiwrapper/dpiwrapper.h>

int main()
{
    parse_udata();
    dw_ioctl dpi;
    std::vector<dpi_user> users;
    int rc = dpi.get_users(users);
    for (const auto &u : users)
        std::printf("%-17s %-15s %s\n", u.mac.c_str(), u.ipv4.c_str(), u.host_name.c_str());
    return rc == 0 ? 0 : 1;
}
