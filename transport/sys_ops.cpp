#include "transport/sys_ops.h"

#include <stdlib.h>

namespace dw {
namespace sys {
namespace {

mqd_t real_mq_open(const char *name, int oflag) { return ::mq_open(name, oflag); }

mqd_t real_mq_create(const char *name, int oflag, mode_t mode, struct mq_attr *attr)
{
    return ::mq_open(name, oflag, mode, attr);
}

int real_setrlimit(int resource, const struct rlimit *limit)
{
#ifdef __GLIBC__
    return ::setrlimit(static_cast<__rlimit_resource_t>(resource), limit);
#else
    return ::setrlimit(resource, limit);
#endif
}

const Ops kReal = {
    real_mq_open,      real_mq_create, ::mq_close,       ::mq_unlink, ::mq_timedsend,
    ::mq_timedreceive, ::mq_getattr,   real_setrlimit,   ::clock_gettime, ::time,
    ::calloc,
};

Ops g_ops = kReal;

}  // namespace

Ops &ops() { return g_ops; }
const Ops &real_ops() { return kReal; }
void reset_ops() { g_ops = kReal; }

}  // namespace sys
}  // namespace dw
