// _trim: strips a character from both ends of a line, in place.
#include <cstring>

#include "dpiwrapper/refdb.h"

extern "C" void _trim(char *s, char c)
{
    if (!s) return;
    size_t len = strlen(s);
    size_t start = 0;
    while (start < len && s[start] == c) ++start;
    while (len > start && s[len - 1] == c) --len;
    len -= start;
    if (start) memmove(s, s + start, len);
    s[len] = '\0';
}
