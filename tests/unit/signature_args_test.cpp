// Argument parsers of the signature update tools, including how they take
// and leave getopt's position.
#include <getopt.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <vector>

#include "dpiwrapper/signature.h"
#include "support/bytes.h"

namespace {

// Mutable argv for getopt, which may permute it.
struct Args {
    explicit Args(std::vector<std::string> words) : words(std::move(words))
    {
        for (std::string &w : this->words) argv.push_back(&w[0]);
        argv.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(words.size()); }
    std::vector<std::string> words;
    std::vector<char *> argv;
};

}  // namespace

TEST(ParseSigUpdateArgs, Cases)
{
    struct Row {
        std::vector<std::string> args;
        int f_size, result;
        const char *names;  // "f:s" printed on success
        const char *err;    // stderr after the prefix
    } rows[] = {
        {{"-e", "x", "-f", "a", "-s", "b"}, 8, 0, "a:b", ""},
        {{"-f", "a", "-s", "b"}, 8, -1, nullptr, ""},
        {{"-f", "a", "-f", "c", "-s", "b"}, 8, 0, "c:b", ""},  // occurrences are counted
        {{"-e", "x", "-f", "abcd", "-s", "b"}, 4, -1, nullptr, "Filename exceeds the allowed length:4\n\n"},
        {{"-e", "x", "-f", "abc", "-s", "b"}, 4, 0, "abc:b", ""},
        {{"-x", "-e", "x", "-f", "a", "-s", "b"}, 8, -1, nullptr, ""},
        {{"-e", "x", "-f", "a", "-s"}, 8, -1, nullptr, ""},
        {{"-e", "x", "-f", "a", "-s", "b"}, 0, -1, nullptr, ""},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.args));
        for (int pass = 0; pass < 2; ++pass) {  // getopt is restarted on every call
            std::vector<std::string> words = {"sigupdate"};
            words.insert(words.end(), row.args.begin(), row.args.end());
            Args args(words);
            char f_name[8] = "", s_name[8] = "";
            ::testing::internal::CaptureStdout();
            dwtest::StderrCapture err;
            EXPECT_EQ(parse_sig_update_str_args(args.argc(), args.argv.data(), f_name, row.f_size, s_name, 8), row.result);
            const std::string err_out = err.finish(), out = ::testing::internal::GetCapturedStdout();
            EXPECT_EQ(out, row.names ? "Updating Files " + std::string(row.names) + ". Please wait for a while..\n" : "");
            const std::string prefix = R"( \*\*\* ERROR: \[parse_sig_update_str_args:[0-9]+\] )";
            EXPECT_TRUE(std::regex_match(err_out, std::regex(*row.err ? prefix + row.err : ""))) << err_out;
        }
    }
}

TEST(ParseSingleStrArg, WalksOnFromGetoptsPosition)
{
    optind = 0;
    opterr = 0;
    Args args({"tool", "-f", "first", "-g", "longvalue", "-h"});
    char value[5] = "keep";
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv.data(), 'f', value, sizeof value), 0);
    EXPECT_STREQ(value, "firs");  // cut to fit
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv.data(), 'g', value, sizeof value), 0);
    EXPECT_STREQ(value, "long");
    // A missing argument is reported by getopt as '?', like any other option.
    std::strcpy(value, "keep");
    dwtest::StderrCapture err;
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv.data(), 'h', value, sizeof value), -1);
    EXPECT_TRUE(std::regex_match(err.finish(), std::regex(R"( \*\*\* ERROR: \[parse_single_str_arg:[0-9]+\] Unknown option -\?\n)")));
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv.data(), 'g', value, sizeof value), 0);  // no options left
    EXPECT_STREQ(value, "keep");
    EXPECT_EQ(parse_single_str_arg(args.argc(), args.argv.data(), 'g', nullptr, 5), -1);
    opterr = 1;
}
