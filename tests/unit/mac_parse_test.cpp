// MAC text parsers: the strict silent one and the strtoul-based one that
// prints its errors, side by side where they are meant to differ.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <regex>

#include "dpiwrapper/requests.h"
#include "support/bytes.h"

namespace {

using Mac = std::array<unsigned char, 6>;
const Mac kUntouched = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};

// An exact-size heap copy, so a read past the NUL shows under ASan.
std::unique_ptr<char[]> exact(const char *text)
{
    std::unique_ptr<char[]> copy(new char[std::strlen(text) + 1]);
    std::memcpy(copy.get(), text, std::strlen(text) + 1);
    return copy;
}

}  // namespace

TEST(Strtomac, Cases)
{
    struct Row {
        const char *text;
        int result;
        Mac mac;
    } rows[] = {
        {"00:11:22:aa:BB:ff", 0, {0x00, 0x11, 0x22, 0xAA, 0xBB, 0xFF}},
        {"001122aabbff", 0, {0x00, 0x11, 0x22, 0xAA, 0xBB, 0xFF}},
        {"00:11:22:aa:bb", -1, kUntouched},
        {"001122aabbff0", -1, kUntouched},
        {"", -1, kUntouched},
        {"00-11-22-aa-bb-ff", -1, kUntouched},
        // Bytes before the error stay written; the separator is checked first.
        {"00:11-22:33:44:55", -1, {0x00, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
        {"00:11:2g:aa:bb:ff", -1, {0x00, 0x11, 0xEE, 0xEE, 0xEE, 0xEE}},
        {"1g1122aabbff", -1, kUntouched},
        {" 11122aabbff", -1, kUntouched},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        Mac mac = kUntouched;
        dwtest::StderrCapture err;
        EXPECT_EQ(strtomac(mac.data(), exact(row.text).get()), row.result);
        EXPECT_EQ(err.finish(), "");
        EXPECT_EQ(mac, row.mac);
    }
}

TEST(Macstr2octet, Cases)
{
    const char *kLength = "MAC string length %d is incorrect";
    const char *kColon = "Colon sign loss, wrong MAC Format";
    const char *kParse = "Failed to parse MAC string";
    struct Row {
        unsigned octets;
        const char *text;
        int text_len;
        const char *message;  // nullptr: success, silent
        Mac mac;
    } rows[] = {
        {6, "00:11:22:aa:BB:ff", 17, nullptr, {0x00, 0x11, 0x22, 0xAA, 0xBB, 0xFF}},
        {6, "001122aabbff", 12, nullptr, {0x00, 0x11, 0x22, 0xAA, 0xBB, 0xFF}},
        {6, "00:11:22:aa:bb:ff", 16, kLength, kUntouched},
        {6, "001122aabbff", 13, kLength, kUntouched},
        {6, "001122aabbff", 17, kColon, kUntouched},
        {6, "00-11:22:aa:bb:ff", 17, kColon, kUntouched},
        {6, "00:11:22:aa:bb", 17, kColon, {0x00, 0x11, 0x22, 0xAA, 0xEE, 0xEE}},
        // One parsed digit is enough here, unlike strtomac.
        {6, "1g1122aabbff", 12, nullptr, {0x01, 0x11, 0x22, 0xAA, 0xBB, 0xFF}},
        {6, "00:11:22:aa:bb:f", 17, nullptr, {0x00, 0x11, 0x22, 0xAA, 0xBB, 0x0F}},
        {6, "zz1122aabbff", 12, kParse, kUntouched},
        {6, "-11122aabbff", 12, kParse, kUntouched},
        // Six octets are read whatever the octet count says.
        {3, "001122334455", 6, nullptr, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}},
        {3, "001122", 6, kParse, {0x00, 0x11, 0x22, 0xEE, 0xEE, 0xEE}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        Mac mac = kUntouched;
        dwtest::StderrCapture err;
        const int result = macstr2octet(mac.data(), row.octets, exact(row.text).get(), row.text_len);
        const std::string out = err.finish();
        EXPECT_EQ(mac, row.mac);
        if (row.message == nullptr) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(out, "");
            continue;
        }
        EXPECT_EQ(result, -1);
        char body[96];
        snprintf(body, sizeof body, row.message, row.text_len);
        EXPECT_TRUE(std::regex_match(out, std::regex(R"( \*\*\* ERROR: \[macstr2octet:[0-9]+\] )" +
                                                     std::string(body) + "\n\n")))
            << out;
    }
}
