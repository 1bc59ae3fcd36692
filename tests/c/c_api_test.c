/* The public headers compile as C99 and the C entry points link from a C
 * program. Only calls that fail or finish without an engine are made. */
/* A strict C99 compiler shows POSIX types such as pthread_rwlock_t only when
 * asked, as any POSIX program does. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <string.h>

#include <dpiwrapper/dpiwrapper.h>

static int failures;

static void check(int ok, const char *what)
{
    if (!ok) {
        fprintf(stderr, "FAILED: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    EngineRequest block;
    unsigned char mac[6];
    unsigned char length = 0;
    const char *path = "unset";

    memset(&block, 0, sizeof block);
    block.magic = DW_REQUEST_MAGIC;
    block.group = 2;
    block.command = 31;
    check(run_ioctl("/dw-c-api-no-such-queue", DW_REQUEST_CODE(2), &block) == -1, "run_ioctl on a missing queue");

    check(strtomac(mac, "00:11:22:aa:bb:cc") == 0 && mac[0] == 0x00 && mac[5] == 0xCC, "strtomac");
    check(strtomac(mac, "0011") == -1, "strtomac rejects a short text");
    check(macstr2octet(mac, 6, "a1b2c3d4e5f6", 12) == 0 && mac[5] == 0xF6, "macstr2octet");

    check(get_kiv_paths(0, &length, &path) == 1 && path == TMP_FILE_PATH, "get_kiv_paths(0)");
    check(get_kiv_paths(8, &length, &path) == -1 && path == NULL && length == 0, "get_kiv_paths(8)");

    check(del_uid_user(0) == -1, "del_uid_user(0)");
    check(set_family_id(1, -1) == -1, "set_family_id with a negative family");
    check(set_whitelist_ip("300.1.1.1", 4, 1) == -1, "set_whitelist_ip with a bad address");
    check(set_fw_wrs_fqdn(NULL) == -1, "set_fw_wrs_fqdn(NULL)");
    check(sizeof(ControlMessage) == DW_CONTROL_MESSAGE_SIZE, "control message size");

    if (failures == 0) printf("c_api: all checks passed\n");
    return failures == 0 ? 0 : 1;
}
