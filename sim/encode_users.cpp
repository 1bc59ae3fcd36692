// Encoders of the user list, the engine version block and the user-database
// version. Offsets are written out here on their own, independently of the
// library's decoder.
#include <arpa/inet.h>

#include <cstdio>
#include <cstring>

#include "sim/encoders.h"

namespace sim {
namespace {

constexpr size_t kUserEntry = 624;
constexpr size_t kMaxUsers = 253;
constexpr size_t kHostNameField = 33;
constexpr size_t kVersionBlock = 296;
constexpr size_t kUdbVersionBlock = 68;

void put_u16(uint8_t *p, unsigned v)
{
    p[0] = static_cast<uint8_t>(v & 0xFF);
    p[1] = static_cast<uint8_t>(v >> 8);
}

// Integer member in [0, max]; absent gives def.
bool get_uint(json_t *obj, const char *key, unsigned max, unsigned def, unsigned &out, std::string &err,
              const std::string &where)
{
    json_t *v = json_object_get(obj, key);
    if (!v) {
        out = def;
        return true;
    }
    if (!json_is_integer(v) || json_integer_value(v) < 0 || json_integer_value(v) > max) {
        err = where + ": \"" + key + "\" must be an integer from 0 to " + std::to_string(max);
        return false;
    }
    out = static_cast<unsigned>(json_integer_value(v));
    return true;
}

bool get_text(json_t *obj, const char *key, std::string &out, std::string &err, const std::string &where)
{
    json_t *v = json_object_get(obj, key);
    if (!v) return true;
    if (!json_is_string(v)) {
        err = where + ": \"" + key + "\" must be a string";
        return false;
    }
    out.assign(json_string_value(v), json_string_length(v));
    return true;
}

bool parse_mac(const std::string &text, uint8_t mac[6])
{
    unsigned b[6];
    char tail;
    if (text.size() != 17 ||
        std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &b[0], &b[1], &b[2], &b[3], &b[4], &b[5],
                    &tail) != 6)
        return false;
    for (int i = 0; i < 6; ++i) mac[i] = static_cast<uint8_t>(b[i]);
    return true;
}

bool encode_device(json_t *dev, uint8_t *e, std::string &err, const std::string &where)
{
    if (!json_is_object(dev)) {
        err = where + ": must be an object";
        return false;
    }
    unsigned uid, attr;
    std::string mac, ipv4, ipv6, host;
    if (!get_uint(dev, "uid", 255, 0, uid, err, where) || !get_uint(dev, "dev_attr", 0xFFFF, 0, attr, err, where) ||
        !get_text(dev, "mac", mac, err, where) || !get_text(dev, "ipv4", ipv4, err, where) ||
        !get_text(dev, "ipv6", ipv6, err, where) || !get_text(dev, "host_name", host, err, where))
        return false;
    e[0] = static_cast<uint8_t>(uid);
    if (!parse_mac(mac, e + 1)) {
        err = where + ": \"mac\" must be six hex pairs joined by ':' (\"" + mac + "\")";
        return false;
    }
    if (!ipv4.empty() && inet_pton(AF_INET, ipv4.c_str(), e + 7) != 1) {
        err = where + ": bad \"ipv4\" \"" + ipv4 + "\"";
        return false;
    }
    if (!ipv6.empty() && inet_pton(AF_INET6, ipv6.c_str(), e + 11) != 1) {
        err = where + ": bad \"ipv6\" \"" + ipv6 + "\"";
        return false;
    }
    // A name of exactly 33 characters fills the field without a terminator.
    if (host.size() > kHostNameField) {
        err = where + ": \"host_name\" longer than 33 characters";
        return false;
    }
    std::memcpy(e + 27, host.data(), host.size());

    json_t *ids = json_object_get(dev, "dev_os_ids");
    if (ids && (!json_is_array(ids) || json_array_size(ids) > 6)) {
        err = where + ": \"dev_os_ids\" must be an array of at most 6 integers";
        return false;
    }
    for (size_t k = 0; ids && k < json_array_size(ids); ++k) {
        json_t *v = json_array_get(ids, k);
        if (!json_is_integer(v) || json_integer_value(v) < 0 || json_integer_value(v) > 0xFFFF) {
            err = where + ": \"dev_os_ids\" entries must be integers from 0 to 65535";
            return false;
        }
        put_u16(e + 60 + 2 * k, static_cast<unsigned>(json_integer_value(v)));
    }
    put_u16(e + 72, attr);

    json_t *in_use = json_object_get(dev, "in_use");
    if (in_use && !json_is_boolean(in_use)) {
        err = where + ": \"in_use\" must be true or false";
        return false;
    }
    e[612] = (in_use && json_is_false(in_use)) ? 0 : 1;
    return true;
}

}  // namespace

// "devices": [{uid, mac, ipv4, ipv6, host_name, dev_os_ids, dev_attr, in_use}]
// -> one 624-byte entry each, in order.
bool encode_users(json_t *section, Bytes &out, std::string &err)
{
    if (!json_is_array(section)) {
        err = "devices: must be an array of device objects";
        return false;
    }
    size_t n = json_array_size(section);
    if (n > kMaxUsers) {
        err = "devices: at most 253 devices fit the user list, got " + std::to_string(n);
        return false;
    }
    Bytes bytes(n * kUserEntry, 0);
    for (size_t i = 0; i < n; ++i)
        if (!encode_device(json_array_get(section, i), bytes.data() + i * kUserEntry, err,
                           "devices[" + std::to_string(i) + "]"))
            return false;
    out.swap(bytes);
    return true;
}

// "engine_version": a text, or an object whose members become "key=value"
// lines; NUL-terminated in the 296-byte block.
bool encode_engine_version(json_t *section, Bytes &out, std::string &err)
{
    std::string text;
    if (json_is_string(section)) {
        text.assign(json_string_value(section), json_string_length(section));
    } else if (json_is_object(section)) {
        const char *key;
        json_t *v;
        json_object_foreach(section, key, v) {
            std::string value;
            if (json_is_string(v))
                value = json_string_value(v);
            else if (json_is_integer(v))
                value = std::to_string(json_integer_value(v));
            else {
                err = std::string("engine_version: \"") + key + "\" must be a string or an integer";
                return false;
            }
            text += std::string(key) + "=" + value + "\n";
        }
    } else {
        err = "engine_version: must be a text or an object of texts";
        return false;
    }
    if (text.size() >= kVersionBlock) {
        err = "engine_version: text longer than 295 bytes";
        return false;
    }
    Bytes bytes(kVersionBlock, 0);
    std::memcpy(bytes.data(), text.data(), text.size());
    out.swap(bytes);
    return true;
}

// "udb_version": {major, minor, build} -> bytes 0, 1 and u16 LE at 2 of 68.
bool encode_udb_version(json_t *section, Bytes &out, std::string &err)
{
    if (!json_is_object(section)) {
        err = "udb_version: must be an object {major, minor, build}";
        return false;
    }
    unsigned major, minor, build;
    if (!get_uint(section, "major", 255, 0, major, err, "udb_version") ||
        !get_uint(section, "minor", 255, 0, minor, err, "udb_version") ||
        !get_uint(section, "build", 0xFFFF, 0, build, err, "udb_version"))
        return false;
    Bytes bytes(kUdbVersionBlock, 0);
    bytes[0] = static_cast<uint8_t>(major);
    bytes[1] = static_cast<uint8_t>(minor);
    put_u16(bytes.data() + 2, build);
    out.swap(bytes);
    return true;
}

}  // namespace sim
