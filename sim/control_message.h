// The 112-byte control message as the engine sees it. Decoded from literal
// offsets, independently of the library's structs, so that a wrong offset on
// either side shows up in the request log.
#ifndef DW_SIM_CONTROL_MESSAGE_H
#define DW_SIM_CONTROL_MESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace sim {

constexpr size_t kControlMessageSize = 112;

struct ControlRequest {
    std::string data_queue;      // offset 0, 64 bytes, NUL-terminated
    bool queue_name_terminated;  // false when the 64 bytes hold no NUL
    uint32_t code;               // offset 64
    // The 44-byte request block at offset 68.
    uint32_t magic;
    uint8_t group;
    uint8_t command;
    uint8_t reserved;
    uint8_t flags;
    uint32_t in_buf;  // caller's pointers: only whether they are set matters
    uint32_t in_len;
    uint32_t out_buf;
    uint32_t used_len;
    uint32_t out_len;
    bool tail_zero;  // the 16 reserved bytes at the end of the block are zero

    // Input wins when a block carries both input and output.
    bool is_input() const { return in_buf != 0 && in_len != 0; }
    bool is_output() const { return !is_input() && out_buf != 0 && out_len != 0; }
    const char *kind() const { return is_input() ? "input" : is_output() ? "output" : "command"; }
};

// Decodes a control message of `len` bytes; missing bytes read as zero.
ControlRequest decode_control(const uint8_t *msg, size_t len);

}  // namespace sim

#endif
