// A scripted stand-in for the message-queue calls behind dw::sys::ops():
// records what the library sends and answers receives from a script, with
// knobs to make any step fail. One instance at a time; it installs itself
// on construction and puts the real calls back on destruction.
#ifndef DW_TESTS_FAKE_MQ_H
#define DW_TESTS_FAKE_MQ_H

#include <mqueue.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace dwtest {

class FakeMq {
public:
    // One answer to a receive: an errno, or the bytes of a message.
    struct Reply {
        int error = 0;
        std::vector<uint8_t> bytes;
    };

    FakeMq();
    ~FakeMq();
    FakeMq(const FakeMq &) = delete;
    FakeMq &operator=(const FakeMq &) = delete;

    // Scripts a well-behaved engine's answer: the used length, then the data.
    void answer(const std::vector<uint8_t> &data);
    void reply_bytes(const std::vector<uint8_t> &bytes) { replies.push_back({0, bytes}); }
    void reply_error(int error) { replies.push_back({error, {}}); }

    // Knobs.
    int setrlimit_error = 0;
    mqd_t ctrl_fd = 3;
    int ctrl_open_error = 0;
    mqd_t data_fd = 4;
    int data_open_error = 0;
    std::deque<int> ctrl_send_errors;  // consumed one per send; empty means success
    int data_send_error = 0;
    std::deque<Reply> replies;
    int busy_polls = 0;      // getattr reports one queued message this many times
    int final_unlink_error = 0;
    bool fail_calloc = false;

    // Records.
    std::vector<std::string> calls;
    std::vector<std::vector<uint8_t>> controls;  // every control message sent
    std::vector<uint8_t> data_sent;
    struct mq_attr attr = {};
    int create_flags = 0;
    unsigned create_mode = 0;
    std::string created_name;
    std::vector<long> receive_deadlines;  // tv_sec of each receive
    long now = 1000;                       // advanced on every clock read

    const std::vector<uint8_t> &control() const { return controls.at(0); }
    bool called(const std::string &call) const;
};

}  // namespace dwtest

#endif
