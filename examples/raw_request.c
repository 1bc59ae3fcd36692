/* raw_request: issues one engine request through libDpiWrapper's plain C
 * functions and prints the result and the first bytes of any report.
 *   raw_request func-bits | udb-version | engine-version
 *   raw_request load-sig FIRST SECOND | wpr on|off | debug-level TEXT */
#define _POSIX_C_SOURCE 200809L /* the library's headers use POSIX types */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <dpiwrapper/dpiwrapper.h>

typedef int (*output_fn)(void **out, unsigned int *used);

static void dump(const unsigned char *b, unsigned int used)
{
    unsigned int n = used < 64 ? used : 64, i, j;
    for (i = 0; i < n; i += 16) {
        printf("  %04x ", i);
        for (j = i; j < i + 16; ++j) {
            if (j < n)
                printf(" %02x", b[j]);
            else
                printf("   ");
        }
        printf("  |");
        for (j = i; j < i + 16 && j < n; ++j) putchar(b[j] >= 0x20 && b[j] < 0x7f ? b[j] : '.');
        printf("|\n");
    }
    if (used > n) printf("  ... %u bytes in all\n", used);
}

static int output(const char *name, output_fn fn)
{
    void *buf = NULL;
    unsigned int used = 0;
    int rc = fn(&buf, &used);
    printf("%s: result %d, used length %u\n", name, rc, rc == 0 ? used : 0);
    if (rc == 0 && buf) dump(buf, used);
    free(buf); /* the caller frees the report buffer in every case */
    return rc == 0 ? 0 : 1;
}

static int input(const char *name, int rc)
{
    printf("%s: result %d\n", name, rc);
    return rc == 0 ? 0 : 1;
}

int main(int argc, char **argv)
{
    const char *what = argc > 1 ? argv[1] : "";
    if (strcmp(what, "func-bits") == 0) return output("get_fw_func_bit", get_fw_func_bit);
    if (strcmp(what, "udb-version") == 0) return output("get_fw_udb_ver", get_fw_udb_ver);
    if (strcmp(what, "engine-version") == 0) return output("get_fw_ver_info", get_fw_ver_info);
    if (strcmp(what, "load-sig") == 0 && argc == 4)
        return input("load_sigfile", load_sigfile(argv[2], argv[3]));
    if (strcmp(what, "wpr") == 0 && argc == 3)
        return input("set_wpr_state", set_wpr_state(strcmp(argv[2], "on") == 0));
    if (strcmp(what, "debug-level") == 0 && argc == 3)
        return input("set_dc_debug_level", set_dc_debug_level(argv[2]));
    fprintf(stderr,
            "usage: raw_request func-bits | udb-version | engine-version\n"
            "       raw_request load-sig FIRST SECOND | wpr on|off | debug-level TEXT\n");
    return 2;
}
