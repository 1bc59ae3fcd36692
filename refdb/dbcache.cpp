// DpiDataDBCache: the process-wide owner of the reference lists. Lists load
// lazily under the write side of g_dpi_db_rwlock; the head is handed out
// under the read side. Beside each loaded list sits an index for find_*.
#include "dpiwrapper/dbcache.h"

#include "dpiwrapper/platform.h"
#include "refdb/cache_indexes.h"
#include "refdb/log_units.h"

using dw::refdb::kUnitCache;

extern "C" {
pthread_rwlock_t g_dpi_db_rwlock = PTHREAD_RWLOCK_INITIALIZER;
}


namespace {

void log_info(const char *function, int line, const char *format, int result)
{
    dbglog_write(function, kUnitCache, line, DW_LOG_INFO, format, result);
}

#define DW_GUARD(write) Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, (write), kUnitCache, __LINE__)

}  // namespace

struct DbCacheOps {
    using Indexes = DpiDataDBCache::Indexes;

    // One list_head list of the cache: where it lives, how it loads and is
    // indexed, what it logs.
    struct DbSlot {
        const char *getter;
        list_head DpiDataDBCache::*list;
        bool DpiDataDBCache::*loaded;
        int (*load)(list_head *);
        void (*release)(list_head *);
        void (*build_index)(Indexes &, const list_head *);
        void (*drop_index)(Indexes &);
        const char *load_msg;
        const char *reload_msg;
        const char *skip_msg;
    };
    static const DbSlot kDev, kRule, kCsv, kApp, kCat;
    static const DbSlot *const kReloadOrder[5];

    static void load_once(DpiDataDBCache &c, const DbSlot &s)
    {
        if (c.*s.loaded) return;
        int rc = s.load(&(c.*s.list));
        log_info(s.getter, __LINE__, s.load_msg, rc);
        c.*s.loaded = rc == 0;
        if (rc == 0) s.build_index(*c.indexes_, &(c.*s.list));
    }

    // Loads the list if it is not loaded yet, then hands out its head.
    static bool get(DpiDataDBCache &c, const DbSlot &s, list_head *&out)
    {
        {
            DW_GUARD(true);
            load_once(c, s);
        }
        DW_GUARD(false);
        const bool loaded = c.*s.loaded;
        if (loaded) out = &(c.*s.list);
        return loaded;
    }

    static bool get_wrs(DpiDataDBCache &c, hlist_head *&out)
    {
        {
            DW_GUARD(true);
            if (!c.wrs_loaded) {
                int rc = init_wrs_mapping(&c.wrs_cat_list);
                log_info("get_wrs_cat", __LINE__, "load DPI wrs mapping db (%d)", rc);
                c.wrs_loaded = rc == 0;
                if (rc == 0) dw::refdb::build_wrs_index(c.indexes_->wrs, &c.wrs_cat_list);
            }
        }
        DW_GUARD(false);
        const bool loaded = c.wrs_loaded;
        if (loaded) out = &c.wrs_cat_list;
        return loaded;
    }

    // Reloads every loaded list; the web-category mapping is never reloaded.
    static bool reload(DpiDataDBCache &c)
    {
        bool ok = true;
        DW_GUARD(true);
        for (const DbSlot *s : kReloadOrder) {
            if (!(c.*s->loaded)) {
                dbglog_write("reload_dbs", kUnitCache, __LINE__, DW_LOG_INFO, "%s", s->skip_msg);
                continue;
            }
            s->drop_index(*c.indexes_);
            s->release(&(c.*s->list));
            int rc = s->load(&(c.*s->list));
            log_info("reload_dbs", __LINE__, s->reload_msg, rc);
            c.*s->loaded = rc == 0;
            ok = ok && rc == 0;
            if (rc == 0) s->build_index(*c.indexes_, &(c.*s->list));
        }
        return ok;
    }
};

using Slot = DbCacheOps::DbSlot;
using Indexes = DbCacheOps::Indexes;

const Slot DbCacheOps::kDev = {
    "get_dev_db", &DpiDataDBCache::dev_list, &DpiDataDBCache::dev_loaded, init_dev_os, free_dev_os,
    [](Indexes &ix, const list_head *h) { dw::refdb::build_dev_index(ix.dev, h); },
    [](Indexes &ix) { ix.dev.clear(); },
    "load DPI dev mapping db (%d)", "reload dev db (%d)", "dev db is not loaded, skip it"};
const Slot DbCacheOps::kRule = {
    "get_rule_db", &DpiDataDBCache::rule_list, &DpiDataDBCache::rule_loaded, init_rule_db, free_rule_db,
    [](Indexes &ix, const list_head *h) { dw::refdb::build_id_name_index(ix.rule, h); },
    [](Indexes &ix) { ix.rule.clear(); },
    "load DPI rule mapping db (%d)", "reload rule db (%d)", "rule db is not loaded, skip it"};
const Slot DbCacheOps::kCsv = {
    "get_csv_db", &DpiDataDBCache::csv_list, &DpiDataDBCache::csv_loaded, init_csv_db, free_csv_db,
    [](Indexes &ix, const list_head *h) { dw::refdb::build_ips_index(ix.csv, h); },
    [](Indexes &ix) { ix.csv.clear(); },
    "load DPI csv mapping db (%d)", "reload csv mapping db (%d)", "csv db is not loaded, skip it"};
const Slot DbCacheOps::kApp = {
    "get_app_db", &DpiDataDBCache::app_list, &DpiDataDBCache::app_loaded, init_app_inf, free_app_inf,
    [](Indexes &ix, const list_head *h) { dw::refdb::build_app_index(ix.app, h); },
    [](Indexes &ix) { ix.app.clear(); },
    "load DPI app mapping db (%d)", "reload app db (%d)", "app db is not loaded, skip it"};
const Slot DbCacheOps::kCat = {
    "get_cat_db", &DpiDataDBCache::cat_list, &DpiDataDBCache::cat_loaded, init_app_cat, free_app_cat,
    [](Indexes &ix, const list_head *h) { dw::refdb::build_id_name_index(ix.cat, h); },
    [](Indexes &ix) { ix.cat.clear(); },
    "load DPI app cat mapping db (%d)", "reload cat db (%d)", "cat db is not loaded, skip it"};
const Slot *const DbCacheOps::kReloadOrder[5] = {&kDev, &kRule, &kCsv, &kApp, &kCat};

DpiDataDBCache::DpiDataDBCache()
    : wrs_loaded(false), dev_loaded(false), rule_loaded(false), app_loaded(false),
      cat_loaded(false), csv_loaded(false), indexes_(new Indexes())
{
    dw_hlist_init(&wrs_cat_list);
    dw_list_init(&dev_list);
    dw_list_init(&rule_list);
    dw_list_init(&csv_list);
    dw_list_init(&app_list);
    dw_list_init(&cat_list);
}

DpiDataDBCache::~DpiDataDBCache()
{
    free_wrs_mapping(&wrs_cat_list);
    free_dev_os(&dev_list);
    free_rule_db(&rule_list);
    free_csv_db(&csv_list);
    free_app_inf(&app_list);
    free_app_cat(&cat_list);
    delete indexes_;
}

DpiDataDBCache &DpiDataDBCache::instance()
{
    static DpiDataDBCache cache;
    return cache;
}

bool DpiDataDBCache::get_wrs_cat(hlist_head *&out) { return DbCacheOps::get_wrs(*this, out); }
bool DpiDataDBCache::get_dev_db(list_head *&out) { return DbCacheOps::get(*this, DbCacheOps::kDev, out); }
bool DpiDataDBCache::get_rule_db(list_head *&out) { return DbCacheOps::get(*this, DbCacheOps::kRule, out); }
bool DpiDataDBCache::get_csv_db(list_head *&out) { return DbCacheOps::get(*this, DbCacheOps::kCsv, out); }
bool DpiDataDBCache::get_app_db(list_head *&out) { return DbCacheOps::get(*this, DbCacheOps::kApp, out); }
bool DpiDataDBCache::get_cat_db(list_head *&out) { return DbCacheOps::get(*this, DbCacheOps::kCat, out); }
bool DpiDataDBCache::reload_dbs() { return DbCacheOps::reload(*this); }
