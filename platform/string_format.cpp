// printf into a std::string of any length.
#include <cstdarg>
#include <cstdio>

#include "dpiwrapper/platform.h"

std::string string_format(const char *format, ...)
{
    if (!format) return std::string();
    // Most texts fit a small stack buffer, so one formatting pass suffices.
    char small[256];
    va_list ap;
    va_start(ap, format);
    va_list again;
    va_copy(again, ap);
    int n = std::vsnprintf(small, sizeof small, format, ap);
    va_end(ap);
    std::string text;
    if (n < 0) {
        va_end(again);
        return text;
    }
    if (static_cast<size_t>(n) < sizeof small) {
        text.assign(small, static_cast<size_t>(n));
    } else {
        text.resize(static_cast<size_t>(n));
        std::vsnprintf(&text[0], static_cast<size_t>(n) + 1, format, again);
    }
    va_end(again);
    return text;
}
