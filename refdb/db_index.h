/* Look-up indexes over the reference lists, built once per load. Each gives
 * exactly the answer of the list walk it replaces. */
#ifndef DW_REFDB_DB_INDEX_H
#define DW_REFDB_DB_INDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dpiwrapper/refdb.h"

namespace dw {
namespace refdb {

/* Open-addressing hash table from a 64-bit key to the first entry (in list
 * order) that carries it. At most 3/4 full, so a miss ends quickly. */
class FirstHitIndex {
public:
    /* Sizes the table for up to n keys and empties it. */
    void reset(size_t n);
    /* Records entry for key unless an earlier entry already holds the key. */
    void add(uint64_t key, const void *entry);
    const void *find(uint64_t key) const;
    void clear();
    bool ready() const { return !slots_.empty(); }
    size_t bytes() const { return slots_.capacity() * sizeof(Slot); }

private:
    struct Slot {
        uint64_t key;
        const void *entry;  // null: free slot
    };
    std::vector<Slot> slots_;
    size_t mask_ = 0;
};

/* Device entries grouped by (key1, key2), each group in file order. A query
 * with key2 set walks only its (key1, key2) group; with key2 zero, the whole
 * key1 group, comparing file positions to keep the walk's answer. */
class DevIndex {
public:
    void build(const list_head *head);
    const dev_os_entry_t *find(const unsigned int keys[6]) const;
    void clear();
    bool ready() const { return ready_; }
    size_t bytes() const { return refs_.capacity() * sizeof(Ref); }

private:
    struct Ref {
        uint32_t key1, key2, pos;
        const dev_os_entry_t *entry;
    };
    std::vector<Ref> refs_;
    bool ready_ = false;
};

inline uint64_t app_key(unsigned int cat_id, unsigned int app_id)
{
    return (static_cast<uint64_t>(cat_id) << 32) | app_id;
}

/* Builders over loaded lists; on allocation failure the index stays not
 * ready and callers fall back to the list walk. */
void build_id_name_index(FirstHitIndex &ix, const list_head *head);
void build_ips_index(FirstHitIndex &ix, const list_head *head);
void build_app_index(FirstHitIndex &ix, const list_head *head);
void build_wrs_index(FirstHitIndex &ix, const hlist_head *head);
void build_dev_index(DevIndex &ix, const list_head *head);

/* Heap bytes a loaded list occupies: every entry block and its texts. */
size_t list_bytes_id_name(const list_head *head);
size_t list_bytes_ips(const list_head *head);
size_t list_bytes_app(const list_head *head);
size_t list_bytes_dev(const list_head *head);

}  // namespace refdb
}  // namespace dw

#endif
