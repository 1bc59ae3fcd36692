#include "tools/dpictl/file_pair.h"

#include <cstdio>

#include "tools/dpictl/output.h"

namespace dpictl {

int run_file_pair(Context &ctx, int argc, char **argv, FilePairMethod method, const char *what)
{
    if (argc != 3) return usage_error(ctx, "needs two file names");
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] == '-' && argv[i][1] != '\0') return usage_error(ctx, "unknown option %s", argv[i]);
    std::string first(argv[1]), second(argv[2]);
    dw_ioctl dw;
    int rc = (dw.*method)(first, second);
    if (ctx.json) {
        json_t *doc = json_object();
        json_object_set_new(doc, "first", json_text(first));
        json_object_set_new(doc, "second", json_text(second));
        json_object_set_new(doc, "ok", json_boolean(rc == 0));
        emit_json(doc);
    } else if (rc == 0) {
        std::printf("%s %s, %s sent\n", what, first.c_str(), second.c_str());
    }
    return rc == 0 ? kExitOk : failure(ctx, "request failed (%d)", rc);
}

}  // namespace dpictl
