// User-list decoding: whatever the used length claims, nothing is read past
// the buffer, and every record's texts stay within their fields.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "facade/users_decoder.h"

namespace {

const dev_os_entry_t *find_odd(const void *, const unsigned int keys[6])
{
    static char text[] = "device";
    static dev_os_entry_t entry = {1, 0, 0, 0, 0, 0, text, text, text, text, text, text, {}};
    return keys[0] % 2 ? &entry : nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // An exact-size copy: a read past the input is a heap overflow.
    std::vector<uint8_t> buf(data, data + size);
    const dw::DevOsLookup lookup = {find_odd, nullptr};
    std::vector<dpi_user> users;
    dw::decode_users(buf.data(), size, size, lookup, users);
    dw::decode_users(buf.data(), 0xFFFFFFFFu, size, lookup, users);
    for (const dpi_user &u : users)
        if (u.mac.size() != 17 || u.ipv6.size() != 39 || u.ipv4.size() > 15 || u.host_name.size() > 33) abort();
    return 0;
}
