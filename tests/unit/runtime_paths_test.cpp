// Runtime paths: the settings file, the three ways a path is composed, the
// length limits and their messages, and reading paths back by index.
#include <gtest/gtest.h>
#include <libgen.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <regex>
#include <string>

#include "dpiwrapper/paths.h"
#include "support/bytes.h"

namespace {

char *const kAllGlobals[] = {BASE_PATH,       TMP_FILE_PATH,    SIG_FILE_PATH,       NVRAM_DIR,
                             APP_INF_DB_PATH, APP_CAT_DB_PATH,  DEV_OS_DB_PATH,      RULE_DB_PATH,
                             IPS_DB_PATH,     SIG_VER_FILE,     DEFAULT_TRF_PATH,    DEFAULT_SCHEMA_PATH,
                             META_DEF_FNAME,  META_B_DEF_FNAME, CTE_DBG_TMP_FILE};

class RuntimePaths : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (char *g : kAllGlobals) std::memset(g, 0, DW_PATH_SIZE);
        char tmpl[] = "/tmp/dw-paths-XXXXXX";
        dir_ = mkdtemp(tmpl);
        setenv("UDATA_PATH", dir_.c_str(), 1);
    }
    void TearDown() override
    {
        std::remove((dir_ + "/udata.json").c_str());
        rmdir(dir_.c_str());
        unsetenv("UDATA_PATH");
    }
    void write_settings(const std::string &configs)
    {
        std::ofstream(dir_ + "/udata.json") << "{\"configs\": {" << configs << "}}";
    }
    // Runs parse_udata and returns what it printed on stderr.
    std::string parse(int expected)
    {
        dwtest::StderrCapture err;
        EXPECT_EQ(parse_udata(), expected);
        return err.finish();
    }
    std::string dir_;
};

std::string program_dir()
{
    char exe[DW_PATH_SIZE] = {};
    EXPECT_GT(readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
    return dirname(exe);
}

std::string repeat(char c, size_t n) { return std::string(n, c); }

}  // namespace

TEST_F(RuntimePaths, DirectoriesFromSettingsGiveDoubledSlashes)
{
    write_settings(R"("base_path": "/b", "tmp_path": "/var/x", "sig_path": "/s", "nvram_path": "/nv", "x": 1)");
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(BASE_PATH, "/b");
    EXPECT_STREQ(SIG_FILE_PATH, "/s");
    const struct {
        const char *global;
        const char *path;
    } rows[] = {
        {APP_INF_DB_PATH, "/var/x//korad.app.db"},    {APP_CAT_DB_PATH, "/var/x//korad.cat.db"},
        {DEV_OS_DB_PATH, "/var/x//korad.devdb.db"},   {RULE_DB_PATH, "/var/x//korad.rule.db"},
        {IPS_DB_PATH, "/var/x//korad.ips.db"},        {SIG_VER_FILE, "/nv//sig_version"},
        {DEFAULT_TRF_PATH, "/nv//rule.trf"},          {DEFAULT_SCHEMA_PATH, "/nv//rule_schema.trf"},
        {META_DEF_FNAME, "/nv//meta_en-US.dat"},      {META_B_DEF_FNAME, "/nv//meta.dat"},
        {CTE_DBG_TMP_FILE, "/var/x//cte_dbg.txt"},
    };
    for (const auto &row : rows) EXPECT_STREQ(row.global, row.path);
}

TEST_F(RuntimePaths, EmptyDirectoryFallsBackToBaseWithMiddlePart)
{
    write_settings(R"("base_path": "/opt/d", "tmp_path": "", "nvram_path": "/nv")");
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(APP_INF_DB_PATH, "/opt/d/mub/dpi/korad.app.db");
    EXPECT_STREQ(SIG_VER_FILE, "/nv//sig_version");
}

TEST_F(RuntimePaths, MissingSettingsWarnAndUseProgramDirectory)
{
    const std::string out = parse(0);
    EXPECT_EQ(out, "WARN: Failed to load 'udata.json' in '" + dir_ + "/udata.json'. Try exporting 'UDATA_PATH'.\n");
    EXPECT_EQ(std::string(APP_INF_DB_PATH), program_dir() + "//korad.app.db");
    EXPECT_EQ(std::string(META_B_DEF_FNAME), program_dir() + "//meta.dat");
}

TEST_F(RuntimePaths, DefaultSettingsDirectoryHasDoubledSlash)
{
    if (access("/tmp/korad/udata.json", F_OK) == 0) GTEST_SKIP() << "/tmp/korad/udata.json exists here";
    unsetenv("UDATA_PATH");
    EXPECT_NE(parse(0).find("in '/tmp/korad//udata.json'"), std::string::npos);
}

TEST_F(RuntimePaths, WrongTypesAndEmptyStringsLeaveGlobalsAlone)
{
    std::strcpy(TMP_FILE_PATH, "/keep");
    std::strcpy(NVRAM_DIR, "/nvkeep");
    write_settings(R"("tmp_path": 5, "sig_path": "", "nvram_path": null)");
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(TMP_FILE_PATH, "/keep");
    EXPECT_STREQ(SIG_VER_FILE, "/nvkeep//sig_version");
}

TEST_F(RuntimePaths, SettingsPathLengthLimit)
{
    // UDATA_PATH of n characters: n + 11 > 4096 fails, == 4096 composes nothing.
    const std::string base = dir_;
    setenv("UDATA_PATH", (base + repeat('/', 4086 - base.size())).c_str(), 1);
    EXPECT_TRUE(std::regex_match(parse(-1), std::regex(R"( \*\*\* ERROR: \[parse_udata:[0-9]+\] )"
                                                       R"(Error: udata_path len 4096 >= 4096\n\n)")));
    setenv("UDATA_PATH", (base + repeat('/', 4085 - base.size())).c_str(), 1);
    EXPECT_NE(parse(0).find("Failed to load 'udata.json' in ''."), std::string::npos);
    write_settings(R"("tmp_path": "/short")");
    setenv("UDATA_PATH", (base + repeat('/', 4084 - base.size())).c_str(), 1);
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(APP_INF_DB_PATH, "/short//korad.app.db");
}

TEST_F(RuntimePaths, OverlongMemberStopsAtOnceKeepingEarlierOnes)
{
    write_settings("\"base_path\": \"/b\", \"tmp_path\": \"/" + repeat('t', 4095) + "\", \"sig_path\": \"/s\"");
    EXPECT_TRUE(std::regex_match(parse(-1), std::regex(R"( \*\*\* ERROR: \[parse_udata:[0-9]+\] )"
                                                       R"(Error: EXP_TMP_PATH len 4096 >= 4096\n\n)")));
    EXPECT_STREQ(BASE_PATH, "/b");
    EXPECT_STREQ(SIG_FILE_PATH, "");
    EXPECT_STREQ(APP_INF_DB_PATH, "");
}

TEST_F(RuntimePaths, ComposedLengthLimit)
{
    const std::regex message(R"(\[set_kiv_paths\([0-9]+\)\]: Error: ([A-Z_]+) len ([0-9]+) >= 4096\n)");
    std::smatch m;
    dwtest::StderrCapture err;

    // A 4095-character directory: the first path is already too long.
    const std::string longest = "/" + repeat('d', 4094);
    EXPECT_EQ(set_kiv_paths(longest.c_str(), nullptr, "/p"), -1);
    std::string out = err.finish();
    ASSERT_TRUE(std::regex_match(out, m, message)) << out;
    EXPECT_EQ(m[1], "APP_INF_DB_PATH");
    EXPECT_EQ(m[2], "4109");
    EXPECT_STREQ(SIG_VER_FILE, "");

    // Persist paths fail after the five databases were composed; the last
    // data path (composed after them) is untouched.
    const std::string persist = "/" + repeat('p', 4083);  // + "sig_version" + 2 = 4097
    dwtest::StderrCapture err2;
    EXPECT_EQ(set_kiv_paths("/d", nullptr, persist.c_str()), -1);
    out = err2.finish();
    ASSERT_TRUE(std::regex_match(out, m, message)) << out;
    EXPECT_EQ(m[1], "SIG_VER_FILE");
    EXPECT_STREQ(IPS_DB_PATH, "/d//korad.ips.db");
    EXPECT_STREQ(CTE_DBG_TMP_FILE, "");

    // The middle part counts: fits alone, not with "mub/dpi/".
    std::strcpy(BASE_PATH, ("/" + repeat('b', 4080)).c_str());  // 4081 + 12 + 2 = 4095; + 7 = 4102
    dwtest::StderrCapture err3;
    EXPECT_EQ(set_kiv_paths("", nullptr, ""), -1);
    out = err3.finish();
    ASSERT_TRUE(std::regex_match(out, m, message)) << out;
    EXPECT_EQ(m[2], "4102");
}

TEST_F(RuntimePaths, PathsByIndex)
{
    std::strcpy(TMP_FILE_PATH, "/t");
    ASSERT_EQ(set_kiv_paths("/d", nullptr, "/p"), 0);
    const char *expected[] = {TMP_FILE_PATH,   SIG_FILE_PATH,  NVRAM_DIR,    APP_INF_DB_PATH,
                              APP_CAT_DB_PATH, DEV_OS_DB_PATH, RULE_DB_PATH, IPS_DB_PATH};
    for (unsigned i = 0; i < 8; ++i) {
        unsigned char length = 99;
        const char *path = "x";
        EXPECT_EQ(get_kiv_paths(i, &length, &path), 1);
        EXPECT_EQ(path, expected[i]) << i;
        EXPECT_EQ(length, std::strlen(expected[i]));
    }
    unsigned char length = 99;
    const char *path = "x";
    EXPECT_EQ(get_kiv_paths(8, &length, &path), -1);
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(length, 0);

    std::strcpy(SIG_FILE_PATH, ("/" + repeat('s', 299)).c_str());
    get_kiv_paths(1, &length, &path);
    EXPECT_EQ(length, 300 - 256);  // one byte: the length wraps
}
