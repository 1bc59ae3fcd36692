/* The facade: engine reports decoded into dpi_* records. */
#ifndef DPIWRAPPER_DW_IOCTL_H
#define DPIWRAPPER_DW_IOCTL_H

#include <string>
#include <vector>
#include "dpiwrapper/export.h"
#include "dpiwrapper/records.h"

class DpiDataDBCache;

/* Methods return 0 on success unless noted; report getters append to the
 * caller's vector and never clear it. */
class DW_API dw_ioctl {
public:
    dw_ioctl();
    ~dw_ioctl();

    /* Simple methods */
    int mub_get_ver_info(void **out, unsigned int *used);
    int mub_set_wrs_fqdn(std::string fqdn, int value);
    int reload_dbs();                                 /* 0 success, 1 failure */
    int set_whitelist_ip_(char *ip, unsigned char version, int value); /* 1 success, 0 failure */
    int set_func_bit(unsigned int *bits, unsigned int len);
    int get_dpi_ver(std::string &version);
    int set_redirect_url(std::string &url);
    int clear_user_domain();
    int get_dpi_pattern_ver(std::string &version);   /* 0 found, 1 not found; see platform.h */

    /* Signature and metadata loading */
    int mub_parse_single_str_arg(int argc, char **argv, char opt, char *value, int value_size);
    int mub_parse_sig_update_args(int argc, char **argv, char *f_name, int f_size, char *s_name,
                                  int s_size);
    int set_kiv_load_sig(std::string &a, std::string &b);
    int set_kiv_load_metadb(std::string &a, std::string &b);
    int set_sig_update_request();

    /* Users and devices: the request's code on failure; 0 with nothing
     * appended while the device database cannot be loaded. */
    int get_users(std::vector<dpi_user> &users);

    /* Security logs */
    int get_wrs_sec_logs(dpi_security_log &logs);
    int get_trs_logs(dpi_security_log &logs);
    int get_anomaly_detail_logs(dpi_security_log &logs);
    int get_vp_detail_logs(dpi_security_log &logs);
    int get_security_logs(dpi_security_log &logs);

private:
    DpiDataDBCache *cache_;
};

#endif
