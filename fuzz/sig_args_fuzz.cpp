// Update tools' argument parsers: on any argument list the results are the
// documented codes and nothing is written past the sizes the caller gave.
#include <getopt.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dpiwrapper/signature.h"
#include "fuzz/fuzz_guard.h"

namespace {

constexpr size_t kBuffer = 16;
constexpr size_t kMaxArgs = 16;
constexpr char kLetters[] = "efsabcdghijklmnopqrtuvwxyzEFSABCDGHIJKLMNOPQRTUVWXYZ0123456789";
using Name = dwfuzz::Guarded<kBuffer>;

// A caller's buffer: an empty text where it has room for one, the rest unknown.
struct CallerBuffer : Name {
    explicit CallerBuffer(int size)
    {
        if (size > 0) bytes[0] = '\0';
    }
};

// Sizes from -1 to kBuffer: a negative or zero size must not write at all.
int size_from(uint8_t b) { return static_cast<int>(b % (kBuffer + 2)) - 1; }
size_t writable(int size) { return size > 0 ? static_cast<size_t>(size) : 0; }
char letter_from(uint8_t b) { return kLetters[b % (sizeof kLetters - 1)]; }

// argv[0] is fixed; the arguments are the NUL-separated pieces of the input.
struct Argv {
    std::vector<std::string> texts;
    std::vector<char *> pointers;

    Argv(const uint8_t *data, size_t size)
    {
        texts.emplace_back("sigtool");
        size_t at = 0;
        while (at < size && texts.size() < kMaxArgs) {
            const char *start = reinterpret_cast<const char *>(data + at);
            const size_t len = strnlen(start, size - at);
            texts.emplace_back(start, len);
            at += len + 1;
        }
        for (std::string &t : texts) pointers.push_back(&t[0]);
        pointers.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(texts.size()); }
    char **argv() { return pointers.data(); }
};

void check_name(const Name &buffer, int size)
{
    DW_FUZZ_REQUIRE(buffer.intact_from(writable(size)));
    if (size > 0) DW_FUZZ_REQUIRE(buffer.terminated_within(writable(size)));
}

// Walks the arguments one option at a time, alternating two letters, as a
// tool reading several single options would.
void single_options(const uint8_t head[3], Argv &args)
{
    const char letters[2] = {letter_from(head[0] >> 1), letter_from(head[2])};
    const int size = size_from(head[1]);
    optind = 0;
    for (int call = 0; call <= args.argc(); ++call) {
        Name value;
        const int rc = parse_single_str_arg(args.argc(), args.argv(), letters[call % 2], value.text(), size);
        DW_FUZZ_REQUIRE(rc == 0 || rc == -1 || rc == -2);
        DW_FUZZ_REQUIRE(value.intact_from(writable(size)));
        // Either untouched or a terminated text.
        if (!value.intact_from(0)) DW_FUZZ_REQUIRE(value.terminated_within(writable(size)));
    }
}

void update_options(const uint8_t head[3], Argv &args)
{
    const int f_size = size_from(head[1]), s_size = size_from(head[2]);
    CallerBuffer f_name(f_size), s_name(s_size);
    const int rc = parse_sig_update_str_args(args.argc(), args.argv(), f_name.text(), f_size, s_name.text(), s_size);
    DW_FUZZ_REQUIRE(rc == 0 || rc == -1);
    check_name(f_name, f_size);
    check_name(s_name, s_size);
}

}  // namespace

// Three header bytes (mode and letters, then two sizes), then the arguments.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3) return 0;
    dwfuzz::Quiet quiet;
    Argv args(data + 3, size - 3);
    if (data[0] & 1)
        update_options(data, args);
    else
        single_options(data, args);
    return 0;
}
