/* ioctl() emulated over POSIX message queues: one control message on the
 * engine's queue, the request's data on a private queue made for the call. */
#include <errno.h>
#include <string.h>

#include "dpiwrapper/transport.h"
#include "transport/error_log.h"
#include "transport/sys_ops.h"
#include "transport/wire.h"

namespace {

constexpr int kStepSeconds = 3;

/* Every timed queue operation gets its own deadline: now + 3 s. */
struct timespec step_deadline(dw::sys::Ops &sys)
{
    struct timespec ts = {};
    sys.clock_gettime(CLOCK_REALTIME, &ts);
    ts.tv_sec += kStepSeconds;
    return ts;
}

/* A receive interrupted by a signal is tried again with a fresh deadline. */
ssize_t receive_retrying(dw::sys::Ops &sys, mqd_t queue, char *buffer, size_t capacity)
{
    ssize_t got;
    do {
        const struct timespec deadline = step_deadline(sys);
        got = sys.mq_timedreceive(queue, buffer, capacity, nullptr, &deadline);
    } while (got < 0 && errno == EINTR);
    return got;
}

/* Copies n bytes, n at most 4; a fixed 4-byte copy in the usual case. */
void copy_up_to_4(void *to, const void *from, size_t n)
{
    if (n >= 4)
        memcpy(to, from, 4);
    else
        for (size_t i = 0; i < n; ++i) static_cast<char *>(to)[i] = static_cast<const char *>(from)[i];
}

/* Receives the engine's used-length message. The queue's message size is the
 * output capacity, so the receive must offer that much room; the caller's
 * used-length word has only 4 bytes. The message therefore lands in the output
 * buffer, its first bytes (at most 4) go to the word, and the output buffer
 * gets back the bytes it had: a well-behaved engine sees the same result as a
 * receive straight into the word, and one that sends more than 4 bytes cannot
 * write past it. */
ssize_t receive_used_length(dw::sys::Ops &sys, mqd_t queue, const EngineRequest &block)
{
    if (block.used_len == nullptr) {
        errno = EFAULT;
        return -1;
    }
    char *out = static_cast<char *>(block.out_buf);
    const size_t kept = block.out_len;  // only its first 4 bytes are saved
    char saved[4];
    copy_up_to_4(saved, out, kept);
    const ssize_t got = receive_retrying(sys, queue, out, block.out_len);
    const int receive_errno = errno;
    if (got > 0) copy_up_to_4(block.used_len, out, static_cast<size_t>(got));
    copy_up_to_4(out, saved, kept);
    errno = receive_errno;
    return got;
}

/* Polls, without sleeping, until the engine has taken the message off the
 * data queue, for at most 3 s. */
int wait_for_drain(dw::sys::Ops &sys, mqd_t queue, const char *queue_name)
{
    const struct timespec deadline = step_deadline(sys);
    for (;;) {
        struct mq_attr attr = {};
        if (sys.mq_getattr(queue, &attr) != 0 || attr.mq_curmsgs < 1) return 0;
        const time_t now = sys.time(nullptr);
        if (now == static_cast<time_t>(-1)) return 0;
        if (deadline.tv_sec - now < 0) {
            DW_ERROR_AS("run_ioctl", "Waiting for MQ '%s' over %d secs\n\n", queue_name, kStepSeconds);
            return -5;
        }
    }
}

}  // namespace

int run_ioctl(const char *ctrl_queue_name, unsigned int request_code, EngineRequest *block)
{
    if (ctrl_queue_name == nullptr || block == nullptr) return -1;
    dw::sys::Ops &sys = dw::sys::ops();
    const struct rlimit unlimited = {RLIM_INFINITY, RLIM_INFINITY};
    if (sys.setrlimit(RLIMIT_MSGQUEUE, &unlimited) != 0) {
        DW_ERROR("Cannot setrlimit %s\n\n", strerror(errno));
        return -1;
    }

    ControlMessage message;
    dw::build_control_message(message, ctrl_queue_name, request_code, *block);
    const char *data_name = message.data_queue;

    const mqd_t ctrl = sys.mq_open(ctrl_queue_name, O_WRONLY);
    if (ctrl == static_cast<mqd_t>(-1)) {
        DW_ERROR("Cannot open ctrl MQ '%s' %s\n\n", ctrl_queue_name, strerror(errno));
        return -1;
    }

    /* Input wins over output: such a call sends its input and reads nothing.
     * The size test is signed, as the engine's 32-bit mq_msgsize is. */
    const bool input = block->in_buf != nullptr && block->in_len != 0;
    const bool output = !input && block->out_buf != nullptr && block->out_len != 0;
    struct mq_attr attr = {};
    if (input) {
        attr.mq_maxmsg = 1;
        attr.mq_msgsize = static_cast<int32_t>(block->in_len);
    } else if (output) {
        attr.mq_maxmsg = 2;
        attr.mq_msgsize = static_cast<int32_t>(block->out_len);
    }

    const bool has_data = attr.mq_msgsize > 0;
    mqd_t data = static_cast<mqd_t>(-1);
    if (has_data) {
        /* A queue left behind under this name by an earlier call goes first. */
        sys.mq_unlink(data_name);
        data = sys.mq_create(data_name, O_RDWR | O_CREAT, 0644, &attr);
        if (data == static_cast<mqd_t>(-1)) {
            const int open_errno = errno;
            sys.mq_close(ctrl);
            DW_ERROR("Cannot open data MQ '%s' %s\n\n", data_name, strerror(open_errno));
            return -1;
        }
    }

    int result = 0;
    bool drain = false;
    struct timespec deadline = step_deadline(sys);
    if (sys.mq_timedsend(ctrl, reinterpret_cast<const char *>(&message), sizeof message, 0,
                                    &deadline) != 0) {
        DW_ERROR("Cannot send ctrl to MQ '%s' w/ req 0x%X with arg %p %s\n\n", ctrl_queue_name,
                 request_code, static_cast<void *>(block), strerror(errno));
        result = -2;
    } else if (has_data && input) {
        deadline = step_deadline(sys);
        if (sys.mq_timedsend(data, static_cast<const char *>(block->in_buf), block->in_len, 0,
                                        &deadline) != 0) {
            DW_ERROR("Cannot send input data(%d bytes) to MQ '%s' w/ req 0x%X with arg %p %s\n\n",
                     static_cast<int>(block->in_len), data_name, request_code, static_cast<void *>(block),
                     strerror(errno));
            result = -3;
        } else {
            drain = true;
        }
    } else if (has_data) {
        if (receive_used_length(sys, data, *block) < 0) {
            DW_ERROR("Cannot receive used length from MQ '%s' w/ req 0x%X with arg %p %s\n\n", data_name,
                     request_code, static_cast<void *>(block), strerror(errno));
            result = -3;
        } else if (*block->used_len != 0) {
            const ssize_t got =
                receive_retrying(sys, data, static_cast<char *>(block->out_buf), block->out_len);
            if (got < 0) {
                DW_ERROR("Cannot receive output data(%u bytes) from MQ '%s' w/ req 0x%X with arg %p %s\n\n",
                         block->out_len, data_name, request_code, static_cast<void *>(block), strerror(errno));
                result = -3;
            } else if (got == 0) {
                *block->used_len = 0;
                result = -4;
            } else {
                drain = true;
            }
        }
    }

    /* The data queue is unlinked only once the engine has emptied it. */
    if (drain) result = wait_for_drain(sys, data, data_name);

    /* Descriptors count as open only when greater than 0. */
    if (ctrl > 0) sys.mq_close(ctrl);
    if (data > 0) {
        sys.mq_close(data);
        if (sys.mq_unlink(data_name) != 0) {
            DW_ERROR("Cannot unlink data MQ '%s' %s\n\n", data_name, strerror(errno));
            result = -3;
        }
    }
    return result;
}
