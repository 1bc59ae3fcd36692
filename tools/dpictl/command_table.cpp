// The subcommands of dpictl. Adding one: a file cmd_<id>.cpp that defines
// "extern const dpictl::Command cmd_<id> = {...};" and one line below.
#include <cstring>

#include "tools/dpictl/command.h"

#define DPICTL_COMMANDS(X) \
    X(version)             \
    X(users)               \
    X(security_logs)       \
    X(reload_dbs)          \
    X(whitelist_ip)        \
    X(sig_load)            \
    X(metadb_load)         \
    X(sig_update)          \
    X(paths)

namespace dpictl {

#define DPICTL_DECLARE(id) extern const Command cmd_##id;
DPICTL_COMMANDS(DPICTL_DECLARE)
#undef DPICTL_DECLARE

const std::vector<const Command *> &commands()
{
#define DPICTL_ENTRY(id) &cmd_##id,
    static const std::vector<const Command *> table = {DPICTL_COMMANDS(DPICTL_ENTRY)};
#undef DPICTL_ENTRY
    return table;
}

const Command *find_command(const char *name)
{
    for (const Command *c : commands())
        if (std::strcmp(c->name, name) == 0) return c;
    return nullptr;
}

}  // namespace dpictl
