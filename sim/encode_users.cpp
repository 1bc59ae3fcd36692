#include "sim/encoders.h"

namespace sim {

bool encode_users(json_t *, Bytes &, std::string &err)
{
    err = "devices: not implemented yet";
    return false;
}

bool encode_engine_version(json_t *, Bytes &, std::string &err)
{
    err = "engine_version: not implemented yet";
    return false;
}

bool encode_udb_version(json_t *, Bytes &, std::string &err)
{
    err = "udb_version: not implemented yet";
    return false;
}

}  // namespace sim
