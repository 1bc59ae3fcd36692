// All four security logs in one container, each list ordered by time.
#include <algorithm>

#include "dpiwrapper/dw_ioctl.h"
#include "facade/facade_log.h"

int dw_ioctl::get_security_logs(dpi_security_log &logs)
{
    if (get_wrs_sec_logs(logs) == 0)
        DW_FACADE_LOG(DW_LOG_INFO, "get wrs logs, OK");
    if (get_trs_logs(logs) == 0)
        DW_FACADE_LOG(DW_LOG_INFO, "get trs logs, OK");
    if (get_anomaly_detail_logs(logs) == 0)
        DW_FACADE_LOG(DW_LOG_INFO, "get anomaly detail logs, OK");
    const int result = get_vp_detail_logs(logs);
    if (result == 0)
        DW_FACADE_LOG(DW_LOG_INFO, "get vp detail logs, OK");

    // Unstable on purpose: records with equal times keep no particular order.
    std::sort(logs.web_logs.begin(), logs.web_logs.end(), sort_by_time<dpi_base_sec_log>);
    std::sort(logs.ip_logs.begin(), logs.ip_logs.end(), sort_by_time<dpi_base_sec_log>);
    std::sort(logs.inf_logs.begin(), logs.inf_logs.end(), sort_by_time<dpi_base_sec_log>);
    std::sort(logs.vul_logs.begin(), logs.vul_logs.end(), sort_by_time<dpi_base_sec_log>);
    return result;
}
