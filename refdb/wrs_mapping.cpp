// Web-category mapping: "wrs.security.conf" (sections [1,"..."] and
// [2,"..."]) and "wrs.parental.conf", read into one hlist chain.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dpiwrapper/platform.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"
#include "refdb/log_units.h"

using dw::refdb::kUnitWrsMapping;

namespace {

// Rebuilt on every load; room for the 4096-byte directory and a file name.
char g_security_path[4350];
char g_parental_path[4350];

struct WrsParse {
    char line[256];
    int section;
    int cat_id;
    char name[128];
};
WrsParse g_parse;

// Chain building. New entries go behind the one added just before them, so
// the chain keeps file order across both files. When the chain already held
// entries as the load began (an earlier load failed part-way), new entries
// would hang behind a first one linked nowhere and could never be reached:
// such a load still reads both files, with the same messages and result, but
// makes no entries, so nothing unreachable is ever allocated.
struct Chain {
    hlist_head *head;
    hlist_node *last;
    bool unreachable;
};

int add_entry(Chain &chain, int map_id, int cat_id, const char *name)
{
    if (chain.unreachable) return 0;
    auto *e = static_cast<wrs_m_cat_entry_t *>(calloc(1, sizeof(wrs_m_cat_entry_t)));
    if (e) e->cat_name = strdup(name);
    if (!e || !e->cat_name) {
        free(e);
        dbglog_write("init_wrs_mapping", kUnitWrsMapping, __LINE__, DW_LOG_ERR,
                     "alloc wrs_m_cat_entry_t memory error !");
        return -3;
    }
    e->map_id = map_id;
    e->cat_id = cat_id;
    if (chain.last)
        dw::refdb::hlist_add_behind(&e->node, chain.last);
    else
        dw::refdb::hlist_add_head(&e->node, chain.head);
    chain.last = &e->node;
    return 0;
}

// Reads one file; with_sections for the security file, whose entries take
// the id of the section they stand in (-1 before any section). Returns 0,
// -1 on a section id other than 1 or 2, -3 when out of memory.
int read_mapping(FILE *f, bool with_sections, Chain &chain)
{
    WrsParse &p = g_parse;
    p.section = with_sections ? -1 : 0;
    while (fgets(p.line, sizeof p.line, f)) {
        int id;
        if (with_sections && p.line[0] == '[' && sscanf(p.line, "[%d,\"%*[^\"]]", &id) == 1) {
            if (id != 1 && id != 2) {
                dbglog_write("init_wrs_mapping", kUnitWrsMapping, __LINE__, DW_LOG_ERR,
                             "WRS security id error!\n");
                return -1;
            }
            p.section = id;
            continue;
        }
        if (sscanf(p.line, "cat=%d,\"%127[^\"]", &p.cat_id, p.name) != 2) continue;
        if (add_entry(chain, p.section, p.cat_id, p.name) != 0) return -3;
    }
    return 0;
}

}  // namespace

extern "C" {

int init_wrs_mapping(hlist_head *head)
{
    if (!g_security_path[0] && set_dia_paths() < 0) return -1;
    snprintf(g_security_path, sizeof g_security_path, "%s/%s", DPI_KIV_CONF, "wrs.security.conf");
    snprintf(g_parental_path, sizeof g_parental_path, "%s/%s", DPI_KIV_CONF, "wrs.parental.conf");

    if (access(g_security_path, F_OK) != 0 || access(g_parental_path, F_OK) != 0) {
        dbglog_write(__func__, kUnitWrsMapping, __LINE__, DW_LOG_ERR,
                     "access mapping file(%s or %s) error.", g_security_path, g_parental_path);
        return -1;
    }
    FILE *security = fopen(g_security_path, "r");
    FILE *parental = fopen(g_parental_path, "r");
    int rc = -1;
    if (!security || !parental) {
        dbglog_write(__func__, kUnitWrsMapping, __LINE__, DW_LOG_ERR,
                     "open mapping file(%s or %s) error.", g_security_path, g_parental_path);
    } else {
        Chain chain{head, nullptr, head->first != nullptr};
        rc = read_mapping(security, true, chain);
        if (rc == 0) rc = read_mapping(parental, false, chain);
    }
    if (security) fclose(security);
    if (parental) fclose(parental);
    return rc;
}

void print_wrs_mapping(hlist_head *head)
{
    for (hlist_node *n = head->first; n; n = n->next) {
        const wrs_m_cat_entry_t *e = DW_ENTRY_OF(n, wrs_m_cat_entry_t, node);
        dbglog_write(__func__, kUnitWrsMapping, __LINE__, DW_LOG_INFO,
                     "map_id:%d\t cat_id:%d\t cat_name:%s", e->map_id, e->cat_id, e->cat_name);
    }
}

void free_wrs_mapping(hlist_head *head)
{
    while (hlist_node *n = head->first) {
        dw::refdb::hlist_del(n);
        wrs_m_cat_entry_t *e = DW_ENTRY_OF(n, wrs_m_cat_entry_t, node);
        free(e->cat_name);
        free(e);
    }
}

}  // extern "C"
