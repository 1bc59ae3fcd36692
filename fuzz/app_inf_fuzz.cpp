// Application file loader, its search and the cache's index over it.
#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "fuzz/refdb_fuzz_util.h"
#include "refdb/list_ops.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    dwfuzz::Iteration it;
    dwfuzz::set_path(APP_INF_DB_PATH, dwfuzz::write_file("korad.app.db", data, size));
    DpiDataDBCache cache;
    list_head *head = nullptr;
    if (!cache.get_app_db(head)) return 0;
    unsigned keys[8][2] = {{0, 0}, {1, 101}, {0xFFFFFFFFu, 1}, {1, 0xFFFFFFFFu}};
    int n = 4;
    for (list_head *p = head->next; p != head && n < 8; p = p->next, ++n) {
        const app_inf_entry_t *e = DW_ENTRY_OF(p, app_inf_entry_t, list);
        keys[n][0] = static_cast<unsigned>(e->cat_id);
        keys[n][1] = static_cast<unsigned>(e->app_id) + (n & 1);
    }
    for (int i = 0; i < n; ++i)
        DW_FUZZ_CHECK(cache.find_app_name(keys[i][0], keys[i][1]) ==
                      search_app_inf(head, keys[i][0], keys[i][1]));
    return 0;
}
