#include "sim/control_message.h"

#include <cstring>

namespace sim {
namespace {

constexpr size_t kQueueNameSize = 64;
constexpr size_t kCodeOffset = 64;
constexpr size_t kBlockOffset = 68;

uint32_t le32(const uint8_t *p)
{
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

}  // namespace

ControlRequest decode_control(const uint8_t *msg, size_t len)
{
    uint8_t m[kControlMessageSize] = {};
    std::memcpy(m, msg, len < sizeof m ? len : sizeof m);

    ControlRequest r{};
    const char *name = reinterpret_cast<const char *>(m);
    size_t n = strnlen(name, kQueueNameSize);
    r.data_queue.assign(name, n);
    r.queue_name_terminated = n < kQueueNameSize;
    r.code = le32(m + kCodeOffset);

    const uint8_t *b = m + kBlockOffset;
    r.magic = le32(b + 0);
    r.group = b[4];
    r.command = b[5];
    r.reserved = b[6];
    r.flags = b[7];
    r.in_buf = le32(b + 8);
    r.in_len = le32(b + 12);
    r.out_buf = le32(b + 16);
    r.used_len = le32(b + 20);
    r.out_len = le32(b + 24);
    r.tail_zero = true;
    for (size_t i = 28; i < 44; ++i) r.tail_zero = r.tail_zero && b[i] == 0;
    return r;
}

}  // namespace sim
