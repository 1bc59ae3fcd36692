// Application file ("korad.app.db"): "cat_id,app_id,number,name" lines.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dpiwrapper/paths.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"

namespace {

// Static line and parse buffers; unmatched fields keep the previous line's
// values (zero at the start of a load). Over-long lines are read in pieces.
struct AppParse {
    char line[256];
    int cat_id;
    int app_id;
    int extra;
    char name[256];
};
AppParse g_parse;

void release(app_inf_entry_t *e)
{
    free(e->name);
    free(e);
}

void append(list_head *head)
{
    auto *e = static_cast<app_inf_entry_t *>(calloc(1, sizeof(app_inf_entry_t)));
    if (!e) return;
    e->cat_id = g_parse.cat_id;
    e->app_id = g_parse.app_id;
    e->extra = g_parse.extra;
    e->name = strdup(g_parse.name);
    if (!e->name) {
        free(e);
        return;
    }
    dw::refdb::list_add_tail(&e->list, head);
}

}  // namespace

extern "C" {

int init_app_inf(list_head *head)
{
    FILE *f = fopen(resolve_db_path(APP_INF_DB_PATH), "r");
    if (!f) return -1;
    AppParse &p = g_parse;
    p.cat_id = p.app_id = p.extra = 0;
    p.name[0] = '\0';
    while (fgets(p.line, sizeof p.line, f)) {
        if (p.line[0] == '#') continue;
        sscanf(p.line, "%d,%d,%d,%255[^\n]", &p.cat_id, &p.app_id, &p.extra, p.name);
        append(head);
    }
    fclose(f);
    return 0;
}

void free_app_inf(list_head *head) { dw::refdb::list_free_all<app_inf_entry_t>(head, release); }

const char *search_app_inf(list_head *head, unsigned int cat_id, unsigned int app_id)
{
    for (list_head *n = head->next; n != head; n = n->next) {
        const app_inf_entry_t *e = DW_ENTRY_OF(n, app_inf_entry_t, list);
        if (static_cast<unsigned int>(e->cat_id) == cat_id &&
            static_cast<unsigned int>(e->app_id) == app_id)
            return e->name;
    }
    return nullptr;
}

}  // extern "C"
