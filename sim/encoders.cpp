#include "sim/encoders.h"

namespace sim {

const std::vector<ReportEncoder> &report_encoders()
{
    static const std::vector<ReportEncoder> table = {
        {2, 3, "devices", encode_users},
        {2, 27, "engine_version", encode_engine_version},
        {2, 17, "udb_version", encode_udb_version},
        {4, 1, "web_threats", encode_web_threats},
        {17, 1, "trs_logs", encode_trs_logs},
        {9, 3, "anomaly_details", encode_anomaly_details},
        {8, 7, "vp_details", encode_vp_details},
    };
    return table;
}

}  // namespace sim
