/* The indexes the cache keeps beside its loaded lists. */
#ifndef DW_REFDB_CACHE_INDEXES_H
#define DW_REFDB_CACHE_INDEXES_H

#include "dpiwrapper/dbcache.h"
#include "refdb/db_index.h"

struct DpiDataDBCache::Indexes {
    dw::refdb::FirstHitIndex wrs, rule, csv, app, cat;
    dw::refdb::DevIndex dev;
};

#endif
