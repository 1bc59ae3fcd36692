// Decoder of the engine's user list: 624-byte entries into dpi_user records.
#ifndef DW_FACADE_USERS_DECODER_H
#define DW_FACADE_USERS_DECODER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dpiwrapper/records.h"
#include "dpiwrapper/refdb.h"

namespace dw {

// Size of one user-list entry and of the whole buffer the request allocates.
constexpr size_t kUserEntrySize = 624;
constexpr size_t kUserListCapacity = 157872;  // 253 entries

// Finds the device-database entry for six identification codes, or null.
// A plain function pointer and context keep the per-entry call cheap.
struct DevOsLookup {
    const dev_os_entry_t *(*find)(const void *ctx, const unsigned int keys[6]) = nullptr;
    const void *ctx = nullptr;
};

// Appends one record per entry of buf, in buffer order, up to the first entry
// whose in-use mark is 0. Entries are counted from used, bounded by the
// capacity of buf; a trailing partial entry is ignored. Descriptions come
// from lookup (left empty when it has no find or finds nothing). Returns the
// number of records appended.
size_t decode_users(const uint8_t *buf, size_t used, size_t capacity, const DevOsLookup &lookup,
                    std::vector<dpi_user> &users);

}  // namespace dw

#endif
