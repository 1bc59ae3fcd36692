// Shared by the argument and path parser fuzz targets: guarded output
// buffers, a quiet scope for the parsers' chatter, and a check that still
// reports when the standard streams are pointed elsewhere.
#ifndef DW_FUZZ_FUZZ_GUARD_H
#define DW_FUZZ_FUZZ_GUARD_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace dwfuzz {

// Writes to descriptor 2 directly, so it is seen inside a Quiet scope too.
#define DW_FUZZ_REQUIRE(cond)                                                   \
    do {                                                                        \
        if (!(cond)) {                                                          \
            dprintf(2, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            abort();                                                            \
        }                                                                       \
    } while (0)

// Points stdout and stderr at /dev/null for one input: the parsers print an
// error line for most malformed inputs, and writing them costs more than the
// parsing. Only the FILE pointers move (glibc lets them be assigned); the
// descriptors stay, so sanitizer and libFuzzer reports still appear.
class Quiet {
public:
    Quiet() : out_(stdout), err_(stderr)
    {
        if (FILE *sink = null_stream()) stdout = stderr = sink;
    }
    ~Quiet()
    {
        fflush(stdout);
        stdout = out_;
        stderr = err_;
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;

private:
    static FILE *null_stream()
    {
        static FILE *sink = fopen("/dev/null", "w");
        return sink;
    }
    FILE *out_;
    FILE *err_;
};

// An output buffer of Capacity bytes followed by a guard zone. The parser is
// told it has `size` bytes (at most Capacity); every byte from there to the
// end of the guard must come back untouched.
template <size_t Capacity>
struct Guarded {
    static constexpr unsigned char kFill = 0xA5;
    static constexpr size_t kGuard = 16;
    unsigned char bytes[Capacity + kGuard];

    Guarded() { memset(bytes, kFill, sizeof bytes); }
    char *text() { return reinterpret_cast<char *>(bytes); }

    bool intact_from(size_t size) const
    {
        for (size_t i = size; i < sizeof bytes; ++i)
            if (bytes[i] != kFill) return false;
        return true;
    }
    // NUL-terminated within the first size bytes.
    bool terminated_within(size_t size) const { return memchr(bytes, 0, size) != nullptr; }
};

}  // namespace dwfuzz

#endif
