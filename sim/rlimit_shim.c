/* Privilege shim, loaded with LD_PRELOAD on machines where the process may
 * not lift RLIMIT_MSGQUEUE (no CAP_SYS_RESOURCE). setrlimit() goes to the
 * real call first; only when that fails with EPERM for RLIMIT_MSGQUEUE are
 * soft and hard set to the current hard limit, and 0 is returned. Queues
 * that need more than that limit still fail to be created. Every other
 * resource and every other error is passed through untouched. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <sys/resource.h>

#define SHIM_API __attribute__((visibility("default")))

typedef int (*setrlimit_fn)(__rlimit_resource_t, const struct rlimit *);
typedef int (*setrlimit64_fn)(__rlimit_resource_t, const struct rlimit64 *);

static int within_hard_limit(__rlimit_resource_t resource, setrlimit_fn real)
{
    struct rlimit now;
    if (getrlimit(resource, &now) != 0) return -1;
    now.rlim_cur = now.rlim_max;
    return real(resource, &now);
}

SHIM_API int setrlimit(__rlimit_resource_t resource, const struct rlimit *limit)
{
    static setrlimit_fn real;
    if (!real) real = (setrlimit_fn)dlsym(RTLD_NEXT, "setrlimit");
    if (!real) {
        errno = ENOSYS;
        return -1;
    }
    int rc = real(resource, limit);
    if (rc != 0 && errno == EPERM && resource == RLIMIT_MSGQUEUE) {
        int saved = errno;
        if (within_hard_limit(resource, real) == 0) return 0;
        errno = saved;
    }
    return rc;
}

/* 32-bit programs built with 64-bit file offsets call this name instead. */
SHIM_API int setrlimit64(__rlimit_resource_t resource, const struct rlimit64 *limit)
{
    static setrlimit64_fn real64;
    if (!real64) real64 = (setrlimit64_fn)dlsym(RTLD_NEXT, "setrlimit64");
    if (!real64) {
        errno = ENOSYS;
        return -1;
    }
    int rc = real64(resource, limit);
    if (rc != 0 && errno == EPERM && resource == RLIMIT_MSGQUEUE) {
        struct rlimit64 now;
        int saved = errno;
        if (getrlimit64(resource, &now) == 0) {
            now.rlim_cur = now.rlim_max;
            if (real64(resource, &now) == 0) return 0;
        }
        errno = saved;
    }
    return rc;
}
