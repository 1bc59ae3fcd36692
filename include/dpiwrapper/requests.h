/* One function per engine request. Output requests allocate their buffer with
 * calloc and hand it back through *out even when they fail; the caller frees
 * it with free(). Results are the run_ioctl result unless noted "0/-1"
 * (run_ioctl(...) >> 31). */
#ifndef DPIWRAPPER_REQUESTS_H
#define DPIWRAPPER_REQUESTS_H

#include "dpiwrapper/export.h"

DW_EXTERN_C_BEGIN

/* Group 2 (0xC02CBF02) */
DW_API int get_fw_func_bit(void **out, unsigned int *used);              /* cmd 1, 4 bytes */
DW_API int set_fw_func_bit(unsigned int *bits, unsigned int len);        /* cmd 2, 0/-1 */
DW_API int get_fw_user_list(void **out, unsigned int *used);             /* cmd 3, 157872 bytes */
DW_API int get_fw_user_app_rate(void **out, unsigned int *used);         /* cmd 4, 1554432 bytes */
DW_API int get_fw_app_bw_clear(void **out, unsigned int *used);          /* cmd 5, 1036288 bytes */
DW_API int set_fw_app_patrol(void *data, unsigned int len);              /* cmd 6, 0/-1 */
DW_API int get_fw_app_patrol(void **out, unsigned int *used);            /* cmd 7, 1036288 bytes */
DW_API int get_fw_app_patrol_rule(void **out, unsigned int *used);       /* cmd 8, 133358 bytes */
DW_API int set_fw_wpr_conf(void *data, unsigned int len);                /* cmd 9 */
DW_API int set_wpr_state(int on);                                        /* cmd 10 (on) / 11 (off) */
DW_API int set_fw_redirect_url(void *data, unsigned int len);            /* cmd 12 */
DW_API int set_family_id(int uid, int family);                           /* cmd 13 */
DW_API int scan_uid_device(int uid);                                     /* cmd 14 */
DW_API int del_uid_user(int uid);                                        /* cmd 15 */
DW_API int quarantine_uid_user(int uid, unsigned int value);             /* cmd 16 */
DW_API int get_fw_udb_ver(void **out, unsigned int *used);               /* cmd 17, 68 bytes */
DW_API int set_fw_darth_vader(void *data, unsigned int len);             /* cmd 18, 0/-1 */
DW_API int get_fw_all_stats(void **out, unsigned int *used);             /* cmd 19, 1060 bytes */
DW_API int set_whitelist_ip(const char *ip, int version, unsigned int op); /* cmd 20, 1 on success */
DW_API int set_dc_debug_level(const char *level);                        /* cmd 23, 0/-1 */
DW_API int set_fw_vif_insp_depth(void *data, unsigned int len);          /* cmd 24, 0/-1 */
DW_API int set_ext_pktcnt(void *data, unsigned int len);                 /* cmd 25, 0/-1 */
DW_API int set_ext_pktbytes(void *data, unsigned int len);               /* cmd 26, 0/-1 */
DW_API int get_fw_ver_info(void **out, unsigned int *used);              /* cmd 27, 296 bytes */
DW_API int get_fw_memtrack_data(void **out, unsigned int *used);         /* cmd 28, 1712 bytes */
DW_API int get_fw_dbg_stats(void **out, unsigned int *used);             /* cmd 32, 1060 bytes */

/* Group 1 (0xC02CBF01): configuration images */
DW_API int set_wbl_tbl_ioctl(void *data, unsigned int len, unsigned int command);
DW_API int set_wrs_tbl_ioctl(const void *header);                       /* cmd 33 */

/* Group 4 (0xC02CBF04): web reputation and user domains */
DW_API int get_fw_wrs_url_list(void **out, unsigned int *used);          /* cmd 1, 49160 bytes */
DW_API int get_fw_wrs_malic_url_list(void **out, unsigned int *used);    /* cmd 2, 49160 bytes */
DW_API int get_fw_user_domain_list(void **out, unsigned int *used, int which); /* cmd 3/4, 722032 bytes */
DW_API int set_fw_user_domain_clear(void);                               /* cmd 5 */
DW_API int get_wrs_ruleset(void **out, unsigned int *used);              /* cmd 6, 34419 bytes */
DW_API int set_fw_wrs_fqdn(const void *record);                          /* cmd 7, 258 bytes, 0/-1 */

/* Group 5 (0xC02CBF05): allow/deny lists */
DW_API int get_wbl_log_list(void **out, unsigned int *used);             /* cmd 1, 38004 bytes */
DW_API int get_wbl_rule(void **out, unsigned int *used);                 /* cmd 2, 536572 bytes */

/* Group 8 (0xC02CBF08 unless noted): virtual patching */
DW_API int set_fw_vp(void *data, unsigned int len);                      /* cmd 1, 0/-1 */
DW_API int get_fw_vp_list(void **out, unsigned int *used);               /* cmd 2, 32000 bytes */
DW_API int get_fw_vp_log_detail(void **out, unsigned int *used);         /* cmd 7, 112112 bytes */
DW_API int set_fw_vp_wl_conf(void *data, unsigned int len);              /* cmd 8, code 0xC02CBF02, 0/-1 */
DW_API int get_fw_vp_wl_conf(void **out, unsigned int *used);            /* cmd 9, code 0xC02CBF0D, 1048576 bytes */

/* Group 9 (0xC02CBF09): anomalies */
DW_API int get_fw_anomaly_list(void **out, unsigned int *used);          /* cmd 1, 12008 bytes */
DW_API int get_fw_anomaly_list_detail(void **out, unsigned int *used);   /* cmd 3, 112112 bytes */

/* Group 17 (0xC02CBF11): threat log */
DW_API int get_fw_trs_log(void **out, unsigned int *used);               /* cmd 1, 32776 bytes */
DW_API int set_fw_trs_log_accepted(void *data, unsigned int len);        /* cmd 2 */

/* MAC text parsers. strtomac takes 12 hex digits or 17 characters with ':'
 * separators, silently; macstr2octet prints its errors. Both return 0 or -1. */
DW_API int strtomac(unsigned char mac[6], const char *text);
DW_API int macstr2octet(unsigned char *mac, unsigned int octets, const char *text, int text_len);

DW_EXTERN_C_END

#endif
