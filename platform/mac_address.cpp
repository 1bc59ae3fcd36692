// MAC address text: six bytes as two hex digits each.
#include "dpiwrapper/platform.h"

namespace Utilities {

std::string FormatMACAddress(const unsigned char *mac, char sep, bool upper)
{
    if (!mac) return std::string();
    const char *digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char text[17];
    char *o = text;
    for (int i = 0; i < 6; ++i) {
        if (i > 0 && sep != '\0') *o++ = sep;
        *o++ = digits[mac[i] >> 4];
        *o++ = digits[mac[i] & 0x0F];
    }
    return std::string(text, static_cast<size_t>(o - text));
}

}  // namespace Utilities
