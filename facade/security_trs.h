// TRS report: connections with a local and a peer address.
#ifndef DW_FACADE_SECURITY_TRS_H
#define DW_FACADE_SECURITY_TRS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dpiwrapper/records.h"
#include "facade/security_web.h"

namespace dw {
namespace seclog {

constexpr size_t kTrsReportSize = 32776;  // 8-byte header + 512 entries of 64 bytes
constexpr size_t kTrsEntrySize = 64;
constexpr size_t kTrsMaxEntries = 512;

// The record's role from the engine's role code: 2 stays 2, 1 becomes 0 and
// every other code 1.
uint8_t trs_role(uint8_t code);

// Appends one record per entry with a non-zero action, logging each one.
// find_cat names the category (any map id); when it is empty, or misses,
// the name stays empty.
void decode_trs_logs(const uint8_t *buf, size_t size, unsigned used, const WrsCatLookup &find_cat,
                     std::vector<dpi_ip_log> &out);

}  // namespace seclog
}  // namespace dw

#endif
