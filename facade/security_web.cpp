#include "facade/security_web.h"

#include <algorithm>
#include <cstring>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/platform.h"
#include "dpiwrapper/requests.h"
#include "facade/facade_log.h"
#include "facade/report_buffer.h"
#include "facade/security_common.h"

namespace dw {
namespace seclog {

namespace {
// Entry layout.
constexpr size_t kTime = 0, kMac = 8, kCategory = 16, kExtraId = 20, kUrl = 24, kUrlSize = 64,
                 kFlag = 88;
}  // namespace

void decode_web_threats(const uint8_t *buf, size_t size, unsigned used,
                        const WrsCatLookup &find_cat, std::vector<dpi_web_log> &out)
{
    if (!buf || !find_cat) return;
    const size_t valid = std::min<size_t>(used, size);
    const size_t n = bounded_entry_count(buf, valid, kWebThreatEntrySize, kWebThreatMaxEntries);
    for (size_t i = 0; i < n; ++i) {
        const uint8_t *e = buf + 8 + i * kWebThreatEntrySize;
        const uint32_t cat_id = le32(e + kCategory);
        const uint8_t flag = e[kFlag];
        if (flag == 0) continue;
        const wrs_m_cat_entry_t *cat = find_cat(static_cast<int>(cat_id));
        if (!cat || (cat->map_id != 1 && cat->map_id != 2)) continue;

        dpi_web_log rec;
        rec.time = le32(e + kTime);
        rec.mac = Utilities::FormatMACAddress(e + kMac, ':', false);
        rec.cat_id = cat_id;
        rec.cat_name = cat->cat_name ? cat->cat_name : "";
        rec.flag = flag;
        rec.from_router = 0;
        const char *url = reinterpret_cast<const char *>(e + kUrl);
        rec.url.assign(url, strnlen(url, kUrlSize));
        rec.extra_id = le32(e + kExtraId);
        out.push_back(std::move(rec));
    }
}

}  // namespace seclog
}  // namespace dw

int dw_ioctl::get_wrs_sec_logs(dpi_security_log &logs)
{
    using namespace dw::seclog;
    hlist_head *mapping = nullptr;
    const bool have_mapping = cache_->get_wrs_cat(mapping);

    dw::ReportBuffer buf;
    const int rc = get_fw_wrs_url_list(&buf.data, &buf.used);
    if (rc != 0) {
        DW_FACADE_LOG(DW_LOG_WARNING, "get wrs url failed(%d)", rc);
        return rc;
    }
    // Without the web-category mapping no web threat is reported.
    if (!buf.data || buf.used == 0 || !have_mapping) return 0;
    const DpiDataDBCache *cache = cache_;
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, kLogFile, __LINE__);
    decode_web_threats(buf.bytes(), kWebThreatReportSize, buf.used,
                       [cache](int id) { return cache->find_wrs_cat(id); }, logs.web_logs);
    return 0;
}
