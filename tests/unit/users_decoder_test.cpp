// User-list decoding over byte images written at the entry's literal offsets.
#include <gtest/gtest.h>

#include "facade/users_decoder.h"
#include "support/bytes.h"

using dwtest::Bytes;

namespace {

constexpr size_t kEntry = 624;

// An image of one entry per mark; entry i has uid i+1.
Bytes user_list(const std::vector<bool> &in_use)
{
    Bytes b(in_use.size() * kEntry);
    for (size_t i = 0; i < in_use.size(); ++i) b.u8(i * kEntry, static_cast<uint8_t>(i + 1)).u8(i * kEntry + 612, in_use[i]);
    return b;
}

std::vector<dpi_user> decode(Bytes &b, size_t used, size_t capacity, dw::DevOsLookup lookup = {})
{
    std::vector<dpi_user> users;
    size_t n = dw::decode_users(b.data(), used, capacity, lookup, users);
    EXPECT_EQ(n, users.size());
    return users;
}

TEST(UsersDecoder, CountsEntriesFromUsedLengthAndInUseMark)
{
    struct {
        const char *name;
        std::vector<bool> in_use;
        size_t used, capacity, expected;  // capacity 0: the image's size
    } cases[] = {
        {"one byte short of an entry", {true}, 623, 0, 0},
        {"exactly one entry", {true}, 624, 0, 1},
        {"trailing partial entry ignored", {true, true, true}, 2 * kEntry + 100, 0, 2},
        {"unused entry in the middle ends the list", {true, false, true}, 3 * kEntry, 0, 1},
        {"first entry unused", {false, true}, 2 * kEntry, 0, 0},
        {"huge used length bounded by the buffer", {true, true}, 0xFFFFFFFFu, 0, 2},
        {"capacity below used bounds the count", {true, true, true}, 3 * kEntry, 2 * kEntry + 623, 2},
    };
    for (const auto &c : cases) {
        Bytes b = user_list(c.in_use);
        auto users = decode(b, c.used, c.capacity ? c.capacity : b.size());
        ASSERT_EQ(users.size(), c.expected) << c.name;
        for (size_t i = 0; i < users.size(); ++i) EXPECT_EQ(users[i].uid, i + 1) << c.name;
    }
    // Appends: a second decode doubles what the vector holds.
    Bytes b = user_list({true});
    std::vector<dpi_user> users(1);
    dw::decode_users(b.data(), kEntry, kEntry, {}, users);
    EXPECT_EQ(users.size(), 2u);
}

TEST(UsersDecoder, DecodesEveryFieldAtItsOffset)
{
    Bytes b = user_list({true, true});
    size_t o = kEntry;  // the second entry, so a wrong stride shows
    b.u8(o + 0, 0xC8)
        .bytes(o + 1, {0x00, 0x1A, 0x2B, 0xCD, 0xEF, 0x09})
        .bytes(o + 7, {192, 168, 100, 7})
        .bytes(o + 11, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0x02, 0x1A, 0x2B, 0xFF, 0xFE, 0xCD, 0xEF, 0x09})
        .str(o + 27, std::string(33, 'h'))  // fills its field without a terminator
        .u16(o + 60, 0x0101).u16(o + 62, 2).u16(o + 64, 3).u16(o + 66, 4).u16(o + 68, 5).u16(o + 70, 0xFFFF)
        .u16(o + 72, 0xBEEF);
    auto users = decode(b, b.size(), b.size());
    ASSERT_EQ(users.size(), 2u);
    const dpi_user &u = users[1];
    EXPECT_EQ(u.uid, 0xC8);
    EXPECT_EQ(u.mac, "00:1a:2b:cd:ef:09");
    EXPECT_EQ(u.ipv4, "192.168.100.7");
    EXPECT_EQ(u.ipv6, "FE80:0000:0000:0000:021A:2BFF:FECD:EF09");
    EXPECT_EQ(u.host_name, std::string(33, 'h'));
    const uint16_t ids[6] = {0x0101, 2, 3, 4, 5, 0xFFFF};
    for (int k = 0; k < 6; ++k) EXPECT_EQ(u.dev_os_ids[k], ids[k]) << k;
    EXPECT_EQ(u.dev_attr, 0xBEEF);
    // The first entry is all zeros apart from uid and mark.
    EXPECT_EQ(users[0].ipv4, "0.0.0.0");
    EXPECT_EQ(users[0].ipv6, "0000:0000:0000:0000:0000:0000:0000:0000");
    EXPECT_EQ(users[0].host_name, "");
}

// A device database of one entry, found for the ids (7, 8, ...).
struct FakeDevices {
    char t[6][8] = {"phone", "Acme", "P1", "Android", "14", "mobile"};
    dev_os_entry_t entry{7, 8, 0, 0, 0, 0, t[0], t[1], t[2], t[3], t[4], t[5], {}};
    std::vector<std::vector<unsigned>> queries;

    static const dev_os_entry_t *find(const void *ctx, const unsigned int keys[6])
    {
        auto *self = const_cast<FakeDevices *>(static_cast<const FakeDevices *>(ctx));
        self->queries.emplace_back(keys, keys + 6);
        return keys[0] == 7 && keys[1] == 8 ? &self->entry : nullptr;
    }
};

TEST(UsersDecoder, DescriptionsFromLookupInOrderAndEmptyOnMiss)
{
    Bytes b = user_list({true, true});
    b.u16(60, 7).u16(62, 8).u16(64, 9).u16(66, 10).u16(68, 11).u16(70, 12);  // hit
    b.u16(kEntry + 60, 7).u16(kEntry + 62, 99);                             // miss
    FakeDevices db;
    auto users = decode(b, b.size(), b.size(), {FakeDevices::find, &db});
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(db.queries[0], (std::vector<unsigned>{7, 8, 9, 10, 11, 12}));
    const dpi_user &hit = users[0], &miss = users[1];
    EXPECT_EQ(std::vector<std::string>({hit.dev_desc1, hit.dev_desc2, hit.dev_desc3, hit.dev_desc4,
                                        hit.dev_desc5, hit.dev_desc6}),
              std::vector<std::string>({"phone", "Acme", "P1", "Android", "14", "mobile"}));
    EXPECT_EQ(miss.dev_desc1 + miss.dev_desc2 + miss.dev_desc3 + miss.dev_desc4 + miss.dev_desc5 + miss.dev_desc6,
              "");
}

}  // namespace
