// Helpers of the reference-file tests: a scratch directory, scoped values for
// the path globals, and a full set of small reference files.
#ifndef DW_TESTS_REFDB_TEST_UTIL_H
#define DW_TESTS_REFDB_TEST_UTIL_H

#include <ftw.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"

namespace dwtest {

class TempDir {
public:
    TempDir()
    {
        char tmpl[] = "/tmp/dw-refdb-XXXXXX";
        dir_ = mkdtemp(tmpl) ? tmpl : "/tmp";
    }
    ~TempDir()
    {
        nftw(dir_.c_str(), [](const char *p, const struct stat *, int, FTW *) { return remove(p); }, 8,
             FTW_DEPTH | FTW_PHYS);
    }
    std::string path(const std::string &name) const { return dir_ + "/" + name; }
    const std::string &dir() const { return dir_; }
    std::string write(const std::string &name, const std::string &content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

private:
    std::string dir_;
};

// Sets a 4096-byte path global for the scope and restores it afterwards.
class ScopedPath {
public:
    ScopedPath(char *global, const std::string &value) : global_(global), saved_(global) { set(value); }
    ~ScopedPath() { set(saved_); }
    void set(const std::string &value)
    {
        std::memset(global_, 0, DW_PATH_SIZE);
        std::memcpy(global_, value.data(), std::min(value.size(), size_t(DW_PATH_SIZE - 1)));
    }

private:
    char *global_;
    std::string saved_;
};

// One small file per reference list, every path global pointing at it.
struct RefFiles {
    TempDir tmp;
    ScopedPath dev{DEV_OS_DB_PATH, tmp.write("dev", "1,2,3,4,5,6,\"Phone\",\"b\",\"c\",\"d\",\"e\",\"f\"\n")};
    ScopedPath rule{RULE_DB_PATH, tmp.write("rule", "10,Rule ten\n")};
    ScopedPath ips{IPS_DB_PATH, tmp.write("ips", "10,3,2\n")};
    ScopedPath app{APP_INF_DB_PATH, tmp.write("app", "1,2,0,Mail\n")};
    ScopedPath cat{APP_CAT_DB_PATH, tmp.write("cat", "1,Messaging\n")};
    ScopedPath conf{DPI_KIV_CONF, tmp.dir()};
    std::string security = tmp.write("wrs.security.conf", "[1,\"s\"]\ncat=4,\"Phishing\"\n");
    std::string parental = tmp.write("wrs.parental.conf", "cat=5,\"Adult\"\n");
};

}  // namespace dwtest

#endif
