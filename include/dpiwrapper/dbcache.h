/* The process-wide cache of reference lists, its lock and the reload lock file. */
#ifndef DPIWRAPPER_DBCACHE_H
#define DPIWRAPPER_DBCACHE_H

#include <pthread.h>
#include "dpiwrapper/export.h"
#include "dpiwrapper/refdb.h"

#define DW_RELOAD_LOCK_FILE "/tmp/reload_dpi-signature.lock"

DW_EXTERN_C_BEGIN

/* Guards the cached reference lists; taken only through Scope::ReadWriteLocked. */
DW_API extern pthread_rwlock_t g_dpi_db_rwlock;

DW_API int open_dpi_reload_lock_file(void);
DW_API int hold_dpi_reload_lock_file(int fd);
DW_API int release_dpi_reload_lock_file(int fd);

DW_EXTERN_C_END

#ifdef __cplusplus
#include <string>

namespace Scope {
/* Takes a read or write lock by try-lock with micro-sleeps, never blocking
 * in the lock itself; unlocks on destruction. A null lock does nothing. */
class DW_API ReadWriteLocked {
public:
    ReadWriteLocked(pthread_rwlock_t *lock, bool write, const char *file, int line);
    ~ReadWriteLocked();
    ReadWriteLocked(const ReadWriteLocked &) = delete;
    ReadWriteLocked &operator=(const ReadWriteLocked &) = delete;
    /* Where the guard was taken, for diagnostics. */
    const std::string &file() const { return file_; }
    int line() const { return line_; }

private:
    pthread_rwlock_t *lock_;
    std::string file_;
    int line_;
};
}  // namespace Scope

/* Owns the six reference lists, loads each lazily on first request and
 * reloads the loaded ones on demand. */
class DW_API DpiDataDBCache {
public:
    DpiDataDBCache();
    ~DpiDataDBCache();
    DpiDataDBCache(const DpiDataDBCache &) = delete;
    DpiDataDBCache &operator=(const DpiDataDBCache &) = delete;

    /* The process-wide instance, created on first use. */
    static DpiDataDBCache &instance();

    bool get_wrs_cat(hlist_head *&out);
    bool get_dev_db(list_head *&out);
    bool get_rule_db(list_head *&out);
    bool get_csv_db(list_head *&out);
    bool get_app_db(list_head *&out);
    bool get_cat_db(list_head *&out);
    bool reload_dbs();

    /* Indexed look-ups over the cached lists. Each gives exactly the answer of
     * the list walk (first matching line in file order; the device fallback
     * rule) on the list as currently loaded, or null when it is not loaded.
     * Hold a read guard on g_dpi_db_rwlock while looking up and copying. */
    const char *find_rule_name(unsigned int id) const;
    const ips_rule_entry_t *find_ips_rule(unsigned int rule_id) const;
    const char *find_app_name(unsigned int cat_id, unsigned int app_id) const;
    const char *find_cat_name(unsigned int id) const;
    const dev_os_entry_t *find_dev_os(const unsigned int keys[6]) const;
    const wrs_m_cat_entry_t *find_wrs_cat(int cat_id) const;

    hlist_head wrs_cat_list;
    list_head dev_list;
    list_head rule_list;
    list_head csv_list;
    list_head app_list;
    list_head cat_list;
    bool wrs_loaded;
    bool dev_loaded;
    bool rule_loaded;
    bool app_loaded;
    bool cat_loaded;
    bool csv_loaded;

private:
    struct Indexes;
    friend struct DbCacheOps;
    Indexes *indexes_;
};
#endif

#endif
