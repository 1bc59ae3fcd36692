// Output helpers of dpictl: aligned tables for people, JSON for programs.
#ifndef DPICTL_OUTPUT_H
#define DPICTL_OUTPUT_H

#include <jansson.h>

#include <string>
#include <vector>

namespace dpictl {

// Columns padded to their widest cell, two blanks apart, header first.
class Table {
public:
    explicit Table(std::vector<std::string> headers) : headers_(std::move(headers)) {}
    void add_row(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
    size_t size() const { return rows_.size(); }
    void print() const;

private:
    std::vector<std::string> headers_;
    std::vector<std::vector<std::string>> rows_;
};

// Prints doc as the one JSON document on stdout and releases it.
void emit_json(json_t *doc);

// Shorthand for a JSON string of a std::string (any bytes kept valid).
json_t *json_text(const std::string &s);

// Sends stdout to /dev/null while alive, so library calls that print cannot
// spoil the JSON document.
class QuietStdout {
public:
    explicit QuietStdout(bool active);
    ~QuietStdout();
    QuietStdout(const QuietStdout &) = delete;
    QuietStdout &operator=(const QuietStdout &) = delete;

private:
    int saved_ = -1;
};

}  // namespace dpictl

#endif
