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

// A mapping chain, searched like the cache's index: first entry with the id.
struct Chain {
    std::vector<wrs_m_cat_entry_t> v;
    Chain(std::initializer_list<std::pair<int, int>> map_and_cat)
    {
        static const char *names[] = {"n0", "n1", "n2", "n3", "n4", "n5"};
        for (auto mc : map_and_cat)
            v.push_back({mc.first, mc.second, const_cast<char *>(names[v.size()]), {}});
    }
    WrsCatLookup find() const
    {
        return [this](int id) -> const wrs_m_cat_entry_t * {
            for (const auto &e : v)
                if (e.cat_id == id) return &e;
            return nullptr;
        };
    }
};

void web_entry(Bytes &b, size_t i, uint32_t cat, uint8_t flag)
{
    const size_t at = 8 + 96 * i;
    b.u32(at, 100 + i).raw(at + 8, kMac, 6).u32(at + 16, cat).u32(at + 20, 1000 + i);
    b.str(at + 24, "u.example").u8(at + 88, flag);
}

std::vector<dpi_web_log> web(Bytes &b, unsigned used, const WrsCatLookup &find)
{
    std::vector<dpi_web_log> out;
    decode_web_threats(b.data(), b.size(), used, find, out);
    return out;
}

}  // namespace

TEST(WebThreats, FirstChainEntryOfTheCategoryDecidesAndFlagZeroDrops)
{
    // Category 5 is first listed in the parental file (map 0), 9 before any section (-1).
    Chain chain{{0, 5}, {1, 5}, {2, 7}, {-1, 9}, {1, 3}};
    const std::pair<uint32_t, uint8_t> entries[] = {{5, 1}, {7, 0}, {7, 2}, {9, 1}, {42, 1}, {3, 255}};
    Bytes b(49160);
    b.u32(0, 6);
    for (size_t i = 0; i < 6; ++i) web_entry(b, i, entries[i].first, entries[i].second);

    auto out = web(b, 49160, chain.find());
    ASSERT_EQ(out.size(), 2u);
    const dpi_web_log &r = out[0];
    EXPECT_EQ(std::make_tuple(r.time, r.mac, r.cat_id, r.cat_name, r.flag, r.url, r.extra_id),
              std::make_tuple(102u, std::string("00:11:22:aa:bb:cc"), 7u, std::string("n2"),
                              uint8_t(2), std::string("u.example"), 1002u));
    EXPECT_EQ(r.from_router, 0);
    EXPECT_EQ(out[1].cat_name, "n4");
    EXPECT_TRUE(web(b, 49160, WrsCatLookup()).empty()) << "no mapping, no record";
}

TEST(WebThreats, CountBoundedByRoomAndValidBytesAndUrlByItsField)
{
    Chain chain{{1, 1}};
    Bytes b(49160 + 96 * 4);  // more bytes than the report's room
    b.u32(0, 0xFFFFFFFF);
    for (size_t i = 0; i < 516; ++i) web_entry(b, i, 1, 1);
    std::memset(b.data() + 8 + 24, 'a', 64);  // no terminating NUL in the field
    const std::pair<unsigned, size_t> cases[] = {
        {7, 0}, {8, 0}, {8 + 96 * 2 + 95, 2}, {49160, 512}, {0xFFFFFFFF, 512}};
    for (const auto &c : cases) EXPECT_EQ(web(b, c.first, chain.find()).size(), c.second) << c.first;
    EXPECT_EQ(web(b, 8 + 96, chain.find())[0].url, std::string(64, 'a'));
}

TEST(TrsLogs, AddressesRolesActionZeroAndCategoryOfAnyMapId)
{
    Chain chain{{0, 7}};
    Bytes b(8 + 64 * 6);
    b.u32(0, 6);
    const struct {
        uint8_t family, role, action;
    } e[] = {{4, 1, 3}, {4, 1, 0}, {6, 2, 1}, {5, 0, 1}, {4, 3, 1}, {4, 9, 1}};
    for (size_t i = 0; i < 6; ++i) {
        const size_t at = 8 + 64 * i;
        b.u32(at, 1700000000 + i).raw(at + 8, kMac, 6).u8(at + 15, e[i].family).u32(at + 48, 51515);
        b.u32(at + 52, 443).u32(at + 56, 7 + i).u8(at + 61, e[i].role).u8(at + 63, e[i].action);
        b.bytes(at + 16, {192, 168, 1, 20}).bytes(at + 32, {8, 8, 4, 4});
    }
    b.bytes(8 + 128 + 16, {0, 0, 0, 0}).bytes(8 + 128 + 32, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0});
    b.u8(8 + 128 + 47, 1);

    dwtest::clear_logs();
    std::vector<dpi_ip_log> out;
    decode_trs_logs(b.data(), b.size(), static_cast<unsigned>(b.size()), chain.find(), out);
    std::vector<std::string> got;
    for (const auto &r : out)
        got.push_back(r.local_ip + " " + r.peer_ip + " role " + std::to_string(r.role) + " " + r.cat_name);
    const std::vector<std::string> expect = {
        "192.168.1.20 8.8.4.4 role 0 n0",
        "0000:0000:0000:0000:0000:0000:0000:0000 2001:0DB8:0000:0000:0000:0000:0000:0001 role 2 ",
        "  role 1 ", "192.168.1.20 8.8.4.4 role 1 ", "192.168.1.20 8.8.4.4 role 1 "};
    EXPECT_EQ(got, expect);

    const auto logs = dwtest::captured_logs();
    ASSERT_EQ(logs.size(), 5u);
    EXPECT_EQ(std::make_tuple(logs[0].function, logs[0].file, logs[0].level),
              std::make_tuple(std::string("get_trs_logs"), std::string("dw_ioctl"), 6));
    EXPECT_EQ(logs[0].text,
              "[TRS] get_trs_logs log - action:3, time:1700000000, cat_id:7, mac:00:11:22:aa:bb:cc, "
              "localip:192.168.1.20:51515, peerip:8.8.4.4:443, role:0\n");
}
