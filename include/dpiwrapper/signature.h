/* Signature and metadata loading, and the update tools' argument parsers. */
#ifndef DPIWRAPPER_SIGNATURE_H
#define DPIWRAPPER_SIGNATURE_H

#include "dpiwrapper/export.h"

DW_EXTERN_C_BEGIN

DW_API int load_sigfile(const char *first, const char *second);  /* group 2 cmd 29 */
DW_API int load_metadb(const char *first, const char *second);   /* group 2 cmd 30 */
DW_API int update_sig_by_au(void);                               /* group 2 cmd 31 */
DW_API int parse_single_str_arg(int argc, char **argv, char opt, char *value, int value_size);
DW_API int parse_sig_update_str_args(int argc, char **argv, char *f_name, int f_size,
                                     char *s_name, int s_size);

DW_EXTERN_C_END

#endif
