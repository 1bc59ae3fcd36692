// Anomaly and virtual-patch detail decoding over byte images built at
// literal offsets: record fields, look-ups, and every short-report check.
#include <gtest/gtest.h>

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
};

const Entry kA = {1001, 300, 1, 4, {10, 0, 0, 5}, {203, 0, 113, 9}};
const Entry kB = {2002, 100, 0, 6, {0xfe, 0x80}, {0x20, 0x01}};
const Entry kC = {3003, 200, 2, 4, {192, 168, 1, 1}, {198, 51, 100, 7}};

struct Section {
    uint16_t claimed;  // entry count written in the section header
    std::vector<Entry> entries;
};

// Header, client sections, router header (router count claimed), router entries.
Bytes report(const std::vector<Section> &sections, uint32_t router_claimed,
             const std::vector<Entry> &router)
{
    Bytes b(8);
    b.u32(0, static_cast<uint32_t>(sections.size()));
    size_t pos = 8;
    auto entry = [&](const Entry &e) {
        b.u32(pos + 8, e.rule).u32(pos + 16, e.time).u32(pos + 24, 0xA77A).u8(pos + 28, e.direction);
        b.u8(pos + 30, e.family).raw(pos + 36, e.first.data(), e.first.size());
        b.raw(pos + 52, e.second.data(), e.second.size()).u8(pos + 68, 2).u8(pos + 103, 0xEE);
        pos += 104;
    };
    for (const auto &s : sections) {
        b.bytes(pos + 1, {2, 0, 0, 0, 0, 0x11}).u16(pos + 28, s.claimed);
        pos += 32;
        for (const auto &e : s.entries) entry(e);
    }
    b.u32(pos, router_claimed);
    pos += 8;
    for (const auto &e : router) entry(e);
    b.vec().resize(pos);
    return b;
}

struct Lookups {
    int gateway_calls = 0;
    DetailLookups get(bool with_ips = true)
    {
        static const ips_rule_entry_t ips[] = {{1001, 7, 3, {}}, {3003, 9, 5, {}}};
        DetailLookups l;
        l.rule_name = [](unsigned id) {
            return id == 1001 ? "Port scan" : id == 3003 ? "Ping sweep" : nullptr;
        };
        if (with_ips)
            l.ips_rule = [](unsigned id) { return id == 1001 ? &ips[0] : id == 3003 ? &ips[1] : nullptr; };
        l.router_mac = [this] { return ++gateway_calls, std::string("02:00:00:00:00:fe"); };
        return l;
    }
};

template <typename Rec>
std::vector<std::string> rows(const std::vector<Rec> &v)
{
    std::vector<std::string> r;
    for (const Rec &x : v)
        r.push_back(std::to_string(x.time) + " " + x.mac + " " + x.rule_name + "/" +
                    std::to_string(x.category_id) + "/" + std::to_string(x.severity) + " " +
                    x.local_ip + " " + x.peer_ip + " r" + std::to_string(x.from_router) + " a" +
                    std::to_string(x.action) + " d" + std::to_string(x.direction));
    return r;
}

}  // namespace

TEST(DetailReport, ClientsThenRouterWithLookupsSwapAndCarriedCategory)
{
    Lookups f;
    Bytes b = report({{2, {kA, kB}}}, 1, {kC});
    std::vector<dpi_inf_log> out;
    dwtest::clear_logs();
    ASSERT_EQ(decode_detail_report(kAnomalyTexts, b.data(), b.size(), unsigned(b.size()), f.get(), out), 0);
    const std::vector<std::string> expect = {
        "300 02:00:00:00:00:11 Port scan/7/3 203.0.113.9 10.0.0.5 r0 a2 d1",
        "100 02:00:00:00:00:11 /7/0 FE80:0000:0000:0000:0000:0000:0000:0000 "
        "2001:0000:0000:0000:0000:0000:0000:0000 r0 a2 d0",
        "200 02:00:00:00:00:fe Ping sweep/9/5 192.168.1.1 198.51.100.7 r1 a2 d2"};
    EXPECT_EQ(rows(out), expect);
    EXPECT_EQ(out[0].anomaly_attr, 0xA77Au);
    EXPECT_EQ(f.gateway_calls, 1);
    EXPECT_TRUE(dwtest::has_log(6, "anomaly id:2002d does not match any rule"));
    EXPECT_TRUE(dwtest::has_log(6, "anomaly id:2002d can't find category and severity"));

    // Without the IPS rules every severity is 0; no router entries, no gateway look-up.
    std::vector<dpi_vul_log> vul;
    Bytes c = report({{1, {kA}}}, 0, {});
    ASSERT_EQ(decode_detail_report(kVpTexts, c.data(), c.size(), unsigned(c.size()), f.get(false), vul), 0);
    EXPECT_EQ(rows(vul),
              std::vector<std::string>{"300 02:00:00:00:00:11 Port scan/0/0 203.0.113.9 10.0.0.5 r0 a2 d1"});
    EXPECT_TRUE(dwtest::has_log(6, "vp id:1001d can't find category and severity"));
    EXPECT_EQ(f.gateway_calls, 1);
}

TEST(DetailReport, InformationLinesOfEachReport)
{
    Lookups f;
    Bytes b = report({{0, {}}, {0, {}}}, 0, {});  // router header at 72, length 80
    std::vector<dpi_inf_log> inf;
    std::vector<dpi_vul_log> vul;
    dwtest::clear_logs();
    decode_detail_report(kAnomalyTexts, b.data(), b.size(), 80, f.get(), inf);
    decode_detail_report(kVpTexts, b.data(), b.size(), 80, f.get(), vul);
    std::vector<std::string> texts;
    for (const auto &l : dwtest::captured_logs())
        if (l.text.find("buf=") == std::string::npos)  // that line carries the address
            texts.push_back(l.function + "|" + l.file + "|" + std::to_string(l.level) + "|" + l.text);
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
    const struct {
        Bytes image;
        unsigned used;  // 0: the image's size
        size_t records;
        const char *anomaly_error, *vp_error;
    } cases[] = {
        {report({}, 0, {}), 4, 0, "buf len for anomaly header is not enough (8 > 4)",
         "buf len for vp header is not enough"},
        {report({}, 0, {}), 8, 0, "buf len for anomaly router header is not enough (16 > 8)",
         "buf len for vp router header is not enough (16 > 8)"},
        {report({{0, {}}}, 0, {}), 39, 0, "buf len for anomaly mac header is not enough",
         "buf len for vp mac header is not enough, (40 > 39)"},
        {report({{3, {kA, kB}}}, 0, {}), 0, 2, "buf len for anomaly entry is not enough",
         "buf len for vp entry is not enough"},
        {report({{1, {kA}}}, 0, {}), 143, 0, "buf len for anomaly entry is not enough",
         "buf len for vp entry is not enough"},  // one byte short of the entry
        {report({}, 1, {kA}), 119, 0, "buf len for anomaly router entry is not enough",
         "buf len for vp router entry is not enough"},
        {report({{1, {kA}}}, 0, {}), 151, 1, "buf len for anomaly router header is not enough (152 > 151)",
         "buf len for vp router header is not enough (152 > 151)"},
        {report({}, 3, {kA, kC}), 0, 2, "buf len for anomaly router entry is not enough",
         "buf len for vp router entry is not enough"},
        {report({{60000, {kA}}}, 0, {}), 0xFFFFFFFF, 1, "buf len for anomaly entry is not enough",
         "buf len for vp entry is not enough"},  // valid length beyond the buffer
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.anomaly_error);
        Lookups f;
        Bytes b = c.image;
        const unsigned used = c.used ? c.used : static_cast<unsigned>(b.size());
        dwtest::clear_logs();
        std::vector<dpi_inf_log> inf;
        std::vector<dpi_vul_log> vul;
        EXPECT_EQ(decode_detail_report(kAnomalyTexts, b.data(), b.size(), used, f.get(), inf), -1);
        EXPECT_EQ(decode_detail_report(kVpTexts, b.data(), b.size(), used, f.get(), vul), -1);
        EXPECT_EQ(inf.size(), c.records);
        EXPECT_EQ(vul.size(), c.records);
        EXPECT_TRUE(dwtest::has_log(3, c.anomaly_error));
        EXPECT_TRUE(dwtest::has_log(3, c.vp_error));
    }
}
