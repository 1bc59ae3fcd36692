#include "sim/engine.h"

#include <fcntl.h>
#include <time.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "sim/answer.h"
#include "sim/data_queue.h"

namespace sim {
namespace {

constexpr long kControlMaxMsg = 10;
// How often the loop looks at the stop flag while the queue is quiet.
constexpr long kPollNs = 200L * 1000000L;

}  // namespace

Engine::Engine(const Scenario &scenario, Recorder &recorder, EngineOptions options)
    : scenario_(scenario), recorder_(recorder), opt_(std::move(options))
{
    reading_ = opt_.global_fault != Fault::never_read;
}

Engine::~Engine() { remove_control_queue(); }

bool Engine::create_control_queue(std::string &err)
{
    mq_unlink(opt_.control_queue.c_str());
    struct mq_attr attr {};
    attr.mq_maxmsg = kControlMaxMsg;
    attr.mq_msgsize = static_cast<long>(kControlMessageSize);
    ctrl_ = mq_open(opt_.control_queue.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666, &attr);
    if (ctrl_ == static_cast<mqd_t>(-1)) {
        err = "cannot create " + opt_.control_queue + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

void Engine::remove_control_queue()
{
    if (ctrl_ == static_cast<mqd_t>(-1)) return;
    mq_close(ctrl_);
    mq_unlink(opt_.control_queue.c_str());
    ctrl_ = static_cast<mqd_t>(-1);
}

bool Engine::run(const std::atomic<bool> &stop)
{
    uint8_t msg[kControlMessageSize];
    while (!stop) {
        if (!reading_) {
            pause_ms(200, stop);
            continue;
        }
        struct timespec t;
        clock_gettime(CLOCK_REALTIME, &t);
        t.tv_nsec += kPollNs;
        if (t.tv_nsec >= 1000000000L) {
            t.tv_sec += 1;
            t.tv_nsec -= 1000000000L;
        }
        ssize_t n = mq_timedreceive(ctrl_, reinterpret_cast<char *>(msg), sizeof msg, nullptr, &t);
        if (n < 0) {
            if (errno == ETIMEDOUT || errno == EINTR) continue;
            std::fprintf(stderr, "dpi-engine-sim: reading %s: %s\n", opt_.control_queue.c_str(),
                         std::strerror(errno));
            return false;
        }
        RequestRecord r;
        r.seq = ++seq_;
        ControlRequest req = decode_control(msg, static_cast<size_t>(n));
        serve_request(req, plan_for(scenario_, req, opt_.global_fault, opt_.global_delay_ms), stop,
                      recorder_, r);
        if (static_cast<size_t>(n) != kControlMessageSize)
            r.note = "control message of " + std::to_string(n) + " bytes" +
                     (r.note.empty() ? "" : "; " + r.note);
        if (r.fault == Fault::never_read) {
            reading_ = false;
            r.note += r.note.empty() ? "" : "; ";
            r.note += "control queue no longer read";
        }
        recorder_.append(r);
        log_request(r);
    }
    return true;
}

void Engine::log_request(const RequestRecord &r) const
{
    if (opt_.quiet) return;
    const ControlRequest &q = r.req;
    std::fprintf(stderr, "#%llu %u/%u 0x%08X %s in %u out %u queue %s:", static_cast<unsigned long long>(r.seq),
                 q.group, q.command, q.code, q.kind(), q.in_len, q.out_len, q.data_queue.c_str());
    if (q.is_input()) std::fprintf(stderr, " received %zu", r.received);
    if (r.used_len_was_sent) std::fprintf(stderr, " used %u sent %zu", r.used_len_sent, r.sent);
    if (!q.is_input() && !q.is_output()) std::fprintf(stderr, " %s", r.queue_existed ? "queue exists" : "no queue");
    if (r.fault != Fault::none) std::fprintf(stderr, " fault %s", fault_name(r.fault));
    if (!r.note.empty()) std::fprintf(stderr, " (%s)", r.note.c_str());
    if (!r.error.empty()) std::fprintf(stderr, " ERROR %s", r.error.c_str());
    std::fputc('\n', stderr);
}

}  // namespace sim
