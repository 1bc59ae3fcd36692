/* Runtime path configuration: the exported 4096-byte path buffers and the
 * calls that fill them from "udata.json". */
#ifndef DPIWRAPPER_PATHS_H
#define DPIWRAPPER_PATHS_H

#include "dpiwrapper/export.h"

#define DW_PATH_SIZE 4096

DW_EXTERN_C_BEGIN

DW_API extern char BASE_PATH[DW_PATH_SIZE];
DW_API extern char TMP_FILE_PATH[DW_PATH_SIZE];
DW_API extern char SIG_FILE_PATH[DW_PATH_SIZE];
DW_API extern char NVRAM_DIR[DW_PATH_SIZE];
DW_API extern char APP_INF_DB_PATH[DW_PATH_SIZE];
DW_API extern char APP_CAT_DB_PATH[DW_PATH_SIZE];
DW_API extern char DEV_OS_DB_PATH[DW_PATH_SIZE];
DW_API extern char RULE_DB_PATH[DW_PATH_SIZE];
DW_API extern char IPS_DB_PATH[DW_PATH_SIZE];
DW_API extern char SIG_VER_FILE[DW_PATH_SIZE];
DW_API extern char DEFAULT_TRF_PATH[DW_PATH_SIZE];
DW_API extern char DEFAULT_SCHEMA_PATH[DW_PATH_SIZE];
DW_API extern char META_DEF_FNAME[DW_PATH_SIZE];
DW_API extern char META_B_DEF_FNAME[DW_PATH_SIZE];
DW_API extern char CTE_DBG_TMP_FILE[DW_PATH_SIZE];

/* Reads "udata.json" ($UDATA_PATH or "/tmp/korad/") and composes the paths. */
DW_API int parse_udata(void);
/* Composes the eleven file paths; sig_dir is accepted and unused. */
DW_API int set_kiv_paths(const char *data_dir, const char *sig_dir, const char *persist_dir);
/* Path by index 0..7; returns 1, or -1 for any other index. */
DW_API int get_kiv_paths(unsigned int index, unsigned char *length, const char **path);

DW_EXTERN_C_END

#endif
