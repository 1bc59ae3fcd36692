// MAC text parsers, side by side where they are meant to differ: strtomac is
// strict and silent, macstr2octet takes what strtoul takes and prints errors.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <regex>

#include "dpiwrapper/requests.h"
#include "support/bytes.h"

namespace {

using Mac = std::array<unsigned char, 6>;
constexpr unsigned char E = 0xEE;  // not written
const Mac kAll = {0x00, 0x11, 0x22, 0xAA, 0xBB, 0xFF};

// Exact-size heap copy, so a read past the NUL shows under ASan.
std::unique_ptr<char[]> exact(const char *text)
{
    std::unique_ptr<char[]> copy(new char[std::strlen(text) + 1]);
    std::strcpy(copy.get(), text);
    return copy;
}

}  // namespace

TEST(MacParse, Strtomac)
{
    const struct {
        const char *text;
        int result;
        Mac mac;
    } rows[] = {
        {"00:11:22:aa:BB:ff", 0, kAll},
        {"001122aabbff", 0, kAll},
        {"00:11:22:aa:bb", -1, {E, E, E, E, E, E}},
        {"001122aabbff0", -1, {E, E, E, E, E, E}},
        {"00-11-22-aa-bb-ff", -1, {E, E, E, E, E, E}},
        {"00:11-22:33:44:55", -1, {0x00, E, E, E, E, E}},  // separator checked before the pair
        {"00:11:2g:aa:bb:ff", -1, {0x00, 0x11, E, E, E, E}},
        {"1g1122aabbff", -1, {E, E, E, E, E, E}},
    };
    for (const auto &row : rows) {
        Mac mac = {E, E, E, E, E, E};
        EXPECT_EQ(strtomac(mac.data(), exact(row.text).get()), row.result) << row.text;
        EXPECT_EQ(mac, row.mac) << row.text;
    }
}

TEST(MacParse, Macstr2octet)
{
    const char *length = "MAC string length %d is incorrect", *colon = "Colon sign loss, wrong MAC Format",
               *parse = "Failed to parse MAC string";
    const struct {
        unsigned octets;
        const char *text;
        int text_len;
        const char *message;
        Mac mac;
    } rows[] = {
        {6, "00:11:22:aa:BB:ff", 17, nullptr, kAll},
        {6, "001122aabbff", 12, nullptr, kAll},
        {6, "001122aabbff", 13, length, {E, E, E, E, E, E}},
        {6, "001122aabbff", 17, colon, {E, E, E, E, E, E}},
        {6, "00:11:22:aa:bb", 17, colon, {0x00, 0x11, 0x22, 0xAA, E, E}},
        {6, "1g1122aabbff", 12, nullptr, {0x01, 0x11, 0x22, 0xAA, 0xBB, 0xFF}},  // one digit is enough here
        {6, "00:11:22:aa:bb:f", 17, nullptr, {0x00, 0x11, 0x22, 0xAA, 0xBB, 0x0F}},
        {6, "zz1122aabbff", 12, parse, {E, E, E, E, E, E}},
        {6, "-11122aabbff", 12, parse, {E, E, E, E, E, E}},
        {3, "001122aabbff", 6, nullptr, kAll},  // six octets whatever the count says
        {3, "001122", 6, parse, {0x00, 0x11, 0x22, E, E, E}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        Mac mac = {E, E, E, E, E, E};
        dwtest::StderrCapture err;
        EXPECT_EQ(macstr2octet(mac.data(), row.octets, exact(row.text).get(), row.text_len), row.message ? -1 : 0);
        const std::string out = err.finish();
        EXPECT_EQ(mac, row.mac);
        char body[64] = "";
        if (row.message) snprintf(body, sizeof body, row.message, row.text_len);
        const std::string line = row.message ? R"( \*\*\* ERROR: \[macstr2octet:[0-9]+\] )" + std::string(body) + "\n\n" : "";
        EXPECT_TRUE(std::regex_match(out, std::regex(line))) << out;
    }
}
