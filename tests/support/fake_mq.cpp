#include "support/fake_mq.h"

#include <errno.h>

#include <cstdlib>
#include <cstring>

#include "transport/sys_ops.h"

namespace dwtest {
namespace {

FakeMq *g = nullptr;

int fail(int error)
{
    errno = error;
    return -1;
}

void log(const std::string &call) { g->calls += (g->calls.empty() ? "" : " ") + call; }

mqd_t fake_open(const char *, int)
{
    log("open");
    return g->ctrl_open_error ? fail(g->ctrl_open_error) : g->ctrl_fd;
}

mqd_t fake_create(const char *name, int flags, mode_t mode, struct mq_attr *attr)
{
    log("create");
    g->created_name = name;
    g->create_flags = flags;
    g->create_mode = mode;
    g->attr = *attr;
    return g->data_open_error ? fail(g->data_open_error) : g->data_fd;
}

int fake_close(mqd_t fd)
{
    log("close" + std::to_string(fd));
    return 0;
}

int fake_unlink(const char *)
{
    log("unlink");
    return 0;
}

int fake_send(mqd_t, const char *msg, size_t len, unsigned, const struct timespec *)
{
    const bool ctrl = g->calls.find("send") == std::string::npos;
    log(ctrl ? "send" : "senddata");
    const int error = ctrl ? g->ctrl_send_error : g->data_send_error;
    if (error) return fail(error);
    (ctrl ? g->control : g->data_sent).assign(msg, msg + len);
    return 0;
}

ssize_t fake_receive(mqd_t, char *msg, size_t capacity, unsigned *, const struct timespec *deadline)
{
    log("receive");
    g->receive_deadlines.push_back(deadline->tv_sec);
    int error = 0;
    if (!g->receive_errors.empty()) {
        error = g->receive_errors.front();
        g->receive_errors.pop_front();
    }
    if (error) return fail(error);
    if (g->replies.empty()) return fail(ETIMEDOUT);
    const FakeMq::Message reply = g->replies.front();
    g->replies.pop_front();
    if (reply.size() > capacity) return fail(EMSGSIZE);
    if (!reply.empty()) std::memcpy(msg, reply.data(), reply.size());
    return static_cast<ssize_t>(reply.size());
}

int fake_getattr(mqd_t, struct mq_attr *attr)
{
    log("getattr");
    std::memset(attr, 0, sizeof *attr);
    attr->mq_curmsgs = g->busy_polls > 0 ? (g->busy_polls--, 1) : 0;
    return 0;
}

int fake_setrlimit(int, const struct rlimit *)
{
    log("setrlimit");
    return g->setrlimit_error ? fail(g->setrlimit_error) : 0;
}

int fake_clock(clockid_t, struct timespec *ts)
{
    ts->tv_sec = g->now++;
    ts->tv_nsec = 500;
    return 0;
}

time_t fake_time(time_t *) { return g->now++; }

void *fake_calloc(size_t count, size_t size) { return g->fail_calloc ? nullptr : std::calloc(count, size); }

}  // namespace

FakeMq::FakeMq()
{
    g = this;
    dw::sys::Ops &ops = dw::sys::ops();
    ops.mq_open = fake_open;
    ops.mq_create = fake_create;
    ops.mq_close = fake_close;
    ops.mq_unlink = fake_unlink;
    ops.mq_timedsend = fake_send;
    ops.mq_timedreceive = fake_receive;
    ops.mq_getattr = fake_getattr;
    ops.setrlimit = fake_setrlimit;
    ops.clock_gettime = fake_clock;
    ops.time = fake_time;
    ops.calloc = fake_calloc;
}

FakeMq::~FakeMq()
{
    dw::sys::reset_ops();
    g = nullptr;
}

void FakeMq::answer(const Message &data)
{
    const uint32_t used = static_cast<uint32_t>(data.size());
    replies.push_back(Message(reinterpret_cast<const uint8_t *>(&used), reinterpret_cast<const uint8_t *>(&used) + 4));
    if (used) replies.push_back(data);
}

}  // namespace dwtest
