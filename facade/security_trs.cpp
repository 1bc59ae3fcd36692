#include "facade/security_trs.h"

#include <algorithm>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/platform.h"
#include "dpiwrapper/requests.h"
#include "facade/report_buffer.h"
#include "facade/security_common.h"

namespace dw {
namespace seclog {

namespace {
// Entry layout.
constexpr size_t kTime = 0, kMac = 8, kFamily = 15, kLocal = 16, kPeer = 32, kLocalPort = 48,
                 kPeerPort = 52, kCategory = 56, kRole = 61, kAction = 63;
}  // namespace

uint8_t trs_role(uint8_t code)
{
    if (code == 2) return 2;
    return code == 1 ? 0 : 1;
}

void decode_trs_logs(const uint8_t *buf, size_t size, unsigned used, const WrsCatLookup &find_cat,
                     std::vector<dpi_ip_log> &out)
{
    if (!buf) return;
    const size_t valid = std::min<size_t>(used, size);
    const size_t n = bounded_entry_count(buf, valid, kTrsEntrySize, kTrsMaxEntries);
    for (size_t i = 0; i < n; ++i) {
        const uint8_t *e = buf + 8 + i * kTrsEntrySize;
        if (e[kAction] == 0) continue;

        dpi_ip_log rec;
        rec.time = le32(e + kTime);
        rec.cat_id = le32(e + kCategory);
        rec.action = e[kAction];
        if (find_cat) {
            const wrs_m_cat_entry_t *cat = find_cat(static_cast<int>(rec.cat_id));
            if (cat && cat->cat_name) rec.cat_name = cat->cat_name;
        }
        rec.mac = Utilities::FormatMACAddress(e + kMac, ':', false);
        rec.local_ip = format_address(e[kFamily], e + kLocal);
        rec.peer_ip = format_address(e[kFamily], e + kPeer);
        rec.local_port = le32(e + kLocalPort);
        rec.peer_port = le32(e + kPeerPort);
        rec.role = trs_role(e[kRole]);
        dbglog_write("get_trs_logs", kLogFile, __LINE__, DW_LOG_INFO,
                     "[TRS] get_trs_logs log - action:%d, time:%ld, cat_id:%d, mac:%s, "
                     "localip:%s:%d, peerip:%s:%d, role:%d\n",
                     rec.action, static_cast<long>(rec.time), static_cast<int>(rec.cat_id),
                     rec.mac.c_str(), rec.local_ip.c_str(), static_cast<int>(rec.local_port),
                     rec.peer_ip.c_str(), static_cast<int>(rec.peer_port), rec.role);
        out.push_back(std::move(rec));
    }
}

}  // namespace seclog
}  // namespace dw

int dw_ioctl::get_trs_logs(dpi_security_log &logs)
{
    using namespace dw::seclog;
    hlist_head *mapping = nullptr;
    const bool have_mapping = cache_->get_wrs_cat(mapping);

    dw::ReportBuffer buf;
    const int rc = get_fw_trs_log(&buf.data, &buf.used);
    if (rc != 0) return rc;
    if (!buf.data) return 0;
    const DpiDataDBCache *cache = cache_;
    WrsCatLookup find_cat;
    if (have_mapping) find_cat = [cache](int id) { return cache->find_wrs_cat(id); };
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, kLogFile, __LINE__);
    decode_trs_logs(buf.bytes(), kTrsReportSize, buf.used, find_cat,
                    logs.ip_logs);
    return 0;
}
