// How the engine answers one request: the plan chosen from the scenario, and
// the data-queue exchange that carries it out.
#ifndef DW_SIM_ANSWER_H
#define DW_SIM_ANSWER_H

#include <atomic>
#include <string>

#include "sim/control_message.h"
#include "sim/recorder.h"
#include "sim/scenario.h"

namespace sim {

struct Plan {
    const Bytes *payload = nullptr;  // nullptr: nothing to report (used length 0)
    std::string source;              // where the payload comes from, for the log
    bool has_used_len = false;
    uint32_t used_len = 0;
    Fault fault = Fault::none;
    int delay_ms = 0;
};

// A request entry for (group, command) decides first; without a payload of
// its own the report section encoded for (group, command) is used. A global
// fault applies to requests whose entry names none.
Plan plan_for(const Scenario &s, const ControlRequest &req, Fault global_fault, int global_delay_ms);

// Carries out the exchange on the request's data queue and fills the record
// (queue attributes, bytes moved, notes). Input data is saved through rec.
void serve_request(const ControlRequest &req, const Plan &plan, const std::atomic<bool> &stop,
                   Recorder &rec, RequestRecord &out);

}  // namespace sim

#endif
