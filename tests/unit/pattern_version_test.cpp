// dw_ioctl::get_dpi_pattern_ver over commands whose output a test chooses.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"
#include "support/log_capture.h"

namespace {

class PatternVersion : public ::testing::Test {
protected:
    void SetUp() override
    {
        char tmpl[] = "/tmp/dw-pattern-XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir_ = tmpl;
        dwtest::clear_logs();
    }
    void TearDown() override
    {
        DPI_PATTERN_VERSION_COMMAND[0] = '\0';
        SIG_VER_FILE[0] = '\0';
        std::remove(file().c_str());
        rmdir(dir_.c_str());
    }
    std::string file() const { return dir_ + "/out"; }
    // Makes the platform command print exactly `output`.
    void command_prints(const std::string &output)
    {
        std::ofstream(file(), std::ios::binary) << output;
        std::snprintf(DPI_PATTERN_VERSION_COMMAND, DW_PLATFORM_TEXT_SIZE, "  cat\t%s ", file().c_str());
    }
    std::string dir_;
};

TEST_F(PatternVersion, FirstNonEmptyLineTrimmed)
{
    struct {
        const char *output;
        int rc;
        const char *version;  // starting from "old \t"
    } cases[] = {
        {"\n\n3.2.1 \r\n4.0\n", 0, "3.2.1"},
        {"7.1", 0, "7.1"},
        {"\t9.0\t\n", 0, "\t9.0"},
        {" \n2.0\n", 0, ""},         // a blank line is not empty: it is the version
        {"\n\n", 1, "old"},          // nothing found: the old text is still trimmed
        {"", 1, "old"},
    };
    for (const auto &c : cases) {
        command_prints(c.output);
        std::string version = "old \t";
        dw_ioctl dw;
        EXPECT_EQ(dw.get_dpi_pattern_ver(version), c.rc) << c.output;
        EXPECT_EQ(version, c.version) << c.output;
    }
}

TEST_F(PatternVersion, LogsTheLineAsRead)
{
    command_prints("5.4 \r\n");
    std::string version;
    dw_ioctl().get_dpi_pattern_ver(version);
    auto logs = dwtest::captured_logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(logs[0].text, "DPI sig version is 5.4 \r");
    EXPECT_EQ(logs[0].level, 6);
    EXPECT_EQ(logs[0].function, "get_dpi_pattern_ver");
    EXPECT_EQ(logs[0].file, "dw_ioctl");
}

TEST_F(PatternVersion, EmptyCommandReadsTheSignatureVersionFile)
{
    std::ofstream(file()) << "1.0.77\n";
    std::snprintf(SIG_VER_FILE, DW_PATH_SIZE, "%s", file().c_str());
    std::string version;
    EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), 0);
    EXPECT_EQ(version, "1.0.77");

    SIG_VER_FILE[0] = '\0';  // nothing to run at all
    version = "x";
    EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), 1);
    EXPECT_EQ(version, "x");
}

TEST_F(PatternVersion, MissingProgramIsNotFound)
{
    std::snprintf(DPI_PATTERN_VERSION_COMMAND, DW_PLATFORM_TEXT_SIZE, "/nonexistent/prog --version");
    std::string version;
    EXPECT_EQ(dw_ioctl().get_dpi_pattern_ver(version), 1);
    EXPECT_TRUE(version.empty());
}

}  // namespace
