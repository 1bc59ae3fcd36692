// Web-threat report decoding: whatever count the report claims, nothing is
// read past the valid length or past the buffer.
#include <cstdint>
#include <cstring>
#include <vector>

#include "facade/security_web.h"
#include "support/log_capture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static wrs_m_cat_entry_t entries[3] = {
        {1, 1, const_cast<char *>("one"), {}},
        {2, 2, const_cast<char *>("two"), {}},
        {0, 3, const_cast<char *>("three"), {}},
    };
    const dw::seclog::WrsCatLookup find = [](int id) -> const wrs_m_cat_entry_t * {
        return id >= 1 && id <= 3 ? &entries[id - 1] : nullptr;
    };
    // An exact-size copy: a read past the input is a heap overflow.
    std::vector<uint8_t> buf(data, data + size);
    std::vector<dpi_web_log> out;
    // Valid length is the input, the buffer claims more room ...
    dw::seclog::decode_web_threats(buf.data(), dw::seclog::kWebThreatReportSize,
                                   static_cast<unsigned>(size), find, out);
    // ... and the valid length claims more than the buffer holds.
    dw::seclog::decode_web_threats(buf.data(), size, 0xFFFFFFFFu, find, out);
    dwtest::clear_logs();
    return 0;
}
