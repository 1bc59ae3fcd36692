// The engine's end of a caller's data queue: opened by name (the caller
// creates it), with timed sends and receives.
#ifndef DW_SIM_DATA_QUEUE_H
#define DW_SIM_DATA_QUEUE_H

#include <mqueue.h>

#include <atomic>
#include <string>

#include "sim/encoders.h"

namespace sim {

class DataQueue {
public:
    DataQueue() = default;
    ~DataQueue() { close(); }
    DataQueue(const DataQueue &) = delete;
    DataQueue &operator=(const DataQueue &) = delete;

    // Opens an existing queue and reads its attributes. On failure err holds
    // the reason (ENOENT: the caller created no queue under that name).
    bool open(const std::string &name, int oflag, std::string &err);
    void close();

    long maxmsg() const { return attr_.mq_maxmsg; }
    long msgsize() const { return attr_.mq_msgsize; }

    bool send(const void *data, size_t len, int timeout_ms, std::string &err);
    // Receives one message into out (resized to the message length). A signal
    // does not end the wait unless stop is set.
    bool receive(Bytes &out, int timeout_ms, const std::atomic<bool> &stop, std::string &err);

private:
    mqd_t q_ = static_cast<mqd_t>(-1);
    struct mq_attr attr_ {};
};

// Sleeps ms milliseconds in short steps; returns false as soon as stop is set.
bool pause_ms(int ms, const std::atomic<bool> &stop);

}  // namespace sim

#endif
