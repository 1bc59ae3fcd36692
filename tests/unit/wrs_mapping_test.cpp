// Web-category mapping files and the configuration directory they live in.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "dpiwrapper/platform.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"
#include "support/log_capture.h"
#include "unit/refdb_test_util.h"

namespace {

using dwtest::ScopedPath;
using dwtest::TempDir;
using Row = std::tuple<int, int, std::string>;  // map id, category id, name

std::vector<Row> chain(const hlist_head &h)
{
    std::vector<Row> v;
    for (hlist_node *n = h.first; n; n = n->next) {
        const wrs_m_cat_entry_t *e = DW_ENTRY_OF(n, wrs_m_cat_entry_t, node);
        v.emplace_back(e->map_id, e->cat_id, e->cat_name);
    }
    return v;
}

class WrsMapping : public ::testing::Test {
protected:
    void SetUp() override
    {
        dw_hlist_init(&head);
        dwtest::clear_logs();
    }
    void TearDown() override { free_wrs_mapping(&head); }
    void files(const std::string &security, const std::string &parental)
    {
        tmp.write("wrs.security.conf", security);
        tmp.write("wrs.parental.conf", parental);
    }
    TempDir tmp;
    ScopedPath conf{DPI_KIV_CONF, tmp.dir()};
    hlist_head head;
};

TEST_F(WrsMapping, SectionsThenParentalInFileOrder)
{
    files("cat=90,\"Before\"\n[1,\"Security\"]\ncat=10,\"Malware\"\njunk\n cat=11,\"indented\"\n"
          "[2,\"Privacy\"]\ncat=20,\"Tracking\"\ncat=21,\"\"\n",
          "[5,\"no sections here\"]\ncat=30,\"Adult\"\ncat=31,\"" + std::string(200, 'z') + "\"\n");
    ASSERT_EQ(init_wrs_mapping(&head), 0);
    const std::vector<Row> want = {Row{-1, 90, "Before"}, Row{1, 10, "Malware"}, Row{2, 20, "Tracking"},
                                   Row{0, 30, "Adult"}, Row{0, 31, std::string(127, 'z')}};
    EXPECT_EQ(chain(head), want);

    print_wrs_mapping(&head);
    auto logs = dwtest::captured_logs();
    ASSERT_EQ(logs.size(), 5u);
    EXPECT_EQ(logs[1].text, "map_id:1\t cat_id:10\t cat_name:Malware");
    EXPECT_EQ(logs[1].file, "conf_wrs");
    EXPECT_EQ(logs[1].level, DW_LOG_INFO);
}

TEST_F(WrsMapping, FailuresAndTheirMessages)
{
    const std::string sec = tmp.path("wrs.security.conf"), par = tmp.path("wrs.parental.conf");
    tmp.write("wrs.security.conf", "[1,\"a\"]\ncat=1,\"x\"\n");
    EXPECT_EQ(init_wrs_mapping(&head), -1);  // parental file missing
    EXPECT_TRUE(dwtest::has_log(DW_LOG_ERR, "access mapping file(" + sec + " or " + par + ") error."));
    EXPECT_EQ(head.first, nullptr);

    files("[1,\"a\"]\ncat=1,\"x\"\n[3,\"bad\"]\ncat=2,\"y\"\n", "cat=3,\"z\"\n");
    EXPECT_EQ(init_wrs_mapping(&head), -1);
    EXPECT_TRUE(dwtest::has_log(DW_LOG_ERR, "WRS security id error!\n"));
    EXPECT_EQ(chain(head), std::vector<Row>{Row(1, 1, "x")});  // linked before the bad section

    // A load into a chain that already holds entries succeeds but adds
    // nothing reachable: the earlier entries stay as they are.
    files("[2,\"a\"]\ncat=5,\"new\"\n", "cat=6,\"p\"\n");
    EXPECT_EQ(init_wrs_mapping(&head), 0);
    EXPECT_EQ(chain(head), std::vector<Row>{Row(1, 1, "x")});
}

TEST(DiaPaths, FilledOnceFromTmpThenBaseThenDefault)
{
    struct Case {
        std::string conf, tmp_dir, base, want;
    } cases[] = {
        {"", "/t", "/b", "/t"},
        {"", "", "/b", "/b"},
        {"", "", "", "/tmp/korad"},
        {"/kept", "/t", "/b", "/kept"},
    };
    for (const Case &c : cases) {
        ScopedPath conf(DPI_KIV_CONF, c.conf), t(TMP_FILE_PATH, c.tmp_dir), b(BASE_PATH, c.base);
        EXPECT_EQ(set_dia_paths(), 0);
        EXPECT_STREQ(DPI_KIV_CONF, c.want.c_str());
    }
    // A directory text without its terminator within the buffer does not fit.
    ScopedPath conf(DPI_KIV_CONF, ""), t(TMP_FILE_PATH, "");
    memset(TMP_FILE_PATH, 'x', DW_PATH_SIZE);
    EXPECT_LT(set_dia_paths(), 0);
    EXPECT_EQ(DPI_KIV_CONF[0], '\0');
}

}  // namespace
