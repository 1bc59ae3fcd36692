// Web-threat report: blocked URLs with their web category.
#ifndef DW_FACADE_SECURITY_WEB_H
#define DW_FACADE_SECURITY_WEB_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "dpiwrapper/records.h"
#include "dpiwrapper/refdb.h"

namespace dw {
namespace seclog {

constexpr size_t kWebThreatReportSize = 49160;  // 8-byte header + 512 entries of 96 bytes
constexpr size_t kWebThreatEntrySize = 96;
constexpr size_t kWebThreatMaxEntries = 512;

// First web-category mapping entry with this category id, or null.
using WrsCatLookup = std::function<const wrs_m_cat_entry_t *(int cat_id)>;

// Appends one record per kept entry of the report in buf (size bytes, of
// which used are valid). An entry is kept when the first mapping entry of
// its category has map id 1 or 2 and its flag is non-zero. Without a
// look-up nothing is kept.
void decode_web_threats(const uint8_t *buf, size_t size, unsigned used,
                        const WrsCatLookup &find_cat, std::vector<dpi_web_log> &out);

}  // namespace seclog
}  // namespace dw

#endif
