// The control loop: owns the control queue, reads 112-byte control messages
// and serves each request in turn.
#ifndef DW_SIM_ENGINE_H
#define DW_SIM_ENGINE_H

#include <mqueue.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "sim/recorder.h"
#include "sim/scenario.h"

namespace sim {

struct EngineOptions {
    std::string control_queue = "/idpfw";
    Fault global_fault = Fault::none;
    int global_delay_ms = 0;
    bool quiet = false;  // no per-request line on stderr
};

class Engine {
public:
    Engine(const Scenario &scenario, Recorder &recorder, EngineOptions options);
    ~Engine();
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // Unlinks a stale control queue of the same name and creates a fresh one
    // (mq_maxmsg 10, mq_msgsize 112).
    bool create_control_queue(std::string &err);
    // Serves requests until stop is set. Returns false on a control-queue error.
    bool run(const std::atomic<bool> &stop);
    // Closes and unlinks the control queue.
    void remove_control_queue();

    uint64_t served() const { return seq_; }

private:
    void log_request(const RequestRecord &r) const;

    const Scenario &scenario_;
    Recorder &recorder_;
    EngineOptions opt_;
    mqd_t ctrl_ = static_cast<mqd_t>(-1);
    uint64_t seq_ = 0;
    bool reading_ = true;
};

}  // namespace sim

#endif
