#include "facade/users_decoder.h"

#include <cstring>

#include "dpiwrapper/platform.h"

namespace dw {
namespace {

// Entry layout.
constexpr size_t kUidOffset = 0;
constexpr size_t kMacOffset = 1;
constexpr size_t kIpv4Offset = 7;
constexpr size_t kIpv6Offset = 11;
constexpr size_t kHostNameOffset = 27;
constexpr size_t kHostNameSize = 33;
constexpr size_t kDevOsIdsOffset = 60;
constexpr size_t kDevAttrOffset = 72;
constexpr size_t kInUseOffset = 612;

uint16_t le16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

// "%u.%u.%u.%u"
std::string ipv4_text(const uint8_t *p)
{
    char text[16];
    char *o = text;
    for (int i = 0; i < 4; ++i) {
        if (i) *o++ = '.';
        unsigned v = p[i];
        if (v >= 100) *o++ = static_cast<char>('0' + v / 100);
        if (v >= 10) *o++ = static_cast<char>('0' + v / 10 % 10);
        *o++ = static_cast<char>('0' + v % 10);
    }
    return std::string(text, static_cast<size_t>(o - text));
}

// Eight groups of four upper-case hex digits, leading zeros kept, no "::".
std::string ipv6_text(const uint8_t *p)
{
    static const char digits[] = "0123456789ABCDEF";
    char text[39];
    char *o = text;
    for (int i = 0; i < 16; ++i) {
        if (i && i % 2 == 0) *o++ = ':';
        *o++ = digits[p[i] >> 4];
        *o++ = digits[p[i] & 0x0F];
    }
    return std::string(text, sizeof text);
}

void copy_descriptions(const dev_os_entry_t &e, dpi_user &u)
{
    // Texts of a loaded entry are never null; guard anyway, they are cheap.
    auto put = [](std::string &dst, const char *src) {
        if (src) dst.assign(src);
    };
    put(u.dev_desc1, e.text1);
    put(u.dev_desc2, e.text2);
    put(u.dev_desc3, e.text3);
    put(u.dev_desc4, e.text4);
    put(u.dev_desc5, e.text5);
    put(u.dev_desc6, e.text6);
}

}  // namespace

size_t decode_users(const uint8_t *buf, size_t used, size_t capacity, const DevOsLookup &lookup,
                    std::vector<dpi_user> &users)
{
    if (!buf) return 0;
    size_t count = (used < capacity ? used : capacity) / kUserEntrySize;
    size_t valid = 0;
    while (valid < count && buf[valid * kUserEntrySize + kInUseOffset] != 0) ++valid;
    users.reserve(users.size() + valid);

    for (size_t i = 0; i < valid; ++i) {
        const uint8_t *e = buf + i * kUserEntrySize;
        users.emplace_back();
        dpi_user &u = users.back();
        u.uid = e[kUidOffset];
        u.mac = Utilities::FormatMACAddress(e + kMacOffset, ':', false);
        u.ipv4 = ipv4_text(e + kIpv4Offset);
        u.ipv6 = ipv6_text(e + kIpv6Offset);
        const char *host = reinterpret_cast<const char *>(e + kHostNameOffset);
        u.host_name.assign(host, strnlen(host, kHostNameSize));
        u.dev_attr = le16(e + kDevAttrOffset);
        unsigned int keys[6];
        for (int k = 0; k < 6; ++k) {
            u.dev_os_ids[k] = le16(e + kDevOsIdsOffset + 2 * k);
            keys[k] = u.dev_os_ids[k];
        }
        if (lookup.find)
            if (const dev_os_entry_t *d = lookup.find(lookup.ctx, keys)) copy_descriptions(*d, u);
    }
    return valid;
}

}  // namespace dw
