// Runtime paths: the settings file, the three ways a path is composed, the
// length limits with their messages, and reading paths back by index.
#include <gtest/gtest.h>
#include <libgen.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <regex>

#include "dpiwrapper/paths.h"
#include "support/bytes.h"

namespace {

class RuntimePaths : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (char *g : {BASE_PATH, TMP_FILE_PATH, SIG_FILE_PATH, NVRAM_DIR, APP_INF_DB_PATH, APP_CAT_DB_PATH,
                        DEV_OS_DB_PATH, RULE_DB_PATH, IPS_DB_PATH, SIG_VER_FILE, DEFAULT_TRF_PATH,
                        DEFAULT_SCHEMA_PATH, META_DEF_FNAME, META_B_DEF_FNAME, CTE_DBG_TMP_FILE})
            std::memset(g, 0, DW_PATH_SIZE);
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
    void settings(const std::string &configs) { std::ofstream(dir_ + "/udata.json") << "{\"configs\": {" << configs << "}}"; }
    // Runs parse_udata and returns its stderr.
    std::string parse(int expected)
    {
        dwtest::StderrCapture err;
        EXPECT_EQ(parse_udata(), expected);
        return err.finish();
    }
    std::string dir_;
};

// Matches "[set_kiv_paths(N)]: Error: NAME len LEN >= 4096\n" or the
// " *** ERROR: [parse_udata:N] " form.
bool length_error(const std::string &out, const std::string &name, size_t len, bool paren)
{
    const std::string prefix = paren ? R"(\[set_kiv_paths\([0-9]+\)\]: )" : R"( \*\*\* ERROR: \[parse_udata:[0-9]+\] )";
    return std::regex_match(out, std::regex(prefix + "Error: " + name + " len " + std::to_string(len) +
                                            " >= 4096\n" + (paren ? "" : "\n")));
}

}  // namespace

TEST_F(RuntimePaths, ComposedFromSettings)
{
    settings(R"("base_path": "/b", "tmp_path": "/var/x", "sig_path": "/s", "nvram_path": "/nv", "x": 1)");
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(BASE_PATH, "/b");
    EXPECT_STREQ(SIG_FILE_PATH, "/s");
    const std::string all = std::string(APP_INF_DB_PATH) + " " + APP_CAT_DB_PATH + " " + DEV_OS_DB_PATH + " " +
                            RULE_DB_PATH + " " + IPS_DB_PATH + " " + SIG_VER_FILE + " " + DEFAULT_TRF_PATH + " " +
                            DEFAULT_SCHEMA_PATH + " " + META_DEF_FNAME + " " + META_B_DEF_FNAME + " " + CTE_DBG_TMP_FILE;
    EXPECT_EQ(all, "/var/x//korad.app.db /var/x//korad.cat.db /var/x//korad.devdb.db /var/x//korad.rule.db "
                   "/var/x//korad.ips.db /nv//sig_version /nv//rule.trf /nv//rule_schema.trf /nv//meta_en-US.dat "
                   "/nv//meta.dat /var/x//cte_dbg.txt");

    // An empty directory falls back to the base directory and its middle part;
    // wrong types and empty strings leave the globals as they were.
    settings(R"("base_path": "/opt/d", "tmp_path": "", "sig_path": 5, "nvram_path": null)");
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(SIG_FILE_PATH, "/s");
    EXPECT_STREQ(APP_INF_DB_PATH, "/var/x//korad.app.db");  // TMP_FILE_PATH kept /var/x
    std::memset(TMP_FILE_PATH, 0, DW_PATH_SIZE);
    EXPECT_EQ(parse(0), "");
    EXPECT_STREQ(APP_INF_DB_PATH, "/opt/d/mub/dpi/korad.app.db");
    EXPECT_STREQ(SIG_VER_FILE, "/nv//sig_version");
}

TEST_F(RuntimePaths, MissingSettingsWarnAndUseProgramDirectory)
{
    EXPECT_EQ(parse(0), "WARN: Failed to load 'udata.json' in '" + dir_ + "/udata.json'. Try exporting 'UDATA_PATH'.\n");
    char exe[DW_PATH_SIZE] = {};
    ASSERT_GT(readlink("/proc/self/exe", exe, sizeof exe - 1), 0);
    EXPECT_EQ(std::string(APP_INF_DB_PATH), std::string(dirname(exe)) + "//korad.app.db");

    if (access("/tmp/korad/udata.json", F_OK) == 0) return;
    unsetenv("UDATA_PATH");
    EXPECT_NE(parse(0).find("in '/tmp/korad//udata.json'"), std::string::npos);
}

TEST_F(RuntimePaths, LengthLimits)
{
    // UDATA_PATH of n characters: n + 11 > 4096 fails, n + 11 == 4096 composes nothing.
    const auto udata_path = [&](size_t n) { setenv("UDATA_PATH", (dir_ + std::string(n - dir_.size(), '/')).c_str(), 1); };
    udata_path(4086);
    EXPECT_TRUE(length_error(parse(-1), "udata_path", 4096, false));
    udata_path(4085);
    EXPECT_NE(parse(0).find("Failed to load 'udata.json' in ''."), std::string::npos);
    udata_path(4084);

    // An over-long member stops at once; members read before it keep their values.
    settings("\"base_path\": \"/b\", \"tmp_path\": \"/" + std::string(4095, 't') + "\", \"sig_path\": \"/s\"");
    EXPECT_TRUE(length_error(parse(-1), "EXP_TMP_PATH", 4096, false));
    EXPECT_STREQ(BASE_PATH, "/b");
    EXPECT_STREQ(SIG_FILE_PATH, "");

    // Composed paths: earlier ones keep their new value, later ones are untouched.
    std::memset(CTE_DBG_TMP_FILE, 0, DW_PATH_SIZE);
    dwtest::StderrCapture err;
    EXPECT_EQ(set_kiv_paths("/d", nullptr, ("/" + std::string(4083, 'p')).c_str()), -1);
    EXPECT_TRUE(length_error(err.finish(), "SIG_VER_FILE", 4097, true));
    EXPECT_STREQ(IPS_DB_PATH, "/d//korad.ips.db");
    EXPECT_STREQ(CTE_DBG_TMP_FILE, "");

    // The middle part counts: 4081 + 12 + 2 fits, + "mub/dpi/" does not.
    std::strcpy(BASE_PATH, ("/" + std::string(4080, 'b')).c_str());
    dwtest::StderrCapture err2;
    EXPECT_EQ(set_kiv_paths("", nullptr, ""), -1);
    EXPECT_TRUE(length_error(err2.finish(), "APP_INF_DB_PATH", 4102, true));
}

TEST_F(RuntimePaths, PathsByIndex)
{
    ASSERT_EQ(set_kiv_paths("/d", nullptr, "/p"), 0);
    std::strcpy(SIG_FILE_PATH, std::string(300, 's').c_str());
    const char *expected[] = {TMP_FILE_PATH,   SIG_FILE_PATH,  NVRAM_DIR,    APP_INF_DB_PATH,
                              APP_CAT_DB_PATH, DEV_OS_DB_PATH, RULE_DB_PATH, IPS_DB_PATH, nullptr};
    for (unsigned i = 0; i < 9; ++i) {
        unsigned char length = 99;
        const char *path = "x";
        EXPECT_EQ(get_kiv_paths(i, &length, &path), expected[i] ? 1 : -1);
        EXPECT_EQ(path, expected[i]) << i;
        EXPECT_EQ(length, expected[i] ? std::strlen(expected[i]) % 256 : 0) << i;  // one byte: 300 wraps to 44
    }
}
