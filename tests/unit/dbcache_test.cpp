// The reference-list cache: lazy loads, reloads, messages, the lock guard and
// the reload lock file.
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "dpiwrapper/dbcache.h"
#include "refdb/scope_lock.h"
#include "support/log_capture.h"
#include "unit/refdb_test_util.h"

namespace {

using dwtest::ScopedPath;
using dwtest::TempDir;

const char *const kDev = "1,2,3,4,5,6,\"a\",\"b\",\"c\",\"d\",\"e\",\"f\"\n";

// Every reference file of the cache in one temp dir, path globals set.
struct Files {
    TempDir tmp;
    ScopedPath dev{DEV_OS_DB_PATH, tmp.write("dev", kDev)};
    ScopedPath rule{RULE_DB_PATH, tmp.write("rule", "10,Rule ten\n")};
    ScopedPath ips{IPS_DB_PATH, tmp.write("ips", "10,3,2\n")};
    ScopedPath app{APP_INF_DB_PATH, tmp.write("app", "1,2,0,Mail\n")};
    ScopedPath cat{APP_CAT_DB_PATH, tmp.write("cat", "1,Messaging\n")};
    ScopedPath conf{DPI_KIV_CONF, tmp.dir()};
    Files()
    {
        tmp.write("wrs.security.conf", "[1,\"s\"]\ncat=4,\"Phishing\"\n");
        tmp.write("wrs.parental.conf", "cat=5,\"Adult\"\n");
    }
};

struct Getter {
    const char *name, *file, *load_msg;
    std::function<bool(DpiDataDBCache &, const void *&)> get;
};

std::vector<Getter> getters()
{
    auto wrap = [](bool (DpiDataDBCache::*fn)(list_head *&)) {
        return [fn](DpiDataDBCache &c, const void *&out) {
            list_head *h = nullptr;
            bool ok = (c.*fn)(h);
            out = h;
            return ok;
        };
    };
    return {
        {"get_wrs_cat", "wrs.security.conf", "load DPI wrs mapping db (%d)",
         [](DpiDataDBCache &c, const void *&out) {
             hlist_head *h = nullptr;
             bool ok = c.get_wrs_cat(h);
             out = h;
             return ok;
         }},
        {"get_dev_db", "dev", "load DPI dev mapping db (%d)", wrap(&DpiDataDBCache::get_dev_db)},
        {"get_rule_db", "rule", "load DPI rule mapping db (%d)", wrap(&DpiDataDBCache::get_rule_db)},
        {"get_csv_db", "ips", "load DPI csv mapping db (%d)", wrap(&DpiDataDBCache::get_csv_db)},
        {"get_app_db", "app", "load DPI app mapping db (%d)", wrap(&DpiDataDBCache::get_app_db)},
        {"get_cat_db", "cat", "load DPI app cat mapping db (%d)", wrap(&DpiDataDBCache::get_cat_db)},
    };
}

std::string msg(const char *format, int rc)
{
    char buf[128];
    snprintf(buf, sizeof buf, format, rc);
    return buf;
}

TEST(DbCache, GettersLoadOnceAndRetryAfterMissingFile)
{
    for (const Getter &g : getters()) {
        SCOPED_TRACE(g.name);
        Files f;
        const std::string path = f.tmp.path(g.file);
        rename(path.c_str(), (path + ".away").c_str());
        DpiDataDBCache cache;
        dwtest::clear_logs();
        const void *out = nullptr;
        EXPECT_FALSE(g.get(cache, out));
        EXPECT_FALSE(g.get(cache, out));
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(dwtest::count_logs(msg(g.load_msg, -1)), 2u);

        rename((path + ".away").c_str(), path.c_str());
        const void *first = nullptr, *second = nullptr;
        EXPECT_TRUE(g.get(cache, first));
        EXPECT_TRUE(g.get(cache, second));
        EXPECT_NE(first, nullptr);
        EXPECT_EQ(first, second);
        EXPECT_EQ(dwtest::count_logs(msg(g.load_msg, 0)), 1u);
        for (const auto &l : dwtest::captured_logs())
            if (l.text == msg(g.load_msg, 0)) {
                EXPECT_EQ(l.function, g.name);
                EXPECT_EQ(l.file, "dw_ioctl");
                EXPECT_EQ(l.level, DW_LOG_INFO);
            }
    }
}

TEST(DbCache, ReloadMessagesAndFailedReload)
{
    Files f;
    DpiDataDBCache cache;
    dwtest::clear_logs();
    EXPECT_TRUE(cache.reload_dbs());
    std::vector<std::string> texts;
    for (const auto &l : dwtest::captured_logs()) texts.push_back(l.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"dev db is not loaded, skip it", "rule db is not loaded, skip it",
                                               "csv db is not loaded, skip it", "app db is not loaded, skip it",
                                               "cat db is not loaded, skip it"}));

    list_head *h = nullptr;
    hlist_head *w = nullptr;
    ASSERT_TRUE(cache.get_dev_db(h) && cache.get_app_db(h) && cache.get_wrs_cat(w));
    f.tmp.write("app", "1,2,0,Mail v2\n");
    remove(f.tmp.path("dev").c_str());
    dwtest::clear_logs();
    EXPECT_FALSE(cache.reload_dbs());
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "reload dev db (-1)"));
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "reload app db (0)"));
    EXPECT_EQ(dwtest::count_logs("rule db is not loaded, skip it"), 1u);
    for (const auto &l : dwtest::captured_logs()) EXPECT_EQ(l.text.find("wrs"), std::string::npos);

    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, "test", __LINE__);
    EXPECT_FALSE(cache.dev_loaded);
    EXPECT_EQ(cache.dev_list.next, &cache.dev_list);
    const unsigned keys[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(cache.find_dev_os(keys), nullptr);
    EXPECT_STREQ(cache.find_app_name(1, 2), "Mail v2");
    EXPECT_STREQ(cache.find_wrs_cat(4)->cat_name, "Phishing");
}

TEST(DbCache, OneInstancePerProcess)
{
    EXPECT_EQ(&DpiDataDBCache::instance(), &DpiDataDBCache::instance());
}

TEST(ScopeGuard, BackOffSchedule)
{
    const unsigned want[] = {0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 1, 2};
    for (unsigned n = 0; n < 12; ++n) EXPECT_EQ(dw::refdb::busy_sleep_us(n), want[n]) << n;
}

TEST(ScopeGuard, ReaderWaitsForWriterAndNullLockIsNoOp)
{
    { Scope::ReadWriteLocked none(nullptr, true, "test", __LINE__); }
    pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    std::atomic<bool> reader_in{false};
    std::thread reader;
    {
        Scope::ReadWriteLocked w(&lock, true, "test", 42);
        EXPECT_EQ(w.file(), "test");
        EXPECT_EQ(w.line(), 42);
        reader = std::thread([&] {
            Scope::ReadWriteLocked r(&lock, false, "test", __LINE__);
            reader_in = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(reader_in);
    }
    reader.join();
    EXPECT_TRUE(reader_in);
    EXPECT_EQ(pthread_rwlock_trywrlock(&lock), 0);  // both guards let go
    pthread_rwlock_unlock(&lock);
}

TEST(ReloadLockFile, LoaderWaitsForHolderAndKeepsNoLock)
{
    Files f;
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        int fd = open(DW_RELOAD_LOCK_FILE, O_RDWR | O_CREAT, 0644);
        flock(fd, LOCK_EX);
        (void)!write(ready[1], "x", 1);
        usleep(300 * 1000);
        _exit(0);
    }
    char c;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    dwtest::clear_logs();
    list_head head;
    dw_list_init(&head);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(init_csv_db(&head), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    free_csv_db(&head);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "Add a lock to dpi reload lock file successfully, ret=(0)"));

    int fd = open(DW_RELOAD_LOCK_FILE, O_RDWR);
    EXPECT_EQ(flock(fd, LOCK_EX | LOCK_NB), 0);  // the loader kept no lock
    close(fd);
}

TEST(ReloadLockFile, BadDescriptors)
{
    dwtest::clear_logs();
    EXPECT_EQ(hold_dpi_reload_lock_file(-1), -1);
    EXPECT_TRUE(dwtest::has_log(DW_LOG_ERR,
                                "Failed to use flock to lock dpi reload lock file, error=(Bad file descriptor)"));
    EXPECT_EQ(release_dpi_reload_lock_file(-1), 0);
    for (const auto &l : dwtest::captured_logs()) EXPECT_EQ(l.file, "conf_app");
}

}  // namespace
