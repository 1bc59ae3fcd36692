// dpictl version: the engine's version block, the user-database version and
// the installed signature pattern version.
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "dpiwrapper/dw_ioctl.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

constexpr size_t kVersionBlockSize = 296;

// The block is engine-defined; shown as its text up to the first NUL, one
// item per line, "key=value" lines split into their parts.
std::vector<std::pair<std::string, std::string>> engine_items(const unsigned char *buf, unsigned int used)
{
    size_t n = used < kVersionBlockSize ? used : kVersionBlockSize;
    std::string text;
    for (size_t i = 0; i < n && buf[i]; ++i)
        text.push_back(buf[i] == '\n' || (buf[i] >= 0x20 && buf[i] < 0x7F) ? static_cast<char>(buf[i]) : '.');
    std::vector<std::pair<std::string, std::string>> items;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        if (line.empty()) continue;
        size_t eq = line.find('=');
        if (eq == std::string::npos)
            items.emplace_back("", line);
        else
            items.emplace_back(line.substr(0, eq), line.substr(eq + 1));
    }
    return items;
}

int run_version(Context &ctx, int argc, char **)
{
    if (argc > 1) return usage_error(ctx, "takes no arguments");
    dw_ioctl dw;
    void *buf = nullptr;
    unsigned int used = 0;
    int engine_rc = dw.mub_get_ver_info(&buf, &used);
    std::vector<std::pair<std::string, std::string>> engine;
    if (engine_rc == 0 && buf) engine = engine_items(static_cast<unsigned char *>(buf), used);
    std::free(buf);

    std::string udb;
    int udb_rc = dw.get_dpi_ver(udb);
    std::string pattern;
    bool have_pattern = dw.get_dpi_pattern_ver(pattern) == 0;

    if (ctx.json) {
        json_t *doc = json_object();
        json_t *e = json_object();
        for (const auto &kv : engine)
            json_object_set_new(e, kv.first.empty() ? "text" : kv.first.c_str(), json_text(kv.second));
        json_object_set_new(doc, "engine", engine_rc == 0 ? e : (json_decref(e), json_null()));
        json_object_set_new(doc, "user_database", udb_rc == 0 ? json_text(udb) : json_null());
        json_object_set_new(doc, "signature_pattern", have_pattern ? json_text(pattern) : json_null());
        emit_json(doc);
    } else {
        Table t({"ITEM", "VERSION"});
        if (engine_rc != 0) t.add_row({"engine", "unavailable"});
        if (engine_rc == 0 && engine.empty()) t.add_row({"engine", "(empty)"});
        for (const auto &kv : engine) {
            bool plain = kv.first.empty() || kv.first == "engine";
            t.add_row({plain ? "engine" : "engine " + kv.first, kv.second});
        }
        t.add_row({"user database", udb_rc == 0 ? udb : "unavailable"});
        t.add_row({"signature pattern", have_pattern ? pattern : "unknown"});
        t.print();
    }
    if (engine_rc != 0) failure(ctx, "engine version request failed (%d)", engine_rc);
    if (udb_rc != 0) failure(ctx, "user-database version request failed (%d)", udb_rc);
    return engine_rc == 0 && udb_rc == 0 ? kExitOk : kExitFailure;
}

}  // namespace

extern const Command cmd_version = {
    "version", "", "engine, user-database and signature pattern versions",
    "The engine block is shown as the engine reports it. The signature pattern\n"
    "version comes from the platform's pattern-version command; \"unknown\" (null\n"
    "in JSON) when it printed nothing, which is not counted as a failure.\n",
    run_version};

}  // namespace dpictl
