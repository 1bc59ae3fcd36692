// dpictl users: the engine's user list with device descriptions.
#include <unistd.h>

#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/paths.h"
#include "tools/dpictl/command.h"
#include "tools/dpictl/output.h"

namespace dpictl {
namespace {

std::vector<const std::string *> descriptions(const dpi_user &u)
{
    return {&u.dev_desc1, &u.dev_desc2, &u.dev_desc3, &u.dev_desc4, &u.dev_desc5, &u.dev_desc6};
}

// The non-empty descriptions joined, for the table.
std::string device_text(const dpi_user &u)
{
    std::string text;
    for (const std::string *d : descriptions(u)) {
        if (d->empty()) continue;
        if (!text.empty()) text += " / ";
        text += *d;
    }
    return text;
}

std::string ids_text(const dpi_user &u)
{
    std::string text;
    for (int k = 0; k < 6; ++k) text += (k ? "," : "") + std::to_string(u.dev_os_ids[k]);
    return text;
}

json_t *user_json(const dpi_user &u)
{
    json_t *o = json_object();
    json_object_set_new(o, "uid", json_integer(u.uid));
    json_object_set_new(o, "mac", json_text(u.mac));
    json_object_set_new(o, "ipv4", json_text(u.ipv4));
    json_object_set_new(o, "ipv6", json_text(u.ipv6));
    json_object_set_new(o, "host_name", json_text(u.host_name));
    json_object_set_new(o, "dev_attr", json_integer(u.dev_attr));
    json_t *ids = json_array();
    for (int k = 0; k < 6; ++k) json_array_append_new(ids, json_integer(u.dev_os_ids[k]));
    json_object_set_new(o, "dev_os_ids", ids);
    json_t *desc = json_array();
    for (const std::string *d : descriptions(u)) json_array_append_new(desc, json_text(*d));
    json_object_set_new(o, "dev_desc", desc);
    return o;
}

int run_users(Context &ctx, int argc, char **)
{
    if (argc > 1) return usage_error(ctx, "takes no arguments");
    dw_ioctl dw;
    std::vector<dpi_user> users;
    int rc = dw.get_users(users);
    if (rc != 0) return failure(ctx, "user list request failed (%d)", rc);
    // The library reports no user at all while the device database is missing.
    if (users.empty() && access(DEV_OS_DB_PATH, R_OK) != 0)
        std::fprintf(stderr, "dpictl: users: note: device database \"%s\" is not readable\n", DEV_OS_DB_PATH);

    if (ctx.json) {
        json_t *list = json_array();
        for (const dpi_user &u : users) json_array_append_new(list, user_json(u));
        json_t *doc = json_object();
        json_object_set_new(doc, "users", list);
        emit_json(doc);
        return kExitOk;
    }
    Table t({"UID", "MAC", "IPV4", "HOST", "DEVICE", "IPV6", "ATTR", "IDS"});
    for (const dpi_user &u : users)
        t.add_row({std::to_string(u.uid), u.mac, u.ipv4, u.host_name, device_text(u), u.ipv6,
                   std::to_string(u.dev_attr), ids_text(u)});
    t.print();
    return kExitOk;
}

}  // namespace

extern const Command cmd_users = {
    "users", "", "devices the engine knows, with their descriptions",
    "Descriptions come from the device database (DEV_OS_DB_PATH, from udata.json);\n"
    "while it cannot be loaded the library reports no users at all.\n",
    run_users};

}  // namespace dpictl
