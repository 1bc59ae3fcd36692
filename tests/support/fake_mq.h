// Scripted stand-in for the queue calls behind dw::sys::ops(): records what
// the library does and answers receives from a script. One instance at a
// time; it installs itself and puts the real calls back when destroyed.
#ifndef DW_TESTS_FAKE_MQ_H
#define DW_TESTS_FAKE_MQ_H

#include <mqueue.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace dwtest {

struct FakeMq {
    using Message = std::vector<uint8_t>;
    FakeMq();
    ~FakeMq();
    FakeMq(const FakeMq &) = delete;
    FakeMq &operator=(const FakeMq &) = delete;

    // A well-behaved engine's answer: the used length, then the data.
    void answer(const Message &data);

    // Knobs: an errno makes that step fail.
    int setrlimit_error = 0, ctrl_open_error = 0, data_open_error = 0;
    int ctrl_send_error = 0, data_send_error = 0;
    mqd_t ctrl_fd = 3, data_fd = 4;
    std::deque<int> receive_errors;  // consumed before each receive; 0 takes a reply
    std::deque<Message> replies;
    int busy_polls = 0;              // getattr reports a queued message this often
    bool fail_calloc = false;

    // Records.
    std::string calls;               // e.g. "setrlimit open create send receive close3 ..."
    Message control, data_sent;
    struct mq_attr attr = {};
    int create_flags = 0;
    unsigned create_mode = 0;
    std::string created_name;
    std::vector<long> receive_deadlines;
    long now = 1000;                 // seconds; advanced by every clock read
};

}  // namespace dwtest

#endif
