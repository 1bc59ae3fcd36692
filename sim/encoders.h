// Readable scenario sections encoded into the exact report bytes the engine
// sends. One encoder per report; the table in encoders.cpp maps each to its
// request (group, command) and to its key in the scenario file.
#ifndef DW_SIM_ENCODERS_H
#define DW_SIM_ENCODERS_H

#include <jansson.h>

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

using Bytes = std::vector<uint8_t>;

// Encodes one scenario section. Returns false with a message in err when the
// section is malformed.
using EncodeFn = bool (*)(json_t *section, Bytes &out, std::string &err);

struct ReportEncoder {
    uint8_t group;
    uint8_t command;
    const char *scenario_key;
    EncodeFn encode;
};

const std::vector<ReportEncoder> &report_encoders();

// Encoders (one file per report family).
bool encode_users(json_t *section, Bytes &out, std::string &err);           // 2/3  "devices"
bool encode_engine_version(json_t *section, Bytes &out, std::string &err);  // 2/27 "engine_version"
bool encode_udb_version(json_t *section, Bytes &out, std::string &err);     // 2/17 "udb_version"
bool encode_web_threats(json_t *section, Bytes &out, std::string &err);     // 4/1  "web_threats"
bool encode_trs_logs(json_t *section, Bytes &out, std::string &err);        // 17/1 "trs_logs"
bool encode_anomaly_details(json_t *section, Bytes &out, std::string &err); // 9/3  "anomaly_details"
bool encode_vp_details(json_t *section, Bytes &out, std::string &err);      // 8/7  "vp_details"

}  // namespace sim

#endif
