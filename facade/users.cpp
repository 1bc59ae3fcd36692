// dw_ioctl::get_users: the engine's user list with device descriptions.
#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/requests.h"
#include "facade/facade_log.h"
#include "facade/report_buffer.h"
#include "facade/users_decoder.h"

namespace {

const dev_os_entry_t *find_in_cache(const void *ctx, const unsigned int keys[6])
{
    return static_cast<const DpiDataDBCache *>(ctx)->find_dev_os(keys);
}

}  // namespace

int dw_ioctl::get_users(std::vector<dpi_user> &users)
{
    dw::ReportBuffer buf;
    int rc = get_fw_user_list(&buf.data, &buf.used);
    if (rc != 0) {
        DW_FACADE_LOG(DW_LOG_WARNING, "get user failed(%d)", rc);
        return rc;
    }
    // Without the device database no user is reported, even though the list
    // itself arrived.
    list_head *devices = nullptr;
    if (!cache_->get_dev_db(devices) || !buf.data) return 0;

    // The read side keeps a concurrent reload from freeing the entries while
    // their texts are copied.
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, "dw_ioctl", __LINE__);
    dw::DevOsLookup lookup;
    lookup.find = find_in_cache;
    lookup.ctx = cache_;
    dw::decode_users(buf.bytes(), buf.used, dw::kUserListCapacity, lookup, users);
    return 0;
}
