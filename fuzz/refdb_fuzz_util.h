// Shared by the reference-file fuzz targets: the input becomes a file in a
// scratch directory, a path global points at it, and after each input the
// recorded log lines are dropped so memory stays flat.
#ifndef DW_FUZZ_REFDB_FUZZ_UTIL_H
#define DW_FUZZ_REFDB_FUZZ_UTIL_H

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/log_capture.h"

namespace dwfuzz {

inline const std::string &scratch_dir()
{
    static const std::string dir = [] {
        char tmpl[] = "/tmp/dw-fuzz-XXXXXX";
        if (!mkdtemp(tmpl)) abort();
        return std::string(tmpl);
    }();
    return dir;
}

inline std::string write_file(const char *name, const uint8_t *data, size_t size)
{
    const std::string path = scratch_dir() + "/" + name;
    FILE *f = fopen(path.c_str(), "wb");
    if (!f) abort();
    if (size) fwrite(data, 1, size, f);
    fclose(f);
    return path;
}

// Points a 4096-byte path global at path.
inline void set_path(char *global, const std::string &path)
{
    snprintf(global, 4096, "%s", path.c_str());
}

// A look-up whose indexed and walked answers differ is a bug: crash on it.
#define DW_FUZZ_CHECK(cond) \
    do {                    \
        if (!(cond)) {      \
            fprintf(stderr, "check failed: %s\n", #cond); \
            abort();        \
        }                   \
    } while (0)

struct Iteration {
    ~Iteration() { dwtest::clear_logs(); }
};

}  // namespace dwfuzz

#endif
