// Recording replacement of the platform logger: tests assert the lines the
// library logs (function, file, line, level, text).
#include "support/log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "dpiwrapper/platform.h"

namespace dwtest {
namespace {
std::mutex g_mutex;
std::vector<LogLine> g_lines;
}  // namespace

std::vector<LogLine> captured_logs()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_lines;
}

void clear_logs()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

bool has_log(int level, const std::string &text)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    for (const auto &l : g_lines)
        if (l.level == level && l.text == text) return true;
    return false;
}

size_t count_logs(const std::string &text)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    size_t n = 0;
    for (const auto &l : g_lines)
        if (l.text == text) ++n;
    return n;
}
}  // namespace dwtest

extern "C" void dbglog_write(const char *function, const char *file, int line, int level,
                             const char *format, ...)
{
    char buf[2048];
    va_list ap;
    va_start(ap, format);
    vsnprintf(buf, sizeof buf, format, ap);
    va_end(ap);
    std::lock_guard<std::mutex> lock(dwtest::g_mutex);
    dwtest::g_lines.push_back({function ? function : "", file ? file : "", line, level, buf});
}
