/* Wire images of the request block and the control message. */
#ifndef DW_TRANSPORT_WIRE_H
#define DW_TRANSPORT_WIRE_H

#include <stddef.h>
#include <stdint.h>

#include "dpiwrapper/transport.h"

namespace dw {

/* Writes the 44-byte image of a request block in native byte order. Each
 * pointer travels as its low 32 bits: the engine only ever looks at the
 * lengths, and on a 32-bit target that is the whole pointer. */
void write_request_image(const EngineRequest &request, uint8_t image[DW_REQUEST_IMAGE_SIZE]);

/* Writes "<ctrl>-<pid>-<thread>" as snprintf(out, size, "%s-%u-%u", ...)
 * would: cut to size - 1 characters and NUL-terminated when size > 0. */
void format_data_queue_name(char *out, size_t size, const char *ctrl_queue_name, unsigned pid,
                            unsigned thread);

/* This process's id, read once and refreshed in the child after fork(). */
unsigned process_id();

/* Fills the control message: the data queue name "<ctrl>-<pid>-<thread>"
 * (cut to the 64-byte field), the request code and the block image. */
void build_control_message(ControlMessage &message, const char *ctrl_queue_name,
                           unsigned int request_code, const EngineRequest &request);

}  // namespace dw

#endif
