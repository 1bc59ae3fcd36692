// IPS rule file loader, its search and the cache's index over it.
#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/records.h"
#include "fuzz/refdb_fuzz_util.h"
#include "refdb/list_ops.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    dwfuzz::Iteration it;
    dwfuzz::set_path(IPS_DB_PATH, dwfuzz::write_file("korad.ips.db", data, size));
    DpiDataDBCache cache;
    list_head *head = nullptr;
    if (!cache.get_csv_db(head)) return 0;
    unsigned keys[8] = {0, 1, 1002, 0xFFFFFFFFu};
    int n = 4;
    for (list_head *p = head->next; p != head && n < 8; p = p->next) {
        keys[n] = DW_ENTRY_OF(p, ips_rule_entry_t, list)->rule_id + (n & 1);  // a hit, or a near miss
        ++n;
    }
    for (int i = 0; i < n; ++i) {
        dpi_vul_log log;
        const ips_rule_entry_t *hit = cache.find_ips_rule(keys[i]);
        DW_FUZZ_CHECK((hit != nullptr) == (search_csv_db(head, keys[i], &log) == 0));
        DW_FUZZ_CHECK(!hit || (hit->category_id == log.category_id && hit->severity == log.severity));
    }
    return 0;
}
