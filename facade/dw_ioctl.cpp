// The dw_ioctl class and its simple methods: each forwards to one request or
// to the shared cache, converting arguments and results.
#include "dpiwrapper/dw_ioctl.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/requests.h"
#include "facade/facade_log.h"
#include "facade/report_buffer.h"

namespace {

// FQDN record of the web-reputation request.
constexpr size_t kFqdnRecordSize = 258;
constexpr size_t kFqdnMaxLength = 255;
constexpr size_t kFqdnValueOffset = 256;

}  // namespace

dw_ioctl::dw_ioctl() : cache_(nullptr)
{
    cache_ = &DpiDataDBCache::instance();
}

dw_ioctl::~dw_ioctl() {}

int dw_ioctl::mub_get_ver_info(void **out, unsigned int *used)
{
    return get_fw_ver_info(out, used);
}

int dw_ioctl::mub_set_wrs_fqdn(std::string fqdn, int value)
{
    if (fqdn.empty()) return -1;
    unsigned char record[kFqdnRecordSize] = {};
    std::strncpy(reinterpret_cast<char *>(record), fqdn.c_str(), kFqdnMaxLength);
    record[kFqdnValueOffset] = static_cast<unsigned char>(value & 0xFF);
    record[kFqdnValueOffset + 1] = static_cast<unsigned char>((value >> 8) & 0xFF);
    return set_fw_wrs_fqdn(record);
}

int dw_ioctl::reload_dbs()
{
    return cache_->reload_dbs() ? 0 : 1;
}

int dw_ioctl::set_whitelist_ip_(char *ip, unsigned char version, int value)
{
    DW_FACADE_LOG(DW_LOG_INFO, "set_whitelist_ip: %s,version:%d, val:%d", ip ? ip : "(null)", version,
                  value);
    int rc = set_whitelist_ip(ip, version, static_cast<unsigned int>(value));
    if (rc == 1) return 1;
    DW_FACADE_LOG(DW_LOG_ERR, "set whitelist ip:%s failed. error code : %d", ip ? ip : "(null)", rc);
    return 0;
}

int dw_ioctl::set_func_bit(unsigned int *bits, unsigned int len)
{
    return set_fw_func_bit(bits, len);
}

int dw_ioctl::get_dpi_ver(std::string &version)
{
    dw::ReportBuffer buf;
    int rc = get_fw_udb_ver(&buf.data, &buf.used);
    if (rc != 0) {
        DW_FACADE_LOG(DW_LOG_ERR, "Error: get ver!(%d)\n", rc);
    } else if (buf.data) {
        // major, minor, then the build as a little-endian u16 at offset 2
        const uint8_t *b = buf.bytes();
        char text[64];
        std::snprintf(text, sizeof text, "%u.%u.%u", b[0], b[1], static_cast<unsigned>(b[2] | (b[3] << 8)));
        version = text;
    }
    return rc;
}

int dw_ioctl::set_redirect_url(std::string &url)
{
    if (url.empty()) return -1;
    return set_fw_redirect_url(const_cast<char *>(url.data()), static_cast<unsigned int>(url.length()));
}

int dw_ioctl::clear_user_domain()
{
    int rc = set_fw_user_domain_clear();
    if (rc != 0) DW_FACADE_LOG(DW_LOG_ERR, "Error: clear domain!(%d)\n", rc);
    return rc;
}
