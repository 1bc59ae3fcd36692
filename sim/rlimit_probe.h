// Whether this process may lift its message-queue byte limit.
#ifndef DW_SIM_RLIMIT_PROBE_H
#define DW_SIM_RLIMIT_PROBE_H

#include <string>

namespace sim {

// Tries setrlimit(RLIMIT_MSGQUEUE, {RLIM_INFINITY, RLIM_INFINITY}) and
// describes the outcome and the current limits in report.
bool probe_rlimit(std::string &report);

}  // namespace sim

#endif
