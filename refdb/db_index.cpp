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

size_t table_size(size_t n)
{
    size_t cap = 1;  // at most 3/4 full, with one slot free at least
    while (cap * 3 < n * 4 + 4) cap <<= 1;
    return cap;
}

uint64_t pair_key(uint32_t key1, uint32_t key2) { return (static_cast<uint64_t>(key1) << 32) | key2; }

size_t block(const void *p) { return p ? malloc_usable_size(const_cast<void *>(p)) : 0; }

}  // namespace

void FirstHitIndex::reset(size_t n)
{
    const size_t cap = table_size(n);
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

void DevIndex::add_group(std::vector<Group> &table, uint64_t key, uint32_t begin, uint32_t end)
{
    const size_t mask = table.size() - 1;
    size_t i = mix(key) & mask;
    while (table[i].end != 0) i = (i + 1) & mask;
    table[i] = Group{key, begin, end};
}

const DevIndex::Group *DevIndex::find_group(const std::vector<Group> &table, uint64_t key)
{
    const size_t mask = table.size() - 1;
    for (size_t i = mix(key) & mask;; i = (i + 1) & mask) {
        const Group &g = table[i];
        if (g.end == 0) return nullptr;
        if (g.key == key) return &g;
    }
}

void DevIndex::build(const list_head *head)
{
    try {
        std::vector<Ref> refs;
        refs.reserve(count(head));
        uint32_t pos = 0;
        each<dev_os_entry_t>(head, [&](const dev_os_entry_t *e) {
            refs.push_back(Ref{{e->key1, e->key2, e->key3, e->key4, e->key5, e->key6}, pos++, e});
        });
        std::sort(refs.begin(), refs.end(), [](const Ref &a, const Ref &b) {
            if (a.keys[0] != b.keys[0]) return a.keys[0] < b.keys[0];
            if (a.keys[1] != b.keys[1]) return a.keys[1] < b.keys[1];
            return a.pos < b.pos;
        });
        // Calls fn(begin, end) for each run of refs that share the first `width` keys.
        const uint32_t n = static_cast<uint32_t>(refs.size());
        auto runs = [&](int width, auto fn) {
            auto same = [&](uint32_t a, uint32_t b) {
                return refs[a].keys[0] == refs[b].keys[0] && (width == 1 || refs[a].keys[1] == refs[b].keys[1]);
            };
            for (uint32_t begin = 0, end = 0; begin < n; begin = end) {
                while (++end < n && same(begin, end)) {
                }
                fn(begin, end);
            }
        };
        size_t key1_groups = 0, pair_groups = 0;
        runs(1, [&](uint32_t, uint32_t) { ++key1_groups; });
        runs(2, [&](uint32_t, uint32_t) { ++pair_groups; });
        std::vector<Group> key1s(table_size(key1_groups), Group{0, 0, 0});
        std::vector<Group> pairs(table_size(pair_groups), Group{0, 0, 0});
        runs(1, [&](uint32_t begin, uint32_t end) { add_group(key1s, refs[begin].keys[0], begin, end); });
        runs(2, [&](uint32_t begin, uint32_t end) {
            add_group(pairs, pair_key(refs[begin].keys[0], refs[begin].keys[1]), begin, end);
        });
        refs_.swap(refs);
        pairs_.swap(pairs);
        key1s_.swap(key1s);
        ready_ = true;
    } catch (const std::bad_alloc &) {
        clear();
    }
}

const dev_os_entry_t *DevIndex::find(const unsigned int keys[6]) const
{
    const unsigned int k2 = keys[1];
    const Group *g = k2 ? find_group(pairs_, pair_key(keys[0], k2)) : find_group(key1s_, keys[0]);
    if (!g) return nullptr;
    auto full = [keys](const Ref &r) {
        return (!keys[2] || keys[2] == r.keys[2]) && (!keys[3] || keys[3] == r.keys[3]) &&
               (!keys[4] || keys[4] == r.keys[4]) && (!keys[5] || keys[5] == r.keys[5]);
    };
    const Ref *lo = refs_.data() + g->begin, *hi = refs_.data() + g->end;
    if (k2) {
        // One key2 group in file order: the first full match, else its last line.
        for (const Ref *r = lo; r != hi; ++r)
            if (full(*r)) return r->entry;
        return (hi - 1)->entry;
    }
    // Several key2 groups: the earliest full match, else the latest line.
    const Ref *first_full = nullptr, *last = lo;
    for (const Ref *r = lo; r != hi; ++r) {
        if (r->pos > last->pos) last = r;
        if (full(*r) && (!first_full || r->pos < first_full->pos)) first_full = r;
    }
    return (first_full ? first_full : last)->entry;
}

void DevIndex::clear()
{
    std::vector<Ref>().swap(refs_);
    std::vector<Group>().swap(pairs_);
    std::vector<Group>().swap(key1s_);
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
