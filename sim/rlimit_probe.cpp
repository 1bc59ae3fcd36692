#include "sim/rlimit_probe.h"

#include <sys/resource.h>

#include <cerrno>
#include <cstring>

namespace sim {
namespace {

std::string limit_text(rlim_t v) { return v == RLIM_INFINITY ? "unlimited" : std::to_string(v); }

}  // namespace

bool probe_rlimit(std::string &report)
{
    struct rlimit want {RLIM_INFINITY, RLIM_INFINITY};
    bool ok = setrlimit(RLIMIT_MSGQUEUE, &want) == 0;
    int e = errno;
    struct rlimit now {};
    getrlimit(RLIMIT_MSGQUEUE, &now);
    report = std::string("setrlimit(RLIMIT_MSGQUEUE, unlimited): ") +
             (ok ? "ok" : std::strerror(e)) + "; soft " + limit_text(now.rlim_cur) + ", hard " +
             limit_text(now.rlim_max);
    return ok;
}

}  // namespace sim
