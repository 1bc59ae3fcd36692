// IPS rule file ("korad.ips.db"): "rule_id,category_id,severity" lines, read
// behind the reload lock file.
#include <libgen.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/platform.h"
#include "dpiwrapper/records.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"
#include "refdb/log_units.h"
#include "transport/error_log.h"

using dw::refdb::kUnitConfApp;

namespace {

constexpr const char *kIpsFileName = "korad.ips.db";

// Static line and parse buffers. Each line resets rule_id and severity; the
// category carries over from the previous line (zero at the start of a load).
struct IpsParse {
    char line[1024];
    unsigned int rule_id;
    unsigned int category_id;
    unsigned int severity;
};
IpsParse g_parse;
char g_exe_path[DW_PATH_SIZE];

// Directory of the running program (not of this library).
const char *program_dir()
{
    char proc[64];
    snprintf(proc, sizeof proc, "/proc/%d/exe", static_cast<int>(getpid()));
    ssize_t n = readlink(proc, g_exe_path, sizeof g_exe_path - 1);
    g_exe_path[n > 0 ? n : 0] = '\0';
    return dirname(g_exe_path);
}

// Fills the empty IPS_DB_PATH: "<tmp>//korad.ips.db", else
// "<base>/mub/dpi/korad.ips.db", else "<program dir>//korad.ips.db". The
// doubled slash is harmless and kept.
int fill_default_ips_path()
{
    if (set_dia_paths() < 0) return -1;
    const char *dir, *sub = "", *subdir = "";
    if (TMP_FILE_PATH[0]) {
        dir = TMP_FILE_PATH;
    } else if (BASE_PATH[0]) {
        dir = BASE_PATH;
        sub = "mub/";
        subdir = "dpi";
    } else {
        dir = program_dir();
    }
    size_t len = strlen(dir) + (*sub ? 21 : 14);
    if (len >= DW_PATH_SIZE) {
        DW_ERROR_PAREN("init_csv_db", "Error: %s len %zu >= %zu\n", "IPS_DB_PATH", len,
                       static_cast<size_t>(DW_PATH_SIZE));
        return -1;
    }
    // "%s/%s%s/%s" of dir, sub, subdir and the file name; the length fits.
    char *out = IPS_DB_PATH;
    for (const char *part : {dir, "/", sub, subdir, "/", kIpsFileName}) {
        const size_t n = strlen(part);
        memcpy(out, part, n);
        out += n;
    }
    *out = '\0';
    return 0;
}

void append(list_head *head)
{
    auto *e = static_cast<ips_rule_entry_t *>(calloc(1, sizeof(ips_rule_entry_t)));
    if (!e) return;
    e->rule_id = g_parse.rule_id;
    e->category_id = g_parse.category_id;
    e->severity = g_parse.severity;
    dw::refdb::list_add_tail(&e->list, head);
}

void release(ips_rule_entry_t *e) { free(e); }

void parse_lines(list_head *head, FILE *f)
{
    IpsParse &p = g_parse;
    int lineno = 0;
    while (fgets(p.line, sizeof p.line, f)) {
        ++lineno;
        if (p.line[0] == '#') continue;
        if (char *hash = strchr(p.line, '#')) *hash = '\0';
        _trim(p.line, '\t');
        _trim(p.line, ' ');
        p.rule_id = 0;
        p.severity = 0;
        if (sscanf(p.line, "%u,%u,%u", &p.rule_id, &p.category_id, &p.severity) < 3) {
            dbglog_write("init_csv_db", kUnitConfApp, __LINE__, DW_LOG_ERR,
                         "parse ips-rule.csv failed at line %d", lineno);
            dbglog_write("init_csv_db", kUnitConfApp, __LINE__, DW_LOG_INFO,
                         "rule_id=%u, category_id=%u, severity=%u", p.rule_id, p.category_id,
                         p.severity);
        }
        dbglog_write("init_csv_db", kUnitConfApp, __LINE__, DW_LOG_DEBUG,
                     "rule_id=%u, category_id=%u. severity=%u", p.rule_id, p.category_id,
                     p.severity);
        append(head);
    }
}

template <typename Log>
int search_ips(list_head *head, unsigned int rule_id, Log *log)
{
    for (list_head *n = head->next; n != head; n = n->next) {
        const ips_rule_entry_t *e = DW_ENTRY_OF(n, ips_rule_entry_t, list);
        if (e->rule_id != rule_id) continue;
        log->category_id = e->category_id;
        log->severity = e->severity;
        return 0;
    }
    return -1;
}

}  // namespace

extern "C" int init_csv_db(list_head *head)
{
    int fd = open_dpi_reload_lock_file();
    if (fd < 0) return -1;
    // hold closes the descriptor, so every release below is given -1: the
    // number may already belong to a file another thread has opened since.
    if (hold_dpi_reload_lock_file(fd) != 0) {
        release_dpi_reload_lock_file(-1);
        return -1;
    }
    if (!IPS_DB_PATH[0] && fill_default_ips_path() != 0) return -1;

    FILE *f = fopen(IPS_DB_PATH, "r");
    if (!f) {
        dbglog_write("init_csv_db", kUnitConfApp, __LINE__, DW_LOG_ERR, "get %s error", IPS_DB_PATH);
        release_dpi_reload_lock_file(-1);
        return -1;
    }
    g_parse.category_id = 0;
    parse_lines(head, f);
    fclose(f);
    release_dpi_reload_lock_file(-1);
    return 0;
}

extern "C" void free_csv_db(list_head *head) { dw::refdb::list_free_all<ips_rule_entry_t>(head, release); }

int search_csv_db(list_head *head, unsigned int rule_id, dpi_inf_log *log)
{
    return search_ips(head, rule_id, log);
}

int search_csv_db(list_head *head, unsigned int rule_id, dpi_vul_log *log)
{
    return search_ips(head, rule_id, log);
}
