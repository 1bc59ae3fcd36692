/* Engine request transport: ioctl() emulated over POSIX message queues. */
#ifndef DPIWRAPPER_TRANSPORT_H
#define DPIWRAPPER_TRANSPORT_H

#include <stdint.h>
#include "dpiwrapper/export.h"

DW_EXTERN_C_BEGIN

/* Name of the engine's control queue. */
#define DW_CTRL_QUEUE "/idpfw"

/* Magic of every request block. */
#define DW_REQUEST_MAGIC 0xBFu
/* Request codes: _IOWR(0xBF, nr, 44). */
#define DW_REQUEST_CODE(nr) (0xC02CBF00u + (unsigned int)(nr))
/* flags value of a request that carries input data. */
#define DW_FLAG_INPUT 2u

/* Request block handed to run_ioctl. On a 32-bit target it is exactly the
 * engine's 44-byte layout; on a 64-bit host the pointers are full width in
 * memory and only their low 32 bits travel in the control message. */
typedef struct EngineRequest {
    uint32_t magic;        /* always 0xBF */
    uint8_t group;         /* command group */
    uint8_t command;       /* command within the group */
    uint8_t reserved;      /* always 0 */
    uint8_t flags;         /* 2 when input data is carried, else 0 */
    void *in_buf;          /* caller's input data, or NULL */
    uint32_t in_len;       /* input length in bytes */
    void *out_buf;         /* caller's output buffer, or NULL */
    uint32_t *used_len;    /* receives the number of output bytes filled */
    uint32_t out_len;      /* output capacity in bytes */
    uint8_t reserved2[16]; /* always 0 */
} EngineRequest;

/* Sizes of the wire images. */
#define DW_REQUEST_IMAGE_SIZE 44
#define DW_CONTROL_MESSAGE_SIZE 112
#define DW_DATA_QUEUE_NAME_SIZE 64

/* The 112-byte message sent on the control queue. The request block travels
 * as its 44-byte wire image. */
typedef struct ControlMessage {
    char data_queue[DW_DATA_QUEUE_NAME_SIZE]; /* "%s-%u-%u": control queue, pid, thread */
    uint32_t request_code;
    uint8_t block[DW_REQUEST_IMAGE_SIZE];
} ControlMessage;

/* Runs one engine request. Returns 0 on success, -1 (set-up failed),
 * -2 (control message not sent), -3 (data not sent or received, or the data
 * queue could not be unlinked), -4 (empty output message) or -5 (engine did
 * not drain the data queue in time). */
DW_API int run_ioctl(const char *ctrl_queue_name, unsigned int request_code, EngineRequest *block);

DW_EXTERN_C_END

#if defined(__cplusplus) && UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(EngineRequest) == 44, "request block is 44 bytes on a 32-bit target");
#endif
#if defined(__cplusplus)
static_assert(sizeof(ControlMessage) == 112, "control message is 112 bytes");
#endif

#endif
