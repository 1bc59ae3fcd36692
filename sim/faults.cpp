#include "sim/faults.h"

namespace sim {
namespace {

const FaultInfo kFaults[] = {
    {Fault::none, "none", "answer normally"},
    {Fault::never_read, "never_read",
     "stop reading the control queue after this request (--fault: from the start)"},
    {Fault::no_answer, "no_answer",
     "take the request and open the data queue, but never answer or read"},
    {Fault::empty_output, "empty_output", "send a non-zero used length, then an empty message"},
    {Fault::used_len_zero, "used_len_zero", "send used length 0 and nothing else"},
    {Fault::slow_drain, "slow_drain", "read the input only after delay_ms (default 5000)"},
    {Fault::delay, "delay", "wait delay_ms (default 1000) before answering or reading"},
    {Fault::unlink_early, "unlink_early",
     "unlink the data queue first, so the caller's own unlink fails"},
};

}  // namespace

const FaultInfo *fault_table(size_t *count)
{
    *count = sizeof kFaults / sizeof kFaults[0];
    return kFaults;
}

bool parse_fault(const std::string &name, Fault &out)
{
    for (const FaultInfo &f : kFaults) {
        if (name == f.name) {
            out = f.fault;
            return true;
        }
    }
    return false;
}

const char *fault_name(Fault f)
{
    for (const FaultInfo &i : kFaults)
        if (i.fault == f) return i.name;
    return "?";
}

int default_delay_ms(Fault f)
{
    switch (f) {
    case Fault::slow_drain: return 5000;
    case Fault::delay: return 1000;
    default: return 0;
    }
}

}  // namespace sim
