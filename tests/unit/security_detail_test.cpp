// Anomaly and virtual-patch detail decoding over byte images built at
// literal offsets: record fields, look-ups, and every short-report check.
#include <gtest/gtest.h>

#include <map>

#include "facade/security_detail.h"
#include "support/bytes.h"
#include "support/log_capture.h"

using dwtest::Bytes;
using namespace dw::seclog;

namespace {

struct Entry {
    uint32_t rule, time;
    uint8_t direction, family;
    std::vector<uint8_t> first, second;
    uint8_t action;
};

void put_entry(Bytes &b, size_t at, const Entry &e)
{
    b.u32(at + 8, e.rule).u32(at + 16, e.time).u32(at + 24, 0xA77Au).u8(at + 28, e.direction);
    b.u8(at + 30, e.family).raw(at + 36, e.first.data(), e.first.size());
    b.raw(at + 52, e.second.data(), e.second.size()).u8(at + 68, e.action).u8(at + 103, 0xEE);
}

struct Section {
    uint8_t mac_last;
    uint16_t claimed;  // entry count written in the section header
    std::vector<Entry> entries;
};

// Header, client sections, router header (router count claimed) and router entries.
Bytes report(const std::vector<Section> &sections, uint32_t router_claimed,
             const std::vector<Entry> &router)
{
    Bytes b(8);
    b.u32(0, static_cast<uint32_t>(sections.size()));
    size_t pos = 8;
    for (const auto &s : sections) {
        b.bytes(pos + 1, {0x02, 0, 0, 0, 0, s.mac_last}).u16(pos + 28, s.claimed);
        pos += 32;
        for (const auto &e : s.entries) put_entry(b, pos, e), pos += 104;
    }
    b.u32(pos, router_claimed);
    pos += 8;
    for (const auto &e : router) put_entry(b, pos, e), pos += 104;
    b.vec().resize(pos);
    return b;
}

const Entry kA = {1001, 300, 1, 4, {10, 0, 0, 5}, {203, 0, 113, 9}, 2};
const Entry kB = {2002, 100, 0, 6, {0xfe, 0x80}, {0x20, 0x01}, 1};
const Entry kC = {3003, 200, 2, 4, {192, 168, 1, 1}, {198, 51, 100, 7}, 3};

struct Fixture {
    std::map<unsigned, std::string> names{{1001, "Port scan"}, {3003, "Ping sweep"}};
    std::map<unsigned, ips_rule_entry_t> ips{{1001, {1001, 7, 3, {}}}, {3003, {3003, 9, 5, {}}}};
    int gateway_calls = 0;

    DetailLookups lookups(bool with_ips = true)
    {
        DetailLookups l;
        l.rule_name = [this](unsigned id) -> const char * {
            auto it = names.find(id);
            return it == names.end() ? nullptr : it->second.c_str();
        };
        if (with_ips)
            l.ips_rule = [this](unsigned id) -> const ips_rule_entry_t * {
                auto it = ips.find(id);
                return it == ips.end() ? nullptr : &it->second;
            };
        l.router_mac = [this] {
            ++gateway_calls;
            return std::string("02:00:00:00:00:fe");
        };
        return l;
    }
};

template <typename Rec>
int decode(const DetailTexts &t, Bytes &b, const DetailLookups &l, std::vector<Rec> &out,
           unsigned used)
{
    return decode_detail_report(t, b.data(), b.size(), used, l, out);
}

}  // namespace

TEST(DetailReport, RecordsFromClientsThenRouterWithLookupsAndCarriedCategory)
{
    Fixture f;
    Bytes b = report({{0x11, 2, {kA, kB}}}, 1, {kC});
    std::vector<dpi_inf_log> out;
    dwtest::clear_logs();
    ASSERT_EQ(decode(kAnomalyTexts, b, f.lookups(), out, static_cast<unsigned>(b.size())), 0);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(f.gateway_calls, 1);

    const dpi_inf_log &a = out[0];
    EXPECT_EQ(a.time, 300u);
    EXPECT_EQ(a.mac, "02:00:00:00:00:11");
    EXPECT_EQ(a.rule_id, 1001u);
    EXPECT_EQ(a.rule_name, "Port scan");
    EXPECT_EQ(a.category_id, 7u);
    EXPECT_EQ(a.severity, 3u);
    EXPECT_EQ(a.action, 2);
    EXPECT_EQ(a.direction, 1u);
    EXPECT_EQ(a.anomaly_attr, 0xA77Au);
    EXPECT_EQ(a.from_router, 0);
    EXPECT_EQ(a.cat_name, "");
    EXPECT_EQ(a.local_ip, "203.0.113.9") << "direction 1 swaps the addresses";
    EXPECT_EQ(a.peer_ip, "10.0.0.5");

    const dpi_inf_log &m = out[1];  // rule in neither file
    EXPECT_EQ(m.rule_name, "");
    EXPECT_EQ(m.severity, 0u);
    EXPECT_EQ(m.category_id, 7u) << "category carried over from the record before";
    EXPECT_EQ(m.local_ip, "FE80:0000:0000:0000:0000:0000:0000:0000");
    EXPECT_EQ(m.peer_ip, "2001:0000:0000:0000:0000:0000:0000:0000");
    EXPECT_TRUE(dwtest::has_log(6, "anomaly id:2002d does not match any rule"));
    EXPECT_TRUE(dwtest::has_log(6, "anomaly id:2002d can't find category and severity"));

    const dpi_inf_log &r = out[2];
    EXPECT_EQ(r.from_router, 1);
    EXPECT_EQ(r.mac, "02:00:00:00:00:fe");
    EXPECT_EQ(r.local_ip, "192.168.1.1") << "direction 2 keeps the order";
    EXPECT_EQ(r.category_id, 9u);
    EXPECT_EQ(r.severity, 5u);
}

TEST(DetailReport, WithoutIpsRulesEverySeverityIsZero)
{
    Fixture f;
    Bytes b = report({{0x11, 1, {kA}}}, 0, {});
    std::vector<dpi_vul_log> out;
    dwtest::clear_logs();
    ASSERT_EQ(decode(kVpTexts, b, f.lookups(false), out, static_cast<unsigned>(b.size())), 0);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].severity, 0u);
    EXPECT_EQ(out[0].category_id, 0u);
    EXPECT_EQ(out[0].rule_name, "Port scan");
    EXPECT_TRUE(dwtest::has_log(6, "vp id:1001d can't find category and severity"));
    EXPECT_EQ(f.gateway_calls, 0) << "no router entries, no gateway look-up";
}

TEST(DetailReport, InformationLinesOfEachReport)
{
    Fixture f;
    Bytes b = report({{0x11, 0, {}}, {0x12, 0, {}}}, 0, {});  // R = 72, length 80
    std::vector<dpi_inf_log> inf;
    std::vector<dpi_vul_log> vul;
    dwtest::clear_logs();
    decode(kAnomalyTexts, b, f.lookups(), inf, 80);
    decode(kVpTexts, b, f.lookups(), vul, 80);
    std::vector<std::string> texts;
    for (const auto &l : dwtest::captured_logs()) {
        if (l.text.find("buf=") != std::string::npos) continue;  // carries the address
        texts.push_back(l.function + "|" + l.file + "|" + std::to_string(l.level) + "|" + l.text);
    }
    const std::vector<std::string> expect = {
        "get_anomaly_detail_logs|dw_ioctl|6|anomaly router header is (80 , 80)",
        "get_vp_detail_logs|dw_ioctl|6|vp detail mac cnt = 2",
        "get_vp_detail_logs|dw_ioctl|6|vp detail:router header len=8, buf len=80",
        "get_vp_detail_logs|dw_ioctl|6|vp detail:router header pos=80, len=80",
    };
    EXPECT_EQ(texts, expect);
}

TEST(DetailReport, ShortReportsStopWithTheirMessageAndKeepEarlierRecords)
{
    struct Case {
        const char *what;
        Bytes image;
        unsigned used;  // 0: the image's size
        size_t records;
        const char *anomaly_error, *vp_error;
    };
    const Case cases[] = {
        {"header", report({}, 0, {}), 4, 0,
         "buf len for anomaly header is not enough (8 > 4)", "buf len for vp header is not enough"},
        {"no router header", report({}, 0, {}), 8, 0,
         "buf len for anomaly router header is not enough (16 > 8)",
         "buf len for vp router header is not enough (16 > 8)"},
        {"section header", report({{1, 0, {}}}, 0, {}), 8 + 31, 0,
         "buf len for anomaly mac header is not enough",
         "buf len for vp mac header is not enough, (40 > 39)"},
        {"entry", report({{1, 3, {kA, kB}}}, 0, {}), 0, 2, "buf len for anomaly entry is not enough",
         "buf len for vp entry is not enough"},
        {"router header after sections", report({{1, 1, {kA}}}, 0, {}), 8 + 32 + 104 + 7, 1,
         "buf len for anomaly router header is not enough (152 > 151)",
         "buf len for vp router header is not enough (152 > 151)"},
        {"router entry", report({}, 3, {kA, kC}), 0, 2,
         "buf len for anomaly router entry is not enough", "buf len for vp router entry is not enough"},
    };
    for (const auto &c : cases) {
        for (int vp = 0; vp < 2; ++vp) {
            SCOPED_TRACE(std::string(c.what) + (vp ? " (vp)" : " (anomaly)"));
            Fixture f;
            Bytes b = c.image;
            const unsigned used = c.used ? c.used : static_cast<unsigned>(b.size());
            dwtest::clear_logs();
            std::vector<dpi_inf_log> inf;
            std::vector<dpi_vul_log> vul;
            const int rc = vp ? decode(kVpTexts, b, f.lookups(), vul, used)
                              : decode(kAnomalyTexts, b, f.lookups(), inf, used);
            EXPECT_EQ(rc, -1);
            EXPECT_EQ(vp ? vul.size() : inf.size(), c.records);
            EXPECT_TRUE(dwtest::has_log(3, vp ? c.vp_error : c.anomaly_error));
        }
    }
}

TEST(DetailReport, ValidLengthBeyondTheBufferIsBoundedByIt)
{
    Fixture f;
    Bytes b = report({{1, 60000, {kA}}}, 0, {});
    std::vector<dpi_inf_log> out;
    EXPECT_EQ(decode(kAnomalyTexts, b, f.lookups(), out, 0xFFFFFFFFu), -1);
    EXPECT_EQ(out.size(), 1u);
}
