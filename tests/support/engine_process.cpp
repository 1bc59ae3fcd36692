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
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace dwtest {
namespace {

std::string read_text(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void sleep_ms(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

std::vector<std::string> dir_entries(const std::string &dir, const std::string &prefix)
{
    std::vector<std::string> out;
    if (DIR *d = opendir(dir.c_str())) {
        while (struct dirent *e = readdir(d))
            if (e->d_name[0] != '.' && std::strncmp(e->d_name, prefix.c_str(), prefix.size()) == 0)
                out.push_back(e->d_name);
        closedir(d);
    }
    return out;
}

}  // namespace

int64_t EngineRecord::operator[](const std::string &key) const
{
    auto i = num.find(key);
    return i == num.end() ? -1 : i->second;
}

std::string EngineRecord::str(const std::string &key) const
{
    auto i = text.find(key);
    return i == text.end() ? "" : i->second;
}

bool EngineProcess::start(const std::string &scenario_json, const std::vector<std::string> &args)
{
    stop();
    error_.clear();
    lock_fd_ = open("/tmp/dw-e2e-idpfw.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    while (lock_fd_ >= 0 && flock(lock_fd_, LOCK_EX) != 0 && errno == EINTR) {
    }
    char tmpl[] = "/tmp/dw-scenario-XXXXXX";
    int fd = scenario_json.empty() ? -1 : mkstemp(tmpl);
    bool written = fd >= 0 && write(fd, scenario_json.data(), scenario_json.size()) ==
                                  static_cast<ssize_t>(scenario_json.size());
    if (fd >= 0) close(fd);
    bool ok = lock_fd_ >= 0 && (scenario_json.empty() || written) &&
              launch(scenario_json.empty() ? "" : tmpl, args);
    if (fd >= 0) unlink(tmpl);  // the engine has read it once it is ready
    if (!ok && error_.empty()) error_ = std::string("cannot lock or write the scenario: ") + std::strerror(errno);
    if (!ok) stop();
    return ok;
}

bool EngineProcess::launch(const std::string &scenario_path, const std::vector<std::string> &args)
{
    char tmpl[] = "/tmp/dw-sim-XXXXXX";
    if (!mkdtemp(tmpl)) return false;
    dir_ = tmpl;
    const std::string ready = dir_ + "/ready";
    std::vector<std::string> words = {DW_SIM_PATH, "--record-dir", dir_, "--ready-file", ready};
    if (!scenario_path.empty()) words.insert(words.end(), {"--scenario", scenario_path});
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char *> argv;
    for (std::string &w : words) argv.push_back(&w[0]);
    argv.push_back(nullptr);

    int log_fd = open((dir_ + "/engine.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        // Only async-signal-safe calls until exec. The engine goes when the
        // test process goes, so no stray engine keeps "/idpfw".
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(127);
        dup2(log_fd, 1);
        dup2(log_fd, 2);
        dup2(open("/dev/null", O_RDONLY), 0);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(log_fd);
    for (int waited = 0; pid_ > 0 && waited < 10000; waited += 5) {
        if (access(ready.c_str(), F_OK) == 0) return true;
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            error_ = "dpi-engine-sim exited before it was ready (status " + std::to_string(status) + "): " + log();
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
    if (!dir_.empty() && !std::getenv("DW_KEEP_RECORDS")) {
        for (const std::string &f : dir_entries(dir_, "")) unlink((dir_ + "/" + f).c_str());
        rmdir(dir_.c_str());
    }
    dir_.clear();
    if (lock_fd_ >= 0) close(lock_fd_);  // closing releases the flock
    lock_fd_ = -1;
    return result;
}

std::string EngineProcess::log() const { return dir_.empty() ? "" : read_text(dir_ + "/engine.log"); }

std::vector<EngineRecord> EngineProcess::records() const
{
    std::vector<EngineRecord> out;
    std::istringstream lines(read_text(dir_ + "/requests.jsonl"));
    std::string line;
    while (std::getline(lines, line)) {
        json_t *o = json_loads(line.c_str(), 0, nullptr);
        if (!o) continue;  // a line still being written
        EngineRecord r;
        const char *key;
        json_t *v;
        json_object_foreach(o, key, v)
        {
            if (json_is_string(v)) r.text[key] = json_string_value(v);
            if (json_is_integer(v) || json_is_boolean(v))
                r.num[key] = json_is_integer(v) ? json_integer_value(v) : json_is_true(v);
        }
        out.push_back(r);
        json_decref(o);
    }
    return out;
}

EngineRecord EngineProcess::record_number(size_t n, int timeout_ms) const
{
    for (int waited = 0; waited < timeout_ms && records().size() < n; waited += 2) sleep_ms(2);
    for (const EngineRecord &r : records())
        if (r["seq"] == static_cast<int64_t>(n)) return r;
    return EngineRecord{};
}

std::vector<uint8_t> EngineProcess::input_of(const EngineRecord &r) const
{
    if (r.str("input_file").empty()) return {};
    std::string s = read_text(dir_ + "/" + r.str("input_file"));
    return std::vector<uint8_t>(s.begin(), s.end());
}

bool can_create_queue(long maxmsg, long msgsize)
{
    const struct rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_MSGQUEUE, &unlimited);
    static std::atomic<unsigned> counter{0};
    const std::string name = "/dw-probe-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
    struct mq_attr attr {};
    attr.mq_maxmsg = maxmsg;
    attr.mq_msgsize = msgsize;
    mqd_t q = mq_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600, &attr);
    if (q == static_cast<mqd_t>(-1)) return false;
    mq_close(q);
    mq_unlink(name.c_str());
    return true;
}

std::string queue_skip_reason(long maxmsg, long msgsize)
{
    struct rlimit lim {};
    getrlimit(RLIMIT_MSGQUEUE, &lim);
    auto text = [](rlim_t v) { return v == RLIM_INFINITY ? std::string("unlimited") : std::to_string(v); };
    std::string max = read_text("/proc/sys/fs/mqueue/msgsize_max");
    max = max.substr(0, max.find('\n'));
    return "needs a data queue of " + std::to_string(maxmsg) + " x " + std::to_string(msgsize) +
           " bytes; this machine's RLIMIT_MSGQUEUE is " + text(lim.rlim_cur) + " bytes (hard " +
           text(lim.rlim_max) + "), fs.mqueue.msgsize_max " + max + " (run scripts/vm-test)";
}

std::string data_queue_name_of_this_thread()
{
    return "/idpfw-" + std::to_string(getpid()) + "-" + std::to_string(static_cast<unsigned>(pthread_self()));
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
    return dir_entries("/dev/mqueue", "idpfw-" + std::to_string(getpid()) + "-");
}

}  // namespace dwtest
