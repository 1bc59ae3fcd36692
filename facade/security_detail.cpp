#include "facade/security_detail.h"

#include <algorithm>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/platform.h"
#include "dpiwrapper/requests.h"
#include "facade/report_buffer.h"
#include "facade/security_common.h"

namespace dw {
namespace seclog {

const DetailTexts kAnomalyTexts = {
    "get_anomaly_detail_logs",
    "get anomaly detail failed(%d)",
    "anomaly detail:buf=%lu, buf len=%u",
    "buf len for anomaly header is not enough (%u > %u)",
    nullptr,
    "buf len for anomaly mac header is not enough",
    "buf len for anomaly entry is not enough",
    "anomaly id:%ud does not match any rule",
    "anomaly id:%ud can't find category and severity",
    nullptr,
    "anomaly router header is (%u , %u)",
    "buf len for anomaly router header is not enough (%u > %u)",
    "buf len for anomaly router entry is not enough",
};

const DetailTexts kVpTexts = {
    "get_vp_detail_logs",
    "get vp detail log failed(%d)",
    "vp detail buf=%lu, buf len=%u",
    "buf len for vp header is not enough",
    "vp detail mac cnt = %d",
    "buf len for vp mac header is not enough, (%u > %u)",
    "buf len for vp entry is not enough",
    "vp id:%ud does not match any rule",
    "vp id:%ud can't find category and severity",
    "vp detail:router header len=%u, buf len=%d",
    "vp detail:router header pos=%u, len=%d",
    "buf len for vp router header is not enough (%d > %d)",
    "buf len for vp router entry is not enough",
};

namespace {

constexpr size_t kHeaderSize = 8, kSectionHeaderSize = 32, kEntrySize = 104, kRouterHeaderSize = 8;
// Client section header layout.
constexpr size_t kSectionMac = 1, kSectionEntries = 28;
// Entry layout.
constexpr size_t kRuleId = 8, kTime = 16, kAttr = 24, kDirection = 28, kFamily = 30, kFirst = 36,
                 kSecond = 52, kAction = 68;

void set_attr(dpi_inf_log &rec, uint32_t attr) { rec.anomaly_attr = attr; }
void set_attr(dpi_vul_log &, uint32_t) {}

// Builds records from entries; the category id of a record whose IPS rule is
// not found is the one of the record built before it.
template <typename Rec>
class DetailBuilder {
public:
    DetailBuilder(const DetailTexts &texts, const DetailLookups &lookups)
        : texts_(texts), lookups_(lookups)
    {
    }

    template <typename... Args>
    void log(int line, int level, const char *text, Args... args) const
    {
        if (text) dbglog_write(texts_.function, kLogFile, line, level, text, args...);
    }

    Rec build(const uint8_t *e, const std::string &mac, uint8_t from_router)
    {
        Rec rec;
        rec.time = le32(e + kTime);
        rec.mac = mac;
        rec.action = e[kAction];
        rec.from_router = from_router;
        rec.rule_id = le32(e + kRuleId);
        rec.direction = e[kDirection];
        set_attr(rec, le32(e + kAttr));

        const char *name = lookups_.rule_name ? lookups_.rule_name(rec.rule_id) : nullptr;
        if (name)
            rec.rule_name = name;
        else
            log(__LINE__, DW_LOG_INFO, texts_.rule_unnamed, rec.rule_id);

        const ips_rule_entry_t *ips = lookups_.ips_rule ? lookups_.ips_rule(rec.rule_id) : nullptr;
        if (ips) {
            category_ = ips->category_id;
            rec.severity = ips->severity;
        } else {
            log(__LINE__, DW_LOG_INFO, texts_.no_category, rec.rule_id);
            rec.severity = 0;
        }
        rec.category_id = category_;

        std::string first = format_address(e[kFamily], e + kFirst);
        std::string second = format_address(e[kFamily], e + kSecond);
        if (e[kDirection] == 1) std::swap(first, second);
        rec.local_ip = std::move(first);
        rec.peer_ip = std::move(second);
        return rec;
    }

private:
    const DetailTexts &texts_;
    const DetailLookups &lookups_;
    uint32_t category_ = 0;
};

}  // namespace

template <typename Rec>
int decode_detail_report(const DetailTexts &texts, const uint8_t *buf, size_t size, unsigned used,
                         const DetailLookups &lookups, std::vector<Rec> &out)
{
    if (!buf) return 0;
    DetailBuilder<Rec> b(texts, lookups);
    const unsigned len = static_cast<unsigned>(std::min<size_t>(used, size));
    b.log(__LINE__, DW_LOG_INFO, texts.buffer,
          static_cast<unsigned long>(reinterpret_cast<uintptr_t>(buf)), len);
    if (len < kHeaderSize) {
        b.log(__LINE__, DW_LOG_ERR, texts.header_short, unsigned(kHeaderSize), len);
        return -1;
    }
    const uint32_t sections = le32(buf);
    b.log(__LINE__, DW_LOG_INFO, texts.section_count, static_cast<int>(sections));

    size_t pos = kHeaderSize;
    for (uint32_t s = 0; s < sections; ++s) {
        if (pos + kSectionHeaderSize > len) {
            b.log(__LINE__, DW_LOG_ERR, texts.section_short, unsigned(pos + kSectionHeaderSize), len);
            return -1;
        }
        const uint8_t *section = buf + pos;
        pos += kSectionHeaderSize;
        const std::string mac = Utilities::FormatMACAddress(section + kSectionMac, ':', false);
        const uint16_t entries = le16(section + kSectionEntries);
        for (uint16_t k = 0; k < entries; ++k) {
            if (pos + kEntrySize > len) {
                b.log(__LINE__, DW_LOG_ERR, texts.entry_short, unsigned(pos + kEntrySize), len);
                return -1;
            }
            out.push_back(b.build(buf + pos, mac, 0));
            pos += kEntrySize;
        }
    }

    const size_t router_end = pos + kRouterHeaderSize;
    b.log(__LINE__, DW_LOG_INFO, texts.router_header_len, unsigned(kRouterHeaderSize), len);
    b.log(__LINE__, DW_LOG_INFO, texts.router_header_pos, unsigned(router_end), len);
    if (len < router_end) {
        b.log(__LINE__, DW_LOG_ERR, texts.router_header_short, unsigned(router_end), len);
        return -1;
    }
    const uint32_t router_entries = le32(buf + pos);
    if (router_entries == 0) return 0;
    const std::string router_mac = lookups.router_mac ? lookups.router_mac() : std::string();
    for (uint32_t k = 0; k < router_entries; ++k) {
        const size_t at = router_end + kEntrySize * k;
        if (at + kEntrySize > len) {
            b.log(__LINE__, DW_LOG_ERR, texts.router_entry_short, unsigned(at + kEntrySize), len);
            return -1;
        }
        out.push_back(b.build(buf + at, router_mac, 1));
    }
    return 0;
}

template int decode_detail_report<dpi_inf_log>(const DetailTexts &, const uint8_t *, size_t,
                                               unsigned, const DetailLookups &,
                                               std::vector<dpi_inf_log> &);
template int decode_detail_report<dpi_vul_log>(const DetailTexts &, const uint8_t *, size_t,
                                               unsigned, const DetailLookups &,
                                               std::vector<dpi_vul_log> &);

namespace {

// Request, look-ups under a read guard, decode; the buffer is freed on every path.
template <typename Rec>
int fetch_detail_logs(DpiDataDBCache *cache, const DetailTexts &texts,
                      int (*request)(void **, unsigned int *), std::vector<Rec> &out)
{
    list_head *rules = nullptr;
    list_head *ips_rules = nullptr;
    const bool have_rules = cache->get_rule_db(rules);
    const bool have_ips_rules = cache->get_csv_db(ips_rules);

    ReportBuffer buf;
    const int rc = request(&buf.data, &buf.used);
    if (rc != 0) {
        dbglog_write(texts.function, kLogFile, __LINE__, DW_LOG_WARNING, texts.request_failed, rc);
        return rc;
    }
    // Without the rule list no record is made; the IPS rule list is optional.
    if (!buf.data || buf.used == 0 || !have_rules) return 0;

    DetailLookups lookups;
    lookups.rule_name = [cache](unsigned int id) { return cache->find_rule_name(id); };
    if (have_ips_rules)
        lookups.ips_rule = [cache](unsigned int id) { return cache->find_ips_rule(id); };
    lookups.router_mac = [] {
        std::string ip, mac;
        Utilities::GetGatewayInfo(ip, mac);
        return mac;
    };
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, kLogFile, __LINE__);
    return decode_detail_report(texts, buf.bytes(), kDetailReportSize, buf.used, lookups, out);
}

}  // namespace
}  // namespace seclog
}  // namespace dw

int dw_ioctl::get_anomaly_detail_logs(dpi_security_log &logs)
{
    return dw::seclog::fetch_detail_logs(cache_, dw::seclog::kAnomalyTexts,
                                         get_fw_anomaly_list_detail, logs.inf_logs);
}

int dw_ioctl::get_vp_detail_logs(dpi_security_log &logs)
{
    return dw::seclog::fetch_detail_logs(cache_, dw::seclog::kVpTexts, get_fw_vp_log_detail,
                                         logs.vul_logs);
}
