// run_ioctl against a real engine process (dpi-engine-sim) for every outcome
// an engine can cause: success, used length 0, empty output, no answer, slow
// drain, an engine that unlinks the data queue, input winning over output, a
// pure command and a control queue that is never read. After every call no
// data queue of this process is left. Signals and other injected errors are
// covered over scripted queues in run_ioctl_test.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <regex>
#include <string>
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
    const char *request;  // nullptr: no scenario
    Shape shape;
    int rc;
    const char *message;  // regex of the error after its prefix; QUEUE = data queue name
    bool times_out;       // the result comes after one 3-second step
    const char *engine_kind;
};

void PrintTo(const Case &c, std::ostream *os) { *os << c.name; }

const char kTimedOut[] = "Connection timed out";
const char kUnlinked[] = "Cannot unlink data MQ 'QUEUE' No such file or directory";

// The scenario's one group 2 command 1 request is {"group":2,"command":1,<request>}.
const Case kCases[] = {
    {"answer", R"("payload_hex":"01020304 05")", Shape::output, 0, "", false, "output"},
    {"used_len_zero", R"("fault":"used_len_zero","payload_hex":"01")", Shape::output, 0, "", false, "output"},
    {"empty_output", R"("fault":"empty_output")", Shape::output, -4, "", false, "output"},
    {"no_answer", R"("fault":"no_answer")", Shape::output, -3,
     "Cannot receive used length from MQ 'QUEUE' w/ req 0xC02CBF02 with arg 0x[0-9a-f]+ Connection timed out", true,
     "output"},
    {"slow_drain", R"("fault":"slow_drain")", Shape::input, -5, "Waiting for MQ 'QUEUE' over 3 secs", true, "input"},
    {"unlink_early_output", R"("fault":"unlink_early","payload_hex":"aa55")", Shape::output, -3, kUnlinked, false,
     "output"},
    {"unlink_early_input", R"("fault":"unlink_early")", Shape::input, -3, kUnlinked, false, "input"},
    {"input_wins", R"("payload_hex":"01020304")", Shape::input_and_output, 0, "", false, "input"},
    {"pure_command", nullptr, Shape::command, 0, "", false, "command"},
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
    const std::string scenario =
        c.request ? std::string(R"({"requests":[{"group":2,"command":1,)") + c.request + "}]}" : "";
    ASSERT_TRUE(engine_.start(scenario)) << engine_.error();
    Call call(c.shape);
    const uint32_t in_len = call.block.in_len;

    dwtest::StderrCapture err;
    Clock::time_point t0 = Clock::now();
    int rc = call.run();
    double took = seconds_since(t0);
    std::string text = err.finish();

    EXPECT_EQ(rc, c.rc);
    if (*c.message) {
        const std::string line = R"(^ \*\*\* ERROR: \[run_ioctl:\d+\] )" + with_queue(c.message) + "\n\n$";
        EXPECT_TRUE(std::regex_search(text, std::regex(line))) << text;
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
    EXPECT_EQ(r.str("kind"), c.engine_kind) << engine_.log();
    EXPECT_EQ(r.str("queue"), dwtest::data_queue_name_of_this_thread());
    if (c.shape == Shape::command) {
        EXPECT_EQ(r["queue_existed"], 0);
        EXPECT_EQ(call.used, 0xDEADBEEFu);
        return;
    }
    ASSERT_EQ(r["queue_existed"], 1);
    const std::vector<uint8_t> sentinel(sizeof call.out, 0xAA);
    if (c.shape == Shape::output) {
        EXPECT_EQ(r["mq_maxmsg"], 2);
        EXPECT_EQ(r["mq_msgsize"], 64);
    } else {
        EXPECT_EQ(r["mq_maxmsg"], 1);
        EXPECT_EQ(r["mq_msgsize"], in_len);
        EXPECT_EQ(engine_.input_of(r), std::vector<uint8_t>(call.in, call.in + sizeof call.in));
        // Input wins: the output buffer and the used length are not touched.
        EXPECT_EQ(std::vector<uint8_t>(call.out, call.out + sizeof call.out), sentinel);
        EXPECT_EQ(call.used, 0xDEADBEEFu);
    }
    if (c.rc == 0 && c.shape == Shape::output) {
        EXPECT_EQ(call.used, r["used_len_sent"]);
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

}  // namespace
