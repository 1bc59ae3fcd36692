#include "tools/dpictl/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace dpictl {

void Table::print() const
{
    std::vector<size_t> width(headers_.size());
    for (size_t c = 0; c < headers_.size(); ++c) width[c] = headers_[c].size();
    for (const auto &row : rows_)
        for (size_t c = 0; c < row.size() && c < width.size(); ++c) width[c] = std::max(width[c], row[c].size());

    auto print_row = [&](const std::vector<std::string> &row) {
        std::string line;
        for (size_t c = 0; c < width.size(); ++c) {
            const std::string cell = c < row.size() ? row[c] : std::string();
            line += cell;
            if (c + 1 < width.size()) line.append(width[c] - cell.size() + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::printf("%s\n", line.c_str());
    };
    print_row(headers_);
    for (const auto &row : rows_) print_row(row);
}

void emit_json(json_t *doc)
{
    json_dumpf(doc, stdout, JSON_INDENT(2) | JSON_PRESERVE_ORDER | JSON_ENSURE_ASCII);
    std::printf("\n");
    json_decref(doc);
}

json_t *json_text(const std::string &s)
{
    json_t *v = json_stringn(s.data(), s.size());
    if (!v) {
        // Not UTF-8: keep the printable ASCII and mark the rest.
        std::string ascii;
        for (unsigned char ch : s) ascii.push_back(ch >= 0x20 && ch < 0x7F ? static_cast<char>(ch) : '?');
        v = json_stringn(ascii.data(), ascii.size());
    }
    return v;
}

QuietStdout::QuietStdout(bool active)
{
    if (!active) return;
    std::fflush(stdout);
    int null_fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null_fd < 0) return;
    saved_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    if (saved_ >= 0) dup2(null_fd, STDOUT_FILENO);
    close(null_fd);
}

QuietStdout::~QuietStdout()
{
    if (saved_ < 0) return;
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
}

}  // namespace dpictl
