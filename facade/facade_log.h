// Log lines of the facade: source unit "dw_ioctl", the method as function.
#ifndef DW_FACADE_FACADE_LOG_H
#define DW_FACADE_FACADE_LOG_H

#include "dpiwrapper/platform.h"

#define DW_FACADE_LOG(level, fmt, ...) \
    dbglog_write(__func__, "dw_ioctl", __LINE__, (level), fmt, ##__VA_ARGS__)

#endif
