#include "support/bytes.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace dwtest {

uint64_t read_le(const void *p, size_t off, size_t n)
{
    const uint8_t *b = static_cast<const uint8_t *>(p) + off;
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i) v |= static_cast<uint64_t>(b[i]) << (8 * i);
    return v;
}

StderrCapture::StderrCapture()
{
    char tmpl[] = "/tmp/dw-stderr-XXXXXX";
    fd_ = mkstemp(tmpl);
    path_ = tmpl;
    std::fflush(stderr);
    saved_ = dup(2);
    dup2(fd_, 2);
}

StderrCapture::~StderrCapture() { finish(); }

std::string StderrCapture::finish()
{
    if (done_) return {};
    done_ = true;
    std::fflush(stderr);
    dup2(saved_, 2);
    close(saved_);
    std::string out;
    lseek(fd_, 0, SEEK_SET);
    char buf[4096];
    ssize_t n;
    while ((n = read(fd_, buf, sizeof buf)) > 0) out.append(buf, static_cast<size_t>(n));
    close(fd_);
    unlink(path_.c_str());
    return out;
}

}  // namespace dwtest
