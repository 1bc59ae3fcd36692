// Helpers shared by the security-log decoders: little-endian reads at byte
// offsets, address texts and entry counts bounded by the valid bytes.
#ifndef DW_FACADE_SECURITY_COMMON_H
#define DW_FACADE_SECURITY_COMMON_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace dw {
namespace seclog {

// Source unit named in every log line of the facade.
constexpr const char *kLogFile = "dw_ioctl";

inline uint16_t le16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

inline uint32_t le32(const uint8_t *p)
{
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

// A 16-byte address field as text: family 4 gives a dotted quad of the first
// four bytes, family 6 eight groups of four upper-case hex digits with no
// shortening; any other family gives an empty text.
std::string format_address(uint8_t family, const uint8_t *addr);

// How many whole entries of a report with an 8-byte header (u32 count at 0)
// may be read: the reported count, bounded by the room of the buffer and by
// the valid bytes.
size_t bounded_entry_count(const uint8_t *buf, size_t valid, size_t entry_size, size_t max_entries);

}  // namespace seclog
}  // namespace dw

#endif
