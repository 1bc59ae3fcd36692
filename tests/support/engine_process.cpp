#include "support/engine_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <jansson.h>
#include <mqueue.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace dwtest {
namespace {

const char kLockFile[] = "/tmp/dw-e2e-idpfw.lock";

std::string read_text(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void sleep_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

void remove_dir(const std::string &dir)
{
    if (DIR *d = opendir(dir.c_str())) {
        while (struct dirent *e = readdir(d)) {
            if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0)
                unlink((dir + "/" + e->d_name).c_str());
        }
        closedir(d);
    }
    rmdir(dir.c_str());
}

int64_t int_of(json_t *o, const char *key)
{
    json_t *v = json_object_get(o, key);
    return json_is_integer(v) ? json_integer_value(v) : -1;
}

bool bool_of(json_t *o, const char *key) { return json_is_true(json_object_get(o, key)); }

std::string str_of(json_t *o, const char *key)
{
    const char *s = json_string_value(json_object_get(o, key));
    return s ? s : "";
}

EngineRecord parse_record(json_t *o)
{
    EngineRecord r;
    r.seq = static_cast<uint64_t>(int_of(o, "seq"));
    r.kind = str_of(o, "kind");
    r.code = static_cast<uint32_t>(int_of(o, "code"));
    r.magic = static_cast<uint32_t>(int_of(o, "magic"));
    r.group = static_cast<int>(int_of(o, "group"));
    r.command = static_cast<int>(int_of(o, "command"));
    r.reserved = static_cast<int>(int_of(o, "reserved"));
    r.flags = static_cast<int>(int_of(o, "flags"));
    r.in_len = static_cast<uint32_t>(int_of(o, "in_len"));
    r.out_len = static_cast<uint32_t>(int_of(o, "out_len"));
    r.in_buf = bool_of(o, "in_buf");
    r.out_buf = bool_of(o, "out_buf");
    r.used_len_ptr = bool_of(o, "used_len_ptr");
    r.tail_zero = bool_of(o, "tail_zero");
    r.queue = str_of(o, "queue");
    r.queue_existed = bool_of(o, "queue_existed");
    r.mq_maxmsg = static_cast<long>(int_of(o, "mq_maxmsg"));
    r.mq_msgsize = static_cast<long>(int_of(o, "mq_msgsize"));
    r.received = static_cast<uint64_t>(int_of(o, "received"));
    r.sent = static_cast<uint64_t>(int_of(o, "sent"));
    r.used_len_was_sent = json_is_integer(json_object_get(o, "used_len_sent"));
    r.used_len_sent = static_cast<uint32_t>(int_of(o, "used_len_sent"));
    r.capped = bool_of(o, "capped");
    r.fault = str_of(o, "fault");
    r.input_file = str_of(o, "input_file");
    r.note = str_of(o, "note");
    r.error = str_of(o, "error");
    return r;
}

}  // namespace

EngineProcess::~EngineProcess() { stop(); }

bool EngineProcess::lock()
{
    lock_fd_ = open(kLockFile, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (lock_fd_ < 0) {
        error_ = std::string("cannot open ") + kLockFile + ": " + std::strerror(errno);
        return false;
    }
    while (flock(lock_fd_, LOCK_EX) != 0) {
        if (errno == EINTR) continue;
        error_ = std::string("cannot lock ") + kLockFile + ": " + std::strerror(errno);
        unlock();
        return false;
    }
    return true;
}

void EngineProcess::unlock()
{
    if (lock_fd_ >= 0) close(lock_fd_);  // closing releases the flock
    lock_fd_ = -1;
}

bool EngineProcess::start(const std::string &scenario_json, const std::vector<std::string> &args)
{
    if (scenario_json.empty()) return start_with_file("", args);
    char tmpl[] = "/tmp/dw-scenario-XXXXXX";
    int fd = mkstemp(tmpl);
    if (fd < 0) {
        error_ = std::string("mkstemp: ") + std::strerror(errno);
        return false;
    }
    bool ok = write(fd, scenario_json.data(), scenario_json.size()) ==
              static_cast<ssize_t>(scenario_json.size());
    close(fd);
    bool started = ok && start_with_file(tmpl, args);
    if (!ok) error_ = "cannot write the scenario";
    unlink(tmpl);  // the engine has read it once it is ready
    return started;
}

bool EngineProcess::start_with_file(const std::string &scenario_path, const std::vector<std::string> &args)
{
    stop();
    error_.clear();
    if (!lock()) return false;
    if (!launch(scenario_path, args)) {
        stop();
        return false;
    }
    return true;
}

bool EngineProcess::launch(const std::string &scenario_path, const std::vector<std::string> &args)
{
    char tmpl[] = "/tmp/dw-sim-XXXXXX";
    if (!mkdtemp(tmpl)) {
        error_ = std::string("mkdtemp: ") + std::strerror(errno);
        return false;
    }
    dir_ = tmpl;
    const std::string ready = dir_ + "/ready";
    std::vector<std::string> words = {DW_SIM_PATH, "--record-dir", dir_, "--ready-file", ready};
    if (!scenario_path.empty()) {
        words.push_back("--scenario");
        words.push_back(scenario_path);
    }
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char *> argv;
    for (std::string &w : words) argv.push_back(&w[0]);
    argv.push_back(nullptr);

    int log_fd = open((dir_ + "/engine.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    int null_fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t parent = getpid();
    pid_t pid = fork();
    if (pid == 0) {
        // Only async-signal-safe calls from here to exec. The engine goes
        // when the test process goes, so no stray engine keeps "/idpfw".
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(127);
        if (log_fd >= 0) {
            dup2(log_fd, 1);
            dup2(log_fd, 2);
        }
        if (null_fd >= 0) dup2(null_fd, 0);
        execv(argv[0], argv.data());
        _exit(127);
    }
    if (log_fd >= 0) close(log_fd);
    if (null_fd >= 0) close(null_fd);
    if (pid < 0) {
        error_ = std::string("fork: ") + std::strerror(errno);
        return false;
    }
    pid_ = pid;

    for (int waited = 0; waited < 10000; waited += 5) {
        if (access(ready.c_str(), F_OK) == 0) return true;
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            error_ = "dpi-engine-sim exited before it was ready (status " + std::to_string(status) +
                     "): " + log();
            return false;
        }
        sleep_ms(5);
    }
    error_ = "dpi-engine-sim not ready after 10 s: " + log();
    return false;
}

int EngineProcess::stop()
{
    int result = -1;
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        int status = 0;
        bool reaped = false;
        for (int waited = 0; waited < 5000 && !reaped; waited += 5) {
            reaped = waitpid(pid_, &status, WNOHANG) == pid_;
            if (!reaped) sleep_ms(5);
        }
        if (!reaped) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
        }
        result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        pid_ = -1;
    }
    if (!dir_.empty() && !std::getenv("DW_KEEP_RECORDS")) remove_dir(dir_);
    dir_.clear();
    unlock();
    return result;
}

std::string EngineProcess::log() const { return dir_.empty() ? "" : read_text(dir_ + "/engine.log"); }

std::vector<EngineRecord> EngineProcess::records() const
{
    std::vector<EngineRecord> out;
    std::istringstream lines(read_text(dir_ + "/requests.jsonl"));
    std::string line;
    while (std::getline(lines, line)) {
        json_error_t err;
        json_t *o = json_loads(line.c_str(), 0, &err);
        if (!o) continue;  // a line still being written
        out.push_back(parse_record(o));
        json_decref(o);
    }
    return out;
}

bool EngineProcess::wait_for_records(size_t n, int timeout_ms) const
{
    for (int waited = 0;; waited += 2) {
        if (records().size() >= n) return true;
        if (waited >= timeout_ms) return false;
        sleep_ms(2);
    }
}

EngineRecord EngineProcess::record_number(size_t n, int timeout_ms) const
{
    wait_for_records(n, timeout_ms);
    for (const EngineRecord &r : records())
        if (r.seq == n) return r;
    return EngineRecord{};
}

std::vector<uint8_t> EngineProcess::input_of(const EngineRecord &r) const
{
    if (r.input_file.empty()) return {};
    std::string s = read_text(dir_ + "/" + r.input_file);
    return std::vector<uint8_t>(s.begin(), s.end());
}

bool can_create_queue(long maxmsg, long msgsize)
{
    // Lift the limit first, as run_ioctl does on every call.
    const struct rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_MSGQUEUE, &unlimited);
    static std::atomic<unsigned> counter{0};
    char name[64];
    std::snprintf(name, sizeof name, "/dw-probe-%d-%u", static_cast<int>(getpid()), counter++);
    struct mq_attr attr {};
    attr.mq_maxmsg = maxmsg;
    attr.mq_msgsize = msgsize;
    mqd_t q = mq_open(name, O_RDWR | O_CREAT | O_EXCL, 0600, &attr);
    if (q == static_cast<mqd_t>(-1)) return false;
    mq_close(q);
    mq_unlink(name);
    return true;
}

std::string queue_skip_reason(long maxmsg, long msgsize)
{
    struct rlimit lim {};
    getrlimit(RLIMIT_MSGQUEUE, &lim);
    auto text = [](rlim_t v) { return v == RLIM_INFINITY ? std::string("unlimited") : std::to_string(v); };
    std::string max = read_text("/proc/sys/fs/mqueue/msgsize_max");
    while (!max.empty() && (max.back() == '\n' || max.back() == ' ')) max.pop_back();
    return "needs a data queue of " + std::to_string(maxmsg) + " x " + std::to_string(msgsize) +
           " bytes; this machine's RLIMIT_MSGQUEUE is " + text(lim.rlim_cur) + " bytes (hard " +
           text(lim.rlim_max) + "), fs.mqueue.msgsize_max " + max + " (run scripts/vm-test)";
}

std::string data_queue_name_of_this_thread()
{
    char name[64];
    std::snprintf(name, sizeof name, "/idpfw-%u-%u", static_cast<unsigned>(getpid()),
                  static_cast<unsigned>(pthread_self()));
    return name;
}

bool queue_exists(const std::string &name)
{
    mqd_t q = mq_open(name.c_str(), O_RDONLY);
    if (q == static_cast<mqd_t>(-1)) return false;
    mq_close(q);
    return true;
}

std::vector<std::string> leftover_data_queues()
{
    std::vector<std::string> out;
    const std::string prefix = "idpfw-" + std::to_string(getpid()) + "-";
    if (DIR *d = opendir("/dev/mqueue")) {
        while (struct dirent *e = readdir(d))
            if (std::strncmp(e->d_name, prefix.c_str(), prefix.size()) == 0) out.push_back(e->d_name);
        closedir(d);
    }
    return out;
}

}  // namespace dwtest
