/* Reference files: intrusive lists, entry types, loaders, look-ups. */
#ifndef DPIWRAPPER_REFDB_H
#define DPIWRAPPER_REFDB_H

#include <stdint.h>
#include "dpiwrapper/export.h"

#ifdef __cplusplus
struct dpi_inf_log;
struct dpi_vul_log;
#endif

DW_EXTERN_C_BEGIN

/* Kernel-style intrusive lists. An empty list_head points at itself; an
 * empty hlist_head holds NULL. Unlinked nodes are poisoned before free. */
typedef struct list_head {
    struct list_head *next, *prev;
} list_head;

typedef struct hlist_node {
    struct hlist_node *next, **pprev;
} hlist_node;

typedef struct hlist_head {
    struct hlist_node *first;
} hlist_head;

#define DW_LIST_POISON1 ((void *)0x100100)
#define DW_LIST_POISON2 ((void *)0x200200)

static inline void dw_list_init(struct list_head *h) { h->next = h; h->prev = h; }
static inline void dw_hlist_init(struct hlist_head *h) { h->first = 0; }

/* Web-category mapping entry ("wrs.security.conf", "wrs.parental.conf"). */
typedef struct wrs_m_cat_entry_t {
    int32_t map_id;    /* 1 or 2: security section; 0: parental; -1: before any section */
    int32_t cat_id;
    char *cat_name;    /* at most 127 characters */
    struct hlist_node node;
} wrs_m_cat_entry_t;

/* IPS rule file entry ("korad.ips.db"). */
typedef struct ips_rule_entry_t {
    uint32_t rule_id;
    uint32_t category_id;
    uint32_t severity;
    struct list_head list;
} ips_rule_entry_t;

/* Rule file and application-category file entry. */
typedef struct id_name_entry_t {
    uint32_t id;
    char *name;
    struct list_head list;
} id_name_entry_t;

/* Application file entry ("korad.app.db"). */
typedef struct app_inf_entry_t {
    int32_t cat_id;
    int32_t app_id;
    int32_t extra;     /* third number of the line; stored, never searched */
    char *name;
    struct list_head list;
} app_inf_entry_t;

/* Device file entry ("korad.devdb.db"). */
typedef struct dev_os_entry_t {
    uint32_t key1, key2, key3, key4, key5, key6;
    char *text1, *text2, *text3, *text4, *text5, *text6; /* at most 99 characters each */
    struct list_head list;
} dev_os_entry_t;

DW_API int init_wrs_mapping(struct hlist_head *head);
DW_API void print_wrs_mapping(struct hlist_head *head);
DW_API void free_wrs_mapping(struct hlist_head *head);

DW_API int init_csv_db(struct list_head *head);
DW_API void free_csv_db(struct list_head *head);

DW_API int init_rule_db(struct list_head *head);
DW_API void free_rule_db(struct list_head *head);
DW_API const char *search_rule_db(struct list_head *head, unsigned int id);

DW_API int init_app_cat(struct list_head *head);
DW_API void free_app_cat(struct list_head *head);
DW_API const char *search_app_cat(struct list_head *head, unsigned int id);

DW_API int init_app_inf(struct list_head *head);
DW_API void free_app_inf(struct list_head *head);
DW_API const char *search_app_inf(struct list_head *head, unsigned int cat_id, unsigned int app_id);

DW_API int init_dev_os(struct list_head *head);
DW_API void free_dev_os(struct list_head *head);
DW_API const dev_os_entry_t *search_dev_os(struct list_head *head, unsigned int key1, unsigned int key2,
                                           unsigned int key3, unsigned int key4, unsigned int key5,
                                           unsigned int key6);

/* Removes every leading and trailing occurrence of c from s, in place. */
DW_API void _trim(char *s, char c);
/* Canonical absolute form of path in a static buffer, or path itself. */
DW_API const char *resolve_db_path(const char *path);

DW_EXTERN_C_END

#ifdef __cplusplus
/* On a hit copy category_id and severity into the record and return 0;
 * on a miss return -1 and leave the record alone. */
DW_API int search_csv_db(list_head *head, unsigned int rule_id, dpi_inf_log *log);
DW_API int search_csv_db(list_head *head, unsigned int rule_id, dpi_vul_log *log);
#endif

#endif
