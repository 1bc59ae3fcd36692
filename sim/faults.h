// Faults the engine can inject, per request or for every request.
#ifndef DW_SIM_FAULTS_H
#define DW_SIM_FAULTS_H

#include <string>

namespace sim {

enum class Fault {
    none,
    never_read,     // stop reading the control queue (from the start when global)
    no_answer,      // take the request, open the data queue, then do nothing
    empty_output,   // non-zero used length followed by an empty message
    used_len_zero,  // answer used length 0 and nothing else
    slow_drain,     // read the input only after the delay (default 5000 ms)
    delay,          // wait delay_ms before answering or reading
    unlink_early,   // unlink the data queue before the caller does
};

struct FaultInfo {
    Fault fault;
    const char *name;
    const char *help;
};

// Every fault with its scenario name and a one-line description.
const FaultInfo *fault_table(size_t *count);

bool parse_fault(const std::string &name, Fault &out);
const char *fault_name(Fault f);

// Delay a fault implies when the scenario gives none.
int default_delay_ms(Fault f);

}  // namespace sim

#endif
