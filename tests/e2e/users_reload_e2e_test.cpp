// get_users on several threads while another reloads the device database:
// every record keeps whole descriptions, never texts of freed entries.
#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <thread>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "support/engine_process.h"

namespace {

const char kScenario[] = R"({"devices": [
  {"uid": 1, "mac": "00:00:00:00:00:01", "dev_os_ids": [1, 10, 0, 0, 0, 0]},
  {"uid": 2, "mac": "00:00:00:00:00:02", "dev_os_ids": [2, 20, 0, 0, 0, 0]},
  {"uid": 3, "mac": "00:00:00:00:00:03", "dev_os_ids": [3, 30, 0, 0, 0, 0]}
]})";

TEST(UsersReload, ConcurrentReloadKeepsRecordsWhole)
{
    char dir[] = "/tmp/dw-users-reload-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    std::string db = std::string(dir) + "/korad.devdb.db";
    {
        std::ofstream f(db);
        for (int k = 1; k <= 3; ++k)
            f << k << ',' << k * 10 << ",0,0,0,0,\"type " << k << "\",\"vendor " << k
              << "\",\"a long operating system name " << k << "\",\"v\",\"m\",\"c\"\n";
    }
    std::snprintf(DEV_OS_DB_PATH, DW_PATH_SIZE, "%s", db.c_str());
    dwtest::EngineProcess engine;
    ASSERT_TRUE(engine.start(kScenario, {"--quiet"})) << engine.error();

    std::atomic<bool> stop{false};
    int bad = 0;
    // One reader: each call's data queue holds two user lists, and a few at
    // once pass this machine's per-user queue byte limit.
    std::thread reloader([&] {
        dw_ioctl dw;
        while (!stop) dw.reload_dbs();
    });
    dw_ioctl dw;
    size_t seen = 0;
    for (int i = 0; i < 200; ++i) {
        std::vector<dpi_user> users;
        if (dw.get_users(users) != 0) ++bad;
        seen += users.size();
        for (const dpi_user &u : users) {
            std::string n = std::to_string(u.uid);
            bool whole = u.dev_desc1 == "type " + n && u.dev_desc3 == "a long operating system name " + n;
            bool between = u.dev_desc1.empty() && u.dev_desc3.empty();  // caught mid-reload
            bad += !whole && !between;
        }
    }
    stop = true;
    reloader.join();
    engine.stop();
    EXPECT_EQ(bad, 0);
    EXPECT_GT(seen, 0u);

    DEV_OS_DB_PATH[0] = '\0';
    unlink(db.c_str());
    rmdir(dir);
}

}  // namespace
