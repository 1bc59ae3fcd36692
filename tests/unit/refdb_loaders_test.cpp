// Reference-file loaders and their list walks, on small files in a temp dir.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "dpiwrapper/records.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"
#include "support/bytes.h"  // StderrCapture
#include "support/log_capture.h"
#include "unit/refdb_test_util.h"

namespace {

using dwtest::ScopedPath;
using dwtest::TempDir;

struct Ips {
    unsigned rule, cat, sev;
    bool operator==(const Ips &o) const { return rule == o.rule && cat == o.cat && sev == o.sev; }
};

template <typename T>
std::vector<const T *> entries(list_head *head)
{
    std::vector<const T *> v;
    for (list_head *n = head->next; n != head; n = n->next) v.push_back(DW_ENTRY_OF(n, T, list));
    return v;
}

class RefdbLoaders : public ::testing::Test {
protected:
    void SetUp() override
    {
        dw_list_init(&head);
        dwtest::clear_logs();
    }
    TempDir tmp;
    list_head head;
};

std::vector<Ips> load_ips(list_head *head)
{
    EXPECT_EQ(init_csv_db(head), 0);
    std::vector<Ips> v;
    for (auto *e : entries<ips_rule_entry_t>(head)) v.push_back({e->rule_id, e->category_id, e->severity});
    free_csv_db(head);
    return v;
}

TEST_F(RefdbLoaders, IpsLinesTrimmedParsedAndCarriedOver)
{
    struct Case {
        std::string file;
        std::vector<Ips> want;
        std::vector<std::string> errors;  // expected error-level texts
    } cases[] = {
        {"  1002,7,3 #note\t\n", {{1002, 7, 3}}, {}},
        {"\t \t5,6,7\t\n# skipped\n", {{5, 6, 7}}, {}},
        // letters only: rule and severity reset, category carried over
        {"1,9,2\nabc\n", {{1, 9, 2}, {0, 9, 0}}, {"parse ips-rule.csv failed at line 2"}},
        // comment lines count; a blank line is a failed line
        {"# c\n\n3,4,5\n", {{0, 0, 0}, {3, 4, 5}}, {"parse ips-rule.csv failed at line 2"}},
        // an over-long line is read in two pieces; the rest is a line of its own
        {"1,2,3" + std::string(1100, ' ') + "\n4,5,6", {{1, 2, 3}, {0, 2, 0}, {4, 5, 6}},
         {"parse ips-rule.csv failed at line 2"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        ScopedPath p(IPS_DB_PATH, tmp.write("ips", c.file));
        dwtest::clear_logs();
        EXPECT_EQ(load_ips(&head), c.want);
        std::vector<std::string> errors;
        for (const auto &l : dwtest::captured_logs()) {
            EXPECT_EQ(l.file, "conf_app");
            if (l.level == DW_LOG_ERR) errors.push_back(l.text);
        }
        EXPECT_EQ(errors, c.errors);
    }
    ScopedPath p(IPS_DB_PATH, tmp.write("ips", "x\n12,3,4\n"));
    dwtest::clear_logs();
    load_ips(&head);  // the failed line's values, then every line at debug level
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "rule_id=0, category_id=0, severity=0"));
    EXPECT_TRUE(dwtest::has_log(DW_LOG_DEBUG, "rule_id=12, category_id=3. severity=4"));
    EXPECT_TRUE(dwtest::has_log(DW_LOG_INFO, "hold dpi-signature reload lock file..."));
}

TEST_F(RefdbLoaders, IpsSearchFirstHitCopiesIntoBothRecordKinds)
{
    ScopedPath p(IPS_DB_PATH, tmp.write("ips", "7,1,2\n7,5,5\n8,3,4\n"));
    ASSERT_EQ(init_csv_db(&head), 0);
    dpi_inf_log inf;
    EXPECT_EQ(search_csv_db(&head, 7, &inf), 0);
    EXPECT_EQ(inf.category_id * 10 + inf.severity, 12u);
    dpi_vul_log vul;
    vul.category_id = vul.severity = 9;
    EXPECT_EQ(search_csv_db(&head, 9, &vul), -1);  // a miss leaves the record alone
    EXPECT_EQ(vul.category_id * 10 + vul.severity, 99u);
    EXPECT_EQ(search_csv_db(&head, 8, &vul), 0);
    EXPECT_EQ(vul.category_id * 10 + vul.severity, 34u);
    free_csv_db(&head);
}

TEST_F(RefdbLoaders, IpsMissingFileAndDefaultPaths)
{
    ScopedPath ips(IPS_DB_PATH, tmp.path("none"));
    EXPECT_EQ(init_csv_db(&head), -1);
    EXPECT_TRUE(dwtest::has_log(DW_LOG_ERR, "get " + tmp.path("none") + " error"));

    char exe[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
    std::string exe_dir(exe);
    exe_dir.erase(exe_dir.rfind('/'));
    struct Case {
        std::string tmp_dir, base, want;
    } cases[] = {
        {"/var/x", "/opt/d", "/var/x//korad.ips.db"},
        {"", "/opt/d", "/opt/d/mub/dpi/korad.ips.db"},
        {"", "", exe_dir + "//korad.ips.db"},
        {std::string(4081, 'a'), "", std::string(4081, 'a') + "//korad.ips.db"},
        {std::string(4082, 'a'), "", ""},  // 4082 + 14 reaches the limit
        {"", std::string(4075, 'b'), ""},  // 4075 + 21 likewise
    };
    for (const Case &c : cases) {
        ScopedPath t(TMP_FILE_PATH, c.tmp_dir), b(BASE_PATH, c.base);
        ips.set("");
        dwtest::StderrCapture err;
        EXPECT_EQ(init_csv_db(&head), -1);
        const std::string text = err.finish();
        EXPECT_EQ(std::string(IPS_DB_PATH), c.want);
        if (c.want.empty()) {
            const size_t len = (c.base.empty() ? c.tmp_dir.size() + 14 : c.base.size() + 21);
            EXPECT_NE(text.find("[init_csv_db("), std::string::npos);
            EXPECT_NE(text.find(")]: Error: IPS_DB_PATH len " + std::to_string(len) + " >= 4096\n"),
                      std::string::npos);
        }
    }
}

TEST_F(RefdbLoaders, RuleAndCategoryFiles)
{
    const std::string long_name(300, 'n');
    tmp.write("rule", "# head\n7,Name one # remark\t\n\t8,Two\nbogus\n9\n10," + long_name + "\n");
    ASSERT_EQ(symlink(tmp.path("rule").c_str(), tmp.path("link").c_str()), 0);
    ScopedPath p(RULE_DB_PATH, tmp.path("link"));  // opened through its canonical path
    ASSERT_EQ(init_rule_db(&head), 0);
    std::vector<std::pair<unsigned, std::string>> got;
    for (auto *e : entries<id_name_entry_t>(&head)) got.emplace_back(e->id, e->name);
    const std::string piece(252, 'n');  // 255 characters read, "10," first
    const std::vector<std::pair<unsigned, std::string>> want = {
        {7, "Name one"}, {8, "Two"}, {8, "Two"}, {9, "Two"}, {10, piece}, {10, piece}};
    EXPECT_EQ(got, want);
    EXPECT_STREQ(search_rule_db(&head, 8), "Two");
    EXPECT_EQ(search_rule_db(&head, 11), nullptr);
    free_rule_db(&head);

    // No comment cutting or trimming in the category file.
    ScopedPath c(APP_CAT_DB_PATH, tmp.write("cat", "3,Games # x\n5,Video\t\n#9,skip\n"));
    ASSERT_EQ(init_app_cat(&head), 0);
    EXPECT_STREQ(search_app_cat(&head, 3), "Games # x");
    EXPECT_STREQ(search_app_cat(&head, 5), "Video\t");
    EXPECT_EQ(search_app_cat(&head, 9), nullptr);
    free_app_cat(&head);
    EXPECT_TRUE(dwtest::captured_logs().empty());

    ScopedPath missing(APP_CAT_DB_PATH, tmp.path("nope"));
    EXPECT_EQ(init_app_cat(&head), -1);
    EXPECT_EQ(head.next, &head);
}

TEST_F(RefdbLoaders, ApplicationFile)
{
    ScopedPath p(APP_INF_DB_PATH, tmp.write("app", "1,2,3,Mail\n1,2,4,Later\n-1,5,0,Negative\nzz\n#4,4,4,x\n"));
    ASSERT_EQ(init_app_inf(&head), 0);
    auto v = entries<app_inf_entry_t>(&head);
    ASSERT_EQ(v.size(), 4u);
    EXPECT_EQ(v[3]->cat_id, -1);  // unmatched line repeats the previous one
    EXPECT_EQ(v[0]->extra, 3);
    EXPECT_STREQ(search_app_inf(&head, 1, 2), "Mail");
    EXPECT_EQ(search_app_inf(&head, 9, 2), nullptr);
    EXPECT_STREQ(search_app_inf(&head, 0xFFFFFFFFu, 5), "Negative");
    free_app_inf(&head);
}

TEST_F(RefdbLoaders, DeviceFileParsingAndTruncation)
{
    const std::string long_text(120, 'L');
    ScopedPath p(DEV_OS_DB_PATH,
                 tmp.write("dev", "1,2,3,4,5,6,\"a\",\"b\",\"c\",\"d\",\"e\",\"f\"\n"
                                  "7,8,9,10,11,12,\"" + long_text + "\",\"x\",\"x\",\"x\",\"x\",\"x\"\n"));
    ASSERT_EQ(init_dev_os(&head), 0);
    auto v = entries<dev_os_entry_t>(&head);
    ASSERT_EQ(v.size(), 2u);
    EXPECT_STREQ(v[0]->text6, "f");  // line feed dropped, no quote lost
    EXPECT_EQ(v[1]->key6, 12u);
    EXPECT_EQ(std::string(v[1]->text1), long_text.substr(0, 99));
    EXPECT_STREQ(v[1]->text2, "b");  // the parse stops after a cut text
    free_dev_os(&head);
}

TEST_F(RefdbLoaders, DeviceSearchFullMatchThenLastPartial)
{
    std::string file;
    for (const char *line : {"5,2,9,9,9,9,A", "5,1,3,4,5,6,B", "5,2,8,8,8,8,C", "5,1,1,1,1,1,D", "0,0,0,0,0,0,Z"})
        file += std::string(line, 12) + "\"" + line[12] + "\",\"\",\"\",\"\",\"\",\"\"\n";
    ScopedPath p(DEV_OS_DB_PATH, tmp.write("dev", file));
    ASSERT_EQ(init_dev_os(&head), 0);
    struct Case {
        unsigned k[6];
        const char *want;
    } cases[] = {
        {{5, 0, 3, 4, 5, 6}, "B"},  // full match wins over an earlier partial one
        {{5, 0, 7, 7, 7, 7}, "D"},  // no full match: last entry with key1
        {{5, 2, 7, 7, 7, 7}, "C"},  // last entry with key1 and key2
        {{5, 2, 0, 0, 0, 0}, "A"},  // zeros match anything
        {{5, 1, 0, 4, 0, 6}, "B"},
        {{5, 3, 3, 4, 5, 6}, nullptr},
        {{6, 0, 0, 0, 0, 0}, nullptr},
        {{0, 0, 0, 0, 0, 0}, "Z"},  // key1 zero is compared, not a wildcard
    };
    for (const Case &c : cases) {
        const dev_os_entry_t *e = search_dev_os(&head, c.k[0], c.k[1], c.k[2], c.k[3], c.k[4], c.k[5]);
        EXPECT_STREQ(e ? e->text1 : nullptr, c.want) << c.k[0] << "," << c.k[1] << "," << c.k[2];
    }
    free_dev_os(&head);
}

TEST(RefdbText, TrimBothEnds)
{
    struct Case {
        const char *in;
        char c;
        const char *want;
    } cases[] = {{"  a b  ", ' ', "a b"}, {"aaa", 'a', ""},      {"", 'x', ""},
                 {"\tb\t c\t", '\t', "b\t c"}, {"xyx", 'y', "xyx"}, {"yyxy", 'y', "x"}};
    for (const Case &c : cases) {
        std::string s = c.in;
        _trim(&s[0], c.c);
        EXPECT_STREQ(s.c_str(), c.want) << '"' << c.in << '"';
    }
}

TEST(RefdbLists, UnlinkedNodesArePoisoned)
{
    list_head head, a, b;
    dw_list_init(&head);
    dw::refdb::list_add_tail(&a, &head);
    dw::refdb::list_add_tail(&b, &head);
    dw::refdb::list_del(&a);
    EXPECT_TRUE(head.next == &b && b.prev == &head);
    EXPECT_TRUE(a.next == DW_LIST_POISON1 && a.prev == DW_LIST_POISON2);

    hlist_head h;
    hlist_node x, y, z;
    dw_hlist_init(&h);
    dw::refdb::hlist_add_head(&x, &h);
    dw::refdb::hlist_add_behind(&z, &x);
    dw::refdb::hlist_add_behind(&y, &x);  // x y z
    dw::refdb::hlist_del(&y);
    EXPECT_TRUE(h.first == &x && x.next == &z && z.pprev == &x.next);
    EXPECT_TRUE(static_cast<void *>(y.next) == DW_LIST_POISON1 && static_cast<void *>(y.pprev) == DW_LIST_POISON2);
}

}  // namespace
