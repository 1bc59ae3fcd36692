/* The one seam for the system calls of the transport and the lock file.
 * Production code calls through ops(); tests swap single entries to inject
 * EINTR, EAGAIN, ETIMEDOUT or EPERM where a real engine cannot. */
#ifndef DW_TRANSPORT_SYS_OPS_H
#define DW_TRANSPORT_SYS_OPS_H

#include <mqueue.h>
#include <stddef.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <time.h>

namespace dw {
namespace sys {

struct Ops {
    mqd_t (*mq_open)(const char *name, int oflag);
    mqd_t (*mq_create)(const char *name, int oflag, mode_t mode, struct mq_attr *attr);
    int (*mq_close)(mqd_t mqd);
    int (*mq_unlink)(const char *name);
    int (*mq_timedsend)(mqd_t mqd, const char *msg, size_t len, unsigned prio,
                        const struct timespec *deadline);
    ssize_t (*mq_timedreceive)(mqd_t mqd, char *msg, size_t len, unsigned *prio,
                               const struct timespec *deadline);
    int (*mq_getattr)(mqd_t mqd, struct mq_attr *attr);
    int (*setrlimit)(int resource, const struct rlimit *limit);
    int (*clock_gettime)(clockid_t clock, struct timespec *ts);
    time_t (*time)(time_t *out);
    /* Allocations whose failure has a defined message or result. */
    void *(*calloc)(size_t count, size_t size);
};

/* The table in use. */
Ops &ops();
/* The real system calls. */
const Ops &real_ops();
/* Puts the real calls back. */
void reset_ops();

}  // namespace sys
}  // namespace dw

#endif
