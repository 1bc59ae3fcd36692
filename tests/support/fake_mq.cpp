#include "support/fake_mq.h"

#include <errno.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "transport/sys_ops.h"

namespace dwtest {
namespace {

FakeMq *g_fake = nullptr;

int fail(int error)
{
    errno = error;
    return -1;
}

mqd_t fake_open(const char *name, int)
{
    g_fake->calls.push_back(std::string("open ") + name);
    if (g_fake->ctrl_open_error) return fail(g_fake->ctrl_open_error);
    return g_fake->ctrl_fd;
}

mqd_t fake_create(const char *name, int flags, mode_t mode, struct mq_attr *attr)
{
    g_fake->calls.push_back("create");
    g_fake->created_name = name;
    g_fake->create_flags = flags;
    g_fake->create_mode = mode;
    g_fake->attr = *attr;
    if (g_fake->data_open_error) return fail(g_fake->data_open_error);
    return g_fake->data_fd;
}

int fake_close(mqd_t fd)
{
    g_fake->calls.push_back("close " + std::to_string(fd));
    return 0;
}

int fake_unlink(const char *)
{
    const bool final = g_fake->called("create");
    g_fake->calls.push_back("unlink");
    return final && g_fake->final_unlink_error ? fail(g_fake->final_unlink_error) : 0;
}

int fake_send(mqd_t fd, const char *msg, size_t len, unsigned, const struct timespec *)
{
    const bool ctrl = fd == g_fake->ctrl_fd && !g_fake->called("send ctrl");
    g_fake->calls.push_back(ctrl ? "send ctrl" : "send data");
    if (ctrl) {
        int error = 0;
        if (!g_fake->ctrl_send_errors.empty()) {
            error = g_fake->ctrl_send_errors.front();
            g_fake->ctrl_send_errors.pop_front();
        }
        if (error) return fail(error);
        g_fake->controls.emplace_back(msg, msg + len);
        return 0;
    }
    if (g_fake->data_send_error) return fail(g_fake->data_send_error);
    g_fake->data_sent.assign(msg, msg + len);
    return 0;
}

ssize_t fake_receive(mqd_t, char *msg, size_t capacity, unsigned *, const struct timespec *deadline)
{
    g_fake->calls.push_back("receive");
    g_fake->receive_deadlines.push_back(deadline->tv_sec);
    if (g_fake->replies.empty()) return fail(ETIMEDOUT);
    FakeMq::Reply reply = g_fake->replies.front();
    g_fake->replies.pop_front();
    if (reply.error) return fail(reply.error);
    if (reply.bytes.size() > capacity) return fail(EMSGSIZE);
    std::copy(reply.bytes.begin(), reply.bytes.end(), msg);
    return static_cast<ssize_t>(reply.bytes.size());
}

int fake_getattr(mqd_t, struct mq_attr *attr)
{
    g_fake->calls.push_back("getattr");
    std::memset(attr, 0, sizeof *attr);
    if (g_fake->busy_polls > 0) {
        --g_fake->busy_polls;
        attr->mq_curmsgs = 1;
    }
    return 0;
}

int fake_setrlimit(int, const struct rlimit *)
{
    g_fake->calls.push_back("setrlimit");
    return g_fake->setrlimit_error ? fail(g_fake->setrlimit_error) : 0;
}

int fake_clock(clockid_t, struct timespec *ts)
{
    ts->tv_sec = g_fake->now++;
    ts->tv_nsec = 500;
    return 0;
}

time_t fake_time(time_t *out)
{
    const time_t t = g_fake->now++;
    if (out) *out = t;
    return t;
}

void *fake_calloc(size_t count, size_t size)
{
    return g_fake->fail_calloc ? nullptr : std::calloc(count, size);
}

}  // namespace

FakeMq::FakeMq()
{
    g_fake = this;
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
    g_fake = nullptr;
}

void FakeMq::answer(const std::vector<uint8_t> &data)
{
    const uint32_t used = static_cast<uint32_t>(data.size());
    std::vector<uint8_t> word(4);
    std::memcpy(word.data(), &used, 4);
    reply_bytes(word);
    if (used) reply_bytes(data);
}

bool FakeMq::called(const std::string &call) const
{
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

}  // namespace dwtest
