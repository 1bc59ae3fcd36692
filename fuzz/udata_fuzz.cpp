// Runtime path settings: whatever "udata.json", the directories handed to
// set_kiv_paths or $UDATA_PATH hold, every path global stays a terminated
// string within its 4096 bytes, and a composed path is never cut short.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "dpiwrapper/paths.h"
#include "fuzz/fuzz_guard.h"
#include "fuzz/refdb_fuzz_util.h"

namespace {

struct PathGlobal {
    char *buffer;
    const char *file;  // the file name a composed path ends with; null for directories
};

const PathGlobal kGlobals[] = {
    {BASE_PATH, nullptr},
    {TMP_FILE_PATH, nullptr},
    {SIG_FILE_PATH, nullptr},
    {NVRAM_DIR, nullptr},
    {APP_INF_DB_PATH, "/korad.app.db"},
    {APP_CAT_DB_PATH, "/korad.cat.db"},
    {DEV_OS_DB_PATH, "/korad.devdb.db"},
    {RULE_DB_PATH, "/korad.rule.db"},
    {IPS_DB_PATH, "/korad.ips.db"},
    {SIG_VER_FILE, "/sig_version"},
    {DEFAULT_TRF_PATH, "/rule.trf"},
    {DEFAULT_SCHEMA_PATH, "/rule_schema.trf"},
    {META_DEF_FNAME, "/meta_en-US.dat"},
    {META_B_DEF_FNAME, "/meta.dat"},
    {CTE_DBG_TMP_FILE, "/cte_dbg.txt"},
};

void clear_globals()
{
    for (const PathGlobal &g : kGlobals) memset(g.buffer, 0, DW_PATH_SIZE);
}

bool ends_with(const char *text, const char *tail)
{
    const size_t n = strlen(text), m = strlen(tail);
    return n >= m && memcmp(text + n - m, tail, m) == 0;
}

void check_globals(int rc)
{
    DW_FUZZ_REQUIRE(rc == 0 || rc == -1);
    for (const PathGlobal &g : kGlobals) {
        DW_FUZZ_REQUIRE(memchr(g.buffer, 0, DW_PATH_SIZE) != nullptr);
        if (rc == 0 && g.file) DW_FUZZ_REQUIRE(ends_with(g.buffer, g.file));
    }
}

// Splits at NUL bytes into at most `count` strings, each cut to fit a path
// buffer with its terminator.
std::vector<std::string> split(const uint8_t *data, size_t size, size_t count)
{
    std::vector<std::string> parts;
    size_t at = 0;
    while (at < size && parts.size() < count) {
        const char *start = reinterpret_cast<const char *>(data + at);
        const size_t len = strnlen(start, size - at);
        parts.emplace_back(start, len < DW_PATH_SIZE ? len : DW_PATH_SIZE - 1);
        at += len + 1;
    }
    return parts;
}

const char *part_or_null(const std::vector<std::string> &parts, size_t i)
{
    return i < parts.size() ? parts[i].c_str() : nullptr;
}

// $UDATA_PATH lives in one static entry: setenv would keep a copy of every
// value it was ever given, and the fuzzer gives millions.
void set_settings_dir(const char *dir)
{
    static char entry[sizeof "UDATA_PATH=" + DW_PATH_SIZE];
    snprintf(entry, sizeof entry, "UDATA_PATH=%s", dir);
    putenv(entry);
}

void settings_file(const uint8_t *data, size_t size)
{
    dwfuzz::write_file("udata.json", data, size);
    set_settings_dir(dwfuzz::scratch_dir().c_str());
    check_globals(parse_udata());
}

// BASE_PATH as parse_udata may have left it, then the three directories;
// a missing one is passed as NULL.
void given_dirs(const uint8_t *data, size_t size)
{
    const std::vector<std::string> parts = split(data, size, 4);
    if (!parts.empty()) memcpy(BASE_PATH, parts[0].c_str(), parts[0].size() + 1);
    check_globals(set_kiv_paths(part_or_null(parts, 1), part_or_null(parts, 2), part_or_null(parts, 3)));
}

void settings_dir(const uint8_t *data, size_t size)
{
    const std::vector<std::string> parts = split(data, size, 1);
    set_settings_dir(parts.empty() ? "" : parts[0].c_str());
    check_globals(parse_udata());
}

}  // namespace

// The first byte picks what is fuzzed; the rest is its content.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    dwfuzz::Quiet quiet;
    clear_globals();
    switch (data[0] % 3) {
    case 0: settings_file(data + 1, size - 1); break;
    case 1: given_dirs(data + 1, size - 1); break;
    default: settings_dir(data + 1, size - 1); break;
    }
    return 0;
}
