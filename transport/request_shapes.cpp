#include "transport/request_shapes.h"

#include <string.h>

#include "transport/error_log.h"
#include "transport/sys_ops.h"

namespace dw {

EngineRequest new_request(const RequestEntry &entry, uint8_t command)
{
    EngineRequest block;
    memset(&block, 0, sizeof block);
    block.magic = DW_REQUEST_MAGIC;
    block.group = entry.group;
    block.command = command;
    return block;
}

int send_request(const RequestEntry &entry, EngineRequest &block)
{
    const int result = run_ioctl(DW_CTRL_QUEUE, entry.code, &block);
    return entry.result == ResultRule::SIGN ? result >> 31 : result;
}

int request_output(RequestId id, void **out, unsigned int *used, uint8_t command)
{
    const RequestEntry &entry = request_entry(id);
    if (out == nullptr) return -1;
    *out = sys::ops().calloc(entry.size, 1);
    if (*out == nullptr) {
        if (entry.alloc_message == AllocMessage::PLAIN)
            DW_ERROR_AS(entry.function, "Cannot allocate buffer space %u bytes\n", entry.size);
        else if (entry.alloc_message == AllocMessage::PAREN)
            DW_ERROR_PAREN(entry.function, "Cannot allocate buffer space %u bytes", entry.size);
        return -1;
    }
    EngineRequest block = new_request(entry, command);
    block.out_buf = *out;
    block.used_len = used;
    block.out_len = entry.size;
    return send_request(entry, block);
}

int request_output(RequestId id, void **out, unsigned int *used)
{
    return request_output(id, out, used, request_entry(id).command);
}

int request_input(RequestId id, const void *data, unsigned int len, uint8_t command)
{
    const RequestEntry &entry = request_entry(id);
    EngineRequest block = new_request(entry, command);
    block.flags = DW_FLAG_INPUT;
    block.in_buf = const_cast<void *>(data);
    block.in_len = len;
    return send_request(entry, block);
}

int request_input(RequestId id, const void *data, unsigned int len)
{
    return request_input(id, data, len, request_entry(id).command);
}

int request_command(RequestId id, uint8_t command)
{
    const RequestEntry &entry = request_entry(id);
    EngineRequest block = new_request(entry, command);
    uint32_t unused = 0;  /* the engine never fills it for a pure command */
    block.used_len = &unused;
    return send_request(entry, block);
}

int request_command(RequestId id) { return request_command(id, request_entry(id).command); }

}  // namespace dw
