// run_ioctl against scripted queue calls: every failure row, the retry and
// drain rules, and the control message at its literal offsets.
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

constexpr unsigned kCode = 0xC02CBF02u;

std::string data_queue_name()
{
    char name[64];
    snprintf(name, sizeof name, "/idpfw-%u-%u", static_cast<unsigned>(getpid()),
             (unsigned)(uintptr_t)pthread_self());
    return name;
}

std::string pointer_text(const void *p)
{
    char text[32];
    snprintf(text, sizeof text, "%p", p);
    return text;
}

std::string regex_quote(const std::string &text)
{
    static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
    return std::regex_replace(text, special, R"(\$&)");
}

// True when out is exactly one run_ioctl error line with the given body.
bool is_error_line(const std::string &out, const std::string &body)
{
    return std::regex_match(out, std::regex(R"( \*\*\* ERROR: \[run_ioctl:[0-9]+\] )" + regex_quote(body)));
}

struct Call {
    EngineRequest block;
    uint32_t used = 0xFFFFFFFFu;
    uint8_t out[64];
    uint8_t in[18];
    explicit Call(bool input)
    {
        std::memset(&block, 0, sizeof block);
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
    int run() { return run_ioctl("/idpfw", kCode, &block); }
};

struct FailureRow {
    const char *name;
    bool input;
    std::function<void(FakeMq &)> script;
    int result;
    std::function<std::string(Call &)> message;  // body after the prefix; null: no output
};

}  // namespace

TEST(RunIoctl, EveryFailureHasItsCodeAndMessage)
{
    const std::string dq = data_queue_name();
    const std::string req = " w/ req 0xC02CBF02 with arg ";
    const FailureRow rows[] = {
        {"setrlimit", false, [](FakeMq &f) { f.setrlimit_error = EPERM; }, -1,
         [](Call &) { return "Cannot setrlimit Operation not permitted\n\n"; }},
        {"ctrl open", false, [](FakeMq &f) { f.ctrl_open_error = ENOENT; }, -1,
         [](Call &) { return "Cannot open ctrl MQ '/idpfw' No such file or directory\n\n"; }},
        {"data open", false, [](FakeMq &f) { f.data_open_error = EMFILE; }, -1,
         [&](Call &) { return "Cannot open data MQ '" + dq + "' Too many open files\n\n"; }},
        {"ctrl send", false, [](FakeMq &f) { f.ctrl_send_errors = {ETIMEDOUT}; }, -2,
         [&](Call &c) {
             return "Cannot send ctrl to MQ '/idpfw'" + req + pointer_text(&c.block) + " Connection timed out\n\n";
         }},
        {"input send", true, [](FakeMq &f) { f.data_send_error = ETIMEDOUT; }, -3,
         [&](Call &c) {
             return "Cannot send input data(18 bytes) to MQ '" + dq + "'" + req + pointer_text(&c.block) +
                    " Connection timed out\n\n";
         }},
        {"used length", false, [](FakeMq &f) { f.reply_error(ETIMEDOUT); }, -3,
         [&](Call &c) {
             return "Cannot receive used length from MQ '" + dq + "'" + req + pointer_text(&c.block) +
                    " Connection timed out\n\n";
         }},
        {"output", false, [](FakeMq &f) { f.reply_bytes({8, 0, 0, 0}); f.reply_error(EBADF); }, -3,
         [&](Call &c) {
             return "Cannot receive output data(64 bytes) from MQ '" + dq + "'" + req + pointer_text(&c.block) +
                    " Bad file descriptor\n\n";
         }},
        {"empty output", false, [](FakeMq &f) { f.reply_bytes({8, 0, 0, 0}); f.reply_bytes({}); }, -4, nullptr},
        {"drain", true, [](FakeMq &f) { f.busy_polls = 1000; }, -5,
         [&](Call &) { return "Waiting for MQ '" + dq + "' over 3 secs\n\n"; }},
        {"final unlink", false, [](FakeMq &f) { f.answer({1, 2, 3}); f.final_unlink_error = EACCES; }, -3,
         [&](Call &) { return "Cannot unlink data MQ '" + dq + "' Permission denied\n\n"; }},
    };
    for (const FailureRow &row : rows) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        row.script(fake);
        Call call(row.input);
        dwtest::StderrCapture err;
        EXPECT_EQ(call.run(), row.result);
        const std::string out = err.finish();
        if (row.message) {
            EXPECT_TRUE(is_error_line(out, row.message(call))) << out;
        } else {
            EXPECT_EQ(out, "");
        }
        if (row.result == -4) {
            EXPECT_EQ(call.used, 0u);
        }
    }
}

TEST(RunIoctl, QueuesAreClosedAndUnlinkedOnEveryPathAfterOpening)
{
    {
        FakeMq fake;
        fake.data_open_error = EMFILE;
        Call call(false);
        dwtest::StderrCapture err;
        call.run();
        EXPECT_EQ(fake.calls, (std::vector<std::string>{"setrlimit", "open /idpfw", "unlink", "create", "close 3"}));
    }
    {
        FakeMq fake;
        fake.reply_error(ETIMEDOUT);
        Call call(false);
        dwtest::StderrCapture err;
        call.run();
        EXPECT_EQ(fake.calls, (std::vector<std::string>{"setrlimit", "open /idpfw", "unlink", "create", "send ctrl",
                                                        "receive", "close 3", "close 4", "unlink"}));
    }
}

TEST(RunIoctl, ReceiveRetriesOnSignalWithFreshDeadlineButSendDoesNot)
{
    FakeMq fake;
    fake.reply_error(EINTR);
    fake.reply_bytes({3, 0, 0, 0});
    fake.reply_error(EINTR);
    fake.reply_bytes({7, 8, 9});
    Call call(false);
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(call.used, 3u);
    EXPECT_EQ(read_le(call.out, 0, 3), 0x090807u);
    ASSERT_EQ(fake.receive_deadlines.size(), 4u);
    for (size_t i = 1; i < 4; ++i) EXPECT_GT(fake.receive_deadlines[i], fake.receive_deadlines[i - 1]);

    FakeMq again;
    again.ctrl_send_errors = {EINTR};
    Call sent(false);
    dwtest::StderrCapture err;
    EXPECT_EQ(sent.run(), -2);
    EXPECT_EQ(std::count(again.calls.begin(), again.calls.end(), "send ctrl"), 1);
}

TEST(RunIoctl, DeadlineIsNowPlusThreeSecondsPerOperation)
{
    FakeMq fake;
    fake.answer({1});
    Call call(false);
    ASSERT_EQ(call.run(), 0);
    // The fake clock advances one second per read: ctrl send, then each receive.
    EXPECT_EQ(fake.receive_deadlines, (std::vector<long>{1001 + 3, 1002 + 3}));
}

TEST(RunIoctl, UsedLengthZeroLeavesOutputUntouchedAndSkipsDrain)
{
    FakeMq fake;
    fake.reply_bytes({0, 0, 0, 0});
    Call call(false);
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(call.used, 0u);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "receive"), 1);
    EXPECT_FALSE(fake.called("getattr"));
    for (uint8_t b : call.out) ASSERT_EQ(b, 0x5A);
}

TEST(RunIoctl, OverlongUsedLengthMessageWritesOnlyTheWord)
{
    struct {
        uint32_t used = 0xFFFFFFFFu;
        uint32_t guard = 0xDEADBEEFu;
    } words;
    FakeMq fake;
    fake.reply_bytes({0, 0, 0, 0, 0xAA, 0xBB, 0xCC, 0xDD});
    Call call(false);
    call.block.used_len = &words.used;
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(words.used, 0u);
    EXPECT_EQ(words.guard, 0xDEADBEEFu);
    // The extra bytes land inside the output buffer; its first four are restored.
    EXPECT_EQ(read_le(call.out, 0, 4), 0x5A5A5A5Au);
}

TEST(RunIoctl, InputWinsOverOutput)
{
    FakeMq fake;
    Call call(true);
    call.block.out_buf = call.out;
    call.block.used_len = &call.used;
    call.block.out_len = sizeof call.out;
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(fake.attr.mq_maxmsg, 1);
    EXPECT_EQ(fake.attr.mq_msgsize, 18);
    EXPECT_EQ(fake.data_sent, std::vector<uint8_t>(18, 0x11));
    EXPECT_FALSE(fake.called("receive"));
    EXPECT_EQ(call.used, 0xFFFFFFFFu);
}

TEST(RunIoctl, InputWaitsUntilTheEngineDrainsTheQueue)
{
    FakeMq fake;
    fake.busy_polls = 2;
    Call call(true);
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "getattr"), 3);
    EXPECT_EQ(fake.calls.back(), "unlink");
}

TEST(RunIoctl, PureCommandSendsOnlyTheControlMessage)
{
    FakeMq fake;
    Call call(false);
    call.block.out_buf = nullptr;  // used_len alone does not ask for output
    EXPECT_EQ(call.run(), 0);
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"setrlimit", "open /idpfw", "send ctrl", "close 3"}));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(fake.control().data())), data_queue_name());
}

TEST(RunIoctl, DescriptorZeroCountsAsNotOpen)
{
    FakeMq fake;
    fake.ctrl_fd = 0;
    fake.data_fd = 0;
    fake.answer({1});
    Call call(false);
    EXPECT_EQ(call.run(), 0);
    EXPECT_FALSE(fake.called("close 0"));
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "unlink"), 1);  // only the one before create
}

TEST(RunIoctl, ControlMessageAndDataQueueLayout)
{
    FakeMq fake;
    fake.answer({1});
    Call call(false);
    ASSERT_EQ(call.run(), 0);

    const std::vector<uint8_t> &m = fake.control();
    ASSERT_EQ(m.size(), 112u);
    const std::string name = data_queue_name();
    EXPECT_EQ(std::memcmp(m.data(), name.c_str(), name.size() + 1), 0);
    for (size_t i = name.size(); i < 64; ++i) EXPECT_EQ(m[i], 0) << i;
    EXPECT_EQ(read_le(m.data(), 64, 4), kCode);
    EXPECT_EQ(read_le(m.data(), 68, 4), 0xBFu);
    EXPECT_EQ(m[72], 2);
    EXPECT_EQ(m[73], 3);
    EXPECT_EQ(m[74], 0);
    EXPECT_EQ(m[75], 0);
    EXPECT_EQ(read_le(m.data(), 76, 4), 0u);
    EXPECT_EQ(read_le(m.data(), 80, 4), 0u);
    EXPECT_EQ(read_le(m.data(), 84, 4), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(call.out)));
    EXPECT_EQ(read_le(m.data(), 88, 4), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&call.used)));
    EXPECT_EQ(read_le(m.data(), 92, 4), 64u);
    for (size_t i = 96; i < 112; ++i) EXPECT_EQ(m[i], 0) << i;

    EXPECT_EQ(fake.created_name, name);
    EXPECT_EQ(fake.create_flags, O_RDWR | O_CREAT);
    EXPECT_EQ(fake.create_mode, 0644u);
    EXPECT_EQ(fake.attr.mq_maxmsg, 2);
    EXPECT_EQ(fake.attr.mq_msgsize, 64);
    EXPECT_EQ(fake.attr.mq_flags, 0);
}

TEST(RunIoctl, InputImageCarriesFlagsAndLength)
{
    FakeMq fake;
    Call call(true);
    ASSERT_EQ(call.run(), 0);
    const std::vector<uint8_t> &m = fake.control();
    EXPECT_EQ(m[75], 2);
    EXPECT_EQ(read_le(m.data(), 76, 4), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(call.in)));
    EXPECT_EQ(read_le(m.data(), 80, 4), 18u);
    EXPECT_EQ(read_le(m.data(), 84, 12), 0u);
}
