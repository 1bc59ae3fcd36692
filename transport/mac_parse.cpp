/* MAC address text to bytes. strtomac is strict and silent; macstr2octet
 * prints its errors and lets strtoul decide what a pair holds, so a pair
 * such as "1g" passes there. Both parse six octets. */
#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "dpiwrapper/requests.h"
#include "transport/error_log.h"

namespace {

constexpr unsigned kOctets = 6;

bool is_hex(char c) { return isxdigit(static_cast<unsigned char>(c)) != 0; }

}  // namespace

int strtomac(unsigned char mac[6], const char *text)
{
    if (mac == nullptr || text == nullptr) return -1;
    const size_t len = strnlen(text, 18);
    if (len != 12 && len != 17) return -1;
    const size_t step = len == 17 ? 3 : 2;
    for (unsigned i = 0; i < kOctets; ++i) {
        const char *pair = text + i * step;
        if (step == 3 && i < kOctets - 1 && pair[2] != ':') return -1;
        if (!is_hex(pair[0]) || !is_hex(pair[1])) return -1;
        const char digits[3] = {pair[0], pair[1], '\0'};
        mac[i] = static_cast<unsigned char>(strtoul(digits, nullptr, 16));
    }
    return 0;
}

int macstr2octet(unsigned char *mac, unsigned int octets, const char *text, int text_len)
{
    if (mac == nullptr) return -1;
    const long long expected = 2LL * octets;
    size_t step;
    if (text_len == expected) {
        step = 2;
    } else if (text_len == expected + 5) {
        step = 3;
    } else {
        DW_ERROR("MAC string length %d is incorrect\n\n", text_len);
        return -1;
    }
    /* Six octets are read whatever octets says; nothing past the text's NUL
     * is looked at, so a short text ends in an empty or one-digit pair. */
    const size_t available = text ? strnlen(text, kOctets * step) : 0;
    for (unsigned i = 0; i < kOctets; ++i) {
        const size_t at = i * step;
        char pair[3] = {'\0', '\0', '\0'};
        if (at < available) pair[0] = text[at];
        if (at + 1 < available) pair[1] = text[at + 1];
        if (step == 3 && i < kOctets - 1 && (at + 2 >= available || text[at + 2] != ':')) {
            DW_ERROR("Colon sign loss, wrong MAC Format\n\n");
            return -1;
        }
        char *end = nullptr;
        const unsigned long value = strtoul(pair, &end, 16);
        if (end == pair || value > 255) {
            DW_ERROR("Failed to parse MAC string\n\n");
            return -1;
        }
        mac[i] = static_cast<unsigned char>(value);
    }
    return 0;
}
