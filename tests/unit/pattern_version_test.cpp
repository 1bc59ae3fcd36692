// dw_ioctl::get_dpi_pattern_ver over commands whose output a test chooses.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"
#include "support/log_capture.h"

namespace {

class PatternVersion : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(mkdtemp(&dir_[0]), nullptr); }
    void TearDown() override
    {
        DPI_PATTERN_VERSION_COMMAND[0] = SIG_VER_FILE[0] = '\0';
        std::remove(file().c_str());
        rmdir(dir_.c_str());
    }
    std::string file() const { return dir_ + "/out"; }
    std::string dir_ = "/tmp/dw-pattern-XXXXXX";
};

TEST_F(PatternVersion, FirstNonEmptyLineTrimmed)
{
    struct {
        const char *output;
        int rc;
        const char *version;  // from "old \t"
        const char *logged;   // the line as read, or null: no log line
    } cases[] = {
        {"\n\n3.2.1 \r\n4.0\n", 0, "3.2.1", "3.2.1 \r"},
        {"7.1", 0, "7.1", "7.1"},
        {"\t9.0\t\n", 0, "\t9.0", "\t9.0\t"},
        {" \n2.0\n", 0, "", " "},     // a blank line is not empty: it is the version
        {"\n\n", 1, "old", nullptr},  // nothing found: the old text is trimmed all the same
        {"", 1, "old", nullptr},
    };
    for (const auto &c : cases) {
        std::ofstream(file(), std::ios::binary) << c.output;
        // Split at any white space, run without a shell.
        std::snprintf(DPI_PATTERN_VERSION_COMMAND, DW_PLATFORM_TEXT_SIZE, "  cat\t%s ", file().c_str());
        dwtest::clear_logs();
        std::string version = "old \t";
        EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), c.rc) << c.output;
        EXPECT_EQ(version, c.version) << c.output;
        auto logs = dwtest::captured_logs();
        ASSERT_EQ(logs.size(), c.logged ? 1u : 0u) << c.output;
        if (!c.logged) continue;
        EXPECT_EQ(logs[0].text, std::string("DPI sig version is ") + c.logged);
        EXPECT_EQ(logs[0].level, 6);
        EXPECT_EQ(logs[0].function, "get_dpi_pattern_ver");
        EXPECT_EQ(logs[0].file, "dw_ioctl");
    }
}

TEST_F(PatternVersion, WithoutCommandTheSignatureVersionFileIsRead)
{
    std::ofstream(file()) << "1.0.77\n";
    std::snprintf(SIG_VER_FILE, DW_PATH_SIZE, "%s", file().c_str());
    std::string version;
    EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), 0);
    EXPECT_EQ(version, "1.0.77");

    SIG_VER_FILE[0] = '\0';  // nothing to run at all
    EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), 1);
    std::snprintf(DPI_PATTERN_VERSION_COMMAND, DW_PLATFORM_TEXT_SIZE, "/nonexistent/prog --version");
    EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), 1);
    EXPECT_EQ(version, "1.0.77");
}

}  // namespace
