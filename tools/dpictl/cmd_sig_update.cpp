// dpictl sig-update: checks the update options, then asks the engine for a
// signature update.
#include <string>
#include <vector>

#include "dpiwrapper/dw_ioctl.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

constexpr int kNameSize = 128;

int run_sig_update(Context &ctx, int argc, char **argv)
{
    char f_name[kNameSize] = {0};
    char s_name[kNameSize] = {0};
    dw_ioctl dw;
    int parsed;
    {
        // The parser prints its "Updating Files" line on stdout.
        QuietStdout quiet(ctx.json);
        parsed = dw.mub_parse_sig_update_args(argc, argv, f_name, kNameSize, s_name, kNameSize);
    }
    if (parsed != 0) return usage_error(ctx, "needs -e X, -f FILE and -s FILE");
    int rc = dw.set_sig_update_request();
    if (ctx.json) {
        json_t *doc = json_object();
        json_object_set_new(doc, "file", json_text(f_name));
        json_object_set_new(doc, "second_file", json_text(s_name));
        json_object_set_new(doc, "ok", json_boolean(rc == 0));
        emit_json(doc);
    }
    return rc == 0 ? kExitOk : failure(ctx, "update request failed (%d)", rc);
}

}  // namespace

extern const Command cmd_sig_update = {
    "sig-update", "-e X -f FILE -s FILE", "check update options and request a signature update",
    "The three options are checked as the router's update tools check them (each\n"
    "given once, names shorter than 128 characters), then the engine is asked\n"
    "for a signature update.\n",
    run_sig_update};

}  // namespace dpictl
