#include "transport/wire.h"

#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include <atomic>

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

/* getpid() is a system call; every request needs the pid for its queue name. */
std::atomic<unsigned> cached_pid{0};

void refresh_pid() { cached_pid.store(static_cast<unsigned>(getpid()), std::memory_order_relaxed); }

/* Writes '-' and the decimal digits of value just before at, two digits per
 * step; returns the new start. */
char *dash_decimal_before(char *at, unsigned value)
{
    static const char pairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    while (value >= 100) {
        const unsigned pair = value % 100 * 2;
        value /= 100;
        *--at = pairs[pair + 1];
        *--at = pairs[pair];
    }
    if (value >= 10) {
        *--at = pairs[value * 2 + 1];
        *--at = pairs[value * 2];
    } else {
        *--at = static_cast<char>('0' + value);
    }
    *--at = '-';
    return at;
}

}  // namespace

unsigned process_id()
{
    /* The handler is registered before the first read, so a fork() at any
     * later point gives the child its own pid. */
    static const bool registered = [] {
        pthread_atfork(nullptr, nullptr, refresh_pid);
        refresh_pid();
        return true;
    }();
    (void)registered;
    return cached_pid.load(std::memory_order_relaxed);
}

void format_data_queue_name(char *out, size_t size, const char *ctrl_queue_name, unsigned pid,
                            unsigned thread)
{
    if (size == 0) return;
    /* "-<pid>-<thread>" is built backwards at the end of a scratch buffer,
     * then both parts are copied as far as the output has room. */
    char tail[2 * 11];
    char *const tail_end = tail + sizeof tail;
    const char *tail_start = dash_decimal_before(dash_decimal_before(tail_end, thread), pid);
    const size_t room = size - 1;
    const size_t name_len = strnlen(ctrl_queue_name, room);
    memcpy(out, ctrl_queue_name, name_len);
    size_t tail_len = static_cast<size_t>(tail_end - tail_start);
    if (tail_len > room - name_len) tail_len = room - name_len;
    memcpy(out + name_len, tail_start, tail_len);
    out[name_len + tail_len] = '\0';
}

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
    format_data_queue_name(message.data_queue, sizeof message.data_queue, ctrl_queue_name, process_id(),
                           thread_number());
    message.request_code = request_code;
    write_request_image(request, message.block);
}

}  // namespace dw
