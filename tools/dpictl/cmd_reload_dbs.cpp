// dpictl reload-dbs: reloads the reference databases the library has loaded.
#include "dpiwrapper/dw_ioctl.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

int run_reload_dbs(Context &ctx, int argc, char **)
{
    if (argc > 1) return usage_error(ctx, "takes no arguments");
    dw_ioctl dw;
    bool ok = dw.reload_dbs() == 0;  // this method returns 1 on failure
    if (ctx.json) {
        json_t *doc = json_object();
        json_object_set_new(doc, "reloaded", json_boolean(ok));
        emit_json(doc);
    } else if (ok) {
        std::printf("reference databases reloaded\n");
    }
    return ok ? kExitOk : failure(ctx, "reloading the reference databases failed");
}

}  // namespace

extern const Command cmd_reload_dbs = {
    "reload-dbs", "", "reload the loaded reference databases",
    "Only databases this process has loaded are reloaded; in a fresh dpictl\n"
    "process that is none, so this mainly checks the call.\n",
    run_reload_dbs};

}  // namespace dpictl
