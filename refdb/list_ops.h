/* Intrusive list helpers for the reference lists (kernel-style semantics).
 * Unlinked nodes are poisoned so that a stale pointer faults loudly. */
#ifndef DW_REFDB_LIST_OPS_H
#define DW_REFDB_LIST_OPS_H

#include <cstddef>
#include <cstdint>

#include "dpiwrapper/refdb.h"

namespace dw {
namespace refdb {

/* The entry that holds the node: the node is a member at a fixed offset. */
#define DW_ENTRY_OF(node, type, member) \
    reinterpret_cast<type *>(reinterpret_cast<uintptr_t>(node) - offsetof(type, member))

inline bool list_empty(const list_head *h) { return h->next == h; }

inline void list_add_tail(list_head *node, list_head *head)
{
    list_head *prev = head->prev;
    node->next = head;
    node->prev = prev;
    prev->next = node;
    head->prev = node;
}

inline void list_del(list_head *node)
{
    node->prev->next = node->next;
    node->next->prev = node->prev;
    node->next = static_cast<list_head *>(DW_LIST_POISON1);
    node->prev = static_cast<list_head *>(DW_LIST_POISON2);
}

inline void hlist_add_head(hlist_node *node, hlist_head *head)
{
    node->next = head->first;
    if (head->first) head->first->pprev = &node->next;
    head->first = node;
    node->pprev = &head->first;
}

/* Links node right after prev. */
inline void hlist_add_behind(hlist_node *node, hlist_node *prev)
{
    node->next = prev->next;
    prev->next = node;
    node->pprev = &prev->next;
    if (node->next) node->next->pprev = &node->next;
}

inline void hlist_del(hlist_node *node)
{
    *node->pprev = node->next;
    if (node->next) node->next->pprev = node->pprev;
    node->next = static_cast<hlist_node *>(DW_LIST_POISON1);
    node->pprev = static_cast<hlist_node **>(DW_LIST_POISON2);
}

/* Unlinks and frees every entry of a list whose entries keep their node in
 * the member `list`; release frees one entry with what it owns. */
template <typename T>
void list_free_all(list_head *head, void (*release)(T *))
{
    while (!list_empty(head)) {
        list_head *node = head->next;
        list_del(node);
        release(DW_ENTRY_OF(node, T, list));
    }
}

}  // namespace refdb
}  // namespace dw

#endif
