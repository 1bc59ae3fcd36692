// Rule file loader, its search and the cache's index over it.
#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "fuzz/refdb_fuzz_util.h"
#include "refdb/list_ops.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    dwfuzz::Iteration it;
    dwfuzz::set_path(RULE_DB_PATH, dwfuzz::write_file("korad.rule.db", data, size));
    DpiDataDBCache cache;
    list_head *head = nullptr;
    if (!cache.get_rule_db(head)) return 0;
    unsigned keys[8] = {0, 1, 1001, 0xFFFFFFFFu};
    int n = 4;
    for (list_head *p = head->next; p != head && n < 8; p = p->next) {
        keys[n] = DW_ENTRY_OF(p, id_name_entry_t, list)->id + (n & 1);  // a hit, or a near miss
        ++n;
    }
    for (int i = 0; i < n; ++i) DW_FUZZ_CHECK(cache.find_rule_name(keys[i]) == search_rule_db(head, keys[i]));
    return 0;
}
