/* The library's standard-error message forms. */
#ifndef DW_TRANSPORT_ERROR_LOG_H
#define DW_TRANSPORT_ERROR_LOG_H

#include <stdio.h>

/* " *** ERROR: [function:line] ..." on stderr; fmt carries its own line feeds. */
#define DW_ERROR(fmt, ...) \
    fprintf(stderr, " *** ERROR: [%s:%d] " fmt, __func__, __LINE__, ##__VA_ARGS__)

/* Same, for messages that name another function than the enclosing one. */
#define DW_ERROR_AS(func, fmt, ...) \
    fprintf(stderr, " *** ERROR: [%s:%d] " fmt, (func), __LINE__, ##__VA_ARGS__)

/* "[function(line)]: ..." on stderr, the form some loaders use. */
#define DW_ERROR_PAREN(func, fmt, ...) \
    fprintf(stderr, "[%s(%d)]: " fmt, (func), __LINE__, ##__VA_ARGS__)

#endif
