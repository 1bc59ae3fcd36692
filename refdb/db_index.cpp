// Look-up indexes over the reference lists.
#include "refdb/db_index.h"

#include <malloc.h>

#include <algorithm>
#include <new>

#include "refdb/list_ops.h"

namespace dw {
namespace refdb {

namespace {

uint64_t mix(uint64_t k)
{
    k ^= k >> 33;
    k *= 0xff51afd7ed558ccdULL;
    k ^= k >> 33;
    k *= 0xc4ceb9fe1a85ec53ULL;
    k ^= k >> 33;
    return k;
}

size_t count(const list_head *head)
{
    size_t n = 0;
    for (const list_head *p = head->next; p != head; p = p->next) ++n;
    return n;
}

// Calls fn(entry) for each entry of a list_head list, in order.
template <typename T, typename Fn>
void each(const list_head *head, Fn fn)
{
    for (list_head *p = head->next; p != head; p = p->next) fn(DW_ENTRY_OF(p, T, list));
}

template <typename T, typename KeyFn>
void build_first_hit(FirstHitIndex &ix, const list_head *head, KeyFn key)
{
    try {
        ix.reset(count(head));
        each<T>(head, [&](const T *e) { ix.add(key(e), e); });
    } catch (const std::bad_alloc &) {
        ix.clear();
    }
}

size_t block(const void *p) { return p ? malloc_usable_size(const_cast<void *>(p)) : 0; }

}  // namespace

void FirstHitIndex::reset(size_t n)
{
    size_t cap = 1;  // at most 3/4 full, with one slot free at least
    while (cap * 3 < n * 4 + 4) cap <<= 1;
    std::vector<Slot>(cap, Slot{0, nullptr}).swap(slots_);
    mask_ = cap - 1;
}

void FirstHitIndex::add(uint64_t key, const void *entry)
{
    for (size_t i = mix(key) & mask_;; i = (i + 1) & mask_) {
        Slot &s = slots_[i];
        if (!s.entry) {
            s = Slot{key, entry};
            return;
        }
        if (s.key == key) return;  // an earlier line wins
    }
}

const void *FirstHitIndex::find(uint64_t key) const
{
    if (slots_.empty()) return nullptr;
    for (size_t i = mix(key) & mask_;; i = (i + 1) & mask_) {
        const Slot &s = slots_[i];
        if (!s.entry) return nullptr;
        if (s.key == key) return s.entry;
    }
}

void FirstHitIndex::clear()
{
    std::vector<Slot>().swap(slots_);
    mask_ = 0;
}

void DevIndex::build(const list_head *head)
{
    try {
        std::vector<Ref> refs;
        refs.reserve(count(head));
        uint32_t pos = 0;
        each<dev_os_entry_t>(head, [&](const dev_os_entry_t *e) {
            refs.push_back(Ref{e->key1, e->key2, pos++, e});
        });
        std::sort(refs.begin(), refs.end(), [](const Ref &a, const Ref &b) {
            if (a.key1 != b.key1) return a.key1 < b.key1;
            if (a.key2 != b.key2) return a.key2 < b.key2;
            return a.pos < b.pos;
        });
        refs_.swap(refs);
        ready_ = true;
    } catch (const std::bad_alloc &) {
        clear();
    }
}

const dev_os_entry_t *DevIndex::find(const unsigned int keys[6]) const
{
    const unsigned int k1 = keys[0], k2 = keys[1];
    auto full = [keys](const dev_os_entry_t *e) {
        return (!keys[2] || keys[2] == e->key3) && (!keys[3] || keys[3] == e->key4) &&
               (!keys[4] || keys[4] == e->key5) && (!keys[5] || keys[5] == e->key6);
    };
    // Group of the query: (key1, key2), or all of key1 when key2 is zero.
    auto lo = std::lower_bound(refs_.begin(), refs_.end(), k1, [k2](const Ref &r, unsigned int k) {
        return r.key1 < k || (r.key1 == k && k2 && r.key2 < k2);
    });
    auto hi = std::upper_bound(lo, refs_.end(), k1, [k2](unsigned int k, const Ref &r) {
        return k < r.key1 || (k == r.key1 && k2 && k2 < r.key2);
    });
    if (lo == hi) return nullptr;
    if (k2) {
        // One key2 group in file order: the first full match, else its last line.
        for (auto it = lo; it != hi; ++it)
            if (full(it->entry)) return it->entry;
        return (hi - 1)->entry;
    }
    // Several key2 groups: the earliest full match, else the latest line.
    const Ref *first_full = nullptr, *last = nullptr;
    for (auto it = lo; it != hi; ++it) {
        if (!last || it->pos > last->pos) last = &*it;
        if (full(it->entry) && (!first_full || it->pos < first_full->pos)) first_full = &*it;
    }
    return (first_full ? first_full : last)->entry;
}

void DevIndex::clear()
{
    std::vector<Ref>().swap(refs_);
    ready_ = false;
}

void build_id_name_index(FirstHitIndex &ix, const list_head *head)
{
    build_first_hit<id_name_entry_t>(ix, head, [](const id_name_entry_t *e) { return e->id; });
}

void build_ips_index(FirstHitIndex &ix, const list_head *head)
{
    build_first_hit<ips_rule_entry_t>(ix, head, [](const ips_rule_entry_t *e) { return e->rule_id; });
}

void build_app_index(FirstHitIndex &ix, const list_head *head)
{
    build_first_hit<app_inf_entry_t>(ix, head, [](const app_inf_entry_t *e) {
        return app_key(static_cast<unsigned int>(e->cat_id), static_cast<unsigned int>(e->app_id));
    });
}

void build_wrs_index(FirstHitIndex &ix, const hlist_head *head)
{
    try {
        size_t n = 0;
        for (const hlist_node *p = head->first; p; p = p->next) ++n;
        ix.reset(n);
        for (hlist_node *p = head->first; p; p = p->next) {
            const wrs_m_cat_entry_t *e = DW_ENTRY_OF(p, wrs_m_cat_entry_t, node);
            ix.add(static_cast<uint32_t>(e->cat_id), e);
        }
    } catch (const std::bad_alloc &) {
        ix.clear();
    }
}

void build_dev_index(DevIndex &ix, const list_head *head) { ix.build(head); }

size_t list_bytes_id_name(const list_head *head)
{
    size_t n = 0;
    each<id_name_entry_t>(head, [&](const id_name_entry_t *e) { n += block(e) + block(e->name); });
    return n;
}

size_t list_bytes_ips(const list_head *head)
{
    size_t n = 0;
    each<ips_rule_entry_t>(head, [&](const ips_rule_entry_t *e) { n += block(e); });
    return n;
}

size_t list_bytes_app(const list_head *head)
{
    size_t n = 0;
    each<app_inf_entry_t>(head, [&](const app_inf_entry_t *e) { n += block(e) + block(e->name); });
    return n;
}

size_t list_bytes_dev(const list_head *head)
{
    size_t n = 0;
    each<dev_os_entry_t>(head, [&](const dev_os_entry_t *e) {
        n += block(e) + block(e->text1) + block(e->text2) + block(e->text3) + block(e->text4) +
             block(e->text5) + block(e->text6);
    });
    return n;
}

}  // namespace refdb
}  // namespace dw
