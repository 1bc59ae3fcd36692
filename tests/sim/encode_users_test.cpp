// The development engine's user, engine-version and user-database-version
// encoders, checked byte by byte at the layout's literal offsets.
#include <gtest/gtest.h>

#include <cstring>

#include "sim/encoders.h"
#include "support/bytes.h"

namespace {

json_t *parse(const char *text)
{
    json_error_t e;
    json_t *j = json_loads(text, JSON_DECODE_ANY, &e);
    EXPECT_NE(j, nullptr) << e.text << ": " << text;
    return j;
}

bool encode(sim::EncodeFn fn, const char *text, sim::Bytes &out, std::string &err)
{
    json_t *j = parse(text);
    bool ok = fn(j, out, err);
    json_decref(j);
    return ok;
}

TEST(EncodeUsers, EntriesAtTheirOffsets)
{
    sim::Bytes b;
    std::string err;
    ASSERT_TRUE(encode(sim::encode_users, R"([
        {"uid": 200, "mac": "00:1a:2B:cd:ef:09", "ipv4": "192.168.1.10", "ipv6": "fe80::1",
         "host_name": "tv", "dev_os_ids": [1, 2, 3, 4, 5, 65535], "dev_attr": 48879},
        {"uid": 1, "mac": "00:00:00:00:00:01", "host_name": "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh", "in_use": false}
    ])", b, err)) << err;
    ASSERT_EQ(b.size(), 2 * 624u);
    const uint8_t *e = b.data();
    EXPECT_EQ(e[0], 200);
    const uint8_t mac[] = {0x00, 0x1A, 0x2B, 0xCD, 0xEF, 0x09};
    EXPECT_EQ(std::memcmp(e + 1, mac, 6), 0);
    const uint8_t v4[] = {192, 168, 1, 10};
    EXPECT_EQ(std::memcmp(e + 7, v4, 4), 0);
    EXPECT_EQ(e[11], 0xFE);
    EXPECT_EQ(e[12], 0x80);
    EXPECT_EQ(e[26], 0x01);
    EXPECT_STREQ(reinterpret_cast<const char *>(e + 27), "tv");
    for (int k = 0; k < 5; ++k) EXPECT_EQ(dwtest::read_le(e, 60 + 2 * k, 2), k + 1u);
    EXPECT_EQ(dwtest::read_le(e, 70, 2), 65535u);
    EXPECT_EQ(dwtest::read_le(e, 72, 2), 48879u);
    EXPECT_EQ(e[612], 1);

    const uint8_t *f = e + 624;
    EXPECT_EQ(f[0], 1);
    EXPECT_EQ(dwtest::read_le(f, 7, 4), 0u);        // no address given
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(f + 27), 33), std::string(33, 'h'));
    EXPECT_EQ(f[60], 0);                           // 33 characters leave no terminator
    EXPECT_EQ(f[612], 0);
}

TEST(EncodeUsers, VersionBlocks)
{
    sim::Bytes b;
    std::string err;
    ASSERT_TRUE(encode(sim::encode_udb_version, R"({"major": 1, "minor": 2, "build": 4660})", b, err)) << err;
    ASSERT_EQ(b.size(), 68u);
    EXPECT_EQ(dwtest::read_le(b.data(), 0, 4), 0x12340201u);

    ASSERT_TRUE(encode(sim::encode_engine_version, R"({"engine": "2.9.1", "build": 77})", b, err)) << err;
    ASSERT_EQ(b.size(), 296u);
    EXPECT_STREQ(reinterpret_cast<const char *>(b.data()), "engine=2.9.1\nbuild=77\n");
    ASSERT_TRUE(encode(sim::encode_engine_version, R"("plain text")", b, err)) << err;
    EXPECT_STREQ(reinterpret_cast<const char *>(b.data()), "plain text");
}

TEST(EncodeUsers, MalformedSectionsAreRefused)
{
    struct {
        sim::EncodeFn fn;
        const char *json;
        const char *error_part;
    } cases[] = {
        {sim::encode_users, R"({"uid": 1})", "must be an array"},
        {sim::encode_users, R"([7])", "devices[0]: must be an object"},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44"}])", "\"mac\""},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "uid": 256}])", "\"uid\""},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "ipv4": "1.2.3"}])", "\"ipv4\""},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "ipv6": "fe80:::1"}])", "\"ipv6\""},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "host_name": "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh"}])", "host_name"},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "dev_os_ids": [1,2,3,4,5,6,7]}])", "dev_os_ids"},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "dev_os_ids": [70000]}])", "dev_os_ids"},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44:55", "in_use": 1}])", "in_use"},
        {sim::encode_udb_version, R"({"major": 1, "minor": 2, "build": 65536})", "\"build\""},
        {sim::encode_udb_version, R"([1, 2, 3])", "udb_version"},
        {sim::encode_engine_version, R"({"engine": [1]})", "\"engine\""},
    };
    for (const auto &c : cases) {
        sim::Bytes b;
        std::string err;
        EXPECT_FALSE(encode(c.fn, c.json, b, err)) << c.json;
        EXPECT_NE(err.find(c.error_part), std::string::npos) << c.json << " -> " << err;
    }
    std::string many = "[";
    for (int i = 0; i < 254; ++i) many += std::string(i ? "," : "") + R"({"mac": "00:11:22:33:44:55"})";
    sim::Bytes b;
    std::string err;
    EXPECT_FALSE(encode(sim::encode_users, (many + "]").c_str(), b, err));
    EXPECT_NE(err.find("253"), std::string::npos) << err;
}

}  // namespace
