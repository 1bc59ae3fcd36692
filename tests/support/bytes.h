// Builds test images by writing values at literal offsets, independently of
// the production structs, so a wrong offset on either side shows.
#ifndef DW_TESTS_BYTES_H
#define DW_TESTS_BYTES_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace dwtest {

class Bytes {
public:
    explicit Bytes(size_t size = 0) : b_(size, 0) {}
    Bytes &u8(size_t off, uint8_t v) { fit(off, 1); b_[off] = v; return *this; }
    Bytes &u16(size_t off, uint16_t v) { return le(off, v, 2); }
    Bytes &u32(size_t off, uint32_t v) { return le(off, v, 4); }
    Bytes &u64(size_t off, uint64_t v) { return le(off, v, 8); }
    Bytes &raw(size_t off, const void *p, size_t n)
    {
        fit(off, n);
        std::memcpy(b_.data() + off, p, n);
        return *this;
    }
    Bytes &str(size_t off, const std::string &s) { return raw(off, s.data(), s.size()); }
    Bytes &bytes(size_t off, std::initializer_list<uint8_t> v)
    {
        size_t i = off;
        for (uint8_t x : v) u8(i++, x);
        return *this;
    }
    uint8_t *data() { return b_.data(); }
    size_t size() const { return b_.size(); }
    std::vector<uint8_t> &vec() { return b_; }

private:
    void fit(size_t off, size_t n)
    {
        if (off + n > b_.size()) b_.resize(off + n, 0);
    }
    Bytes &le(size_t off, uint64_t v, size_t n)
    {
        fit(off, n);
        for (size_t i = 0; i < n; ++i) b_[off + i] = static_cast<uint8_t>(v >> (8 * i));
        return *this;
    }
    std::vector<uint8_t> b_;
};

// Reads a little-endian value at a literal offset.
uint64_t read_le(const void *p, size_t off, size_t n);

// Captures what the code under test writes to stderr (fd 2).
class StderrCapture {
public:
    StderrCapture();
    ~StderrCapture();
    std::string finish();

private:
    int saved_ = -1;
    int fd_ = -1;
    std::string path_;
    bool done_ = false;
};

}  // namespace dwtest

#endif
