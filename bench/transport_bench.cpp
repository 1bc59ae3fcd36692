// run_ioctl round trips against dpi-engine-sim, each beside a raw floor
// measured in the same run against the same engine: a minimal client doing
// only the queue operations of the same request (open the control queue,
// create the data queue, send the control message, receive the used length
// and the data, close and unlink). At the end the medians are printed as
// library/floor ratios. Use --benchmark_repetitions=N for medians.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <mqueue.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "dpiwrapper/transport.h"
#include "transport/sys_ops.h"

extern char **environ;

namespace {

const char kCtrl[] = "/idpfw";

struct Request {
    const char *name;
    uint8_t group;
    uint8_t command;
    uint32_t out_len;  // 0: a pure command
};

const Request kPure = {"pure_command", 2, 31, 0};
const Request kSmall = {"output_4_bytes", 2, 1, 4};
const Request kUsers = {"user_list_157872", 2, 3, 157872};
const Request kAppRate = {"app_rate_1554432", 2, 4, 1554432};

const char kScenario[] = R"({"requests": [
  {"group": 2, "command": 1, "payload_hex": "0f000000"},
  {"group": 2, "command": 3, "payload_size": 157872, "fill": 17},
  {"group": 2, "command": 4, "payload_size": 1554432, "fill": 33}]})";

// The engine for the whole run, under the lock every user of "/idpfw" on
// this machine takes.
class BenchEngine {
public:
    bool start()
    {
        lock_fd_ = open("/tmp/dw-e2e-idpfw.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (lock_fd_ < 0 || flock(lock_fd_, LOCK_EX) != 0) return fail("cannot lock /tmp/dw-e2e-idpfw.lock");
        char tmpl[] = "/tmp/dw-bench-XXXXXX";
        if (!mkdtemp(tmpl)) return fail("mkdtemp failed");
        dir_ = tmpl;
        const std::string scenario = dir_ + "/scenario.json", ready = dir_ + "/ready";
        FILE *f = std::fopen(scenario.c_str(), "w");
        if (!f || std::fputs(kScenario, f) < 0 || std::fclose(f) != 0) return fail("cannot write the scenario");
        std::vector<std::string> words = {DW_SIM_PATH, "--scenario", scenario, "--record-dir", dir_,
                                          "--ready-file", ready, "--quiet", "--no-record"};
        std::vector<char *> argv;
        for (std::string &w : words) argv.push_back(&w[0]);
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
            return fail("cannot start " DW_SIM_PATH);
        for (int i = 0; i < 2000; ++i) {
            if (access(ready.c_str(), F_OK) == 0) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return fail("dpi-engine-sim not ready after 10 s");
    }
    void stop()
    {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
        if (!dir_.empty()) {
            unlink((dir_ + "/scenario.json").c_str());
            unlink((dir_ + "/ready").c_str());
            rmdir(dir_.c_str());
        }
        if (lock_fd_ >= 0) close(lock_fd_);
        lock_fd_ = -1;
    }
    ~BenchEngine() { stop(); }

private:
    bool fail(const char *why)
    {
        std::fprintf(stderr, "transport_bench: %s\n", why);
        return false;
    }
    pid_t pid_ = -1;
    int lock_fd_ = -1;
    std::string dir_;
};

// On a router setrlimit succeeds; without CAP_SYS_RESOURCE it fails with
// EPERM. Keep its cost (the system call is made) but report success, as on
// the router; main() has already lifted the limit as far as it may.
int router_setrlimit(int resource, const struct rlimit *limit)
{
    dw::sys::real_ops().setrlimit(resource, limit);
    return 0;
}

bool queue_fits(long maxmsg, long msgsize)
{
    struct mq_attr a {};
    a.mq_maxmsg = maxmsg;
    a.mq_msgsize = msgsize;
    const std::string name = "/dw-bench-probe-" + std::to_string(getpid());
    mqd_t q = mq_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600, &a);
    if (q == static_cast<mqd_t>(-1)) return false;
    mq_close(q);
    mq_unlink(name.c_str());
    return true;
}

bool skip_if_too_large(benchmark::State &state, const Request &r)
{
    if (r.out_len == 0 || queue_fits(2, r.out_len)) return false;
    state.SkipWithError(("needs a data queue of 2 x " + std::to_string(r.out_len) +
                         " bytes; RLIMIT_MSGQUEUE does not allow it here (run on a router or in the VM)")
                            .c_str());
    return true;
}

void Library(benchmark::State &state, const Request &r)
{
    if (skip_if_too_large(state, r)) return;
    std::vector<uint8_t> out(r.out_len ? r.out_len : 1);
    uint32_t used = 0;
    EngineRequest block{};
    block.magic = 0xBF;
    block.group = r.group;
    block.command = r.command;
    block.used_len = &used;
    if (r.out_len) {
        block.out_buf = out.data();
        block.out_len = r.out_len;
    }
    for (auto _ : state) {
        if (run_ioctl(kCtrl, 0xC02CBF02, &block) != 0) {
            state.SkipWithError("run_ioctl failed");
            break;
        }
    }
}

uint32_t le32(const uint8_t *p) { return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24; }
void put32(uint8_t *p, uint32_t v)
{
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

// The same request with nothing but the queue operations. With steps, also
// what run_ioctl does by design beyond them: setrlimit, getpid for the queue
// name, the unlink before creating the data queue, a 3-second deadline on
// every queue operation and the drain check. This variant tells the cost of
// those from the cost of the library's own code.
struct timespec deadline_3s()
{
    struct timespec t;
    clock_gettime(CLOCK_REALTIME, &t);
    t.tv_sec += 3;
    return t;
}

void floor_loop(benchmark::State &state, const Request &r, bool steps)
{
    if (skip_if_too_large(state, r)) return;
    const std::string name = "/idpfw-floor-" + std::to_string(getpid());
    uint8_t msg[112] = {};
    std::memcpy(msg, name.c_str(), name.size());
    put32(msg + 64, 0xC02CBF02);
    put32(msg + 68, 0xBF);
    msg[72] = r.group;
    msg[73] = r.command;
    put32(msg + 88, 1);  // used_len pointer: set
    if (r.out_len) {
        put32(msg + 84, 1);  // out_buf pointer: set
        put32(msg + 92, r.out_len);
    }
    std::vector<uint8_t> out(r.out_len ? r.out_len : 1);
    char *buf = reinterpret_cast<char *>(out.data());
    struct mq_attr attr {};
    attr.mq_maxmsg = 2;
    attr.mq_msgsize = r.out_len;
    const struct rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    // With steps every operation gets its own deadline, as in run_ioctl.
    auto send = [&](mqd_t q) {
        if (!steps) return mq_send(q, reinterpret_cast<char *>(msg), 112, 0) == 0;
        struct timespec t = deadline_3s();
        return mq_timedsend(q, reinterpret_cast<char *>(msg), 112, 0, &t) == 0;
    };
    auto receive = [&](mqd_t q) {
        if (!steps) return mq_receive(q, buf, r.out_len, nullptr);
        struct timespec t = deadline_3s();
        return mq_timedreceive(q, buf, r.out_len, nullptr, &t);
    };
    for (auto _ : state) {
        if (steps) {
            setrlimit(RLIMIT_MSGQUEUE, &unlimited);
            benchmark::DoNotOptimize(getpid());
        }
        mqd_t ctrl = mq_open(kCtrl, O_WRONLY);
        if (steps && r.out_len) mq_unlink(name.c_str());
        mqd_t data = r.out_len ? mq_open(name.c_str(), O_RDWR | O_CREAT, 0644, &attr) : static_cast<mqd_t>(-1);
        bool ok = ctrl != static_cast<mqd_t>(-1) && send(ctrl);
        if (ok && r.out_len) {
            ok = receive(data) == 4;
            if (ok && le32(out.data()) != 0) ok = receive(data) > 0;
            struct mq_attr now {};
            if (ok && steps) mq_getattr(data, &now);
        }
        if (r.out_len) {
            mq_close(data);
            mq_unlink(name.c_str());
        }
        mq_close(ctrl);
        if (!ok) {
            state.SkipWithError("floor request failed");
            break;
        }
    }
}

void Floor(benchmark::State &state, const Request &r) { floor_loop(state, r, false); }
void FloorSteps(benchmark::State &state, const Request &r) { floor_loop(state, r, true); }

// Console output plus, at the end, the library/floor ratio of each request
// (medians when repetitions were asked for).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Color : OO_None) {}
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &r : runs) {
            if (r.error_occurred) continue;
            const std::string &n = r.run_name.function_name;
            if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median")
                median_[n] = r.GetAdjustedRealTime();
            else if (r.run_type == Run::RT_Iteration)
                single_[n] = r.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::FILE *o = stdout;
        std::fprintf(o, "\nlibrary / floor (%s, real time):\n", median_.empty() ? "single runs" : "medians");
        for (const Request *r : {&kPure, &kSmall, &kUsers, &kAppRate}) {
            double lib = get(std::string("Library/") + r->name), flo = get(std::string("Floor/") + r->name),
                   steps = get(std::string("FloorSteps/") + r->name);
            if (lib <= 0 || flo <= 0) {
                std::fprintf(o, "  %-18s skipped\n", r->name);
                continue;
            }
            std::fprintf(o, "  %-18s library %8.1f us  floor %8.1f us  ratio %.3f", r->name, lib, flo, lib / flo);
            if (steps > 0) std::fprintf(o, "  (floor+steps %8.1f us, library/that %.3f)", steps, lib / steps);
            std::fputc('\n', o);
        }
    }

private:
    double get(const std::string &n) const
    {
        auto m = median_.find(n);
        if (m != median_.end()) return m->second;
        auto s = single_.find(n);
        return s != single_.end() ? s->second : 0;
    }
    std::map<std::string, double> median_, single_;
};

}  // namespace

#define DW_TRIO(name, request)                                                                  \
    BENCHMARK_CAPTURE(Floor, name, request)->UseRealTime()->Unit(benchmark::kMicrosecond);      \
    BENCHMARK_CAPTURE(FloorSteps, name, request)->UseRealTime()->Unit(benchmark::kMicrosecond); \
    BENCHMARK_CAPTURE(Library, name, request)->UseRealTime()->Unit(benchmark::kMicrosecond)
DW_TRIO(pure_command, kPure);
DW_TRIO(output_4_bytes, kSmall);
DW_TRIO(user_list_157872, kUsers);
DW_TRIO(app_rate_1554432, kAppRate);

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    BenchEngine engine;
    if (!engine.start()) return 1;
    // Lift the limit as a router would; without the privilege, as far as
    // the hard limit goes.
    struct rlimit lim = {RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_MSGQUEUE, &lim) != 0) {
        getrlimit(RLIMIT_MSGQUEUE, &lim);
        lim.rlim_cur = lim.rlim_max;
        setrlimit(RLIMIT_MSGQUEUE, &lim);
    }
    dw::sys::ops().setrlimit = router_setrlimit;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    engine.stop();
    benchmark::Shutdown();
    return 0;
}
