// Security reports: web threats, TRS connections, anomaly and virtual-patch
// details. Offsets are written out here on their own, independently of the
// library's decoders, so a wrong offset on either side shows in the tests.
#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "sim/encoders.h"

namespace sim {

namespace {

void put(Bytes &b, size_t off, uint64_t v, size_t n)
{
    for (size_t i = 0; i < n; ++i) b[off + i] = static_cast<uint8_t>(v >> (8 * i));
}

// Reads the fields of one scenario object; the first problem is kept in err.
class Fields {
public:
    Fields(json_t *obj, std::string where, std::string &err)
        : obj_(obj), where_(std::move(where)), err_(err)
    {
        if (!json_is_object(obj_)) fail("is not an object");
    }

    uint64_t num(const char *key, uint64_t max)
    {
        json_t *v = obj_ ? json_object_get(obj_, key) : nullptr;
        if (!v) return 0;
        if (!json_is_integer(v) || json_integer_value(v) < 0 ||
            static_cast<uint64_t>(json_integer_value(v)) > max) {
            fail(std::string(key) + " must be an integer from 0 to " + std::to_string(max));
            return 0;
        }
        return static_cast<uint64_t>(json_integer_value(v));
    }

    std::string text(const char *key)
    {
        json_t *v = obj_ ? json_object_get(obj_, key) : nullptr;
        if (!v) return std::string();
        if (!json_is_string(v)) {
            fail(std::string(key) + " must be a string");
            return std::string();
        }
        return json_string_value(v);
    }

    // "aa:bb:cc:dd:ee:ff" into six bytes at out.
    void mac(const char *key, uint8_t *out)
    {
        const std::string s = text(key);
        unsigned v[6];
        char tail;
        if (s.empty()) return;
        if (std::sscanf(s.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &v[0], &v[1], &v[2], &v[3], &v[4],
                        &v[5], &tail) != 6) {
            fail(std::string(key) + " is not a MAC address: " + s);
            return;
        }
        for (int i = 0; i < 6; ++i) out[i] = static_cast<uint8_t>(v[i]);
    }

    // An address text of the given family into a 16-byte field at out.
    void address(const char *key, unsigned family, uint8_t *out)
    {
        const std::string s = text(key);
        if (s.empty() || (family != 4 && family != 6)) return;
        if (inet_pton(family == 4 ? AF_INET : AF_INET6, s.c_str(), out) != 1)
            fail(std::string(key) + " is not an IPv" + std::to_string(family) + " address: " + s);
    }

    // The "family" field, or 6 when absent and the first address has a colon.
    unsigned family(const char *first_key)
    {
        if (obj_ && json_object_get(obj_, "family")) return static_cast<unsigned>(num("family", 255));
        return text(first_key).find(':') != std::string::npos ? 6 : 4;
    }

    bool ok() const { return err_.empty(); }

private:
    void fail(const std::string &what)
    {
        if (err_.empty()) err_ = where_ + ": " + what;
    }
    json_t *obj_;
    std::string where_;
    std::string &err_;
};

constexpr uint64_t kU32 = 0xFFFFFFFFu;

// Web-threat report: count at 0, 96-byte entries from 8.
constexpr size_t kWebMax = 512, kWebEntry = 96;

// TRS report: count at 0, 64-byte entries from 8.
constexpr size_t kTrsMax = 512, kTrsEntry = 64;

// Detail reports: section count at 0; 32-byte client section headers each
// followed by their 104-byte entries; then the router count and entries.
constexpr size_t kDetailCapacity = 112112, kSectionHeader = 32, kDetailEntry = 104;

bool encode_detail_entry(json_t *j, const std::string &where, Bytes &out, std::string &err)
{
    const size_t at = out.size();
    out.resize(at + kDetailEntry, 0);
    uint8_t *e = out.data() + at;
    Fields f(j, where, err);
    put(out, at + 8, f.num("rule_id", kU32), 4);
    put(out, at + 16, f.num("time", kU32), 4);
    put(out, at + 24, f.num("attr", kU32), 4);
    e[28] = static_cast<uint8_t>(f.num("direction", 255));
    const unsigned family = f.family("first");
    e[30] = static_cast<uint8_t>(family);
    f.address("first", family, e + 36);
    f.address("second", family, e + 52);
    e[68] = static_cast<uint8_t>(f.num("action", 255));
    return f.ok();
}

bool encode_detail_entries(json_t *list, const std::string &where, Bytes &out, std::string &err)
{
    if (list && !json_is_array(list)) {
        err = where + ": must be an array";
        return false;
    }
    for (size_t i = 0; i < json_array_size(list); ++i)
        if (!encode_detail_entry(json_array_get(list, i), where + "[" + std::to_string(i) + "]", out,
                                 err))
            return false;
    return true;
}

bool encode_detail(const char *name, json_t *section, Bytes &out, std::string &err)
{
    if (!json_is_object(section)) {
        err = std::string(name) + ": must be an object with clients and router";
        return false;
    }
    json_t *clients = json_object_get(section, "clients");
    json_t *router = json_object_get(section, "router");
    if ((clients && !json_is_array(clients)) || (router && !json_is_array(router))) {
        err = std::string(name) + ": clients and router must be arrays";
        return false;
    }
    out.assign(8, 0);
    put(out, 0, json_array_size(clients), 4);
    for (size_t c = 0; c < json_array_size(clients); ++c) {
        const std::string where = std::string(name) + ".clients[" + std::to_string(c) + "]";
        json_t *client = json_array_get(clients, c);
        Fields f(client, where, err);
        const size_t at = out.size();
        out.resize(at + kSectionHeader, 0);
        f.mac("mac", out.data() + at + 1);
        json_t *entries = json_object_get(client, "entries");
        if (json_array_size(entries) > 0xFFFF) err = where + ": more than 65535 entries";
        put(out, at + 28, json_array_size(entries), 2);
        if (!f.ok() || !encode_detail_entries(entries, where + ".entries", out, err)) return false;
    }
    const size_t at = out.size();
    out.resize(at + 8, 0);
    put(out, at, json_array_size(router), 4);
    if (!encode_detail_entries(router, std::string(name) + ".router", out, err)) return false;
    if (out.size() > kDetailCapacity) {
        err = std::string(name) + ": report of " + std::to_string(out.size()) +
              " bytes exceeds the buffer of " + std::to_string(kDetailCapacity);
        return false;
    }
    return true;
}

bool check_list(const char *name, json_t *section, size_t max, std::string &err)
{
    if (!json_is_array(section)) {
        err = std::string(name) + ": must be an array";
        return false;
    }
    if (json_array_size(section) > max) {
        err = std::string(name) + ": more than " + std::to_string(max) + " entries";
        return false;
    }
    return true;
}

}  // namespace

bool encode_web_threats(json_t *section, Bytes &out, std::string &err)
{
    if (!check_list("web_threats", section, kWebMax, err)) return false;
    const size_t n = json_array_size(section);
    out.assign(8 + n * kWebEntry, 0);
    put(out, 0, n, 4);
    for (size_t i = 0; i < n; ++i) {
        const size_t at = 8 + i * kWebEntry;
        uint8_t *e = out.data() + at;
        Fields f(json_array_get(section, i), "web_threats[" + std::to_string(i) + "]", err);
        put(out, at + 0, f.num("time", kU32), 4);
        f.mac("mac", e + 8);
        put(out, at + 16, f.num("cat_id", kU32), 4);
        put(out, at + 20, f.num("extra_id", kU32), 4);
        const std::string url = f.text("url");
        std::memcpy(e + 24, url.data(), std::min<size_t>(url.size(), 63));
        e[88] = static_cast<uint8_t>(f.num("flag", 255));
        if (!f.ok()) return false;
    }
    return true;
}

bool encode_trs_logs(json_t *section, Bytes &out, std::string &err)
{
    if (!check_list("trs_logs", section, kTrsMax, err)) return false;
    const size_t n = json_array_size(section);
    out.assign(8 + n * kTrsEntry, 0);
    put(out, 0, n, 4);
    for (size_t i = 0; i < n; ++i) {
        const size_t at = 8 + i * kTrsEntry;
        uint8_t *e = out.data() + at;
        Fields f(json_array_get(section, i), "trs_logs[" + std::to_string(i) + "]", err);
        put(out, at + 0, f.num("time", kU32), 4);
        f.mac("mac", e + 8);
        const unsigned family = f.family("local");
        e[15] = static_cast<uint8_t>(family);
        f.address("local", family, e + 16);
        f.address("peer", family, e + 32);
        put(out, at + 48, f.num("local_port", kU32), 4);
        put(out, at + 52, f.num("peer_port", kU32), 4);
        put(out, at + 56, f.num("cat_id", kU32), 4);
        e[61] = static_cast<uint8_t>(f.num("role", 255));
        e[63] = static_cast<uint8_t>(f.num("action", 255));
        if (!f.ok()) return false;
    }
    return true;
}

bool encode_anomaly_details(json_t *section, Bytes &out, std::string &err)
{
    return encode_detail("anomaly_details", section, out, err);
}

bool encode_vp_details(json_t *section, Bytes &out, std::string &err)
{
    return encode_detail("vp_details", section, out, err);
}

}  // namespace sim
