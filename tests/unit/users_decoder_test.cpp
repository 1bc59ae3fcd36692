// User-list decoding over byte images written at the entry's literal offsets.
#include <gtest/gtest.h>

#include <cstring>

#include "facade/users_decoder.h"
#include "support/bytes.h"

using dwtest::Bytes;

namespace {

constexpr size_t kEntry = 624;

// Entry i: uid i+1, in-use mark set unless told otherwise.
void put_entry(Bytes &b, size_t i, bool in_use = true)
{
    size_t o = i * kEntry;
    b.u8(o + 0, static_cast<uint8_t>(i + 1)).u8(o + 612, in_use ? 1 : 0).u8(o + 623, 0);
}

std::vector<dpi_user> decode(Bytes &b, size_t used, size_t capacity, dw::DevOsLookup lookup = {})
{
    std::vector<dpi_user> users;
    size_t n = dw::decode_users(b.data(), used, capacity, lookup, users);
    EXPECT_EQ(n, users.size());
    return users;
}

struct CountCase {
    const char *name;
    std::vector<bool> marks;  // in-use mark of each entry in the image
    size_t used;
    size_t capacity;          // 0: the image's size
    size_t expected;
};

TEST(UsersDecoder, CountsEntriesFromUsedLengthAndInUseMark)
{
    const CountCase cases[] = {
        {"one byte short of an entry", {true}, 623, 0, 0},
        {"exactly one entry", {true}, 624, 0, 1},
        {"trailing partial entry ignored", {true, true, true}, 2 * kEntry + 100, 0, 2},
        {"unused entry in the middle ends the list", {true, false, true}, 3 * kEntry, 0, 1},
        {"first entry unused", {false, true}, 2 * kEntry, 0, 0},
        {"huge used length bounded by the buffer", {true, true}, 0xFFFFFFFFu, 0, 2},
        {"capacity below used bounds the count", {true, true, true}, 3 * kEntry, 2 * kEntry + 623, 2},
    };
    for (const CountCase &c : cases) {
        Bytes b(c.marks.size() * kEntry);
        for (size_t i = 0; i < c.marks.size(); ++i) put_entry(b, i, c.marks[i]);
        auto users = decode(b, c.used, c.capacity ? c.capacity : b.size());
        ASSERT_EQ(users.size(), c.expected) << c.name;
        for (size_t i = 0; i < users.size(); ++i) EXPECT_EQ(users[i].uid, i + 1) << c.name;
    }
}

TEST(UsersDecoder, DecodesEveryFieldAtItsOffset)
{
    Bytes b(2 * kEntry);
    put_entry(b, 0);
    put_entry(b, 1);
    size_t o = kEntry;  // second entry, so a wrong entry stride shows
    b.u8(o + 0, 0xC8)
        .bytes(o + 1, {0x00, 0x1A, 0x2B, 0xCD, 0xEF, 0x09})
        .bytes(o + 7, {192, 168, 1, 10})
        .bytes(o + 11, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0x02, 0x1A, 0x2B, 0xFF, 0xFE, 0xCD, 0xEF, 0x09})
        .str(o + 27, "kitchen-tablet")
        .u16(o + 60, 0x0101).u16(o + 62, 2).u16(o + 64, 3).u16(o + 66, 4).u16(o + 68, 5).u16(o + 70, 0xFFFF)
        .u16(o + 72, 0xBEEF);
    auto users = decode(b, b.size(), b.size());
    ASSERT_EQ(users.size(), 2u);
    const dpi_user &u = users[1];
    EXPECT_EQ(u.uid, 0xC8);
    EXPECT_EQ(u.mac, "00:1a:2b:cd:ef:09");
    EXPECT_EQ(u.ipv4, "192.168.1.10");
    EXPECT_EQ(u.ipv6, "FE80:0000:0000:0000:021A:2BFF:FECD:EF09");
    EXPECT_EQ(u.host_name, "kitchen-tablet");
    const uint16_t ids[6] = {0x0101, 2, 3, 4, 5, 0xFFFF};
    for (int k = 0; k < 6; ++k) EXPECT_EQ(u.dev_os_ids[k], ids[k]) << k;
    EXPECT_EQ(u.dev_attr, 0xBEEF);
    EXPECT_TRUE(u.dev_desc1.empty() && u.dev_desc6.empty());
}

TEST(UsersDecoder, AddressTexts)
{
    struct Case {
        std::vector<uint8_t> v4, v6;
        const char *ipv4, *ipv6;
    } cases[] = {
        {{0, 0, 0, 0}, std::vector<uint8_t>(16, 0), "0.0.0.0", "0000:0000:0000:0000:0000:0000:0000:0000"},
        {{255, 255, 255, 255}, std::vector<uint8_t>(16, 0xFF), "255.255.255.255",
         "FFFF:FFFF:FFFF:FFFF:FFFF:FFFF:FFFF:FFFF"},
        {{10, 0, 100, 9}, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01}, "10.0.100.9",
         "2001:0DB8:0000:0000:0000:0000:0000:0001"},
    };
    for (const Case &c : cases) {
        Bytes b(kEntry);
        put_entry(b, 0);
        b.raw(7, c.v4.data(), 4).raw(11, c.v6.data(), 16);
        auto users = decode(b, kEntry, kEntry);
        ASSERT_EQ(users.size(), 1u);
        EXPECT_EQ(users[0].ipv4, c.ipv4);
        EXPECT_EQ(users[0].ipv6, c.ipv6);
    }
}

TEST(UsersDecoder, HostNameWithoutTerminatorStopsAtItsField)
{
    Bytes b(kEntry);
    put_entry(b, 0);
    b.str(27, std::string(33, 'h')).u8(60, 'X');  // the byte after the field is not text
    auto users = decode(b, kEntry, kEntry);
    ASSERT_EQ(users.size(), 1u);
    EXPECT_EQ(users[0].host_name, std::string(33, 'h'));
}

// A device database of one entry, keyed (7, 8, 0, 0, 0, 0).
struct FakeDevices {
    char t[6][8] = {"phone", "Acme", "P1", "Android", "14", "mobile"};
    dev_os_entry_t entry{};
    std::vector<std::vector<unsigned>> queries;

    FakeDevices()
    {
        entry.key1 = 7;
        entry.key2 = 8;
        entry.text1 = t[0], entry.text2 = t[1], entry.text3 = t[2];
        entry.text4 = t[3], entry.text5 = t[4], entry.text6 = t[5];
    }
    static const dev_os_entry_t *find(const void *ctx, const unsigned int keys[6])
    {
        auto *self = const_cast<FakeDevices *>(static_cast<const FakeDevices *>(ctx));
        self->queries.emplace_back(keys, keys + 6);
        return keys[0] == 7 && keys[1] == 8 ? &self->entry : nullptr;
    }
};

TEST(UsersDecoder, DescriptionsFromLookupInOrderAndEmptyOnMiss)
{
    Bytes b(2 * kEntry);
    put_entry(b, 0);
    put_entry(b, 1);
    b.u16(60, 7).u16(62, 8).u16(64, 9).u16(66, 10).u16(68, 11).u16(70, 12);  // hit
    b.u16(kEntry + 60, 7).u16(kEntry + 62, 99);                             // miss
    FakeDevices db;
    auto users = decode(b, b.size(), b.size(), {FakeDevices::find, &db});
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(db.queries[0], (std::vector<unsigned>{7, 8, 9, 10, 11, 12}));
    const dpi_user &hit = users[0];
    EXPECT_EQ(hit.dev_desc1, "phone");
    EXPECT_EQ(hit.dev_desc2, "Acme");
    EXPECT_EQ(hit.dev_desc3, "P1");
    EXPECT_EQ(hit.dev_desc4, "Android");
    EXPECT_EQ(hit.dev_desc5, "14");
    EXPECT_EQ(hit.dev_desc6, "mobile");
    const dpi_user &miss = users[1];
    for (const std::string *d : {&miss.dev_desc1, &miss.dev_desc2, &miss.dev_desc3, &miss.dev_desc4,
                                 &miss.dev_desc5, &miss.dev_desc6})
        EXPECT_TRUE(d->empty());
}

TEST(UsersDecoder, AppendsToWhatTheVectorHolds)
{
    Bytes b(kEntry);
    put_entry(b, 0);
    std::vector<dpi_user> users;
    dw::decode_users(b.data(), kEntry, kEntry, {}, users);
    dw::decode_users(b.data(), kEntry, kEntry, {}, users);
    EXPECT_EQ(users.size(), 2u);
}

}  // namespace
