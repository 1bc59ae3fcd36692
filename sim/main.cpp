// dpi-engine-sim: the development engine. See --help.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "sim/engine.h"
#include "sim/options.h"
#include "sim/recorder.h"
#include "sim/rlimit_probe.h"
#include "sim/scenario.h"

namespace {

std::atomic<bool> g_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

extern "C" void on_stop_signal(int) { g_stop = true; }

void install_stop_handlers()
{
    struct sigaction sa {};
    sa.sa_handler = on_stop_signal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = 0;  // no SA_RESTART: blocking queue calls return EINTR
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

bool announce_ready(const std::string &ready_file)
{
    std::printf("ready\n");
    std::fflush(stdout);
    if (ready_file.empty()) return true;
    int fd = open(ready_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    std::string pid = std::to_string(getpid()) + "\n";
    bool ok = write(fd, pid.data(), pid.size()) == static_cast<ssize_t>(pid.size());
    return close(fd) == 0 && ok;
}

int serve(const sim::Options &opt)
{
    sim::Scenario scenario;
    std::string err;
    if (!opt.scenario.empty() && !sim::load_scenario(opt.scenario, scenario, err)) {
        std::fprintf(stderr, "dpi-engine-sim: scenario %s\n", err.c_str());
        return 2;
    }
    sim::Recorder recorder;
    if (opt.no_record) {
        recorder.disable();
    } else if (!recorder.open(opt.record_dir, err)) {
        std::fprintf(stderr, "dpi-engine-sim: %s\n", err.c_str());
        return 1;
    }
    sim::EngineOptions eo;
    eo.global_fault = opt.fault;
    eo.global_delay_ms = opt.delay_ms;
    eo.quiet = opt.quiet;
    sim::Engine engine(scenario, recorder, eo);
    install_stop_handlers();
    if (!engine.create_control_queue(err)) {
        std::fprintf(stderr, "dpi-engine-sim: %s\n", err.c_str());
        return 1;
    }
    if (!announce_ready(opt.ready_file)) {
        std::fprintf(stderr, "dpi-engine-sim: cannot write %s: %s\n", opt.ready_file.c_str(),
                     std::strerror(errno));
        return 1;
    }
    bool ok = engine.run(g_stop);
    engine.remove_control_queue();
    if (!opt.quiet)
        std::fprintf(stderr, "dpi-engine-sim: stopped after %llu requests\n",
                     static_cast<unsigned long long>(engine.served()));
    return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv)
{
    sim::Options opt;
    std::string err;
    if (!sim::parse_options(argc, argv, opt, err)) {
        std::fprintf(stderr, "dpi-engine-sim: %s (see --help)\n", err.c_str());
        return 2;
    }
    if (opt.help) {
        std::fputs(sim::help_text().c_str(), stdout);
        return 0;
    }
    if (opt.probe_rlimit) {
        std::string report;
        bool ok = sim::probe_rlimit(report);
        std::printf("%s\n", report.c_str());
        return ok ? 0 : 1;
    }
    try {
        return serve(opt);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "dpi-engine-sim: %s\n", e.what());
        return 1;
    }
}
