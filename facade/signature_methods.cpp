// Signature and metadata loading through the facade: the argument parsers
// and requests, results unchanged.
#include "dpiwrapper/dw_ioctl.h"
#include "dpiwrapper/signature.h"

int dw_ioctl::mub_parse_single_str_arg(int argc, char **argv, char opt, char *value, int value_size)
{
    return parse_single_str_arg(argc, argv, opt, value, value_size);
}

int dw_ioctl::mub_parse_sig_update_args(int argc, char **argv, char *f_name, int f_size, char *s_name,
                                        int s_size)
{
    return parse_sig_update_str_args(argc, argv, f_name, f_size, s_name, s_size);
}

int dw_ioctl::set_kiv_load_sig(std::string &a, std::string &b)
{
    return load_sigfile(a.c_str(), b.c_str());
}

int dw_ioctl::set_kiv_load_metadb(std::string &a, std::string &b)
{
    return load_metadb(a.c_str(), b.c_str());
}

int dw_ioctl::set_sig_update_request()
{
    return update_sig_by_au();
}
