#include "sim/encoders.h"

namespace sim {

bool encode_web_threats(json_t *, Bytes &, std::string &err)
{
    err = "web_threats: not implemented yet";
    return false;
}

bool encode_trs_logs(json_t *, Bytes &, std::string &err)
{
    err = "trs_logs: not implemented yet";
    return false;
}

bool encode_anomaly_details(json_t *, Bytes &, std::string &err)
{
    err = "anomaly_details: not implemented yet";
    return false;
}

bool encode_vp_details(json_t *, Bytes &, std::string &err)
{
    err = "vp_details: not implemented yet";
    return false;
}

}  // namespace sim
