// Many threads on one cache: concurrent first requests load each list once;
// getters and look-ups keep working while another thread reloads.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "dpiwrapper/dbcache.h"
#include "support/log_capture.h"
#include "unit/refdb_test_util.h"

namespace {

bool get_all(DpiDataDBCache &c)
{
    list_head *h = nullptr;
    hlist_head *w = nullptr;
    const bool got[] = {c.get_wrs_cat(w), c.get_dev_db(h), c.get_rule_db(h),
                        c.get_csv_db(h),  c.get_app_db(h), c.get_cat_db(h)};
    for (bool g : got)
        if (!g) return false;
    return true;
}

// Looks everything up under the read side and copies the texts, as the
// decoders do; returns false when any answer is wrong.
bool look_up_all(const DpiDataDBCache &c)
{
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, "stress", __LINE__);
    const unsigned keys[6] = {1, 2, 3, 4, 5, 6};
    const dev_os_entry_t *dev = c.find_dev_os(keys);
    const ips_rule_entry_t *ips = c.find_ips_rule(10);
    const wrs_m_cat_entry_t *wrs = c.find_wrs_cat(4);
    const char *rule = c.find_rule_name(10), *app = c.find_app_name(1, 2), *cat = c.find_cat_name(1);
    if (!dev || !ips || !wrs || !rule || !app || !cat) return false;
    const std::string copied = std::string(dev->text1) + rule + app + cat + wrs->cat_name;
    return copied == "PhoneRule tenMailMessagingPhishing" && ips->severity == 2;
}

TEST(DbCacheStress, ConcurrentFirstRequestsLoadOnce)
{
    dwtest::RefFiles f;
    DpiDataDBCache cache;
    dwtest::clear_logs();
    std::atomic<int> waiting{8};
    std::atomic<int> ok{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&] {
            --waiting;
            while (waiting > 0) std::this_thread::yield();
            ok += get_all(cache);
        });
    for (auto &t : threads) t.join();
    EXPECT_EQ(ok, 8);
    for (const char *m : {"load DPI wrs mapping db (0)", "load DPI dev mapping db (0)",
                          "load DPI rule mapping db (0)", "load DPI csv mapping db (0)",
                          "load DPI app mapping db (0)", "load DPI app cat mapping db (0)"})
        EXPECT_EQ(dwtest::count_logs(m), 1u) << m;
}

TEST(DbCacheStress, LookUpsDuringRepeatedReloads)
{
    dwtest::RefFiles f;
    DpiDataDBCache cache;
    ASSERT_TRUE(get_all(cache));
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0}, rounds{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 4; ++t)
        readers.emplace_back([&] {
            while (!stop) {
                if (!get_all(cache) || !look_up_all(cache)) ++wrong;
                ++rounds;
            }
        });
    // Reload back to back until the readers have also made progress: a
    // writer in a tight loop can keep try-lock readers out for a while.
    int reloads = 0, failed_reloads = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while ((reloads < 60 || rounds < 200) && std::chrono::steady_clock::now() < deadline) {
        failed_reloads += !cache.reload_dbs();
        ++reloads;
        std::this_thread::yield();
    }
    stop = true;
    for (auto &t : readers) t.join();
    EXPECT_EQ(failed_reloads, 0);
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(rounds, 200);
}

}  // namespace
