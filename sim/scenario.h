// The scenario file: what the engine answers to each request and which
// faults it injects. See README.md in this directory for the format.
#ifndef DW_SIM_SCENARIO_H
#define DW_SIM_SCENARIO_H

#include <cstdint>
#include <string>
#include <vector>

#include "sim/encoders.h"
#include "sim/faults.h"

namespace sim {

struct RequestEntry {
    uint8_t group = 0;
    uint8_t command = 0;
    bool has_payload = false;
    Bytes payload;
    std::string payload_source;  // "file x", "hex", "size", for the log
    bool has_used_len = false;
    uint32_t used_len = 0;  // sent as the used length instead of the payload size
    Fault fault = Fault::none;
    int delay_ms = 0;
};

// A report section of the scenario encoded by its report encoder.
struct EncodedReport {
    uint8_t group;
    uint8_t command;
    std::string key;
    Bytes bytes;
};

struct Scenario {
    std::vector<RequestEntry> requests;
    std::vector<EncodedReport> reports;

    // The first request entry for (group, command), or nullptr.
    const RequestEntry *entry(uint8_t group, uint8_t command) const;
    // The encoded report section for (group, command), or nullptr.
    const EncodedReport *report(uint8_t group, uint8_t command) const;
};

// Reads and validates a scenario file. Relative payload files are taken from
// the scenario's directory. Every report section is encoded here, so a bad
// section is reported before the engine serves anything.
bool load_scenario(const std::string &path, Scenario &out, std::string &err);

// Same, from JSON text; relative payload files are taken from base_dir.
bool parse_scenario(const std::string &text, const std::string &base_dir, Scenario &out,
                    std::string &err);

}  // namespace sim

#endif
