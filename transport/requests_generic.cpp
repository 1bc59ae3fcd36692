/* The exported request functions of the three plain shapes, one per
 * GENERIC catalogue row. CUSTOM rows are written by hand elsewhere. */
#include "dpiwrapper/requests.h"
#include "transport/request_shapes.h"

#define DW_DEFINE_GENERIC_OUTPUT(function)                                 \
    int function(void **out, unsigned int *used)                           \
    {                                                                      \
        return dw::request_output(dw::RequestId::function, out, used);     \
    }
#define DW_DEFINE_GENERIC_INPUT(function)                                  \
    int function(void *data, unsigned int len)                             \
    {                                                                      \
        return dw::request_input(dw::RequestId::function, data, len);      \
    }
#define DW_DEFINE_GENERIC_NONE(function) \
    int function(void) { return dw::request_command(dw::RequestId::function); }
#define DW_DEFINE_CUSTOM_OUTPUT(function)
#define DW_DEFINE_CUSTOM_INPUT(function)
#define DW_DEFINE_CUSTOM_NONE(function)

#define DW_REQUEST(function, group, command, code, direction, size, result, alloc, shape) \
    DW_DEFINE_##shape##_##direction(function)
#include "transport/request_catalogue.def"
#undef DW_REQUEST
