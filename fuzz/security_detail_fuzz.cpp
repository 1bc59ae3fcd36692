// Anomaly and virtual-patch detail decoding: whatever section and entry
// counts the report claims, nothing is read past the valid length or past
// the buffer, and the result is 0 or -1.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "facade/security_detail.h"
#include "support/log_capture.h"

using namespace dw::seclog;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const ips_rule_entry_t rule = {1001, 7, 3, {}};
    DetailLookups lookups;
    lookups.rule_name = [](unsigned id) -> const char * { return id % 2 ? "odd rule" : nullptr; };
    lookups.ips_rule = [](unsigned id) -> const ips_rule_entry_t * {
        return id == 1001 ? &rule : nullptr;
    };
    int gateway_calls = 0;
    lookups.router_mac = [&gateway_calls] {
        ++gateway_calls;
        return std::string("02:00:00:00:00:01");
    };

    std::vector<uint8_t> buf(data, data + size);
    std::vector<dpi_inf_log> inf;
    std::vector<dpi_vul_log> vul;
    const int a = decode_detail_report(kAnomalyTexts, buf.data(), kDetailReportSize,
                                       static_cast<unsigned>(size), lookups, inf);
    const int v = decode_detail_report(kVpTexts, buf.data(), size, 0xFFFFFFFFu, lookups, vul);
    if ((a != 0 && a != -1) || (v != 0 && v != -1) || gateway_calls > 2) std::abort();
    dwtest::clear_logs();
    return 0;
}
