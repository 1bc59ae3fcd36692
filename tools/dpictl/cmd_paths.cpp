// dpictl paths: the runtime paths composed from udata.json.
#include <cstring>

#include "dpiwrapper/paths.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

// Names of get_kiv_paths' indices 0 to 7.
const char *const kIndexedNames[] = {"TMP_FILE_PATH",   "SIG_FILE_PATH",   "NVRAM_DIR",    "APP_INF_DB_PATH",
                                     "APP_CAT_DB_PATH", "DEV_OS_DB_PATH", "RULE_DB_PATH", "IPS_DB_PATH"};

struct NamedPath {
    const char *name;
    const char *path;
};

// The path globals get_kiv_paths does not hand out.
const NamedPath kOtherPaths[] = {
    {"BASE_PATH", BASE_PATH},
    {"SIG_VER_FILE", SIG_VER_FILE},
    {"DEFAULT_TRF_PATH", DEFAULT_TRF_PATH},
    {"DEFAULT_SCHEMA_PATH", DEFAULT_SCHEMA_PATH},
    {"META_DEF_FNAME", META_DEF_FNAME},
    {"META_B_DEF_FNAME", META_B_DEF_FNAME},
    {"CTE_DBG_TMP_FILE", CTE_DBG_TMP_FILE},
};

int run_paths(Context &ctx, int argc, char **)
{
    if (argc > 1) return usage_error(ctx, "takes no arguments");
    json_t *list = json_array();
    Table t({"INDEX", "NAME", "PATH"});
    auto add = [&](int index, const char *name, const char *path) {
        json_t *o = json_object();
        if (index >= 0) json_object_set_new(o, "index", json_integer(index));
        json_object_set_new(o, "name", json_string(name));
        json_object_set_new(o, "path", json_text(path ? path : ""));
        json_array_append_new(list, o);
        t.add_row({index >= 0 ? std::to_string(index) : "-", name, path && *path ? path : "(empty)"});
    };
    for (unsigned int i = 0; i < 8; ++i) {
        unsigned char length = 0;
        const char *path = nullptr;
        if (get_kiv_paths(i, &length, &path) != 1) {
            json_decref(list);
            return failure(ctx, "no path at index %u", i);
        }
        add(static_cast<int>(i), kIndexedNames[i], path);
    }
    for (const NamedPath &p : kOtherPaths) add(-1, p.name, p.path);

    if (ctx.json) {
        json_t *doc = json_object();
        const char *udata = getenv("UDATA_PATH");
        json_object_set_new(doc, "udata_path", udata ? json_text(udata) : json_null());
        json_object_set_new(doc, "paths", list);
        emit_json(doc);
    } else {
        json_decref(list);
        t.print();
    }
    return kExitOk;
}

}  // namespace

extern const Command cmd_paths = {
    "paths", "", "reference and signature paths composed from udata.json",
    "Indices 0 to 7 are those of get_kiv_paths; the other path globals follow.\n", run_paths};

}  // namespace dpictl
