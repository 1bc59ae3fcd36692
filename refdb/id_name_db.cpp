// Rule file ("korad.rule.db") and application-category file ("korad.cat.db"):
// "id,name" lines read into id_name_entry_t lists.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dpiwrapper/paths.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"

namespace {

using dw::refdb::list_add_tail;

// Line and parse buffers are static, one set per loader. The parse variables
// carry over from line to line: a line that does not match still makes an
// entry, with whatever the previous line left (zero at the start of a load).
struct IdNameParse {
    char line[256];
    unsigned int id;
    char name[256];
};
IdNameParse g_rule_parse;
IdNameParse g_cat_parse;

void release(id_name_entry_t *e)
{
    free(e->name);
    free(e);
}

void append(list_head *head, unsigned int id, const char *name)
{
    auto *e = static_cast<id_name_entry_t *>(calloc(1, sizeof(id_name_entry_t)));
    if (!e) return;
    e->id = id;
    e->name = strdup(name);
    if (!e->name) {
        free(e);
        return;
    }
    list_add_tail(&e->list, head);
}

// A line longer than the buffer is read in pieces; each piece is handled as
// a line of its own.
int load_id_names(list_head *head, const char *path, IdNameParse &p, bool strip_comments)
{
    FILE *f = fopen(resolve_db_path(path), "r");
    if (!f) return -1;
    p.id = 0;
    p.name[0] = '\0';
    while (fgets(p.line, sizeof p.line, f)) {
        if (p.line[0] == '#') continue;
        if (strip_comments) {
            if (char *hash = strchr(p.line, '#')) *hash = '\0';
            _trim(p.line, '\t');
            _trim(p.line, ' ');
        }
        sscanf(p.line, "%u,%255[^\n]", &p.id, p.name);
        append(head, p.id, p.name);
    }
    fclose(f);
    return 0;
}

const char *search_id_name(list_head *head, unsigned int id)
{
    for (list_head *n = head->next; n != head; n = n->next) {
        const id_name_entry_t *e = DW_ENTRY_OF(n, id_name_entry_t, list);
        if (e->id == id) return e->name;
    }
    return nullptr;
}

}  // namespace

extern "C" {

int init_rule_db(list_head *head) { return load_id_names(head, RULE_DB_PATH, g_rule_parse, true); }

int init_app_cat(list_head *head)
{
    return load_id_names(head, APP_CAT_DB_PATH, g_cat_parse, false);
}

void free_app_cat(list_head *head) { dw::refdb::list_free_all<id_name_entry_t>(head, release); }
void free_rule_db(list_head *head) { free_app_cat(head); }

const char *search_app_cat(list_head *head, unsigned int id) { return search_id_name(head, id); }
const char *search_rule_db(list_head *head, unsigned int id) { return search_id_name(head, id); }

}  // extern "C"
