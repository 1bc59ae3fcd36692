// dpictl: reads and configures the DPI engine through libDpiWrapper.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "dpiwrapper/paths.h"
#include "tools/dpictl/command.h"

namespace {

void print_usage(FILE *out)
{
    std::fprintf(out,
                 "usage: dpictl [--json] [--udata DIR] <command> [arguments]\n"
                 "       dpictl <command> --help\n\n"
                 "Reads and configures the DPI engine through libDpiWrapper.\n\nCommands:\n");
    for (const dpictl::Command *c : dpictl::commands()) {
        std::string head = std::string(c->name) + (c->args[0] ? " " : "") + c->args;
        std::fprintf(out, "  %-36s %s\n", head.c_str(), c->summary);
    }
    std::fprintf(out,
                 "\nOptions (before the command):\n"
                 "  --json       print one JSON document on stdout instead of tables\n"
                 "  --udata DIR  directory holding udata.json (sets UDATA_PATH)\n"
                 "  --help       show this text\n\n"
                 "Environment:\n"
                 "  UDATA_PATH   directory of udata.json, whose \"configs\" object names the\n"
                 "               directories base_path, tmp_path (reference databases),\n"
                 "               sig_path and nvram_path (signature companions); read at\n"
                 "               start. Without it \"/tmp/korad/udata.json\" is tried.\n\n"
                 "Exit status: 0 success, 1 the library or the engine reported a failure,\n"
                 "2 bad arguments.\n");
}

int usage_failure(const char *what, const char *arg)
{
    std::fprintf(stderr, "dpictl: %s%s%s\n", what, arg ? " " : "", arg ? arg : "");
    print_usage(stderr);
    return dpictl::kExitUsage;
}

int run(int argc, char **argv)
{
    dpictl::Context ctx;
    int i = 1;
    for (; i < argc && argv[i][0] == '-'; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            ctx.json = true;
        } else if (std::strcmp(argv[i], "--udata") == 0) {
            if (i + 1 >= argc) return usage_failure("--udata needs a directory", nullptr);
            setenv("UDATA_PATH", argv[++i], 1);
        } else if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            print_usage(stdout);
            return dpictl::kExitOk;
        } else {
            return usage_failure("unknown option", argv[i]);
        }
    }
    if (i >= argc) return usage_failure("no command given", nullptr);
    ctx.command = dpictl::find_command(argv[i]);
    if (!ctx.command) return usage_failure("unknown command", argv[i]);

    for (int k = i + 1; k < argc; ++k) {
        if (std::strcmp(argv[k], "--help") != 0) continue;
        print_command_usage(*ctx.command, false);
        std::printf("\n%s\n", ctx.command->summary);
        if (ctx.command->details) std::printf("\n%s", ctx.command->details);
        return dpictl::kExitOk;
    }
    if (parse_udata() != 0)
        return dpictl::failure(ctx, "cannot compose the reference paths from udata.json");
    return ctx.command->run(ctx, argc - i, argv + i);
}

}  // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "dpictl: %s\n", e.what());
        return dpictl::kExitFailure;
    }
}
