// Runs an argument vector as a child process, without a shell, and reads its
// standard output a line at a time.
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "dpiwrapper/platform.h"

extern char **environ;

struct CommandOutputReader2::Impl {
    pid_t pid = -1;
    int fd = -1;
    bool eof = false;
    std::string pending;  // bytes read but not yet handed out
};

namespace {

// Starts argv with its stdout on a fresh pipe; stdin reads /dev/null. Every
// descriptor of ours is close-on-exec, so the child inherits only the pipe.
bool spawn_with_pipe(const std::vector<std::string> &args, pid_t &pid, int &read_fd)
{
    if (args.empty() || args[0].empty()) return false;
    std::vector<char *> argv;
    argv.reserve(args.size() + 1);
    for (const std::string &a : args) argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);

    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return false;
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        close(fds[0]);
        close(fds[1]);
        return false;
    }
    // dup2 onto 1 clears close-on-exec for the child's copy only.
    bool ok = posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO) == 0 &&
              posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0;
    int rc = ok ? posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) : -1;
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    if (rc != 0) {
        close(fds[0]);
        return false;
    }
    read_fd = fds[0];
    return true;
}

}  // namespace

CommandOutputReader2::CommandOutputReader2(const std::vector<std::string> &argv) : impl_(new Impl)
{
    if (!spawn_with_pipe(argv, impl_->pid, impl_->fd)) {
        impl_->pid = -1;
        impl_->fd = -1;
        impl_->eof = true;
    }
}

CommandOutputReader2::~CommandOutputReader2()
{
    if (impl_->fd >= 0) close(impl_->fd);
    if (impl_->pid > 0) {
        // A child still running (we stopped reading early) is killed so the
        // wait below cannot hang; either way it is reaped, leaving no zombie.
        int status;
        pid_t r;
        do r = waitpid(impl_->pid, &status, WNOHANG);
        while (r < 0 && errno == EINTR);
        if (r == 0) {
            kill(impl_->pid, SIGKILL);
            do r = waitpid(impl_->pid, &status, 0);
            while (r < 0 && errno == EINTR);
        }
    }
    delete impl_;
}

bool CommandOutputReader2::getLine(std::string &line)
{
    Impl &s = *impl_;
    size_t scanned = 0;
    for (;;) {
        size_t nl = s.pending.find('\n', scanned);
        if (nl != std::string::npos) {
            line.assign(s.pending, 0, nl);
            s.pending.erase(0, nl + 1);
            return true;
        }
        scanned = s.pending.size();
        if (s.eof) break;
        char chunk[512];
        ssize_t n = read(s.fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            s.eof = true;
            continue;
        }
        s.pending.append(chunk, static_cast<size_t>(n));
    }
    // A last line without a terminator still counts.
    if (s.pending.empty()) return false;
    line.swap(s.pending);
    s.pending.clear();
    return true;
}
