// Access to the lines logged through dbglog_write during a test.
#ifndef DW_TESTS_LOG_CAPTURE_H
#define DW_TESTS_LOG_CAPTURE_H

#include <string>
#include <vector>

namespace dwtest {

struct LogLine {
    std::string function;
    std::string file;
    int line;
    int level;
    std::string text;
};

std::vector<LogLine> captured_logs();
void clear_logs();
bool has_log(int level, const std::string &text);
size_t count_logs(const std::string &text);

}  // namespace dwtest

#endif
