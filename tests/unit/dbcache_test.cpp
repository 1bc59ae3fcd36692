// The reference-list cache: lazy loads, reloads, messages, the lock guard and
// the reload lock file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "dpiwrapper/dbcache.h"
#include "refdb/scope_lock.h"
#include "support/log_capture.h"
#include "unit/refdb_test_util.h"

namespace {

std::string msg(const char *format, int rc)
{
    char buf[128];
    snprintf(buf, sizeof buf, format, rc);
    return buf;
}

// Calls getter i of the table below; out gets the head it handed out.
bool get(DpiDataDBCache &c, int i, const void *&out)
{
    list_head *h = nullptr;
    hlist_head *w = nullptr;
    bool (DpiDataDBCache::*const lists[])(list_head *&) = {
        &DpiDataDBCache::get_dev_db, &DpiDataDBCache::get_rule_db, &DpiDataDBCache::get_csv_db,
        &DpiDataDBCache::get_app_db, &DpiDataDBCache::get_cat_db};
    const bool ok = i == 0 ? c.get_wrs_cat(w) : (c.*lists[i - 1])(h);
    out = i == 0 ? static_cast<const void *>(w) : h;
    return ok;
}

TEST(DbCache, GettersLoadOnceAndRetryAfterMissingFile)
{
    const struct {
        const char *name, *file, *load_msg;
    } getters[] = {{"get_wrs_cat", "wrs.security.conf", "load DPI wrs mapping db (%d)"},
                   {"get_dev_db", "dev", "load DPI dev mapping db (%d)"},
                   {"get_rule_db", "rule", "load DPI rule mapping db (%d)"},
                   {"get_csv_db", "ips", "load DPI csv mapping db (%d)"},
                   {"get_app_db", "app", "load DPI app mapping db (%d)"},
                   {"get_cat_db", "cat", "load DPI app cat mapping db (%d)"}};
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(getters[i].name);
        dwtest::RefFiles f;
        const std::string path = f.tmp.path(getters[i].file);
        rename(path.c_str(), (path + ".away").c_str());
        DpiDataDBCache cache;
        dwtest::clear_logs();
        const void *out = nullptr, *again = nullptr;
        EXPECT_FALSE(get(cache, i, out));
        EXPECT_FALSE(get(cache, i, out));
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(dwtest::count_logs(msg(getters[i].load_msg, -1)), 2u);

        rename((path + ".away").c_str(), path.c_str());
        EXPECT_TRUE(get(cache, i, out));
        EXPECT_TRUE(get(cache, i, again));
        EXPECT_NE(out, nullptr);
        EXPECT_EQ(out, again);
        EXPECT_EQ(dwtest::count_logs(msg(getters[i].load_msg, 0)), 1u);
        for (const auto &l : dwtest::captured_logs()) {
            if (l.text == msg(getters[i].load_msg, 0)) {
                EXPECT_TRUE(l.function == getters[i].name && l.file == "dw_ioctl" && l.level == DW_LOG_INFO);
            }
        }
    }
}

TEST(DbCache, ReloadMessagesAndFailedReload)
{
    dwtest::RefFiles f;
    DpiDataDBCache cache;
    dwtest::clear_logs();
    EXPECT_TRUE(cache.reload_dbs());
    std::vector<std::string> texts;
    for (const auto &l : dwtest::captured_logs()) texts.push_back(l.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"dev db is not loaded, skip it", "rule db is not loaded, skip it",
                                               "csv db is not loaded, skip it", "app db is not loaded, skip it",
                                               "cat db is not loaded, skip it"}));

    const void *out;
    ASSERT_TRUE(get(cache, 0, out) && get(cache, 1, out) && get(cache, 4, out));
    f.tmp.write("app", "1,2,0,Mail v2\n");
    remove(f.tmp.path("dev").c_str());
    dwtest::clear_logs();
    EXPECT_FALSE(cache.reload_dbs());
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "reload dev db (-1)"));
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "reload app db (0)"));  // later lists still reloaded
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

TEST(ScopeGuard, BackOffScheduleAndExclusion)
{
    const unsigned want[] = {0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 1, 2};
    for (unsigned n = 0; n < 12; ++n) EXPECT_EQ(dw::refdb::busy_sleep_us(n), want[n]) << n;

    { Scope::ReadWriteLocked none(nullptr, true, "test", __LINE__); }
    pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
    std::atomic<bool> reader_in{false};
    std::thread reader;
    {
        Scope::ReadWriteLocked w(&lock, true, "test", 42);
        EXPECT_EQ(w.file() + std::to_string(w.line()), "test42");
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
    dwtest::RefFiles f;
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

    dwtest::clear_logs();
    EXPECT_EQ(hold_dpi_reload_lock_file(-1), -1);
    EXPECT_TRUE(dwtest::has_log(DW_LOG_ERR, "Failed to use flock to lock dpi reload lock file, error=(Bad file descriptor)"));
    EXPECT_EQ(release_dpi_reload_lock_file(-1), 0);
    for (const auto &l : dwtest::captured_logs()) EXPECT_EQ(l.file, "conf_app");
}

}  // namespace
