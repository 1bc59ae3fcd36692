// resolve_db_path: the canonical form of a reference file's path.
#include <climits>
#include <cstdlib>

#include "dpiwrapper/refdb.h"

namespace {
// One static result buffer: loads run one at a time under the cache's write
// lock, and each loader opens the file before anything calls this again.
char g_resolved[4096];
static_assert(sizeof g_resolved >= PATH_MAX, "realpath needs PATH_MAX bytes");
}  // namespace

extern "C" const char *resolve_db_path(const char *path)
{
    if (path && realpath(path, g_resolved)) return g_resolved;
    return path;
}
