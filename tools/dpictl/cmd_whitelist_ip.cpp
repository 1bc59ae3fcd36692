// dpictl whitelist-ip: hands one trusted address to the engine.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "dpiwrapper/dw_ioctl.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

bool parse_op(const char *text, int &op)
{
    char *end = nullptr;
    errno = 0;
    long v = std::strtol(text, &end, 10);
    if (errno || end == text || *end || v < 0 || v > 255) return false;
    op = static_cast<int>(v);
    return true;
}

int run_whitelist_ip(Context &ctx, int argc, char **argv)
{
    const char *ip = nullptr;
    unsigned char version = 4;
    int op = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--v6") == 0) {
            version = 6;
        } else if (std::strcmp(argv[i], "--op") == 0) {
            if (i + 1 >= argc || !parse_op(argv[i + 1], op)) return usage_error(ctx, "--op needs a number from 0 to 255");
            ++i;
        } else if (argv[i][0] == '-' && argv[i][1] != '\0') {
            return usage_error(ctx, "unknown option %s", argv[i]);
        } else if (!ip) {
            ip = argv[i];
        } else {
            return usage_error(ctx, "one address only");
        }
    }
    if (!ip) return usage_error(ctx, "missing the address");

    std::string address(ip);
    dw_ioctl dw;
    bool ok = dw.set_whitelist_ip_(&address[0], version, op) == 1;  // 1 is success here
    if (ctx.json) {
        json_t *doc = json_object();
        json_object_set_new(doc, "ip", json_text(address));
        json_object_set_new(doc, "version", json_integer(version));
        json_object_set_new(doc, "op", json_integer(op));
        json_object_set_new(doc, "ok", json_boolean(ok));
        emit_json(doc);
    } else if (ok) {
        std::printf("trusted address %s sent (IPv%u, op %d)\n", ip, version, op);
    }
    return ok ? kExitOk : failure(ctx, "the engine did not take %s", ip);
}

}  // namespace

extern const Command cmd_whitelist_ip = {
    "whitelist-ip", "<ip> [--v6] [--op N]", "send a trusted address to the engine",
    "  --v6    the address is IPv6 (default IPv4)\n"
    "  --op N  operation value for the engine, 0 to 255 (default 1); with 2 the\n"
    "          engine gets no address\n",
    run_whitelist_ip};

}  // namespace dpictl
