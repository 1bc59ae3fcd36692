// Runs dpi-engine-sim for a test: writes the scenario, starts the engine with
// a fresh record directory, waits until it is ready, stops it with SIGTERM
// and reads back what it recorded.
//
// All engines on this machine share the control queue "/idpfw" and the
// per-user queue byte limit, so an EngineProcess holds an exclusive flock on
// "/tmp/dw-e2e-idpfw.lock" from start() until stop().
#ifndef DW_TESTS_ENGINE_PROCESS_H
#define DW_TESTS_ENGINE_PROCESS_H

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace dwtest {

// One line of the engine's requests.jsonl: e["group"] for integers and
// booleans (1/0; -1 when absent), e.str("kind") for texts.
struct EngineRecord {
    std::map<std::string, int64_t> num;
    std::map<std::string, std::string> text;
    int64_t operator[](const std::string &key) const;
    std::string str(const std::string &key) const;
};

class EngineProcess {
public:
    EngineProcess() = default;
    ~EngineProcess() { stop(); }
    EngineProcess(const EngineProcess &) = delete;
    EngineProcess &operator=(const EngineProcess &) = delete;

    // Starts the engine with the scenario JSON (empty: none) and extra
    // arguments such as {"--fault", "never_read"}. False with the reason in
    // error() when it does not become ready within 10 s.
    bool start(const std::string &scenario_json, const std::vector<std::string> &args = {});
    // SIGTERM, then SIGKILL after 5 s. The exit status (0 is a clean exit),
    // or -1 when no engine ran. Keeps the records when DW_KEEP_RECORDS is set.
    int stop();

    bool running() const { return pid_ > 0; }
    const std::string &error() const { return error_; }
    std::string log() const;  // the engine's stdout and stderr so far

    std::vector<EngineRecord> records() const;
    // Record number n (1-based), waiting up to timeout_ms for it.
    EngineRecord record_number(size_t n, int timeout_ms = 5000) const;
    // The input bytes the engine recorded for a request.
    std::vector<uint8_t> input_of(const EngineRecord &r) const;

private:
    bool launch(const std::string &scenario_path, const std::vector<std::string> &args);

    pid_t pid_ = -1;
    int lock_fd_ = -1;
    std::string dir_;
    std::string error_;
};

// Whether a maxmsg x msgsize queue can be created here after lifting
// RLIMIT_MSGQUEUE as far as it may, as run_ioctl does.
bool can_create_queue(long maxmsg, long msgsize);
// Why not, for GTEST_SKIP(): the sizes and this machine's limits.
std::string queue_skip_reason(long maxmsg, long msgsize);
// The data queue name run_ioctl uses from the calling thread.
std::string data_queue_name_of_this_thread();
bool queue_exists(const std::string &name);
// This process's data queues ("idpfw-<pid>-*") still under /dev/mqueue.
std::vector<std::string> leftover_data_queues();

}  // namespace dwtest

#endif
