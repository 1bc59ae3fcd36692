// Web-category mapping loader. The input holds the security file, a line
// "%%", then the parental file.
#include <cstring>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/platform.h"
#include "fuzz/refdb_fuzz_util.h"
#include "refdb/list_ops.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    dwfuzz::Iteration it;
    size_t split = size;
    for (size_t i = 0; i + 2 < size; ++i)
        if (data[i] == '%' && data[i + 1] == '%' && data[i + 2] == '\n') {
            split = i;
            break;
        }
    dwfuzz::write_file("wrs.security.conf", data, split);
    const size_t rest = split + 3 <= size ? split + 3 : size;
    dwfuzz::write_file("wrs.parental.conf", data + rest, size - rest);
    dwfuzz::set_path(DPI_KIV_CONF, dwfuzz::scratch_dir());

    hlist_head head;
    dw_hlist_init(&head);
    if (init_wrs_mapping(&head) != 0 && head.first) init_wrs_mapping(&head);  // load over leftovers
    print_wrs_mapping(&head);
    free_wrs_mapping(&head);

    DpiDataDBCache cache;
    hlist_head *chain = nullptr;
    if (!cache.get_wrs_cat(chain)) return 0;
    int keys[8] = {0, 1, -1, 20};
    int n = 4;
    for (hlist_node *p = chain->first; p && n < 8; p = p->next) {
        keys[n] = static_cast<int>(static_cast<unsigned>(DW_ENTRY_OF(p, wrs_m_cat_entry_t, node)->cat_id) + (n & 1));
        ++n;
    }
    for (int i = 0; i < n; ++i) {
        const wrs_m_cat_entry_t *walk = nullptr;
        for (hlist_node *p = chain->first; p && !walk; p = p->next)
            if (DW_ENTRY_OF(p, wrs_m_cat_entry_t, node)->cat_id == keys[i]) walk = DW_ENTRY_OF(p, wrs_m_cat_entry_t, node);
        DW_FUZZ_CHECK(cache.find_wrs_cat(keys[i]) == walk);
    }
    return 0;
}
