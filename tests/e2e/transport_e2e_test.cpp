// run_ioctl against a real engine process (dpi-engine-sim) for every outcome
// an engine can cause: success, used length 0, empty output, no answer, slow
// drain, an engine that unlinks the data queue, input winning over output, a
// pure command, a control queue that is never read, and signals during a
// delayed answer. After every call no data queue of this process is left.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "dpiwrapper/transport.h"
#include "support/bytes.h"
#include "support/engine_process.h"

namespace {

using dwtest::EngineProcess;
using dwtest::EngineRecord;
using Clock = std::chrono::steady_clock;

constexpr unsigned kCode2 = 0xC02CBF02;  // group 2 requests

double seconds_since(Clock::time_point t0)
{
    return std::chrono::duration<double>(Clock::now() - t0).count();
}

// The message regex for this thread's data queue: QUEUE stands for its name.
std::string with_queue(const char *pattern)
{
    std::string p = pattern;
    size_t at = p.find("QUEUE");
    if (at != std::string::npos) p.replace(at, 5, dwtest::data_queue_name_of_this_thread());
    return p;
}

void expect_no_leftover_queue()
{
    EXPECT_FALSE(dwtest::queue_exists(dwtest::data_queue_name_of_this_thread()));
    EXPECT_TRUE(dwtest::leftover_data_queues().empty());
}

enum class Shape { output, input, input_and_output, command };

// One request, with sentinel-filled output so untouched bytes show.
struct Call {
    uint8_t out[64];
    uint32_t used = 0xDEADBEEF;
    uint8_t in[24];
    EngineRequest block{};

    explicit Call(Shape shape, uint8_t command = 1)
    {
        std::memset(out, 0xAA, sizeof out);
        for (size_t i = 0; i < sizeof in; ++i) in[i] = static_cast<uint8_t>(0x40 + i);
        block.magic = 0xBF;
        block.group = 2;
        block.command = command;
        if (shape == Shape::input || shape == Shape::input_and_output) {
            block.flags = 2;
            block.in_buf = in;
            block.in_len = sizeof in;
        }
        if (shape == Shape::output || shape == Shape::input_and_output) {
            block.out_buf = out;
            block.out_len = sizeof out;
        }
        block.used_len = &used;
    }
    int run() { return run_ioctl("/idpfw", kCode2, &block); }
};

struct Case {
    const char *name;
    const char *scenario;
    Shape shape;
    int rc;
    const char *message;  // regex of the whole stderr text; QUEUE = data queue name
    bool times_out;       // the result comes after one 3-second step
    const char *engine_kind;
};

void PrintTo(const Case &c, std::ostream *os) { *os << c.name; }

const char kTimedOut[] = "Connection timed out";

const Case kCases[] = {
    {"answer", R"({"requests":[{"group":2,"command":1,"payload_hex":"01020304 05"}]})", Shape::output,
     0, "", false, "output"},
    {"used_len_zero", R"({"requests":[{"group":2,"command":1,"fault":"used_len_zero","payload_hex":"01"}]})",
     Shape::output, 0, "", false, "output"},
    {"empty_output", R"({"requests":[{"group":2,"command":1,"fault":"empty_output"}]})", Shape::output, -4,
     "", false, "output"},
    {"no_answer", R"({"requests":[{"group":2,"command":1,"fault":"no_answer"}]})", Shape::output, -3,
     R"(^ \*\*\* ERROR: \[run_ioctl:\d+\] Cannot receive used length from MQ 'QUEUE' w/ req 0xC02CBF02 with arg 0x[0-9a-f]+ Connection timed out

$)",
     true, "output"},
    {"slow_drain", R"({"requests":[{"group":2,"command":1,"fault":"slow_drain"}]})", Shape::input, -5,
     R"(^ \*\*\* ERROR: \[run_ioctl:\d+\] Waiting for MQ 'QUEUE' over 3 secs

$)",
     true, "input"},
    {"unlink_early_output", R"({"requests":[{"group":2,"command":1,"fault":"unlink_early","payload_hex":"aa55"}]})",
     Shape::output, -3,
     R"(^ \*\*\* ERROR: \[run_ioctl:\d+\] Cannot unlink data MQ 'QUEUE' No such file or directory

$)",
     false, "output"},
    {"unlink_early_input", R"({"requests":[{"group":2,"command":1,"fault":"unlink_early"}]})", Shape::input,
     -3,
     R"(^ \*\*\* ERROR: \[run_ioctl:\d+\] Cannot unlink data MQ 'QUEUE' No such file or directory

$)",
     false, "input"},
    {"input_wins", R"({"requests":[{"group":2,"command":1,"payload_hex":"01020304"}]})",
     Shape::input_and_output, 0, "", false, "input"},
    {"pure_command", "", Shape::command, 0, "", false, "command"},
};

class EngineOutcome : public ::testing::TestWithParam<Case> {
protected:
    void TearDown() override
    {
        expect_no_leftover_queue();
        EXPECT_EQ(engine_.stop(), 0) << "engine did not exit cleanly";
    }
    EngineProcess engine_;
};

TEST_P(EngineOutcome, ResultMessageAndCleanup)
{
    const Case &c = GetParam();
    ASSERT_TRUE(engine_.start(c.scenario)) << engine_.error();
    Call call(c.shape);
    const uint32_t in_len = call.block.in_len;

    dwtest::StderrCapture err;
    Clock::time_point t0 = Clock::now();
    int rc = call.run();
    double took = seconds_since(t0);
    std::string text = err.finish();

    EXPECT_EQ(rc, c.rc);
    if (*c.message) {
        EXPECT_TRUE(std::regex_search(text, std::regex(with_queue(c.message)))) << text;
    } else {
        EXPECT_EQ(text, "");
    }
    if (c.times_out) {
        EXPECT_GE(took, 2.9);
        EXPECT_LT(took, 4.5);
    } else {
        EXPECT_LT(took, 2.0);
    }

    EngineRecord r = engine_.record_number(1, 6000);
    EXPECT_EQ(r.kind, c.engine_kind) << engine_.log();
    EXPECT_EQ(r.queue, dwtest::data_queue_name_of_this_thread());
    if (c.shape == Shape::command) {
        EXPECT_FALSE(r.queue_existed);
        EXPECT_EQ(call.used, 0xDEADBEEFu);
        return;
    }
    ASSERT_TRUE(r.queue_existed);
    const std::vector<uint8_t> sentinel(sizeof call.out, 0xAA);
    if (c.shape == Shape::output) {
        EXPECT_EQ(r.mq_maxmsg, 2);
        EXPECT_EQ(r.mq_msgsize, 64);
    } else {
        EXPECT_EQ(r.mq_maxmsg, 1);
        EXPECT_EQ(r.mq_msgsize, static_cast<long>(in_len));
        EXPECT_EQ(engine_.input_of(r), std::vector<uint8_t>(call.in, call.in + sizeof call.in));
        // Input wins: the output buffer and the used length are not touched.
        EXPECT_EQ(std::vector<uint8_t>(call.out, call.out + sizeof call.out), sentinel);
        EXPECT_EQ(call.used, 0xDEADBEEFu);
    }
    if (c.rc == 0 && c.shape == Shape::output) {
        EXPECT_EQ(call.used, r.used_len_sent);
        std::vector<uint8_t> expect = sentinel;
        std::vector<uint8_t> payload = {1, 2, 3, 4, 5};
        if (call.used != 0) std::copy(payload.begin(), payload.end(), expect.begin());
        EXPECT_EQ(std::vector<uint8_t>(call.out, call.out + sizeof call.out), expect)
            << "used length 0 leaves the buffer as it was";
    }
    if (c.rc == -4) {
        EXPECT_EQ(call.used, 0u);
    }
}

INSTANTIATE_TEST_SUITE_P(RunIoctl, EngineOutcome, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case> &i) { return std::string(i.param.name); });

// An engine that never reads its control queue: ten messages fill it, the
// eleventh send times out after 3 s, and the eleventh call's data queue is
// still removed.
TEST(RunIoctlEngine, FullControlQueueTimesOutWithMinus2)
{
    EngineProcess engine;
    ASSERT_TRUE(engine.start("", {"--fault", "never_read"})) << engine.error();
    for (int i = 0; i < 10; ++i) {
        Call pure(Shape::command);
        ASSERT_EQ(pure.run(), 0) << "message " << i + 1;
    }
    Call call(Shape::output);
    dwtest::StderrCapture err;
    Clock::time_point t0 = Clock::now();
    EXPECT_EQ(call.run(), -2);
    double took = seconds_since(t0);
    std::string text = err.finish();
    EXPECT_GE(took, 2.9);
    EXPECT_TRUE(std::regex_search(
        text, std::regex(R"(^ \*\*\* ERROR: \[run_ioctl:\d+\] Cannot send ctrl to MQ '/idpfw' w/ req 0xC02CBF02 with arg 0x[0-9a-f]+ )" +
                         std::string(kTimedOut) + "\n\n$")))
        << text;
    expect_no_leftover_queue();
    EXPECT_TRUE(engine.records().empty());
    EXPECT_EQ(engine.stop(), 0);
}

std::atomic<int> g_signals{0};
extern "C" void count_signal(int) { ++g_signals; }

// A signal that interrupts the wait for the used length is not a failure:
// the receive is repeated with a fresh 3-second deadline. The engine answers
// 4 s after the request and the signal comes at 2 s, so the call succeeds
// only if the second wait got its own deadline.
TEST(RunIoctlEngine, SignalDuringDelayedAnswerIsRetried)
{
    EngineProcess engine;
    ASSERT_TRUE(engine.start(R"({"requests":[{"group":2,"command":1,"payload_hex":"11223344","delay_ms":4000}]})"))
        << engine.error();
    struct sigaction sa {}, old {};
    sa.sa_handler = count_signal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = 0;  // no SA_RESTART: the blocked receive returns EINTR
    ASSERT_EQ(sigaction(SIGUSR1, &sa, &old), 0);
    g_signals = 0;

    int rc = 99;
    double took = 0;
    uint8_t out[4] = {};
    uint32_t used = 0;
    std::string err_text;
    bool leftover = true;
    std::thread caller([&] {
        Call call(Shape::output);
        call.block.out_buf = out;
        call.block.out_len = sizeof out;
        call.block.used_len = &used;
        dwtest::StderrCapture err;
        Clock::time_point t0 = Clock::now();
        rc = call.run();
        took = seconds_since(t0);
        err_text = err.finish();
        leftover = dwtest::queue_exists(dwtest::data_queue_name_of_this_thread());
    });
    std::this_thread::sleep_for(std::chrono::seconds(2));
    pthread_kill(caller.native_handle(), SIGUSR1);
    caller.join();
    sigaction(SIGUSR1, &old, nullptr);

    EXPECT_EQ(g_signals.load(), 1);
    EXPECT_EQ(rc, 0) << err_text;
    EXPECT_EQ(err_text, "");
    EXPECT_GE(took, 3.5) << "the answer came 4 s after the request";
    EXPECT_EQ(used, 4u);
    EXPECT_EQ(dwtest::read_le(out, 0, 4), 0x44332211u);
    EXPECT_FALSE(leftover);
    EXPECT_TRUE(dwtest::leftover_data_queues().empty());
    EXPECT_EQ(engine.record_number(1).fault, "delay");
    EXPECT_EQ(engine.stop(), 0);
}

}  // namespace
