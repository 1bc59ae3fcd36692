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
    // The record's texts are fresh and empty: append takes the short path.
    auto put = [](std::string &dst, const char *src) {
        if (src) dst.append(src);
    };
    put(u.dev_desc1, e.text1);
    put(u.dev_desc2, e.text2);
    put(u.dev_desc3, e.text3);
    put(u.dev_desc4, e.text4);
    put(u.dev_desc5, e.text5);
    put(u.dev_desc6, e.text6);
}

// Asks for the description texts ahead of their copy; they live in separate
// heap blocks, each a likely cache miss.
void prefetch_texts(const dev_os_entry_t &e)
{
    for (const char *t : {e.text1, e.text2, e.text3, e.text4, e.text5, e.text6}) __builtin_prefetch(t);
}

// The fields of one entry, without descriptions.
void fill_record(const uint8_t *e, dpi_user &u)
{
    u.uid = e[kUidOffset];
    u.mac = Utilities::FormatMACAddress(e + kMacOffset, ':', false);
    u.ipv4 = ipv4_text(e + kIpv4Offset);
    u.ipv6 = ipv6_text(e + kIpv6Offset);
    const char *host = reinterpret_cast<const char *>(e + kHostNameOffset);
    u.host_name.assign(host, strnlen(host, kHostNameSize));
    u.dev_attr = le16(e + kDevAttrOffset);
    for (int k = 0; k < 6; ++k) u.dev_os_ids[k] = le16(e + kDevOsIdsOffset + 2 * k);
}

const dev_os_entry_t *find_device(const uint8_t *e, const DevOsLookup &lookup)
{
    unsigned int keys[6];
    for (int k = 0; k < 6; ++k) keys[k] = le16(e + kDevOsIdsOffset + 2 * k);
    return lookup.find(lookup.ctx, keys);
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

    // Look-ups run in small batches ahead of the records they fill: a tight
    // loop of searches keeps the index hot instead of interleaving it with
    // the string work of each record.
    constexpr size_t kBatch = 32;
    const dev_os_entry_t *found[kBatch];
    for (size_t first = 0; first < valid; first += kBatch) {
        const uint8_t *batch = buf + first * kUserEntrySize;
        size_t n = valid - first < kBatch ? valid - first : kBatch;
        for (size_t j = 0; j < n; ++j) {
            found[j] = lookup.find ? find_device(batch + j * kUserEntrySize, lookup) : nullptr;
            if (found[j]) __builtin_prefetch(found[j]);
        }
        for (size_t j = 0; j < n; ++j)
            if (found[j]) prefetch_texts(*found[j]);
        for (size_t j = 0; j < n; ++j) {
            users.emplace_back();
            fill_record(batch + j * kUserEntrySize, users.back());
            if (found[j]) copy_descriptions(*found[j], users.back());
        }
    }
    return valid;
}

}  // namespace dw
