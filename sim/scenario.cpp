#include "sim/scenario.h"

#include <jansson.h>

#include <cctype>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

namespace sim {
namespace {

struct JsonFree {
    void operator()(json_t *j) const { json_decref(j); }
};
using JsonPtr = std::unique_ptr<json_t, JsonFree>;

// Payloads larger than this are refused: no request of the engine is larger.
constexpr json_int_t kMaxPayload = 16 * 1024 * 1024;

bool fail(std::string &err, const std::string &msg)
{
    err = msg;
    return false;
}

bool int_in(json_t *v, json_int_t lo, json_int_t hi, json_int_t &out)
{
    if (!json_is_integer(v)) return false;
    out = json_integer_value(v);
    return out >= lo && out <= hi;
}

bool parse_hex(const char *text, Bytes &out)
{
    int hi = -1;
    for (const char *p = text; *p; ++p) {
        unsigned char c = static_cast<unsigned char>(*p);
        if (std::isspace(c)) continue;
        if (!std::isxdigit(c)) return false;
        int v = std::isdigit(c) ? c - '0' : std::tolower(c) - 'a' + 10;
        if (hi < 0) {
            hi = v;
        } else {
            out.push_back(static_cast<uint8_t>(hi << 4 | v));
            hi = -1;
        }
    }
    return hi < 0;
}

bool read_file(const std::string &path, Bytes &out)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

bool parse_payload(json_t *e, const std::string &base_dir, RequestEntry &r, std::string &err)
{
    json_t *file = json_object_get(e, "payload_file");
    json_t *hex = json_object_get(e, "payload_hex");
    json_t *size = json_object_get(e, "payload_size");
    if ((file != nullptr) + (hex != nullptr) + (size != nullptr) > 1) {
        err = "give only one of payload_file, payload_hex, payload_size";
        return false;
    }
    if (file) {
        if (!json_is_string(file)) return fail(err, "payload_file must be a string");
        std::string path = json_string_value(file);
        if (!path.empty() && path[0] != '/') path = base_dir + "/" + path;
        if (!read_file(path, r.payload)) return fail(err, "cannot read payload_file " + path);
        r.payload_source = "file " + path;
    } else if (hex) {
        if (!json_is_string(hex) || !parse_hex(json_string_value(hex), r.payload))
            return fail(err, "payload_hex must be a string of hex digit pairs");
        r.payload_source = "hex";
    } else if (size) {
        json_int_t n, fill = 0;
        if (!int_in(size, 0, kMaxPayload, n)) return fail(err, "payload_size out of range");
        json_t *f = json_object_get(e, "fill");
        if (f && !int_in(f, 0, 255, fill)) return fail(err, "fill must be 0 to 255");
        r.payload.assign(static_cast<size_t>(n), static_cast<uint8_t>(fill));
        r.payload_source = "size";
    } else {
        return true;
    }
    r.has_payload = true;
    return true;
}

const char *const kEntryKeys[] = {"group",   "command",  "payload_file", "payload_hex",
                                  "payload_size", "fill", "used_len",     "fault",
                                  "delay_ms", "comment"};

bool parse_entry(json_t *e, const std::string &base_dir, RequestEntry &r, std::string &err)
{
    if (!json_is_object(e)) return fail(err, "must be an object");
    const char *key;
    json_t *v;
    json_object_foreach(e, key, v) {
        bool known = false;
        for (const char *k : kEntryKeys) known = known || std::strcmp(k, key) == 0;
        if (!known) return fail(err, std::string("unknown key '") + key + "'");
    }
    json_int_t n;
    if (!int_in(json_object_get(e, "group"), 0, 255, n))
        return fail(err, "group must be an integer 0 to 255");
    r.group = static_cast<uint8_t>(n);
    if (!int_in(json_object_get(e, "command"), 0, 255, n))
        return fail(err, "command must be an integer 0 to 255");
    r.command = static_cast<uint8_t>(n);
    if (!parse_payload(e, base_dir, r, err)) return false;
    if ((v = json_object_get(e, "used_len"))) {
        if (!int_in(v, 0, 0xFFFFFFFF, n)) return fail(err, "used_len must be a u32");
        r.has_used_len = true;
        r.used_len = static_cast<uint32_t>(n);
    }
    if ((v = json_object_get(e, "fault"))) {
        if (!json_is_string(v) || !parse_fault(json_string_value(v), r.fault))
            return fail(err, "unknown fault (see --help)");
    }
    r.delay_ms = default_delay_ms(r.fault);
    if ((v = json_object_get(e, "delay_ms"))) {
        if (!int_in(v, 0, 600000, n)) return fail(err, "delay_ms must be 0 to 600000");
        r.delay_ms = static_cast<int>(n);
        if (r.fault == Fault::none && n > 0) r.fault = Fault::delay;
    }
    return true;
}

bool parse_root(json_t *root, const std::string &base_dir, Scenario &out, std::string &err)
{
    if (!json_is_object(root)) return fail(err, "the scenario must be a JSON object");
    const char *key;
    json_t *v;
    json_object_foreach(root, key, v) {
        if (std::strcmp(key, "requests") == 0) {
            if (!json_is_array(v)) return fail(err, "requests must be an array");
            for (size_t i = 0; i < json_array_size(v); ++i) {
                RequestEntry r;
                if (!parse_entry(json_array_get(v, i), base_dir, r, err)) {
                    err = "requests[" + std::to_string(i) + "]: " + err;
                    return false;
                }
                out.requests.push_back(std::move(r));
            }
            continue;
        }
        if (std::strcmp(key, "comment") == 0) continue;
        const ReportEncoder *enc = nullptr;
        for (const ReportEncoder &e : report_encoders())
            if (std::strcmp(e.scenario_key, key) == 0) enc = &e;
        if (!enc) return fail(err, std::string("unknown scenario key '") + key + "'");
        EncodedReport rep{enc->group, enc->command, key, {}};
        std::string why;
        if (!enc->encode(v, rep.bytes, why)) {
            // Encoders usually name their section already.
            if (why.compare(0, std::strlen(key), key) != 0) why = std::string(key) + ": " + why;
            return fail(err, why);
        }
        out.reports.push_back(std::move(rep));
    }
    return true;
}

}  // namespace

const RequestEntry *Scenario::entry(uint8_t group, uint8_t command) const
{
    for (const RequestEntry &r : requests)
        if (r.group == group && r.command == command) return &r;
    return nullptr;
}

const EncodedReport *Scenario::report(uint8_t group, uint8_t command) const
{
    for (const EncodedReport &r : reports)
        if (r.group == group && r.command == command) return &r;
    return nullptr;
}

bool parse_scenario(const std::string &text, const std::string &base_dir, Scenario &out,
                    std::string &err)
{
    json_error_t jerr;
    JsonPtr root(json_loadb(text.data(), text.size(), 0, &jerr));
    if (!root) {
        err = "line " + std::to_string(jerr.line) + ": " + jerr.text;
        return false;
    }
    out = Scenario{};
    return parse_root(root.get(), base_dir, out, err);
}

bool load_scenario(const std::string &path, Scenario &out, std::string &err)
{
    Bytes text;
    if (!read_file(path, text)) {
        err = "cannot read " + path;
        return false;
    }
    size_t slash = path.rfind('/');
    std::string dir = slash == std::string::npos ? "." : path.substr(0, slash ? slash : 1);
    if (!parse_scenario(std::string(text.begin(), text.end()), dir, out, err)) {
        err = path + ": " + err;
        return false;
    }
    return true;
}

}  // namespace sim
