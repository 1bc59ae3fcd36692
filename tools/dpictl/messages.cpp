// Error lines and usage lines shared by the commands.
#include <cstdarg>
#include <cstdio>

#include "tools/dpictl/command.h"

namespace dpictl {
namespace {

void vreport(const Context &ctx, const char *format, va_list ap)
{
    std::fprintf(stderr, "dpictl: %s: ", ctx.command ? ctx.command->name : "error");
    std::vfprintf(stderr, format, ap);
    std::fputc('\n', stderr);
}

}  // namespace

void print_command_usage(const Command &cmd, bool to_stderr)
{
    std::fprintf(to_stderr ? stderr : stdout, "usage: dpictl [--json] [--udata DIR] %s%s%s\n", cmd.name,
                 cmd.args[0] ? " " : "", cmd.args);
}

int usage_error(const Context &ctx, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    vreport(ctx, format, ap);
    va_end(ap);
    if (ctx.command) print_command_usage(*ctx.command, true);
    return kExitUsage;
}

int failure(const Context &ctx, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    vreport(ctx, format, ap);
    va_end(ap);
    return kExitFailure;
}

}  // namespace dpictl
