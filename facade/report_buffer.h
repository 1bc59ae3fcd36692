// Owner of an engine report buffer: freed on every path out of a getter.
#ifndef DW_FACADE_REPORT_BUFFER_H
#define DW_FACADE_REPORT_BUFFER_H

#include <cstdint>
#include <cstdlib>

namespace dw {

struct ReportBuffer {
    void *data = nullptr;
    unsigned int used = 0;

    ReportBuffer() = default;
    ~ReportBuffer() { std::free(data); }
    ReportBuffer(const ReportBuffer &) = delete;
    ReportBuffer &operator=(const ReportBuffer &) = delete;

    const uint8_t *bytes() const { return static_cast<const uint8_t *>(data); }
};

}  // namespace dw

#endif
