#include "transport/wire.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

namespace dw {
namespace {

void put_u32(uint8_t *at, uint32_t value) { memcpy(at, &value, sizeof value); }

uint32_t low_bits(const void *pointer)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

/* pthread_t is an integer on glibc and a pointer on musl; the name carries
 * its low 32 bits either way. */
unsigned thread_number() { return (unsigned)(uintptr_t)pthread_self(); }

}  // namespace

void write_request_image(const EngineRequest &request, uint8_t image[DW_REQUEST_IMAGE_SIZE])
{
    memset(image, 0, DW_REQUEST_IMAGE_SIZE);
    put_u32(image + 0, request.magic);
    image[4] = request.group;
    image[5] = request.command;
    image[6] = request.reserved;
    image[7] = request.flags;
    put_u32(image + 8, low_bits(request.in_buf));
    put_u32(image + 12, request.in_len);
    put_u32(image + 16, low_bits(request.out_buf));
    put_u32(image + 20, low_bits(request.used_len));
    put_u32(image + 24, request.out_len);
    memcpy(image + 28, request.reserved2, sizeof request.reserved2);
}

void build_control_message(ControlMessage &message, const char *ctrl_queue_name,
                           unsigned int request_code, const EngineRequest &request)
{
    memset(&message, 0, sizeof message);
    snprintf(message.data_queue, sizeof message.data_queue, "%s-%u-%u", ctrl_queue_name,
             static_cast<unsigned>(getpid()), thread_number());
    message.request_code = request_code;
    write_request_image(request, message.block);
}

}  // namespace dw
