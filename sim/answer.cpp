#include "sim/answer.h"

#include <fcntl.h>
#include <mqueue.h>

#include <cerrno>
#include <cstring>

#include "sim/data_queue.h"

namespace sim {
namespace {

// The engine's own patience for each step of an exchange; longer than the
// caller's 3 s so that the caller's timeouts are the ones that show.
constexpr int kStepTimeoutMs = 5000;

void add_note(RequestRecord &r, const std::string &text)
{
    if (!r.note.empty()) r.note += "; ";
    r.note += text;
}

bool open_queue(const ControlRequest &req, int oflag, DataQueue &q, RequestRecord &r)
{
    std::string err;
    if (!q.open(req.data_queue, oflag, err)) {
        r.queue_existed = false;
        r.error = "data queue: " + err;
        return false;
    }
    r.queue_existed = true;
    r.mq_maxmsg = q.maxmsg();
    r.mq_msgsize = q.msgsize();
    return true;
}

// The fault steps shared by input and output: early unlink, silence, delay.
// Returns false when the exchange stops here.
bool before_exchange(const ControlRequest &req, const Plan &plan, const std::atomic<bool> &stop,
                     RequestRecord &r)
{
    if (plan.fault == Fault::unlink_early) {
        if (mq_unlink(req.data_queue.c_str()) == 0)
            add_note(r, "data queue unlinked by the engine");
        else
            r.error = std::string("mq_unlink: ") + std::strerror(errno);
    }
    if (plan.fault == Fault::no_answer) {
        add_note(r, "not answered");
        return false;
    }
    if (plan.delay_ms > 0) {
        add_note(r, "waited " + std::to_string(plan.delay_ms) + " ms");
        if (!pause_ms(plan.delay_ms, stop)) {
            add_note(r, "stopped while waiting");
            return false;
        }
    }
    return true;
}

void serve_input(const ControlRequest &req, const Plan &plan, const std::atomic<bool> &stop,
                 Recorder &rec, RequestRecord &r)
{
    DataQueue q;
    if (!open_queue(req, O_RDONLY, q, r) || !before_exchange(req, plan, stop, r)) return;
    Bytes data;
    std::string err;
    if (!q.receive(data, kStepTimeoutMs, stop, err)) {
        r.error = "input: " + err;
        return;
    }
    r.received = data.size();
    if (data.size() != req.in_len)
        add_note(r, "received " + std::to_string(data.size()) + " bytes, in_len says " +
                        std::to_string(req.in_len));
    if (!rec.save_input(r, data)) r.error = "cannot save the input";
}

void serve_output(const ControlRequest &req, const Plan &plan, const std::atomic<bool> &stop,
                  RequestRecord &r)
{
    DataQueue q;
    if (!open_queue(req, O_WRONLY, q, r) || !before_exchange(req, plan, stop, r)) return;

    size_t have = plan.payload ? plan.payload->size() : 0;
    if (plan.fault == Fault::used_len_zero) have = 0;
    // Never more than the queue really takes, nor more than the caller's buffer.
    size_t room = static_cast<size_t>(q.msgsize());
    if (room > req.out_len) room = req.out_len;
    size_t len = have;
    if (len > room) {
        len = room;
        r.capped = true;
        add_note(r, "payload capped from " + std::to_string(have) + " to " + std::to_string(len) +
                        " bytes (mq_msgsize " + std::to_string(q.msgsize()) + ", out_len " +
                        std::to_string(req.out_len) + ")");
    }
    uint32_t used = static_cast<uint32_t>(len);
    if (plan.has_used_len && plan.fault != Fault::used_len_zero) used = plan.used_len;
    if (plan.fault == Fault::empty_output) {
        if (used == 0) used = 1;
        len = 0;
    }

    const uint8_t word[4] = {static_cast<uint8_t>(used), static_cast<uint8_t>(used >> 8),
                             static_cast<uint8_t>(used >> 16), static_cast<uint8_t>(used >> 24)};
    std::string err;
    if (!q.send(word, sizeof word, kStepTimeoutMs, err)) {
        r.error = "used length: " + err;
        return;
    }
    r.used_len_was_sent = true;
    r.used_len_sent = used;
    if (used == 0) return;
    if (!q.send(plan.payload && len ? plan.payload->data() : word, len, kStepTimeoutMs, err)) {
        r.error = "output: " + err;
        return;
    }
    r.sent = len;
    if (len == 0) add_note(r, "empty output message");
    else if (!plan.source.empty()) add_note(r, "payload from " + plan.source);
}

void serve_command(const ControlRequest &req, RequestRecord &r)
{
    // A pure command needs no data queue; record whether one exists anyway.
    DataQueue q;
    std::string err;
    if (q.open(req.data_queue, O_RDONLY, err)) {
        r.queue_existed = true;
        r.mq_maxmsg = q.maxmsg();
        r.mq_msgsize = q.msgsize();
    }
}

}  // namespace

Plan plan_for(const Scenario &s, const ControlRequest &req, Fault global_fault, int global_delay_ms)
{
    Plan p;
    const RequestEntry *e = s.entry(req.group, req.command);
    if (e) {
        p.fault = e->fault;
        p.delay_ms = e->delay_ms;
        p.has_used_len = e->has_used_len;
        p.used_len = e->used_len;
        if (e->has_payload) {
            p.payload = &e->payload;
            p.source = e->payload_source;
        }
    }
    if (!p.payload) {
        if (const EncodedReport *rep = s.report(req.group, req.command)) {
            p.payload = &rep->bytes;
            p.source = "section \"" + rep->key + "\"";
        }
    }
    if (p.fault == Fault::none && global_fault != Fault::none) {
        p.fault = global_fault;
        p.delay_ms = global_delay_ms > 0 ? global_delay_ms : default_delay_ms(global_fault);
    } else if (p.fault == Fault::none && global_delay_ms > 0) {
        p.fault = Fault::delay;
        p.delay_ms = global_delay_ms;
    }
    return p;
}

void serve_request(const ControlRequest &req, const Plan &plan, const std::atomic<bool> &stop,
                   Recorder &rec, RequestRecord &out)
{
    out.req = req;
    out.fault = plan.fault;
    out.delay_ms = plan.delay_ms;
    if (req.is_input())
        serve_input(req, plan, stop, rec, out);
    else if (req.is_output())
        serve_output(req, plan, stop, out);
    else
        serve_command(req, out);
}

}  // namespace sim
