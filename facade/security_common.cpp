#include "facade/security_common.h"

#include <algorithm>

#include "dpiwrapper/platform.h"

namespace dw {
namespace seclog {

std::string format_address(uint8_t family, const uint8_t *a)
{
    if (family == 4) return string_format("%u.%u.%u.%u", a[0], a[1], a[2], a[3]);
    if (family == 6)
        return string_format(
            "%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X:%02X%02X", a[0], a[1],
            a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11], a[12], a[13], a[14],
            a[15]);
    return std::string();
}

size_t bounded_entry_count(const uint8_t *buf, size_t valid, size_t entry_size, size_t max_entries)
{
    constexpr size_t kHeader = 8;
    if (valid < kHeader) return 0;
    size_t count = le32(buf);
    return std::min({count, max_entries, (valid - kHeader) / entry_size});
}

}  // namespace seclog
}  // namespace dw
