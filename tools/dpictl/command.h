// A dpictl subcommand: its name, usage and the function that runs it.
#ifndef DPICTL_COMMAND_H
#define DPICTL_COMMAND_H

#include <vector>

namespace dpictl {

enum ExitCode { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

struct Command;

// What every command gets besides its arguments.
struct Context {
    bool json = false;               // one JSON document on stdout instead of tables
    const Command *command = nullptr;
};

struct Command {
    const char *name;     // as typed: "sig-load"
    const char *args;     // usage of its arguments: "<first> <second>"
    const char *summary;  // one line for the command list
    const char *details;  // further lines for "dpictl <name> --help", or null
    // argv[0] is the command name; returns an ExitCode.
    int (*run)(Context &ctx, int argc, char **argv);
};

// Every command, in the order of the command list.
const std::vector<const Command *> &commands();
const Command *find_command(const char *name);

// Prints "dpictl: <command>: <message>" and the command's usage line to
// stderr; returns kExitUsage.
int usage_error(const Context &ctx, const char *format, ...) __attribute__((format(printf, 2, 3)));
// Prints "dpictl: <command>: <message>" to stderr; returns kExitFailure.
int failure(const Context &ctx, const char *format, ...) __attribute__((format(printf, 2, 3)));

// The usage line of a command: "usage: dpictl [--json] [--udata DIR] <name> <args>".
void print_command_usage(const Command &cmd, bool to_stderr);

}  // namespace dpictl

#endif
