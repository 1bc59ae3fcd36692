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

/* Device entries grouped by (key1, key2), each group in file order, with
 * every entry's six keys kept beside it so a walk never touches the entries.
 * A query with key2 set finds its (key1, key2) group through a hash table and
 * walks only that; with key2 zero, the whole key1 group (found the same way),
 * comparing file positions to keep the list walk's answer. */
class DevIndex {
public:
    void build(const list_head *head);
    const dev_os_entry_t *find(const unsigned int keys[6]) const;
    void clear();
    bool ready() const { return ready_; }
    size_t bytes() const
    {
        return refs_.capacity() * sizeof(Ref) + (pairs_.capacity() + key1s_.capacity()) * sizeof(Group);
    }

private:
    struct Ref {
        uint32_t keys[6];
        uint32_t pos;
        const dev_os_entry_t *entry;
    };
    /* Slot of an open-addressing table: refs_[begin, end) share the key;
     * end 0 marks a free slot (a group is never empty). */
    struct Group {
        uint64_t key;
        uint32_t begin, end;
    };
    static void add_group(std::vector<Group> &table, uint64_t key, uint32_t begin, uint32_t end);
    static const Group *find_group(const std::vector<Group> &table, uint64_t key);

    std::vector<Ref> refs_;
    std::vector<Group> pairs_;  // (key1, key2) groups
    std::vector<Group> key1s_;  // key1 groups
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
