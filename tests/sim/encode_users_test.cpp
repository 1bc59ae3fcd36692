// The development engine's user and version encoders: the bytes the e2e tests
// do not look at, and the refusal of malformed sections.
#include <gtest/gtest.h>

#include <cstring>

#include "sim/encoders.h"
#include "support/bytes.h"

namespace {

bool encode(sim::EncodeFn fn, const std::string &text, sim::Bytes &out, std::string &err)
{
    json_error_t e;
    json_t *j = json_loads(text.c_str(), JSON_DECODE_ANY, &e);
    EXPECT_NE(j, nullptr) << e.text << ": " << text;
    bool ok = fn(j, out, err);
    json_decref(j);
    return ok;
}

TEST(EncodeUsers, FieldEdgesAndVersionBlocks)
{
    sim::Bytes b;
    std::string err;
    ASSERT_TRUE(encode(sim::encode_users, R"([{"uid": 1, "mac": "00:00:00:00:00:01", "dev_os_ids": [1, 2, 3, 4, 5, 65535],
        "host_name": "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh", "in_use": false}])", b, err)) << err;
    ASSERT_EQ(b.size(), 624u);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(&b[27]), 33), std::string(33, 'h'));
    EXPECT_EQ(dwtest::read_le(b.data(), 60, 2), 1u);  // 33 characters leave no terminator
    EXPECT_EQ(dwtest::read_le(b.data(), 70, 2), 65535u);
    EXPECT_EQ(b[612], 0);

    ASSERT_TRUE(encode(sim::encode_udb_version, R"({"major": 1, "minor": 2, "build": 4660})", b, err)) << err;
    ASSERT_EQ(b.size(), 68u);
    EXPECT_EQ(dwtest::read_le(b.data(), 0, 4), 0x12340201u);
    ASSERT_TRUE(encode(sim::encode_engine_version, R"({"engine": "2.9.1", "build": 77})", b, err)) << err;
    ASSERT_EQ(b.size(), 296u);
    EXPECT_STREQ(reinterpret_cast<const char *>(b.data()), "engine=2.9.1\nbuild=77\n");
}

TEST(EncodeUsers, MalformedSectionsAreRefused)
{
    const std::string mac = R"("mac": "00:11:22:33:44:55", )";
    std::string too_many = "[";
    for (int i = 0; i < 254; ++i) too_many += (i ? ",{" : "{") + mac + R"("uid": 1})";
    struct {
        sim::EncodeFn fn;
        std::string json;
        const char *error_part;
    } cases[] = {
        {sim::encode_users, R"({"uid": 1})", "must be an array"},
        {sim::encode_users, "[7]", "devices[0]: must be an object"},
        {sim::encode_users, R"([{"mac": "00:11:22:33:44"}])", "\"mac\""},
        {sim::encode_users, "[{" + mac + R"("uid": 256}])", "\"uid\""},
        {sim::encode_users, "[{" + mac + R"("ipv4": "1.2.3"}])", "\"ipv4\""},
        {sim::encode_users, "[{" + mac + R"("ipv6": "fe80:::1"}])", "\"ipv6\""},
        {sim::encode_users, "[{" + mac + R"("host_name": ")" + std::string(34, 'h') + "\"}]", "host_name"},
        {sim::encode_users, "[{" + mac + R"("dev_os_ids": [1,2,3,4,5,6,7]}])", "dev_os_ids"},
        {sim::encode_users, "[{" + mac + R"("dev_os_ids": [70000]}])", "dev_os_ids"},
        {sim::encode_users, "[{" + mac + R"("in_use": 1}])", "in_use"},
        {sim::encode_users, too_many + "]", "at most 253"},
        {sim::encode_udb_version, R"({"major": 1, "build": 65536})", "\"build\""},
        {sim::encode_engine_version, R"({"engine": [1]})", "\"engine\""},
        {sim::encode_engine_version, std::string("\"") + std::string(296, 'v') + "\"", "295"},
    };
    for (const auto &c : cases) {
        sim::Bytes b;
        std::string err;
        EXPECT_FALSE(encode(c.fn, c.json, b, err)) << c.json;
        EXPECT_NE(err.find(c.error_part), std::string::npos) << c.json << " -> " << err;
    }
}

}  // namespace
