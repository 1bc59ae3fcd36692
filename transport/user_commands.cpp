/* Requests that carry a small record built here: the user commands and the
 * trusted-address record. */
#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "dpiwrapper/requests.h"
#include "transport/request_shapes.h"
#include "transport/sys_ops.h"

namespace {

constexpr size_t kUserRecordSize = 624;
constexpr size_t kFamilyOffset = 70;
constexpr size_t kQuarantineOffset = 616;

struct UserFields {
    int uid;
    uint16_t family;
    uint32_t quarantine;
};

/* Builds the 624-byte user command record, sends it and frees it. */
int send_user_command(dw::RequestId id, const UserFields &fields)
{
    if (fields.uid < 1) return -1;
    uint8_t *record = static_cast<uint8_t *>(dw::sys::ops().calloc(kUserRecordSize, 1));
    if (record == nullptr) return -1;
    record[0] = static_cast<uint8_t>(fields.uid);
    memcpy(record + kFamilyOffset, &fields.family, sizeof fields.family);
    memcpy(record + kQuarantineOffset, &fields.quarantine, sizeof fields.quarantine);
    const int result = dw::request_input(id, record, kUserRecordSize);
    free(record);
    return result;
}

}  // namespace

int set_family_id(int uid, int family)
{
    if (family < 0) return -1;
    return send_user_command(dw::RequestId::set_family_id, {uid, static_cast<uint16_t>(family), 0});
}

int scan_uid_device(int uid) { return send_user_command(dw::RequestId::scan_uid_device, {uid, 0, 0}); }

int del_uid_user(int uid) { return send_user_command(dw::RequestId::del_uid_user, {uid, 0, 0}); }

int quarantine_uid_user(int uid, unsigned int value)
{
    return send_user_command(dw::RequestId::quarantine_uid_user, {uid, 0, value});
}

/* Succeeds with 1. Operation 2 sends no address; an allocation failure
 * also reports 1, which callers have always seen. */
int set_whitelist_ip(const char *ip, int version, unsigned int op)
{
    const dw::RequestEntry &entry = dw::request_entry(dw::RequestId::set_whitelist_ip);
    uint8_t *record = static_cast<uint8_t *>(dw::sys::ops().calloc(entry.size, 1));
    if (record == nullptr) return 1;
    record[0] = static_cast<uint8_t>(version);
    record[17] = static_cast<uint8_t>(op);
    if (op != 2) {
        const int family = version == 4 ? AF_INET : AF_INET6;
        if (ip == nullptr || inet_pton(family, ip, record + 1) != 1) {
            fputs("Wrong IP format\n", stderr);
            free(record);
            return -1;
        }
    }
    const int result = dw::request_input(dw::RequestId::set_whitelist_ip, record, entry.size);
    free(record);
    return result < 0 ? -2 : 1;
}
