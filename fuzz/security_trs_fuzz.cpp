// TRS report decoding: whatever count the report claims, nothing is read
// past the valid length or past the buffer.
#include <cstdint>
#include <vector>

#include "facade/security_trs.h"
#include "support/log_capture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static wrs_m_cat_entry_t named = {0, 7, const_cast<char *>("seven"), {}};
    const dw::seclog::WrsCatLookup find = [](int id) -> const wrs_m_cat_entry_t * {
        return id == 7 ? &named : nullptr;
    };
    std::vector<uint8_t> buf(data, data + size);
    std::vector<dpi_ip_log> out;
    dw::seclog::decode_trs_logs(buf.data(), dw::seclog::kTrsReportSize, static_cast<unsigned>(size),
                                find, out);
    dw::seclog::decode_trs_logs(buf.data(), size, 0xFFFFFFFFu, dw::seclog::WrsCatLookup(), out);
    dwtest::clear_logs();
    return 0;
}
