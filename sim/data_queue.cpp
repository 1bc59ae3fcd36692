#include "sim/data_queue.h"

#include <fcntl.h>
#include <time.h>

#include <cerrno>
#include <cstring>

namespace sim {
namespace {

// The instant ms milliseconds from now on the given clock.
struct timespec instant_after(clockid_t clock, int ms)
{
    struct timespec t;
    clock_gettime(clock, &t);
    t.tv_sec += ms / 1000;
    t.tv_nsec += static_cast<long>(ms % 1000) * 1000000L;
    if (t.tv_nsec >= 1000000000L) {
        t.tv_sec += 1;
        t.tv_nsec -= 1000000000L;
    }
    return t;
}

}  // namespace

bool DataQueue::open(const std::string &name, int oflag, std::string &err)
{
    close();
    q_ = mq_open(name.c_str(), oflag | O_CLOEXEC);
    if (q_ == static_cast<mqd_t>(-1)) {
        err = std::string("mq_open: ") + std::strerror(errno);
        return false;
    }
    if (mq_getattr(q_, &attr_) != 0) {
        err = std::string("mq_getattr: ") + std::strerror(errno);
        close();
        return false;
    }
    return true;
}

void DataQueue::close()
{
    if (q_ != static_cast<mqd_t>(-1)) mq_close(q_);
    q_ = static_cast<mqd_t>(-1);
}

bool DataQueue::send(const void *data, size_t len, int timeout_ms, std::string &err)
{
    struct timespec t = instant_after(CLOCK_REALTIME, timeout_ms);
    while (mq_timedsend(q_, static_cast<const char *>(data), len, 0, &t) != 0) {
        if (errno == EINTR) continue;
        err = std::string("mq_timedsend(") + std::to_string(len) + " bytes): " + std::strerror(errno);
        return false;
    }
    return true;
}

bool DataQueue::receive(Bytes &out, int timeout_ms, const std::atomic<bool> &stop, std::string &err)
{
    out.resize(static_cast<size_t>(attr_.mq_msgsize));
    struct timespec t = instant_after(CLOCK_REALTIME, timeout_ms);
    for (;;) {
        ssize_t n = mq_timedreceive(q_, reinterpret_cast<char *>(out.data()), out.size(), nullptr, &t);
        if (n >= 0) {
            out.resize(static_cast<size_t>(n));
            return true;
        }
        if (errno == EINTR && !stop) continue;
        err = std::string("mq_timedreceive: ") + std::strerror(errno);
        out.clear();
        return false;
    }
}

bool pause_ms(int ms, const std::atomic<bool> &stop)
{
    const struct timespec until = instant_after(CLOCK_MONOTONIC, ms);
    // An absolute monotonic deadline: signals wake the sleep early, the loop
    // goes back to sleep until the same instant.
    while (!stop) {
        int rc = clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
        if (rc == 0) return !stop;
        if (rc != EINTR) return !stop;
    }
    return false;
}

}  // namespace sim
