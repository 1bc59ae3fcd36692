// The bundled platform: MAC text, string_format, the command output reader
// and the gateway look-up.
#include <arpa/inet.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <regex>

#include "dpiwrapper/platform.h"

namespace {

TEST(Platform, MacTextAndStringFormat)
{
    const unsigned char mac[6] = {0x00, 0x1A, 0x2B, 0xCD, 0xEF, 0x09};
    struct {
        char sep;
        bool upper;
        const char *text;
    } cases[] = {
        {':', false, "00:1a:2b:cd:ef:09"},
        {':', true, "00:1A:2B:CD:EF:09"},
        {'-', false, "00-1a-2b-cd-ef-09"},
        {'\0', true, "001A2BCDEF09"},
    };
    for (const auto &c : cases) EXPECT_EQ(Utilities::FormatMACAddress(mac, c.sep, c.upper), c.text);
    EXPECT_EQ(Utilities::FormatMACAddress(nullptr, ':', false), "");

    EXPECT_EQ(string_format("%u.%u.%s", 1u, 2u, "x"), "1.2.x");
    std::string big(5000, 'a');  // past any first-pass buffer
    EXPECT_EQ(string_format("<%s|%d>", big.c_str(), 42), "<" + big + "|42>");
}

// Descriptors of this process; with inheritable_only, those an exec keeps.
size_t open_fds(bool inheritable_only = false)
{
    size_t n = 0;
    DIR *d = opendir("/proc/self/fd");
    while (dirent *e = readdir(d)) {
        if (e->d_name[0] == '.') continue;
        int fd = std::atoi(e->d_name);
        if (fd == dirfd(d)) continue;
        n += !inheritable_only || (fcntl(fd, F_GETFD) & FD_CLOEXEC) == 0;
    }
    closedir(d);
    return n;
}

// True when this process has no child left, reaped or not.
bool no_children()
{
    errno = 0;
    return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

std::vector<std::string> read_all(const std::vector<std::string> &argv)
{
    CommandOutputReader2 reader(argv);
    std::vector<std::string> lines;
    std::string line;
    while (reader.getLine(line)) lines.push_back(line);
    return lines;
}

TEST(CommandOutputReader, LinesWithoutTerminators)
{
    using L = std::vector<std::string>;
    EXPECT_EQ(read_all({"printf", "a\\n\\nb c\\r\\nlast"}), (L{"a", "", "b c\r", "last"}));
    EXPECT_EQ(read_all({"true"}), L{});
    EXPECT_EQ(read_all({"/nonexistent/program"}), L{});
    EXPECT_EQ(read_all({}), L{});
    // No shell: metacharacters are plain arguments.
    EXPECT_EQ(read_all({"echo", "$HOME", ";", "x"}), (L{"$HOME ; x"}));
    std::string longline(10000, 'z');
    EXPECT_EQ(read_all({"printf", "%s\\n", longline.c_str()}), (L{longline}));
}

TEST(CommandOutputReader, LeavesNoDescriptorNorZombie)
{
    ASSERT_TRUE(no_children());
    size_t before = open_fds();
    read_all({"printf", "x\\ny\\n"});
    read_all({"/nonexistent/program"});
    {
        // The child holds what this process lets an exec inherit, plus the
        // directory ls reads: the reader's own pipe ends are not passed on.
        CommandOutputReader2 reader({"sh", "-c", "ls /proc/self/fd | wc -l"});
        std::string line;
        ASSERT_TRUE(reader.getLine(line));
        EXPECT_EQ(static_cast<size_t>(std::stoi(line)), open_fds(true) + 1);
    }
    // Destroyed before the output ends: the child is killed, not waited for.
    auto start = std::chrono::steady_clock::now();
    {
        CommandOutputReader2 reader({"sh", "-c", "echo first; exec sleep 30"});
        std::string line;
        ASSERT_TRUE(reader.getLine(line));
        EXPECT_EQ(line, "first");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(open_fds(), before);
    EXPECT_TRUE(no_children());
}

TEST(Platform, GatewayInfoIsAnAddressAndAMac)
{
    std::string ip = "unchanged", mac = "unchanged";
    if (Utilities::GetGatewayInfo(ip, mac) != 0) {
        EXPECT_EQ(ip, "unchanged");
        GTEST_SKIP() << "no interface that is up with an IPv4 address";
    }
    in_addr a;
    EXPECT_EQ(inet_pton(AF_INET, ip.c_str(), &a), 1) << ip;
    EXPECT_TRUE(std::regex_match(mac, std::regex("([0-9a-f]{2}:){5}[0-9a-f]{2}"))) << mac;
}

}  // namespace
