// dpictl metadb-load: names a new metadata database file pair to the engine.
#include "tools/dpictl/file_pair.h"

namespace dpictl {
namespace {

int run_metadb_load(Context &ctx, int argc, char **argv)
{
    return run_file_pair(ctx, argc, argv, &dw_ioctl::set_kiv_load_metadb, "metadata files");
}

}  // namespace

extern const Command cmd_metadb_load = {
    "metadb-load", "<first> <second>", "load a metadata database file pair",
    "Both names go to the engine in the order given, each cut to 127 characters.\n", run_metadb_load};

}  // namespace dpictl
