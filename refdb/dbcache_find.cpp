// Indexed look-ups over the cache's lists. An index that could not be built
// (out of memory) leaves the list walk in charge, so the answer is the same.
#include "dpiwrapper/dbcache.h"
#include "refdb/cache_indexes.h"
#include "refdb/list_ops.h"

namespace {

list_head *mut(const list_head *h) { return const_cast<list_head *>(h); }

const ips_rule_entry_t *walk_ips(const list_head *head, unsigned int rule_id)
{
    for (const list_head *n = head->next; n != head; n = n->next) {
        const ips_rule_entry_t *e = DW_ENTRY_OF(n, ips_rule_entry_t, list);
        if (e->rule_id == rule_id) return e;
    }
    return nullptr;
}

const wrs_m_cat_entry_t *walk_wrs(const hlist_head *head, int cat_id)
{
    for (const hlist_node *n = head->first; n; n = n->next) {
        const wrs_m_cat_entry_t *e = DW_ENTRY_OF(n, wrs_m_cat_entry_t, node);
        if (e->cat_id == cat_id) return e;
    }
    return nullptr;
}

const char *name_of(const void *e) { return e ? static_cast<const id_name_entry_t *>(e)->name : nullptr; }

}  // namespace

const char *DpiDataDBCache::find_rule_name(unsigned int id) const
{
    if (!rule_loaded) return nullptr;
    if (!indexes_->rule.ready()) return search_rule_db(mut(&rule_list), id);
    return name_of(indexes_->rule.find(id));
}

const char *DpiDataDBCache::find_cat_name(unsigned int id) const
{
    if (!cat_loaded) return nullptr;
    if (!indexes_->cat.ready()) return search_app_cat(mut(&cat_list), id);
    return name_of(indexes_->cat.find(id));
}

const ips_rule_entry_t *DpiDataDBCache::find_ips_rule(unsigned int rule_id) const
{
    if (!csv_loaded) return nullptr;
    if (!indexes_->csv.ready()) return walk_ips(&csv_list, rule_id);
    return static_cast<const ips_rule_entry_t *>(indexes_->csv.find(rule_id));
}

const char *DpiDataDBCache::find_app_name(unsigned int cat_id, unsigned int app_id) const
{
    if (!app_loaded) return nullptr;
    if (!indexes_->app.ready()) return search_app_inf(mut(&app_list), cat_id, app_id);
    const void *e = indexes_->app.find(dw::refdb::app_key(cat_id, app_id));
    return e ? static_cast<const app_inf_entry_t *>(e)->name : nullptr;
}

const dev_os_entry_t *DpiDataDBCache::find_dev_os(const unsigned int keys[6]) const
{
    if (!dev_loaded) return nullptr;
    if (!indexes_->dev.ready())
        return search_dev_os(mut(&dev_list), keys[0], keys[1], keys[2], keys[3], keys[4], keys[5]);
    return indexes_->dev.find(keys);
}

const wrs_m_cat_entry_t *DpiDataDBCache::find_wrs_cat(int cat_id) const
{
    if (!wrs_loaded) return nullptr;
    if (!indexes_->wrs.ready()) return walk_wrs(&wrs_cat_list, cat_id);
    return static_cast<const wrs_m_cat_entry_t *>(indexes_->wrs.find(static_cast<uint32_t>(cat_id)));
}
