// dpictl sig-load: names a new signature file pair to the engine.
#include "tools/dpictl/file_pair.h"

namespace dpictl {
namespace {

int run_sig_load(Context &ctx, int argc, char **argv)
{
    return run_file_pair(ctx, argc, argv, &dw_ioctl::set_kiv_load_sig, "signature files");
}

}  // namespace

extern const Command cmd_sig_load = {
    "sig-load", "<first> <second>", "load a signature file pair",
    "Both names go to the engine in the order given, each cut to 127 characters.\n", run_sig_load};

}  // namespace dpictl
