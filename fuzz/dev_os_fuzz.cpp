// Device file loader, its fallback search and the cache's index over it.
#include "dpiwrapper/dbcache.h"
#include <cstring>

#include "dpiwrapper/paths.h"
#include "fuzz/refdb_fuzz_util.h"
#include "refdb/list_ops.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    dwfuzz::Iteration it;
    dwfuzz::set_path(DEV_OS_DB_PATH, dwfuzz::write_file("korad.devdb.db", data, size));
    DpiDataDBCache cache;
    list_head *head = nullptr;
    if (!cache.get_dev_db(head)) return 0;
    int seen = 0;
    for (list_head *p = head->next; p != head && seen < 6; p = p->next, ++seen) {
        const dev_os_entry_t *e = DW_ENTRY_OF(p, dev_os_entry_t, list);
        const unsigned full[6] = {e->key1, e->key2, e->key3, e->key4, e->key5, e->key6};
        // The entry's own codes, then with wildcards (zeros) and near misses.
        for (unsigned v = 0; v < 8; ++v) {
            unsigned k[6];
            memcpy(k, full, sizeof k);
            if (v & 1) k[1] = 0;
            if (v & 2) k[2] = k[4] = 0;
            if (v & 4) k[3] += 1;
            DW_FUZZ_CHECK(cache.find_dev_os(k) == search_dev_os(head, k[0], k[1], k[2], k[3], k[4], k[5]));
        }
    }
    const unsigned zero[6] = {0, 0, 0, 0, 0, 0};
    DW_FUZZ_CHECK(cache.find_dev_os(zero) == search_dev_os(head, 0, 0, 0, 0, 0, 0));
    return 0;
}
