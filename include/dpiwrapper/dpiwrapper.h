/* Umbrella header of libDpiWrapper. A C compiler sees the C interface only. */
#ifndef DPIWRAPPER_DPIWRAPPER_H
#define DPIWRAPPER_DPIWRAPPER_H

#include "dpiwrapper/export.h"
#include "dpiwrapper/transport.h"
#include "dpiwrapper/requests.h"
#include "dpiwrapper/paths.h"
#include "dpiwrapper/signature.h"
#include "dpiwrapper/refdb.h"
#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/platform.h"

#ifdef __cplusplus
#include "dpiwrapper/records.h"
#include "dpiwrapper/dw_ioctl.h"
#endif

#endif
