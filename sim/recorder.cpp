#include "sim/recorder.h"

#include <fcntl.h>
#include <jansson.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace sim {
namespace {

bool write_all(int fd, const char *p, size_t n)
{
    while (n > 0) {
        ssize_t w = ::write(fd, p, n);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return false;
        p += w;
        n -= static_cast<size_t>(w);
    }
    return true;
}

// Queue names come from the caller's bytes: keep the line valid JSON
// whatever they hold.
std::string printable(const std::string &s)
{
    std::string out;
    for (unsigned char c : s) {
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else {
            char esc[8];
            std::snprintf(esc, sizeof esc, "\\x%02X", c);
            out += esc;
        }
    }
    return out;
}

void set(json_t *o, const char *key, json_t *v) { json_object_set_new(o, key, v); }

}  // namespace

Recorder::~Recorder()
{
    if (fd_ >= 0) ::close(fd_);
}

bool Recorder::open(const std::string &dir, std::string &err)
{
    if (::mkdir(dir.c_str(), 0755) != 0 && errno != EEXIST) {
        err = "cannot create " + dir + ": " + std::strerror(errno);
        return false;
    }
    std::string path = dir + "/requests.jsonl";
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        err = "cannot create " + path + ": " + std::strerror(errno);
        return false;
    }
    dir_ = dir;
    return true;
}

void Recorder::append(const RequestRecord &r)
{
    if (!enabled_) return;
    std::string line = record_json(r) + "\n";
    write_all(fd_, line.data(), line.size());
}

bool Recorder::save_input(RequestRecord &r, const Bytes &data)
{
    if (!enabled_) return true;
    std::string name = std::to_string(r.req.group) + "-" + std::to_string(r.req.command) + "-" +
                       std::to_string(r.seq) + ".bin";
    std::string path = dir_ + "/" + name;
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool ok = write_all(fd, reinterpret_cast<const char *>(data.data()), data.size());
    ok = ::close(fd) == 0 && ok;
    if (ok) r.input_file = name;
    return ok;
}

std::string record_json(const RequestRecord &r)
{
    const ControlRequest &q = r.req;
    json_t *o = json_object();
    set(o, "seq", json_integer(static_cast<json_int_t>(r.seq)));
    set(o, "kind", json_string(q.kind()));
    set(o, "code", json_integer(q.code));
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", q.code);
    set(o, "code_hex", json_string(hex));
    set(o, "magic", json_integer(q.magic));
    set(o, "group", json_integer(q.group));
    set(o, "command", json_integer(q.command));
    set(o, "reserved", json_integer(q.reserved));
    set(o, "flags", json_integer(q.flags));
    set(o, "in_len", json_integer(q.in_len));
    set(o, "out_len", json_integer(q.out_len));
    set(o, "in_buf", json_boolean(q.in_buf != 0));
    set(o, "out_buf", json_boolean(q.out_buf != 0));
    set(o, "used_len_ptr", json_boolean(q.used_len != 0));
    set(o, "tail_zero", json_boolean(q.tail_zero));
    set(o, "queue", json_string(printable(q.data_queue).c_str()));
    if (!q.queue_name_terminated) set(o, "queue_unterminated", json_true());
    set(o, "queue_existed", json_boolean(r.queue_existed));
    set(o, "mq_maxmsg", json_integer(r.mq_maxmsg));
    set(o, "mq_msgsize", json_integer(r.mq_msgsize));
    set(o, "received", json_integer(static_cast<json_int_t>(r.received)));
    set(o, "sent", json_integer(static_cast<json_int_t>(r.sent)));
    set(o, "used_len_sent", r.used_len_was_sent ? json_integer(r.used_len_sent) : json_null());
    set(o, "capped", json_boolean(r.capped));
    set(o, "fault", r.fault == Fault::none ? json_null() : json_string(fault_name(r.fault)));
    if (r.delay_ms) set(o, "delay_ms", json_integer(r.delay_ms));
    if (!r.input_file.empty()) set(o, "input_file", json_string(r.input_file.c_str()));
    if (!r.note.empty()) set(o, "note", json_string(r.note.c_str()));
    if (!r.error.empty()) set(o, "error", json_string(r.error.c_str()));
    char *text = json_dumps(o, JSON_COMPACT | JSON_PRESERVE_ORDER);
    std::string line = text ? text : "{}";
    std::free(text);
    json_decref(o);
    return line;
}

}  // namespace sim
