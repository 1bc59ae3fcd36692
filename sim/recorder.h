// The engine's record of what it received: one JSON line per request in
// <dir>/requests.jsonl and the input data as <group>-<command>-<seq>.bin.
#ifndef DW_SIM_RECORDER_H
#define DW_SIM_RECORDER_H

#include <cstdint>
#include <string>

#include "sim/control_message.h"
#include "sim/encoders.h"
#include "sim/faults.h"

namespace sim {

struct RequestRecord {
    uint64_t seq = 0;
    ControlRequest req{};
    bool queue_existed = false;
    long mq_maxmsg = 0;
    long mq_msgsize = 0;
    size_t received = 0;  // input bytes read from the data queue
    size_t sent = 0;      // output payload bytes sent (the used length not counted)
    bool used_len_was_sent = false;
    uint32_t used_len_sent = 0;
    bool capped = false;
    Fault fault = Fault::none;
    int delay_ms = 0;
    std::string input_file;  // name of the recorded input, relative to the record dir
    std::string note;        // what the engine did, for people
    std::string error;       // what went wrong on the engine's side, if anything
};

class Recorder {
public:
    Recorder() = default;
    ~Recorder();
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;

    // Creates the directory if needed and truncates requests.jsonl.
    bool open(const std::string &dir, std::string &err);
    // Records nothing from now on.
    void disable() { enabled_ = false; }
    // Appends the record's line with a single write.
    void append(const RequestRecord &r);
    // Writes the input bytes and returns the file's name in r.input_file.
    bool save_input(RequestRecord &r, const Bytes &data);

    const std::string &dir() const { return dir_; }

private:
    std::string dir_;
    int fd_ = -1;
    bool enabled_ = true;
};

// The record as one line of compact JSON, without the line feed.
std::string record_json(const RequestRecord &r);

}  // namespace sim

#endif
