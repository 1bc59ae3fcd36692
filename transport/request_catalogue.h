/* The catalogue of engine requests: one row per request, from
 * request_catalogue.def. */
#ifndef DW_TRANSPORT_REQUEST_CATALOGUE_H
#define DW_TRANSPORT_REQUEST_CATALOGUE_H

#include <stddef.h>
#include <stdint.h>

namespace dw {

enum class Direction : uint8_t { OUTPUT, INPUT, NONE };
enum class ResultRule : uint8_t { AS_IS, SIGN, OWN };
enum class AllocMessage : uint8_t { PLAIN, PAREN, SILENT };
enum class Shape : uint8_t { GENERIC, CUSTOM };

struct RequestEntry {
    const char *function;   /* exported function, also named in its messages */
    uint8_t group;
    uint8_t command;
    uint32_t code;          /* request code given to run_ioctl */
    Direction direction;
    uint32_t size;          /* buffer size; 0 when the caller gives it */
    ResultRule result;
    AllocMessage alloc_message;
    Shape shape;
};

enum class RequestId : unsigned {
#define DW_REQUEST(function, ...) function,
#include "transport/request_catalogue.def"
#undef DW_REQUEST
};

const RequestEntry &request_entry(RequestId id);

/* All rows, in catalogue order. */
const RequestEntry *request_catalogue(size_t *count);

}  // namespace dw

#endif
