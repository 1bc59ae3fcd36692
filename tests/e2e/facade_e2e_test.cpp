// The dw_ioctl facade against dpi-engine-sim: what reaches the engine, and
// what comes back decoded.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "support/bytes.h"
#include "support/engine_process.h"
#include "support/log_capture.h"

using dwtest::EngineProcess;
using dwtest::EngineRecord;

namespace {

const char kScenario[] = R"({
  "requests": [
    {"group": 2, "command": 17, "payload_hex": "01023412"}
  ],
  "devices": [
    {"uid": 3, "mac": "00:1a:2b:cd:ef:09", "ipv4": "192.168.1.23", "ipv6": "fe80::21a:2bff:fecd:ef09",
     "host_name": "anna-phone", "dev_os_ids": [101, 7, 0, 0, 0, 0], "dev_attr": 513},
    {"uid": 4, "mac": "00:00:00:00:00:04", "ipv4": "192.168.1.24", "host_name": "unknown-box",
     "dev_os_ids": [999, 0, 0, 0, 0, 0]},
    {"uid": 5, "mac": "00:00:00:00:00:05", "in_use": false},
    {"uid": 6, "mac": "00:00:00:00:00:06"}
  ]
})";

class FacadeE2E : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(engine_.start(kScenario)) << engine_.error() << "\n" << engine_.log();
        dwtest::clear_logs();
    }
    void TearDown() override { engine_.stop(); }

    EngineProcess engine_;
    dw_ioctl dw_;
};

TEST_F(FacadeE2E, RecordsReachTheEngineAsLaidOut)
{
    // Empty texts contact no engine.
    std::string empty;
    EXPECT_EQ(dw_.set_redirect_url(empty), -1);
    EXPECT_EQ(dw_.mub_set_wrs_fqdn("", 1), -1);

    // FQDN: cut to 255 characters, NUL, value as u16 LE at 256.
    ASSERT_EQ(dw_.mub_set_wrs_fqdn(std::string(300, 'f'), 0x1234), 0);
    EngineRecord r = engine_.record_number(1);
    EXPECT_EQ(r["group"], 4);
    EXPECT_EQ(r["command"], 7);
    std::vector<uint8_t> in = engine_.input_of(r);
    ASSERT_EQ(in.size(), 258u);
    EXPECT_EQ(std::string(in.begin(), in.begin() + 255), std::string(255, 'f'));
    EXPECT_EQ(in[255], 0);
    EXPECT_EQ(dwtest::read_le(in.data(), 256, 2), 0x1234u);

    // Redirect URL: the text without its terminating NUL.
    std::string url = "http://192.168.1.1/blocked";
    ASSERT_EQ(dw_.set_redirect_url(url), 0);
    r = engine_.record_number(2);
    EXPECT_EQ(r["command"], 12);
    std::vector<uint8_t> sent = engine_.input_of(r);
    EXPECT_EQ(std::string(sent.begin(), sent.end()), url);
    EXPECT_EQ(engine_.records().size(), 2u);
}

TEST_F(FacadeE2E, VersionAndWhitelistResults)
{
    std::string version = "unchanged";
    EXPECT_EQ(dw_.get_dpi_ver(version), 0);
    EXPECT_EQ(version, "1.2.4660");

    // 1 is success here, 0 failure.
    char good[] = "192.168.1.50";
    char bad[] = "192.168.1.500";
    EXPECT_EQ(dw_.set_whitelist_ip_(good, 4, 1), 1);
    EXPECT_TRUE(dwtest::has_log(6, "set_whitelist_ip: 192.168.1.50,version:4, val:1"));
    EXPECT_EQ(dw_.set_whitelist_ip_(bad, 4, 1), 0);
    EXPECT_TRUE(dwtest::has_log(3, "set whitelist ip:192.168.1.500 failed. error code : -1"));
}

TEST_F(FacadeE2E, UsersNeedTheDeviceDatabase)
{
    char dir[] = "/tmp/dw-users-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    std::string db = std::string(dir) + "/korad.devdb.db";
    std::snprintf(DEV_OS_DB_PATH, DW_PATH_SIZE, "%s", db.c_str());

    // No device file yet: the user list arrives but nothing is reported.
    std::vector<dpi_user> users;
    EXPECT_EQ(dw_.get_users(users), 0);
    EXPECT_TRUE(users.empty());

    std::ofstream(db) << "# codes\n"
                         "101,7,0,0,0,0,\"Smartphone\",\"Acme\",\"A5\",\"Android\",\"14\",\"mobile\"\n";
    ASSERT_EQ(dw_.get_users(users), 0);
    ASSERT_EQ(users.size(), 2u);  // the third device is not in use: the list ends there
    // Field formatting is the decoder's, tested on its own; here the path
    // from the engine through the device database, one line per user.
    const dpi_user &u = users[0];
    EXPECT_EQ(std::to_string(u.uid) + " " + u.mac + " " + u.ipv6 + " " + u.host_name + " " +
                  std::to_string(u.dev_attr) + " " + u.dev_desc1 + "|" + u.dev_desc6,
              "3 00:1a:2b:cd:ef:09 FE80:0000:0000:0000:021A:2BFF:FECD:EF09 anna-phone 513 Smartphone|mobile");
    EXPECT_EQ(users[1].host_name + "|" + users[1].dev_desc1, "unknown-box|");

    DEV_OS_DB_PATH[0] = '\0';
    unlink(db.c_str());
    rmdir(dir);
}

// No engine at all: the lock that every test engine takes is held here, so
// none can start meanwhile and every request fails.
class FacadeNoEngine : public ::testing::Test {
protected:
    void SetUp() override
    {
        lock_fd_ = open("/tmp/dw-e2e-idpfw.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        ASSERT_GE(lock_fd_, 0);
        ASSERT_EQ(flock(lock_fd_, LOCK_EX), 0);
        dwtest::clear_logs();
    }
    void TearDown() override { close(lock_fd_); }
    int lock_fd_ = -1;
};

TEST_F(FacadeNoEngine, FailuresAreLogged)
{
    std::vector<dpi_user> users;
    int rc = dw_ioctl().get_users(users);
    EXPECT_LT(rc, 0);
    EXPECT_TRUE(users.empty());
    auto logs = dwtest::captured_logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(logs[0].function + "|" + logs[0].file + "|" + std::to_string(logs[0].level) + "|" + logs[0].text,
              "get_users|dw_ioctl|4|get user failed(" + std::to_string(rc) + ")");

    rc = dw_ioctl().clear_user_domain();
    EXPECT_NE(rc, 0);
    EXPECT_TRUE(dwtest::has_log(3, "Error: clear domain!(" + std::to_string(rc) + ")\n"));

    std::string version = "kept";
    rc = dw_ioctl().get_dpi_ver(version);
    EXPECT_NE(rc, 0);
    EXPECT_EQ(version, "kept");
    EXPECT_TRUE(dwtest::has_log(3, "Error: get ver!(" + std::to_string(rc) + ")\n"));
}

}  // namespace
