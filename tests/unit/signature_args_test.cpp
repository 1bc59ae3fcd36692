// Argument parsers of the signature update tools, including how they leave
// and take getopt's position.
#include <getopt.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "dpiwrapper/signature.h"
#include "support/bytes.h"

namespace {

// Mutable argv for getopt, which may permute it.
struct Args {
    explicit Args(std::vector<std::string> words) : words_(std::move(words))
    {
        for (std::string &w : words_) argv_.push_back(&w[0]);
        argv_.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(words_.size()); }
    char **argv() { return argv_.data(); }

private:
    std::vector<std::string> words_;
    std::vector<char *> argv_;
};

bool is_error(const std::string &out, const std::string &function, const std::string &body)
{
    return std::regex_match(out, std::regex(R"( \*\*\* ERROR: \[)" + function + R"(:[0-9]+\] )" + body));
}

}  // namespace

TEST(ParseSigUpdateArgs, Cases)
{
    struct Row {
        std::vector<std::string> args;
        int f_size;
        int result;
        std::string out;  // stdout
        std::string err;  // stderr body after the prefix, or empty
    } rows[] = {
        {{"-e", "x", "-f", "a", "-s", "b"}, 8, 0, "Updating Files a:b. Please wait for a while..\n", ""},
        {{"-f", "a", "-s", "b"}, 8, -1, "", ""},
        // Occurrences are counted, not distinct options.
        {{"-f", "a", "-f", "c", "-s", "b"}, 8, 0, "Updating Files c:b. Please wait for a while..\n", ""},
        {{"-e", "x", "-f", "abcd", "-s", "b"}, 4, -1, "", "Filename exceeds the allowed length:4\n\n"},
        {{"-e", "x", "-f", "abc", "-s", "b"}, 4, 0, "Updating Files abc:b. Please wait for a while..\n", ""},
        {{"-x", "-e", "x", "-f", "a", "-s", "b"}, 8, -1, "", ""},
        {{"-e", "x", "-f", "a", "-s"}, 8, -1, "", ""},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.args));
        // Run twice: the parser restarts getopt each time.
        for (int pass = 0; pass < 2; ++pass) {
            std::vector<std::string> words = {"sigupdate"};
            words.insert(words.end(), row.args.begin(), row.args.end());
            Args args(words);
            char f_name[8] = "", s_name[8] = "";
            ::testing::internal::CaptureStdout();
            dwtest::StderrCapture err;
            EXPECT_EQ(parse_sig_update_str_args(args.argc(), args.argv(), f_name, row.f_size, s_name, 8), row.result);
            const std::string err_out = err.finish();
            EXPECT_EQ(::testing::internal::GetCapturedStdout(), row.out);
            if (row.err.empty()) {
                EXPECT_EQ(err_out, "");
            } else {
                EXPECT_TRUE(is_error(err_out, "parse_sig_update_str_args", row.err)) << err_out;
            }
        }
    }
}

TEST(ParseSigUpdateArgs, MissingBuffersOrSizes)
{
    Args args({"sigupdate", "-e", "x", "-f", "a", "-s", "b"});
    char f[8], s[8];
    EXPECT_EQ(parse_sig_update_str_args(args.argc(), args.argv(), nullptr, 8, s, 8), -1);
    EXPECT_EQ(parse_sig_update_str_args(args.argc(), args.argv(), f, 0, s, 8), -1);
    EXPECT_EQ(parse_sig_update_str_args(args.argc(), args.argv(), f, 8, nullptr, 8), -1);
    EXPECT_EQ(parse_sig_update_str_args(args.argc(), args.argv(), f, 8, s, 0), -1);
}

TEST(ParseSingleStrArg, WalksOnFromGetoptsPosition)
{
    optind = 0;
    opterr = 0;
    Args args({"tool", "-f", "first", "-g", "longvalue"});
    char value[5] = "keep";
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv(), 'f', value, sizeof value), 0);
    EXPECT_STREQ(value, "firs");  // cut to fit
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv(), 'g', value, sizeof value), 0);
    EXPECT_STREQ(value, "long");
    std::strcpy(value, "keep");
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv(), 'g', value, sizeof value), 0);
    EXPECT_STREQ(value, "keep");
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv(), 'g', nullptr, 5), -1);
}

TEST(ParseSingleStrArg, OtherOptionOrMissingArgumentIsUnknown)
{
    // getopt reports both as '?' (the option string has no leading ':').
    const std::vector<std::vector<std::string>> cases = {{"tool", "-x", "v"}, {"tool", "-f"}};
    for (const auto &words : cases) {
        optind = 0;
        opterr = 0;
        Args args(words);
        char value[8] = "keep";
        dwtest::StderrCapture err;
        EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv(), 'f', value, sizeof value), -1);
        const std::string out = err.finish();
        EXPECT_TRUE(is_error(out, "parse_single_str_arg", "Unknown option -\\?\n")) << out;
        EXPECT_STREQ(value, "keep");
    }
    opterr = 1;
}
