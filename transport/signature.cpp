/* Signature file and metadata database replacement, automatic updates, and
 * the argument parsers of the update tools. */
#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "dpiwrapper/signature.h"
#include "transport/error_log.h"
#include "transport/request_shapes.h"
#include "transport/sys_ops.h"

namespace {

constexpr size_t kFileNameField = 128;

/* Sends the 256-byte file-pair record: two names of at most 127 characters,
 * a NULL name leaving its half zero. */
int send_file_pair(dw::RequestId id, const char *first, const char *second)
{
    const dw::RequestEntry &entry = dw::request_entry(id);
    char *record = static_cast<char *>(dw::sys::ops().calloc(entry.size, 1));
    if (record == nullptr) return 0;
    if (first) snprintf(record, kFileNameField, "%s", first);
    if (second) snprintf(record + kFileNameField, kFileNameField, "%s", second);
    const int result = dw::request_input(id, record, entry.size);
    free(record);
    return result;
}

}  // namespace

int load_sigfile(const char *first, const char *second)
{
    return send_file_pair(dw::RequestId::load_sigfile, first, second);
}

int load_metadb(const char *first, const char *second)
{
    return send_file_pair(dw::RequestId::load_metadb, first, second);
}

int update_sig_by_au(void) { return dw::request_command(dw::RequestId::update_sig_by_au); }

/* Reads one "-<opt> value" from where getopt stands now; optind is not reset,
 * so successive calls walk through the arguments. */
int parse_single_str_arg(int argc, char **argv, char opt, char *value, int value_size)
{
    if (value == nullptr) return -1;
    char options[3];
    snprintf(options, sizeof options, "%c:", opt);
    const int c = getopt(argc, argv, options);
    if (c == -1) return 0;
    if (c != opt) {
        DW_ERROR("Unknown option -%c\n", c);
        return -1;
    }
    if (optarg == nullptr) {
        DW_ERROR("Option -%c has no argument!\n\n", c);
        return -2;
    }
    snprintf(value, value_size > 0 ? static_cast<size_t>(value_size) : 0, "%s", optarg);
    return 0;
}

namespace {

/* Copies a file name that fits; returns whether it counted. */
bool take_file_name(char *target, int size)
{
    const size_t len = strlen(optarg);
    if (len >= static_cast<size_t>(size)) {
        DW_ERROR_AS("parse_sig_update_str_args", "Filename exceeds the allowed length:%d\n\n",
                    static_cast<int>(len));
        return false;
    }
    strcpy(target, optarg);
    return true;
}

}  // namespace

/* Reads -e, -f and -s from the start of the arguments. Three occurrences are
 * needed, counted as they come: -f, -f, -s also makes three. */
int parse_sig_update_str_args(int argc, char **argv, char *f_name, int f_size, char *s_name, int s_size)
{
    if (f_name == nullptr || f_size <= 0 || s_name == nullptr || s_size <= 0) return -1;
    optind = 0;
    opterr = 1;
    int counted = 0;
    int c;
    while ((c = getopt(argc, argv, ":e:f:s:")) != -1) {
        switch (c) {
        case 'f':
            counted += take_file_name(f_name, f_size) ? 1 : 0;
            break;
        case 's':
            counted += take_file_name(s_name, s_size) ? 1 : 0;
            break;
        case 'e':
            ++counted;
            break;
        default:
            return -1;
        }
    }
    if (counted != 3) return -1;
    printf("Updating Files %s:%s. Please wait for a while..\n", f_name, s_name);
    return 0;
}
