// run_ioctl over scripted queue calls, for what a real engine cannot cause:
// failing queue calls with their code and message, signals, descriptor 0,
// an oversized used-length message; also the call sequences and the control
// message at its literal offsets. Outcomes an engine can produce (no answer,
// empty output, slow drain, a vanished data queue) are in transport_e2e_test.
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <regex>

#include "dpiwrapper/transport.h"
#include "support/bytes.h"
#include "support/fake_mq.h"

using dwtest::FakeMq;
using dwtest::read_le;

namespace {

std::string data_queue()
{
    return "/idpfw-" + std::to_string(getpid()) + "-" + std::to_string((unsigned)(uintptr_t)pthread_self());
}

struct Call {
    EngineRequest block = {};
    uint32_t used = 0xFFFFFFFFu;
    uint8_t out[64], in[18];
    explicit Call(bool input)
    {
        std::memset(out, 0x5A, sizeof out);
        std::memset(in, 0x11, sizeof in);
        block.magic = 0xBF;
        block.group = 2;
        block.command = 3;
        if (input) {
            block.flags = 2;
            block.in_buf = in;
            block.in_len = sizeof in;
        } else {
            block.out_buf = out;
            block.used_len = &used;
            block.out_len = sizeof out;
        }
    }
    int run() { return run_ioctl("/idpfw", 0xC02CBF02u, &block); }
    // "<queue>' w/ req 0xC02CBF02 with arg <block>", the tail most messages share.
    std::string req(const std::string &queue)
    {
        char arg[32];
        snprintf(arg, sizeof arg, "%p", static_cast<void *>(&block));
        return queue + "' w/ req 0xC02CBF02 with arg " + arg;
    }
};

std::string quote(const std::string &text)
{
    return std::regex_replace(text, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
}

}  // namespace

TEST(RunIoctl, FailuresHaveTheirCodeAndMessage)
{
    const std::string dq = data_queue();
    struct Row {
        bool input;
        std::function<void(FakeMq &)> script;
        int result;
        std::function<std::string(Call &)> message;
    } rows[] = {
        {false, [](FakeMq &f) { f.setrlimit_error = EPERM; }, -1,
         [](Call &) { return "Cannot setrlimit Operation not permitted"; }},
        {false, [](FakeMq &f) { f.ctrl_open_error = ENOENT; }, -1,
         [](Call &) { return "Cannot open ctrl MQ '/idpfw' No such file or directory"; }},
        {false, [](FakeMq &f) { f.data_open_error = EMFILE; }, -1,
         [&](Call &) { return "Cannot open data MQ '" + dq + "' Too many open files"; }},
        {false, [](FakeMq &f) { f.ctrl_send_error = EINTR; }, -2,
         [](Call &c) { return "Cannot send ctrl to MQ '" + c.req("/idpfw") + " Interrupted system call"; }},
        {true, [](FakeMq &f) { f.data_send_error = ETIMEDOUT; }, -3,
         [&](Call &c) { return "Cannot send input data(18 bytes) to MQ '" + c.req(dq) + " Connection timed out"; }},
        {false, [](FakeMq &f) { f.replies = {{8, 0, 0, 0}}; f.receive_errors = {0, EBADF}; }, -3,
         [&](Call &c) { return "Cannot receive output data(64 bytes) from MQ '" + c.req(dq) + " Bad file descriptor"; }},
    };
    for (Row &row : rows) {
        FakeMq fake;
        row.script(fake);
        Call call(row.input);
        dwtest::StderrCapture err;
        EXPECT_EQ(call.run(), row.result);
        const std::string out = err.finish();
        SCOPED_TRACE(fake.calls);
        const std::regex line(R"( \*\*\* ERROR: \[run_ioctl:[0-9]+\] )" + quote(row.message(call)) + "\n\n");
        EXPECT_TRUE(std::regex_match(out, line)) << out;
        // Whatever failed after the data queue was made, both queues are released.
        if (row.result < -1) {
            EXPECT_NE(fake.calls.find("close3 close4 unlink"), std::string::npos);
        }
    }
}

TEST(RunIoctl, CallSequences)
{
    struct Row {
        const char *name;
        bool input;
        std::function<void(FakeMq &, Call &)> script;
        const char *calls;
    } rows[] = {
        {"output", false, [](FakeMq &f, Call &) { f.answer({7, 8, 9}); },
         "setrlimit open unlink create send receive receive getattr close3 close4 unlink"},
        {"signals retried on receive", false,
         [](FakeMq &f, Call &) { f.answer({7}); f.receive_errors = {EINTR, 0, EINTR}; },
         "setrlimit open unlink create send receive receive receive receive getattr close3 close4 unlink"},
        {"input drained", true, [](FakeMq &f, Call &) { f.busy_polls = 2; },
         "setrlimit open unlink create send senddata getattr getattr getattr close3 close4 unlink"},
        {"descriptor 0 is not open", false,
         [](FakeMq &f, Call &) { f.ctrl_fd = f.data_fd = 0; f.answer({1}); },
         "setrlimit open unlink create send receive receive getattr"},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        Call call(row.input);
        row.script(fake, call);
        EXPECT_EQ(call.run(), 0);
        EXPECT_EQ(fake.calls, row.calls);
        EXPECT_EQ(reinterpret_cast<const char *>(fake.control.data()), data_queue());
    }
}

TEST(RunIoctl, ReceivedDataAndFreshDeadlines)
{
    FakeMq fake;
    fake.answer({7, 8, 9});
    fake.receive_errors = {EINTR};
    Call call(false);
    ASSERT_EQ(call.run(), 0);
    EXPECT_EQ(call.used, 3u);
    EXPECT_EQ(read_le(call.out, 0, 4), 0x5A090807u);
    // The fake clock ticks once per read: the send takes 1000, each receive the next.
    EXPECT_EQ(fake.receive_deadlines, (std::vector<long>{1004, 1005, 1006}));
}

TEST(RunIoctl, UsedLengthMessageNeverWritesPastTheWord)
{
    struct {
        uint32_t used = 0xFFFFFFFFu, guard = 0xDEADBEEFu;
    } words;
    for (const FakeMq::Message &reply : {FakeMq::Message{0, 0, 0, 0, 0xAA, 0xBB, 0xCC, 0xDD}, FakeMq::Message{0, 0}}) {
        FakeMq fake;
        fake.replies = {reply};
        Call call(false);
        words.used = 0x0000FFFFu;
        call.block.used_len = &words.used;
        EXPECT_EQ(call.run(), 0);
        EXPECT_EQ(words.used, 0u) << "only as many bytes as arrived are copied";
        EXPECT_EQ(words.guard, 0xDEADBEEFu);
        EXPECT_EQ(read_le(call.out, 0, 4), 0x5A5A5A5Au);  // the output buffer gets its bytes back
    }
}

TEST(RunIoctl, ControlMessageAndDataQueueLayout)
{
    FakeMq fake;
    fake.answer({1});
    Call call(false);
    ASSERT_EQ(call.run(), 0);
    const uint8_t *m = fake.control.data();
    ASSERT_EQ(fake.control.size(), 112u);
    const std::string name = data_queue();
    EXPECT_EQ(fake.control, dwtest::Bytes(112)
                                .str(0, name)
                                .u32(64, 0xC02CBF02u)
                                .u32(68, 0xBF)
                                .bytes(72, {2, 3, 0, 0})
                                .u32(84, read_le(m, 84, 4))
                                .u32(88, read_le(m, 88, 4))
                                .u32(92, 64)
                                .vec());
    EXPECT_EQ(read_le(m, 84, 4), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(call.out)));
    EXPECT_EQ(read_le(m, 88, 4), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&call.used)));
    EXPECT_EQ(fake.created_name, name);
    EXPECT_EQ(fake.create_flags, O_RDWR | O_CREAT);
    EXPECT_EQ(fake.create_mode, 0644u);
    EXPECT_EQ(fake.attr.mq_maxmsg, 2);
    EXPECT_EQ(fake.attr.mq_msgsize, 64);

    FakeMq input;
    Call sent(true);
    ASSERT_EQ(sent.run(), 0);
    EXPECT_EQ(input.control[75], 2);
    EXPECT_EQ(read_le(input.control.data(), 76, 4), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(sent.in)));
    EXPECT_EQ(read_le(input.control.data(), 80, 4), 18u);
}
