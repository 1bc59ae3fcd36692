// get_security_logs against dpi-engine-sim: the four reports encoded from a
// scenario, decoded with names from reference files, each list ordered by
// time; a failing virtual-patch request is what the call returns.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"
#include "support/engine_process.h"
#include "support/log_capture.h"

// Replaces the platform's gateway look-up at link time, counting calls.
static int g_gateway_calls = 0;
namespace Utilities {
int GetGatewayInfo(std::string &ip, std::string &mac)
{
    ++g_gateway_calls;
    ip = "192.168.1.1";
    mac = "02:00:00:00:00:fe";
    return 0;
}
}  // namespace Utilities

namespace {

const char kReports[] = R"(
  "web_threats": [
    {"time": 4294967295, "mac": "00:1a:2b:00:00:01", "cat_id": 2, "extra_id": 9, "url": "phish.example/login", "flag": 1},
    {"time": 1, "mac": "00:1a:2b:00:00:02", "cat_id": 1, "url": "malware.example/x.exe", "flag": 3},
    {"time": 500, "mac": "00:1a:2b:00:00:03", "cat_id": 20, "url": "adult.example", "flag": 1},
    {"time": 400, "mac": "00:1a:2b:00:00:03", "cat_id": 10, "url": "cnc.example", "flag": 1}
  ],
  "trs_logs": [
    {"time": 300, "mac": "00:1a:2b:00:00:01", "local": "192.168.1.20", "peer": "203.0.113.5",
     "local_port": 51515, "peer_port": 443, "cat_id": 4, "role": 1, "action": 2},
    {"time": 250, "mac": "00:1a:2b:00:00:01", "local": "192.168.1.20", "peer": "203.0.113.6", "action": 0},
    {"time": 200, "mac": "00:1a:2b:00:00:02", "local": "fe80::1", "peer": "2001:db8::5",
     "local_port": 5353, "peer_port": 53, "cat_id": 21, "role": 2, "action": 1}
  ],
  "anomaly_details": {
    "clients": [{"mac": "00:1a:2b:00:00:04", "entries": [
      {"rule_id": 1001, "time": 900, "attr": 17, "direction": 1, "first": "192.168.1.40", "second": "198.51.100.7", "action": 1},
      {"rule_id": 7777, "time": 100, "direction": 0, "first": "192.168.1.40", "second": "198.51.100.8", "action": 2}
    ]}],
    "router": [{"rule_id": 1004, "time": 50, "first": "192.168.1.1", "second": "198.51.100.9", "action": 1}]
  },
  "vp_details": {
    "clients": [{"mac": "00:1a:2b:00:00:05", "entries": [
      {"rule_id": 2001, "time": 70, "direction": 0, "first": "2001:db8::40", "second": "2001:db8::99", "action": 1}
    ]}],
    "router": [{"rule_id": 2002, "time": 60, "first": "192.168.1.1", "second": "198.51.100.10", "action": 1}]
  })";

std::string scenario(const char *requests) { return std::string("{") + requests + kReports + "}"; }

template <typename Rec>
std::vector<uint32_t> times(const std::vector<Rec> &v)
{
    std::vector<uint32_t> t;
    for (const auto &r : v) t.push_back(r.time);
    return t;
}

class SecurityLogsE2E : public ::testing::Test {
protected:
    // The process-wide cache loads each list once: the files are written
    // before the first test and stay for the whole run.
    static void SetUpTestSuite()
    {
        char tmpl[] = "/tmp/dw-seclogs-XXXXXX";
        dir_ = mkdtemp(tmpl);
        write("wrs.security.conf", "[1,\"Security threats\"]\ncat=1,\"Malware\"\ncat=2,\"Phishing\"\n"
                                   "[2,\"Network threats\"]\ncat=10,\"Botnet C&C\"\n");
        write("wrs.parental.conf", "cat=20,\"Adult\"\ncat=21,\"Gambling\"\n");
        write("korad.rule.db", "1001,TCP port scan\n1004,SYN flood\n2001,SQL injection\n");
        write("korad.ips.db", "1001,1,2\n1004,1,4\n2001,2,5\n2002,2,3\n");
        std::snprintf(DPI_KIV_CONF, sizeof DPI_KIV_CONF, "%s", dir_.c_str());
        std::snprintf(RULE_DB_PATH, sizeof RULE_DB_PATH, "%s/korad.rule.db", dir_.c_str());
        std::snprintf(IPS_DB_PATH, sizeof IPS_DB_PATH, "%s/korad.ips.db", dir_.c_str());
    }
    static void TearDownTestSuite()
    {
        for (const char *f : {"wrs.security.conf", "wrs.parental.conf", "korad.rule.db", "korad.ips.db"})
            unlink((dir_ + "/" + f).c_str());
        rmdir(dir_.c_str());
    }
    static void write(const char *name, const char *text) { std::ofstream(dir_ + "/" + name) << text; }

    void start(const char *requests)
    {
        ASSERT_TRUE(engine_.start(scenario(requests))) << engine_.error() << "\n" << engine_.log();
        dwtest::clear_logs();
        g_gateway_calls = 0;
    }
    void TearDown() override { engine_.stop(); }

    static std::string dir_;
    dwtest::EngineProcess engine_;
    dw_ioctl dw_;
};
std::string SecurityLogsE2E::dir_;

TEST_F(SecurityLogsE2E, AllFourListsDecodedNamedAndOrdered)
{
    start(R"("requests": [],)");
    dpi_security_log logs;
    ASSERT_EQ(dw_.get_security_logs(logs), 0);
    for (const char *ok : {"get wrs logs, OK", "get trs logs, OK", "get anomaly detail logs, OK",
                           "get vp detail logs, OK"})
        EXPECT_TRUE(dwtest::has_log(6, ok)) << ok;
    EXPECT_EQ(g_gateway_calls, 2) << "once per report with router entries";

    // Each list sorted by time, names from its own reference file, and one
    // record per kind whole, so the engine's encoders stay pinned too.
    EXPECT_EQ(times(logs.web_logs), (std::vector<uint32_t>{1, 400, 4294967295u})) << "unsigned order";
    EXPECT_EQ(logs.web_logs[1].cat_name, "Botnet C&C");
    const dpi_web_log &w = logs.web_logs[2];
    EXPECT_EQ(w.url + " " + std::to_string(w.extra_id) + " " + w.cat_name, "phish.example/login 9 Phishing");
    EXPECT_EQ(times(logs.ip_logs), (std::vector<uint32_t>{200, 300}));
    const dpi_ip_log &ip = logs.ip_logs[0];
    EXPECT_EQ(ip.peer_ip + " " + std::to_string(ip.local_port) + " " + ip.cat_name,
              "2001:0DB8:0000:0000:0000:0000:0000:0005 5353 Gambling");
    EXPECT_EQ(times(logs.inf_logs), (std::vector<uint32_t>{50, 100, 900}));
    const dpi_inf_log &router = logs.inf_logs[0], &scan = logs.inf_logs[2];
    EXPECT_EQ(router.mac + " " + router.rule_name + " " + std::to_string(router.severity),
              "02:00:00:00:00:fe SYN flood 4");
    EXPECT_EQ(scan.mac + " " + scan.local_ip + " " + std::to_string(scan.anomaly_attr),
              "00:1a:2b:00:00:04 198.51.100.7 17");
    EXPECT_EQ(times(logs.vul_logs), (std::vector<uint32_t>{60, 70}));
    EXPECT_EQ(logs.vul_logs[1].rule_name + " " + std::to_string(logs.vul_logs[0].severity), "SQL injection 3");

    // A second call appends again; nothing is cleared and each list is re-sorted.
    ASSERT_EQ(dw_.get_security_logs(logs), 0);
    EXPECT_EQ(times(logs.web_logs), (std::vector<uint32_t>{1, 1, 400, 400, 4294967295u, 4294967295u}));
    EXPECT_EQ(times(logs.vul_logs), (std::vector<uint32_t>{60, 60, 70, 70}));
    EXPECT_EQ(logs.inf_logs.size(), 6u);
    EXPECT_EQ(logs.ip_logs.size(), 4u);
}

TEST_F(SecurityLogsE2E, FailingVirtualPatchRequestIsTheResultOthersStillSorted)
{
    start(R"("requests": [{"group": 8, "command": 7, "fault": "empty_output"}],)");
    dpi_security_log logs;
    const int rc = dw_.get_security_logs(logs);
    EXPECT_EQ(rc, -4);
    EXPECT_TRUE(logs.vul_logs.empty());
    EXPECT_TRUE(dwtest::has_log(4, "get vp detail log failed(-4)"));
    EXPECT_FALSE(dwtest::has_log(6, "get vp detail logs, OK"));
    EXPECT_TRUE(dwtest::has_log(6, "get anomaly detail logs, OK"));
    EXPECT_EQ(times(logs.web_logs), (std::vector<uint32_t>{1, 400, 4294967295u}));
    EXPECT_EQ(times(logs.ip_logs), (std::vector<uint32_t>{200, 300}));
    EXPECT_EQ(times(logs.inf_logs), (std::vector<uint32_t>{50, 100, 900}));
    EXPECT_EQ(g_gateway_calls, 1);
}

}  // namespace
