// dpictl's command line: usage errors exit 2 with a message, help exits 0,
// and "paths" reports the paths composed from a udata.json of the test's.
#include <gtest/gtest.h>
#include <jansson.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

struct Outcome {
    int status;
    std::string out, err;
};

std::string slurp(const std::string &path)
{
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

Outcome dpictl(const std::vector<std::string> &args)
{
    std::string out = "/tmp/dw-dpictl-out-" + std::to_string(getpid());
    std::string err = "/tmp/dw-dpictl-err-" + std::to_string(getpid());
    pid_t pid = fork();
    if (pid == 0) {
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        std::vector<char *> argv{const_cast<char *>(DPICTL_PATH)};
        for (const std::string &a : args) argv.push_back(const_cast<char *>(a.c_str()));
        argv.push_back(nullptr);
        execv(DPICTL_PATH, argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    Outcome r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
    unlink(out.c_str());
    unlink(err.c_str());
    return r;
}

TEST(Dpictl, BadArgumentsExitTwoWithAMessage)
{
    struct {
        std::vector<std::string> args;
        const char *message;
    } cases[] = {
        {{}, "dpictl: no command given"},
        {{"frobnicate"}, "dpictl: unknown command frobnicate"},
        {{"--bogus", "users"}, "dpictl: unknown option --bogus"},
        {{"--udata"}, "--udata needs a directory"},
        {{"users", "extra"}, "dpictl: users: takes no arguments"},
        {{"whitelist-ip"}, "dpictl: whitelist-ip: missing the address"},
        {{"whitelist-ip", "10.0.0.1", "--op", "256"}, "--op needs a number"},
        {{"whitelist-ip", "10.0.0.1", "--op", "x"}, "--op needs a number"},
        {{"whitelist-ip", "10.0.0.1", "10.0.0.2"}, "one address only"},
        {{"sig-load", "only-one"}, "dpictl: sig-load: needs two file names"},
        {{"metadb-load", "a", "-x"}, "dpictl: metadb-load: unknown option -x"},
        {{"sig-update", "-f", "a", "-s", "b"}, "dpictl: sig-update: needs -e X"},
    };
    for (const auto &c : cases) {
        Outcome r = dpictl(c.args);
        EXPECT_EQ(r.status, 2) << c.message;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
        EXPECT_NE(r.err.find("usage: dpictl"), std::string::npos) << r.err;
    }
}

TEST(Dpictl, Help)
{
    Outcome r = dpictl({"--help"});
    EXPECT_EQ(r.status, 0);
    for (const char *word : {"version", "users", "reload-dbs", "whitelist-ip", "sig-load", "metadb-load",
                             "sig-update", "paths", "UDATA_PATH", "--json"})
        EXPECT_NE(r.out.find(word), std::string::npos) << word;
    r = dpictl({"whitelist-ip", "--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("usage: dpictl [--json] [--udata DIR] whitelist-ip <ip> [--v6] [--op N]"),
              std::string::npos)
        << r.out;
}

TEST(Dpictl, PathsFromTheUdataDirectoryAsJson)
{
    char dir[] = "/tmp/dw-dpictl-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    std::string udata = std::string(dir) + "/udata.json";
    std::ofstream(udata) << R"({"configs": {"tmp_path": "/var/x", "nvram_path": "/nv"}})";
    Outcome r = dpictl({"--udata", dir, "--json", "paths"});
    unlink(udata.c_str());
    rmdir(dir);
    ASSERT_EQ(r.status, 0) << r.err;
    json_error_t e;
    json_t *doc = json_loads(r.out.c_str(), 0, &e);
    ASSERT_NE(doc, nullptr) << e.text << "\n" << r.out;
    json_t *paths = json_object_get(doc, "paths");
    ASSERT_EQ(json_array_size(paths), 15u);
    json_t *app = json_array_get(paths, 3);
    EXPECT_STREQ(json_string_value(json_object_get(app, "name")), "APP_INF_DB_PATH");
    EXPECT_STREQ(json_string_value(json_object_get(app, "path")), "/var/x//korad.app.db");
    EXPECT_EQ(json_integer_value(json_object_get(app, "index")), 3);
    json_t *sig_ver = json_array_get(paths, 9);  // after the eight indexed and BASE_PATH
    EXPECT_STREQ(json_string_value(json_object_get(sig_ver, "name")), "SIG_VER_FILE");
    EXPECT_STREQ(json_string_value(json_object_get(sig_ver, "path")), "/nv//sig_version");
    json_decref(doc);
}

}  // namespace
