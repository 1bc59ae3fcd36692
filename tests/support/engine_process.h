// Runs dpi-engine-sim for a test: writes the scenario, starts the engine with
// a fresh record directory, waits until its control queue exists, stops it
// with SIGTERM and reads back what it recorded.
//
// All engines on this machine share the control queue "/idpfw" and the
// per-user queue byte limit, so an EngineProcess holds an exclusive flock on
// "/tmp/dw-e2e-idpfw.lock" from start() until stop().
#ifndef DW_TESTS_ENGINE_PROCESS_H
#define DW_TESTS_ENGINE_PROCESS_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace dwtest {

// One line of the engine's requests.jsonl.
struct EngineRecord {
    uint64_t seq = 0;
    std::string kind;  // "input", "output" or "command"
    uint32_t code = 0;
    uint32_t magic = 0;
    int group = -1;
    int command = -1;
    int reserved = -1;
    int flags = -1;
    uint32_t in_len = 0;
    uint32_t out_len = 0;
    bool in_buf = false;
    bool out_buf = false;
    bool used_len_ptr = false;
    bool tail_zero = false;
    std::string queue;
    bool queue_existed = false;
    long mq_maxmsg = 0;
    long mq_msgsize = 0;
    uint64_t received = 0;
    uint64_t sent = 0;
    bool used_len_was_sent = false;
    uint32_t used_len_sent = 0;
    bool capped = false;
    std::string fault;  // empty when none
    std::string input_file;
    std::string note;
    std::string error;
};

class EngineProcess {
public:
    EngineProcess() = default;
    ~EngineProcess();
    EngineProcess(const EngineProcess &) = delete;
    EngineProcess &operator=(const EngineProcess &) = delete;

    // Starts the engine with the scenario given as JSON text (empty: none)
    // and extra command-line arguments such as {"--fault", "never_read"}.
    // Returns false with the reason in error() and the engine's output in
    // log() when it does not become ready within a few seconds.
    bool start(const std::string &scenario_json, const std::vector<std::string> &args = {});
    // Same with an existing scenario file.
    bool start_with_file(const std::string &scenario_path, const std::vector<std::string> &args = {});

    // SIGTERM, then SIGKILL after 5 s. Returns the exit status (0 is a clean
    // exit), or -1 when no engine ran. Removes the record directory unless
    // DW_KEEP_RECORDS is set in the environment.
    int stop();

    bool running() const { return pid_ > 0; }
    const std::string &record_dir() const { return dir_; }
    const std::string &error() const { return error_; }
    // What the engine printed on stdout and stderr so far.
    std::string log() const;

    // Parses requests.jsonl.
    std::vector<EngineRecord> records() const;
    // Waits until at least n records exist; false after timeout_ms.
    bool wait_for_records(size_t n, int timeout_ms = 5000) const;
    // The last record, after waiting for the count to reach n.
    EngineRecord record_number(size_t n, int timeout_ms = 5000) const;
    // The input bytes the engine recorded for a request.
    std::vector<uint8_t> input_of(const EngineRecord &r) const;

private:
    bool launch(const std::string &scenario_path, const std::vector<std::string> &args);
    bool lock();
    void unlock();

    pid_t pid_ = -1;
    int lock_fd_ = -1;
    std::string dir_;
    std::string error_;
};

// Whether a message queue of maxmsg x msgsize bytes can be created by this
// process right now, after lifting RLIMIT_MSGQUEUE as far as it may, as
// run_ioctl does (tried under a unique name and unlinked at once).
bool can_create_queue(long maxmsg, long msgsize);

// "needs a data queue of N x M bytes; this machine's RLIMIT_MSGQUEUE is ...
// (run scripts/vm-test)", for GTEST_SKIP().
std::string queue_skip_reason(long maxmsg, long msgsize);

// The data queue name run_ioctl uses from the calling thread.
std::string data_queue_name_of_this_thread();

// Whether a queue of that name exists (mq_open without O_CREAT).
bool queue_exists(const std::string &name);

// Names of this process's data queues still present under /dev/mqueue
// ("idpfw-<pid>-*"); empty when /dev/mqueue is not mounted.
std::vector<std::string> leftover_data_queues();

}  // namespace dwtest

#endif
