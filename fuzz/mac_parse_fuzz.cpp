// MAC text parsers: any text gives 0 or -1, only the six output bytes are
// written, and whatever the strict parser accepts the lenient one reads the
// same way.
#include <cstdint>
#include <cstring>
#include <string>

#include "dpiwrapper/requests.h"
#include "fuzz/fuzz_guard.h"

namespace {

constexpr size_t kMacBytes = 6;
using MacOut = dwfuzz::Guarded<kMacBytes>;

int lenient(MacOut &out, const std::string &text, int text_len)
{
    const int rc = macstr2octet(out.bytes, 6, text.c_str(), text_len);
    DW_FUZZ_REQUIRE(rc == 0 || rc == -1);
    DW_FUZZ_REQUIRE(out.intact_from(kMacBytes));
    return rc;
}

}  // namespace

// The first byte picks a text length for the second call; the rest is the text.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    dwfuzz::Quiet quiet;
    // Up to the first NUL, as a C caller would see it.
    const std::string text(reinterpret_cast<const char *>(data + 1),
                           strnlen(reinterpret_cast<const char *>(data + 1), size - 1));
    const int real_len = static_cast<int>(text.size());

    MacOut strict;
    const int strict_rc = strtomac(strict.bytes, text.c_str());
    DW_FUZZ_REQUIRE(strict_rc == 0 || strict_rc == -1);
    DW_FUZZ_REQUIRE(strict.intact_from(kMacBytes));

    MacOut whole;
    const int whole_rc = lenient(whole, text, real_len);
    if (strict_rc == 0) {
        DW_FUZZ_REQUIRE(whole_rc == 0);
        DW_FUZZ_REQUIRE(memcmp(strict.bytes, whole.bytes, kMacBytes) == 0);
    }

    // A caller may claim less than the whole text, never more.
    MacOut part;
    lenient(part, text, data[0] % (real_len + 1));
    return 0;
}
