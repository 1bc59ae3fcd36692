/* Export and linkage macros of libDpiWrapper. */
#ifndef DPIWRAPPER_EXPORT_H
#define DPIWRAPPER_EXPORT_H

/* Only the public API leaves the shared object; everything else is hidden. */
#if defined(__GNUC__)
#define DW_API __attribute__((visibility("default")))
#else
#define DW_API
#endif

#ifdef __cplusplus
#define DW_EXTERN_C_BEGIN extern "C" {
#define DW_EXTERN_C_END }
#else
#define DW_EXTERN_C_BEGIN
#define DW_EXTERN_C_END
#endif

#endif
