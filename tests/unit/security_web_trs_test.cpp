// Web-threat and TRS report decoding over byte images built at literal offsets.
#include <gtest/gtest.h>

#include <cstring>

#include "facade/security_trs.h"
#include "facade/security_web.h"
#include "support/bytes.h"
#include "support/log_capture.h"

using dwtest::Bytes;
using namespace dw::seclog;

namespace {

const uint8_t kMac[6] = {0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc};

// A mapping chain walked like the cache's index: first entry with the id.
struct Chain {
    std::vector<wrs_m_cat_entry_t> entries;
    void add(int map_id, int cat_id, const char *name)
    {
        entries.push_back({map_id, cat_id, const_cast<char *>(name), {}});
    }
    WrsCatLookup lookup() const
    {
        return [this](int id) -> const wrs_m_cat_entry_t * {
            for (const auto &e : entries)
                if (e.cat_id == id) return &e;
            return nullptr;
        };
    }
};

void web_entry(Bytes &b, size_t i, uint32_t time, uint32_t cat, uint8_t flag, const char *url)
{
    const size_t at = 8 + 96 * i;
    b.u32(at + 0, time).raw(at + 8, kMac, 6).u32(at + 16, cat).u32(at + 20, 1000 + i);
    b.str(at + 24, url).u8(at + 88, flag);
}

std::vector<dpi_web_log> decode_web(Bytes &b, unsigned used, const WrsCatLookup &find)
{
    std::vector<dpi_web_log> out;
    decode_web_threats(b.data(), b.size(), used, find, out);
    return out;
}

}  // namespace

TEST(WebThreats, FirstChainEntryOfTheCategoryDecidesAndFlagZeroDrops)
{
    Chain chain;
    chain.add(0, 5, "Parental5");   // first for 5: parental, so 5 is never reported
    chain.add(1, 5, "Security5");
    chain.add(2, 7, "Security7");
    chain.add(-1, 9, "BeforeSection");
    chain.add(1, 3, "Security3");
    struct {
        uint32_t cat;
        uint8_t flag;
        const char *kept_as;  // null: dropped
    } cases[] = {{5, 1, nullptr}, {7, 0, nullptr}, {7, 2, "Security7"}, {9, 1, nullptr},
                 {42, 1, nullptr}, {3, 255, "Security3"}};
    Bytes b(49160);
    b.u32(0, 6);
    for (size_t i = 0; i < 6; ++i) web_entry(b, i, 100 + i, cases[i].cat, cases[i].flag, "x.example");

    auto out = decode_web(b, 49160, chain.lookup());
    ASSERT_EQ(out.size(), 2u);
    size_t k = 0;
    for (size_t i = 0; i < 6; ++i) {
        if (!cases[i].kept_as) continue;
        const dpi_web_log &r = out[k++];
        EXPECT_EQ(r.time, 100 + i);
        EXPECT_EQ(r.mac, "00:11:22:aa:bb:cc");
        EXPECT_EQ(r.cat_id, cases[i].cat);
        EXPECT_EQ(r.cat_name, cases[i].kept_as);
        EXPECT_EQ(r.flag, cases[i].flag);
        EXPECT_EQ(r.from_router, 0);
        EXPECT_EQ(r.url, "x.example");
        EXPECT_EQ(r.extra_text, "");
        EXPECT_EQ(r.extra_id, 1000 + i);
    }
    EXPECT_TRUE(decode_web(b, 49160, WrsCatLookup()).empty()) << "no mapping, no record";
}

TEST(WebThreats, CountIsBoundedByRoomAndValidBytes)
{
    Chain chain;
    chain.add(1, 1, "Sec");
    Bytes full(49160 + 96 * 4);  // more bytes than the report's room
    full.u32(0, 0xFFFFFFFF);
    for (size_t i = 0; i < 516; ++i) web_entry(full, i, 1, 1, 1, "u");
    struct {
        unsigned used;
        size_t expect;
    } cases[] = {{0, 0}, {7, 0}, {8, 0}, {8 + 96 * 2 + 95, 2}, {49160, 512}, {0xFFFFFFFF, 512}};
    for (const auto &c : cases)
        EXPECT_EQ(decode_web(full, c.used, chain.lookup()).size(), c.expect) << c.used;
}

TEST(WebThreats, UrlFillingItsWholeFieldStopsAtTheField)
{
    Chain chain;
    chain.add(2, 1, "Sec");
    Bytes b(8 + 96);
    b.u32(0, 1);
    web_entry(b, 0, 1, 1, 1, "");
    std::memset(b.data() + 8 + 24, 'a', 64);
    auto out = decode_web(b, b.size(), chain.lookup());
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].url, std::string(64, 'a'));
}

namespace {

void trs_entry(Bytes &b, size_t i, uint8_t family, uint8_t role, uint8_t action, uint32_t cat)
{
    const size_t at = 8 + 64 * i;
    b.u32(at, 1700000000 + i).raw(at + 8, kMac, 6).u8(at + 15, family);
    b.u32(at + 48, 51515).u32(at + 52, 443).u32(at + 56, cat).u8(at + 61, role).u8(at + 63, action);
}

std::vector<dpi_ip_log> decode_trs(Bytes &b, const WrsCatLookup &find)
{
    std::vector<dpi_ip_log> out;
    decode_trs_logs(b.data(), b.size(), static_cast<unsigned>(b.size()), find, out);
    return out;
}

}  // namespace

TEST(TrsLogs, RoleCodesMapAsTheEngineExpects)
{
    const uint8_t codes[] = {0, 1, 2, 3, 255};
    const uint8_t roles[] = {1, 0, 2, 1, 1};
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(trs_role(codes[i]), roles[i]) << int(codes[i]);
}

TEST(TrsLogs, AddressesByFamilyActionZeroSkippedAndCategoryOfAnyMapId)
{
    Chain chain;
    chain.add(0, 7, "Parental7");
    Bytes b(8 + 64 * 4);
    b.u32(0, 4);
    trs_entry(b, 0, 4, 1, 3, 7);
    b.bytes(8 + 16, {192, 168, 1, 20}).bytes(8 + 32, {8, 8, 4, 4});
    trs_entry(b, 1, 4, 1, 0, 7);  // action 0
    trs_entry(b, 2, 6, 2, 1, 8);
    b.bytes(8 + 128 + 32, {0x20, 0x01, 0x0d, 0xb8}).u8(8 + 128 + 47, 1);
    trs_entry(b, 3, 5, 0, 1, 7);
    b.bytes(8 + 192 + 16, {1, 2, 3, 4});

    dwtest::clear_logs();
    auto out = decode_trs(b, chain.lookup());
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[0].local_ip, "192.168.1.20");
    EXPECT_EQ(out[0].peer_ip, "8.8.4.4");
    EXPECT_EQ(out[0].cat_name, "Parental7");
    EXPECT_EQ(out[0].role, 0);
    EXPECT_EQ(out[0].action, 3);
    EXPECT_EQ(out[0].local_port, 51515u);
    EXPECT_EQ(out[0].peer_port, 443u);
    EXPECT_EQ(out[0].from_router, 0);
    EXPECT_EQ(out[1].time, 1700000002u);
    EXPECT_EQ(out[1].local_ip, "0000:0000:0000:0000:0000:0000:0000:0000");
    EXPECT_EQ(out[1].peer_ip, "2001:0DB8:0000:0000:0000:0000:0000:0001");
    EXPECT_EQ(out[1].cat_name, "") << "category not in the mapping";
    EXPECT_EQ(out[2].local_ip, "");
    EXPECT_EQ(out[2].peer_ip, "");

    const auto logs = dwtest::captured_logs();
    ASSERT_EQ(logs.size(), 3u);
    EXPECT_EQ(logs[0].function, "get_trs_logs");
    EXPECT_EQ(logs[0].file, "dw_ioctl");
    EXPECT_EQ(logs[0].level, 6);
    EXPECT_EQ(logs[0].text,
              "[TRS] get_trs_logs log - action:3, time:1700000000, cat_id:7, mac:00:11:22:aa:bb:cc, "
              "localip:192.168.1.20:51515, peerip:8.8.4.4:443, role:0\n");

    auto unnamed = decode_trs(b, WrsCatLookup());
    ASSERT_EQ(unnamed.size(), 3u);
    EXPECT_EQ(unnamed[0].cat_name, "") << "no mapping: records without names";
}

TEST(TrsLogs, CountBoundedByValidBytes)
{
    Bytes b(8 + 64 * 3);
    b.u32(0, 100000);
    for (size_t i = 0; i < 3; ++i) trs_entry(b, i, 4, 1, 1, 1);
    EXPECT_EQ(decode_trs(b, WrsCatLookup()).size(), 3u);
}
