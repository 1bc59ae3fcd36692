// The cache's indexed look-ups against the list walks, on random files with
// many duplicates, malformed lines and comments, probed with random keys
// (misses and zeros included). Also checks what the indexes cost in memory.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/records.h"
#include "refdb/db_index.h"
#include "refdb/list_ops.h"
#include "unit/refdb_test_util.h"

namespace {

using dwtest::ScopedPath;
using dwtest::TempDir;

class RandomFiles {
public:
    RandomFiles(unsigned seed, int lines) : rng_(seed), lines_(lines) {}
    int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }

    // Each generator emits a line from fmt(), or sometimes a comment or junk.
    template <typename Fn>
    std::string file(Fn line)
    {
        std::string s;
        for (int i = 0; i < lines_; ++i) {
            const int r = pick(0, 19);
            s += r == 0 ? "# comment\n" : r == 1 ? "junk\n" : line() + "\n";
        }
        return s;
    }
    std::string name() { return "n" + std::to_string(pick(0, 999)); }
    std::string id_name() { return std::to_string(pick(0, 40)) + "," + name(); }
    std::string ips() { return std::to_string(pick(0, 40)) + "," + std::to_string(pick(0, 9)) + ",1"; }
    std::string app() { return std::to_string(pick(-2, 5)) + "," + std::to_string(pick(0, 9)) + ",0," + name(); }
    std::string dev()
    {
        std::string s = std::to_string(pick(0, 4));
        for (int k = 0; k < 5; ++k) s += "," + std::to_string(pick(0, 3));
        for (int k = 0; k < 6; ++k) s += ",\"" + name() + "\"";
        return s;
    }
    std::string wrs() { return "cat=" + std::to_string(pick(-1, 30)) + ",\"" + name() + "\""; }
    std::string wrs_security()
    {
        std::string s = file([this] { return wrs(); });
        return s + "[1,\"a\"]\n" + file([this] { return wrs(); }) + "[2,\"b\"]\n" +
               file([this] { return wrs(); });
    }

private:
    std::mt19937 rng_;
    int lines_;
};

const wrs_m_cat_entry_t *walk_wrs(const hlist_head *h, int cat_id)
{
    for (hlist_node *n = h->first; n; n = n->next) {
        const wrs_m_cat_entry_t *e = DW_ENTRY_OF(n, wrs_m_cat_entry_t, node);
        if (e->cat_id == cat_id) return e;
    }
    return nullptr;
}

TEST(RefdbIndexProperty, IndexedLookUpsEqualListWalks)
{
    for (unsigned seed = 1; seed <= 30; ++seed) {
        RandomFiles gen(seed, seed % 5 == 0 ? 0 : 20 * static_cast<int>(seed));
        TempDir tmp;
        ScopedPath rule(RULE_DB_PATH, tmp.write("rule", gen.file([&] { return gen.id_name(); })));
        ScopedPath cat(APP_CAT_DB_PATH, tmp.write("cat", gen.file([&] { return gen.id_name(); })));
        ScopedPath ips(IPS_DB_PATH, tmp.write("ips", gen.file([&] { return gen.ips(); })));
        ScopedPath app(APP_INF_DB_PATH, tmp.write("app", gen.file([&] { return gen.app(); })));
        ScopedPath dev(DEV_OS_DB_PATH, tmp.write("dev", gen.file([&] { return gen.dev(); })));
        ScopedPath conf(DPI_KIV_CONF, tmp.dir());
        tmp.write("wrs.security.conf", gen.wrs_security());
        tmp.write("wrs.parental.conf", gen.file([&] { return gen.wrs(); }));

        DpiDataDBCache c;
        list_head *h;
        hlist_head *w;
        ASSERT_TRUE(c.get_rule_db(h) && c.get_cat_db(h) && c.get_csv_db(h) && c.get_app_db(h) &&
                    c.get_dev_db(h) && c.get_wrs_cat(w));
        for (int q = 0; q < 400; ++q) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " query " + std::to_string(q));
            const unsigned id = gen.pick(0, 45);
            EXPECT_EQ(c.find_rule_name(id), search_rule_db(&c.rule_list, id));
            EXPECT_EQ(c.find_cat_name(id), search_app_cat(&c.cat_list, id));

            dpi_inf_log log;
            const ips_rule_entry_t *hit = c.find_ips_rule(id);
            ASSERT_EQ(hit != nullptr, search_csv_db(&c.csv_list, id, &log) == 0);
            if (hit) {
                EXPECT_EQ(hit->category_id, log.category_id);
                EXPECT_EQ(hit->severity, log.severity);
            }

            const unsigned ac = static_cast<unsigned>(gen.pick(-3, 6)), ai = gen.pick(0, 11);
            EXPECT_EQ(c.find_app_name(ac, ai), search_app_inf(&c.app_list, ac, ai));

            unsigned k[6] = {static_cast<unsigned>(gen.pick(0, 5))};
            for (int i = 1; i < 6; ++i) k[i] = gen.pick(0, 4);
            EXPECT_EQ(c.find_dev_os(k), search_dev_os(&c.dev_list, k[0], k[1], k[2], k[3], k[4], k[5]));

            const int wc = gen.pick(-2, 32);
            EXPECT_EQ(c.find_wrs_cat(wc), walk_wrs(&c.wrs_cat_list, wc));
        }
    }
}

// The indexes may cost at most as much memory as the lists they index, twice over.
TEST(RefdbIndexProperty, IndexMemoryAtMostTwiceTheList)
{
    for (int lines : {50, 700, 4000}) {
        RandomFiles gen(static_cast<unsigned>(lines), lines);
        TempDir tmp;
        ScopedPath rule(RULE_DB_PATH, tmp.write("rule", gen.file([&] {
            return std::to_string(gen.pick(0, 1 << 30)) + ",x";  // mostly unique ids, short names
        })));
        ScopedPath ips(IPS_DB_PATH, tmp.write("ips", gen.file([&] {
            return std::to_string(gen.pick(0, 1 << 30)) + ",1,1";
        })));
        ScopedPath app(APP_INF_DB_PATH, tmp.write("app", gen.file([&] { return gen.app(); })));
        ScopedPath dev(DEV_OS_DB_PATH, tmp.write("dev", gen.file([&] { return gen.dev(); })));
        list_head r, i, a, d;
        for (list_head *l : {&r, &i, &a, &d}) dw_list_init(l);
        ASSERT_EQ(init_rule_db(&r) | init_csv_db(&i) | init_app_inf(&a) | init_dev_os(&d), 0);
        dw::refdb::FirstHitIndex rx, ix, ax;
        dw::refdb::DevIndex dx;
        dw::refdb::build_id_name_index(rx, &r);
        dw::refdb::build_ips_index(ix, &i);
        dw::refdb::build_app_index(ax, &a);
        dw::refdb::build_dev_index(dx, &d);
        EXPECT_LE(rx.bytes(), 2 * dw::refdb::list_bytes_id_name(&r)) << lines;
        EXPECT_LE(ix.bytes(), 2 * dw::refdb::list_bytes_ips(&i)) << lines;
        EXPECT_LE(ax.bytes(), 2 * dw::refdb::list_bytes_app(&a)) << lines;
        EXPECT_LE(dx.bytes(), 2 * dw::refdb::list_bytes_dev(&d)) << lines;
        free_rule_db(&r);
        free_csv_db(&i);
        free_app_inf(&a);
        free_dev_os(&d);
    }
}

}  // namespace
