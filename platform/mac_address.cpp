// MAC address text: six bytes as two hex digits each.
#include "dpiwrapper/platform.h"

namespace Utilities {

std::string FormatMACAddress(const unsigned char *mac, char sep, bool upper)
{
    if (!mac) return std::string();
    const char *digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string text;
    text.reserve(17);
    for (int i = 0; i < 6; ++i) {
        if (i > 0 && sep != '\0') text.push_back(sep);
        text.push_back(digits[mac[i] >> 4]);
        text.push_back(digits[mac[i] & 0x0F]);
    }
    return text;
}

}  // namespace Utilities
