/* Source-unit names that the reference-file code logs under. */
#ifndef DW_REFDB_LOG_UNITS_H
#define DW_REFDB_LOG_UNITS_H

namespace dw {
namespace refdb {

constexpr const char *kUnitWrsMapping = "conf_wrs"; /* web-category mapping */
constexpr const char *kUnitConfApp = "conf_app";    /* reload lock file, IPS rule file */
constexpr const char *kUnitCache = "dw_ioctl";      /* the cache and its getters */

}  // namespace refdb
}  // namespace dw

#endif
