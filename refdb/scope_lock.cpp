// Scope::ReadWriteLocked: a read/write lock taken by try-lock and micro-sleeps.
#include "refdb/scope_lock.h"

#include <cerrno>
#include <ctime>

#include "dpiwrapper/dbcache.h"

namespace {

void sleep_us(unsigned int us)
{
    struct timespec left = {0, static_cast<long>(us) * 1000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

}  // namespace

namespace Scope {

ReadWriteLocked::ReadWriteLocked(pthread_rwlock_t *lock, bool write, const char *file, int line)
    : lock_(lock), file_(file ? file : ""), line_(line)
{
    if (!lock_) return;
    unsigned int busy = 0;
    for (;;) {
        int rc = write ? pthread_rwlock_trywrlock(lock_) : pthread_rwlock_tryrdlock(lock_);
        if (rc == 0) return;
        if (rc != EBUSY) continue;  // anything else is retried at once
        if (unsigned int us = dw::refdb::busy_sleep_us(++busy)) sleep_us(us);
    }
}

ReadWriteLocked::~ReadWriteLocked()
{
    if (lock_) pthread_rwlock_unlock(lock_);
}

}  // namespace Scope
