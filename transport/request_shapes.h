/* The three shapes of engine request (output, input, pure command), driven
 * by a catalogue row. */
#ifndef DW_TRANSPORT_REQUEST_SHAPES_H
#define DW_TRANSPORT_REQUEST_SHAPES_H

#include <stdint.h>

#include "dpiwrapper/transport.h"
#include "transport/request_catalogue.h"

namespace dw {

/* A zeroed block with the magic, the row's group and the given command. */
EngineRequest new_request(const RequestEntry &entry, uint8_t command);

/* Sends the block under the row's code and applies the row's result rule. */
int send_request(const RequestEntry &entry, EngineRequest &block);

/* Allocates the row's buffer (stored in *out before it is tested, so *out is
 * NULL after a failed allocation) and asks the engine to fill it. */
int request_output(RequestId id, void **out, unsigned int *used);
int request_output(RequestId id, void **out, unsigned int *used, uint8_t command);

/* Sends len bytes of the caller's data. */
int request_input(RequestId id, const void *data, unsigned int len);
int request_input(RequestId id, const void *data, unsigned int len, uint8_t command);

/* Sends the control message alone. */
int request_command(RequestId id);
int request_command(RequestId id, uint8_t command);

}  // namespace dw

#endif
