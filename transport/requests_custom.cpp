/* Request functions whose arguments or block differ from the plain shapes. */
#include <string.h>

#include "dpiwrapper/requests.h"
#include "transport/request_shapes.h"

using dw::RequestId;

int set_fw_func_bit(unsigned int *bits, unsigned int len)
{
    return dw::request_input(RequestId::set_fw_func_bit, bits, len);
}

int set_wpr_state(int on)
{
    const uint8_t on_command = dw::request_entry(RequestId::set_wpr_state).command;
    return dw::request_command(RequestId::set_wpr_state, on ? on_command : static_cast<uint8_t>(on_command + 1));
}

int get_fw_udb_ver(void **out, unsigned int *used)
{
    unsigned int local_used = 0;
    return dw::request_output(RequestId::get_fw_udb_ver, out, used ? used : &local_used);
}

/* The level travels without its terminating NUL; an empty level sends the
 * control message alone. */
int set_dc_debug_level(const char *level)
{
    const unsigned int len = level ? static_cast<unsigned int>(strlen(level)) : 0;
    return dw::request_input(RequestId::set_dc_debug_level, level, len);
}

int set_wbl_tbl_ioctl(void *data, unsigned int len, unsigned int command)
{
    return dw::request_input(RequestId::set_wbl_tbl_ioctl, data, len, static_cast<uint8_t>(command));
}

/* which 0 and 1 select the two lists; any other value goes out as command 0. */
int get_fw_user_domain_list(void **out, unsigned int *used, int which)
{
    const uint8_t first = dw::request_entry(RequestId::get_fw_user_domain_list).command;
    const uint8_t command = which == 0 ? first : which == 1 ? static_cast<uint8_t>(first + 1) : 0;
    return dw::request_output(RequestId::get_fw_user_domain_list, out, used, command);
}

int set_fw_wrs_fqdn(const void *record)
{
    if (record == nullptr) return -1;
    const dw::RequestEntry &entry = dw::request_entry(RequestId::set_fw_wrs_fqdn);
    return dw::request_input(RequestId::set_fw_wrs_fqdn, record, entry.size);
}

/* Group 8, but the engine takes it under request code 0xC02CBF02. */
int set_fw_vp_wl_conf(void *data, unsigned int len)
{
    return dw::request_input(RequestId::set_fw_vp_wl_conf, data, len);
}

/* Group 8, but the engine takes it under request code 0xC02CBF0D; an
 * allocation failure is reported in the "[function(line)]: " form. */
int get_fw_vp_wl_conf(void **out, unsigned int *used)
{
    return dw::request_output(RequestId::get_fw_vp_wl_conf, out, used);
}
