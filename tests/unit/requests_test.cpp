// Request functions over scripted queues: what a real engine cannot show
// (a failed control send behind a pure command, allocation failures) and
// the arguments refused before any request. Blocks and records on the wire
// are checked against the engine in catalogue_e2e_test.
#include <errno.h>
#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include "dpiwrapper/requests.h"
#include "dpiwrapper/signature.h"
#include "support/bytes.h"
#include "support/fake_mq.h"

using dwtest::FakeMq;

TEST(Requests, CommandsPassOnAFailedSend)
{
    struct Row {
        std::function<int()> call;
        int failed;
    } rows[] = {
        {[] { return set_wpr_state(5); }, -2},
        {[] { return update_sig_by_au(); }, -2},
        {[] { return set_fw_user_domain_clear(); }, -2},
        {[] { return set_dc_debug_level(""); }, -1},
    };
    for (Row &row : rows) {
        FakeMq failing;
        failing.ctrl_send_error = EIO;
        dwtest::StderrCapture err;
        EXPECT_EQ(row.call(), row.failed) << &row - rows;
    }
}

TEST(Requests, RefusedWithoutAnyRequest)
{
    struct Row {
        const char *name;
        std::function<int()> call;
        int result;
        const char *err;
    } rows[] = {
        {"uid 0", [] { return del_uid_user(0); }, -1, ""},
        {"negative family", [] { return set_family_id(3, -1); }, -1, ""},
        {"bad ipv4", [] { return set_whitelist_ip("192.168.1.300", 4, 1); }, -1, "Wrong IP format\n"},
        {"ipv4 text as ipv6", [] { return set_whitelist_ip("192.168.1.2", 6, 1); }, -1, "Wrong IP format\n"},
        {"null fqdn", [] { return set_fw_wrs_fqdn(nullptr); }, -1, ""},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        dwtest::StderrCapture err;
        EXPECT_EQ(row.call(), row.result);
        EXPECT_EQ(err.finish(), row.err);
        EXPECT_EQ(fake.calls, "");
    }
}

TEST(Requests, AllocationFailures)
{
    FakeMq fake;
    fake.fail_calloc = true;
    void *out = &fake;
    unsigned used;
    struct Row {
        std::function<int()> call;
        int result;
        std::string message;  // regex
    } rows[] = {
        {[&] { return get_fw_user_list(&out, &used); }, -1,
         R"( \*\*\* ERROR: \[get_fw_user_list:[0-9]+\] Cannot allocate buffer space 157872 bytes\n)"},
        {[&] { return get_fw_vp_wl_conf(&out, &used); }, -1,
         R"(\[get_fw_vp_wl_conf\([0-9]+\)\]: Cannot allocate buffer space 1048576 bytes)"},
        {[&] { return get_wbl_rule(&out, &used); }, -1, ""},
        {[] { return set_whitelist_ip("::", 6, 1); }, 1, ""},
        {[] { return load_sigfile("a", "b"); }, 0, ""},
        {[] { return scan_uid_device(4); }, -1, ""},
    };
    for (Row &row : rows) {
        dwtest::StderrCapture err;
        EXPECT_EQ(row.call(), row.result);
        const std::string text = err.finish();
        EXPECT_TRUE(std::regex_match(text, std::regex(row.message))) << text;
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(fake.calls, "");
}
