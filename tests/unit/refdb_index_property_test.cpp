// The cache's indexed look-ups against the list walks, on random files with
// many duplicates, malformed lines and comments, probed with random keys
// (misses and zeros included). Also what the indexes cost in memory.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/records.h"
#include "refdb/db_index.h"
#include "refdb/list_ops.h"
#include "unit/refdb_test_util.h"

namespace {


struct Gen {
    std::mt19937 rng;
    int lines;
    std::string n(int lo, int hi) { return std::to_string(std::uniform_int_distribution<int>(lo, hi)(rng)); }
    // lines of make(), with one in ten a comment or a line that matches nothing
    std::string file(const std::function<std::string()> &make)
    {
        std::string s;
        for (int i = 0; i < lines; ++i) s += (rng() % 20 == 0 ? "# c" : rng() % 20 == 0 ? "junk" : make()) + "\n";
        return s;
    }
};

TEST(RefdbIndexProperty, IndexedLookUpsEqualListWalks)
{
    for (unsigned seed = 1; seed <= 30; ++seed) {
        Gen g{std::mt19937(seed), seed % 5 == 0 ? 0 : 20 * static_cast<int>(seed)};
        auto name = [&] { return ",\"n" + g.n(0, 999) + "\""; };
        auto wrs = [&] { return "cat=" + g.n(-1, 30) + name(); };
        dwtest::RefFiles f;
        f.rule.set(f.tmp.write("rule", g.file([&] { return g.n(0, 40) + ",r" + g.n(0, 9); })));
        f.cat.set(f.tmp.write("cat", g.file([&] { return g.n(0, 40) + ",c" + g.n(0, 9); })));
        f.ips.set(f.tmp.write("ips", g.file([&] { return g.n(0, 40) + "," + g.n(0, 9) + ",1"; })));
        f.app.set(f.tmp.write("app", g.file([&] { return g.n(-2, 5) + "," + g.n(0, 9) + ",0,a"; })));
        f.dev.set(f.tmp.write("dev", g.file([&] {
            std::string s = g.n(0, 4) + "," + g.n(0, 3) + "," + g.n(0, 3) + "," + g.n(0, 3) + "," + g.n(0, 3) +
                            "," + g.n(0, 3);
            for (int k = 0; k < 6; ++k) s += name();
            return s;
        })));
        f.tmp.write("wrs.security.conf", g.file(wrs) + "[1,\"a\"]\n" + g.file(wrs) + "[2,\"b\"]\n" + g.file(wrs));
        f.tmp.write("wrs.parental.conf", g.file(wrs));

        DpiDataDBCache c;
        list_head *h;
        hlist_head *w;
        ASSERT_TRUE(c.get_rule_db(h) && c.get_cat_db(h) && c.get_csv_db(h) && c.get_app_db(h) &&
                    c.get_dev_db(h) && c.get_wrs_cat(w));
        for (int q = 0; q < 400; ++q) {
            SCOPED_TRACE("seed " + std::to_string(seed) + " query " + std::to_string(q));
            const unsigned id = std::stoul(g.n(0, 45));
            EXPECT_EQ(c.find_rule_name(id), search_rule_db(&c.rule_list, id));
            EXPECT_EQ(c.find_cat_name(id), search_app_cat(&c.cat_list, id));

            dpi_inf_log log;
            const ips_rule_entry_t *hit = c.find_ips_rule(id);
            ASSERT_EQ(hit != nullptr, search_csv_db(&c.csv_list, id, &log) == 0);
            EXPECT_TRUE(!hit || (hit->category_id == log.category_id && hit->severity == log.severity));

            const unsigned ac = static_cast<unsigned>(std::stoi(g.n(-3, 6))), ai = std::stoul(g.n(0, 11));
            EXPECT_EQ(c.find_app_name(ac, ai), search_app_inf(&c.app_list, ac, ai));

            unsigned k[6] = {static_cast<unsigned>(std::stoul(g.n(0, 5)))};
            for (int i = 1; i < 6; ++i) k[i] = std::stoul(g.n(0, 4));
            EXPECT_EQ(c.find_dev_os(k), search_dev_os(&c.dev_list, k[0], k[1], k[2], k[3], k[4], k[5]));

            const int wc = std::stoi(g.n(-2, 32));
            const wrs_m_cat_entry_t *walk = nullptr;
            for (hlist_node *n = c.wrs_cat_list.first; n && !walk; n = n->next)
                if (DW_ENTRY_OF(n, wrs_m_cat_entry_t, node)->cat_id == wc) walk = DW_ENTRY_OF(n, wrs_m_cat_entry_t, node);
            EXPECT_EQ(c.find_wrs_cat(wc), walk);
        }
    }
}

// Each index costs at most twice the memory of the list it indexes.
TEST(RefdbIndexProperty, IndexMemoryAtMostTwiceTheList)
{
    for (int lines : {50, 700, 4000}) {
        Gen g{std::mt19937(lines), lines};
        dwtest::RefFiles f;
        f.rule.set(f.tmp.write("rule", g.file([&] { return g.n(0, 1 << 30) + ",x"; })));  // short names
        f.ips.set(f.tmp.write("ips", g.file([&] { return g.n(0, 1 << 30) + ",1,1"; })));
        f.app.set(f.tmp.write("app", g.file([&] { return g.n(0, 9) + "," + g.n(0, 1 << 30) + ",0,a"; })));
        f.dev.set(f.tmp.write("dev", g.file([&] { return g.n(0, 1 << 30) + "," + g.n(0, 9) + ",1,1,1,1,\"\""; })));
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
