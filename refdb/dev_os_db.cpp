// Device file ("korad.devdb.db"): six identification codes and six quoted
// descriptions per line.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dpiwrapper/paths.h"
#include "dpiwrapper/refdb.h"
#include "refdb/list_ops.h"

namespace {

constexpr int kKeys = 6;

// Static line and parse buffers; unmatched fields keep the previous line's
// values (zero and empty at the start of a load). Each text is read with a
// width of 99: a longer text is cut there, the quote that should follow is
// then missing, so the parse stops and the later texts keep the previous
// line's values. Lines over 399 characters are read in pieces.
struct DevParse {
    char line[400];
    unsigned int key[kKeys];
    char text[kKeys][100];
};
DevParse g_parse;

void release(dev_os_entry_t *e)
{
    char *texts[kKeys] = {e->text1, e->text2, e->text3, e->text4, e->text5, e->text6};
    for (char *t : texts) free(t);
    free(e);
}

void append(list_head *head)
{
    auto *e = static_cast<dev_os_entry_t *>(calloc(1, sizeof(dev_os_entry_t)));
    if (!e) return;
    unsigned int *keys[kKeys] = {&e->key1, &e->key2, &e->key3, &e->key4, &e->key5, &e->key6};
    char **texts[kKeys] = {&e->text1, &e->text2, &e->text3, &e->text4, &e->text5, &e->text6};
    for (int i = 0; i < kKeys; ++i) {
        *keys[i] = g_parse.key[i];
        *texts[i] = strdup(g_parse.text[i]);
        if (!*texts[i]) {
            release(e);
            return;
        }
    }
    dw::refdb::list_add_tail(&e->list, head);
}

}  // namespace

extern "C" {

int init_dev_os(list_head *head)
{
    FILE *f = fopen(resolve_db_path(DEV_OS_DB_PATH), "r");
    if (!f) return -1;
    DevParse &p = g_parse;
    memset(p.key, 0, sizeof p.key);
    memset(p.text, 0, sizeof p.text);
    while (fgets(p.line, sizeof p.line, f)) {
        if (p.line[0] == '#') continue;
        size_t len = strlen(p.line);
        if (len && p.line[len - 1] == '\n') p.line[len - 1] = '\0';
        sscanf(p.line,
               "%u,%u,%u,%u,%u,%u,\"%99[^\"]\",\"%99[^\"]\",\"%99[^\"]\",\"%99[^\"]\","
               "\"%99[^\"]\",\"%99[^\"]\"",
               &p.key[0], &p.key[1], &p.key[2], &p.key[3], &p.key[4], &p.key[5], p.text[0],
               p.text[1], p.text[2], p.text[3], p.text[4], p.text[5]);
        append(head);
    }
    fclose(f);
    return 0;
}

void free_dev_os(list_head *head) { dw::refdb::list_free_all<dev_os_entry_t>(head, release); }

// First entry that agrees on every code wins at once; otherwise the last entry
// that agreed on key1 and key2. A zero query code matches anything, except
// key1, which must always be equal.
const dev_os_entry_t *search_dev_os(list_head *head, unsigned int key1, unsigned int key2,
                                    unsigned int key3, unsigned int key4, unsigned int key5,
                                    unsigned int key6)
{
    const dev_os_entry_t *fallback = nullptr;
    for (list_head *n = head->next; n != head; n = n->next) {
        const dev_os_entry_t *e = DW_ENTRY_OF(n, dev_os_entry_t, list);
        if (e->key1 != key1) continue;
        if (key2 && key2 != e->key2) continue;
        if ((key3 && key3 != e->key3) || (key4 && key4 != e->key4) ||
            (key5 && key5 != e->key5) || (key6 && key6 != e->key6)) {
            fallback = e;
            continue;
        }
        return e;
    }
    return fallback;
}

}  // extern "C"
