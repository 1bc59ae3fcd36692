// Anomaly and virtual-patch detail reports. Both share one shape: a header,
// one section per client with that client's entries, then a router section.
// One decoder serves both; a table of texts carries what differs.
#ifndef DW_FACADE_SECURITY_DETAIL_H
#define DW_FACADE_SECURITY_DETAIL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "dpiwrapper/records.h"
#include "dpiwrapper/refdb.h"

namespace dw {
namespace seclog {

constexpr size_t kDetailReportSize = 112112;

// Log texts of one detail report. Each line is logged with a fixed argument
// list (noted per line); a text that uses fewer arguments ignores the rest.
// Null texts are not logged.
struct DetailTexts {
    const char *function;            // method named in the log lines
    const char *request_failed;      // (result)
    const char *buffer;              // (buffer address, length)
    const char *header_short;        // (8, length)
    const char *section_count;       // (number of client sections)
    const char *section_short;       // (position + 32, length)
    const char *entry_short;         // ()
    const char *rule_unnamed;        // (rule id)
    const char *no_category;         // (rule id)
    const char *router_header_len;   // (8, length)
    const char *router_header_pos;   // (router header end, length)
    const char *router_header_short; // (router header end, length)
    const char *router_entry_short;  // ()
};

extern const DetailTexts kAnomalyTexts;
extern const DetailTexts kVpTexts;

// Reference look-ups of the detail decoder.
struct DetailLookups {
    // Rule name by rule id, or null.
    std::function<const char *(unsigned int rule_id)> rule_name;
    // IPS rule by rule id, or null; empty when the IPS rule list is not available.
    std::function<const ips_rule_entry_t *(unsigned int rule_id)> ips_rule;
    // The router's MAC text; asked once, and only when router entries exist.
    std::function<std::string()> router_mac;
};

// Appends a record per entry, client sections first, then router entries.
// Every read is checked against the valid length (used, bounded by size).
// Returns 0, or -1 when the report is cut short; records made before the cut
// stay appended. Instantiated for dpi_inf_log and dpi_vul_log.
template <typename Rec>
int decode_detail_report(const DetailTexts &texts, const uint8_t *buf, size_t size, unsigned used,
                         const DetailLookups &lookups, std::vector<Rec> &out);

}  // namespace seclog
}  // namespace dw

#endif
