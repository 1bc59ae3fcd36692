// Request functions whose block or record is not the plain shape, the
// result rules, and the allocation messages. Values are literal, not read
// from the catalogue.
#include <errno.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <regex>

#include "dpiwrapper/requests.h"
#include "dpiwrapper/signature.h"
#include "support/bytes.h"
#include "support/fake_mq.h"

using dwtest::Bytes;
using dwtest::FakeMq;
using dwtest::read_le;

namespace {

// "code group command flags in_len out_len" of the control message.
std::string block_of(const FakeMq &f)
{
    const uint8_t *m = f.control.data();
    char text[64];
    snprintf(text, sizeof text, "%X %u %u %u %u %u", unsigned(read_le(m, 64, 4)), m[72], m[73], m[75],
             unsigned(read_le(m, 80, 4)), unsigned(read_le(m, 92, 4)));
    return text;
}

}  // namespace

TEST(Requests, BlocksRecordsAndResults)
{
    const std::string long_name(200, 's');
    Bytes entries(270);
    for (size_t i = 0; i < 270; ++i) entries.u8(i, uint8_t(i * 7));
    const void *entry_ptr = entries.data();
    Bytes wrs_header = Bytes(264 + sizeof entry_ptr).u8(1, 2).u8(263, 0x99).raw(264, &entry_ptr, sizeof entry_ptr);
    Bytes fqdn = Bytes(258).str(0, "example.test").u16(256, 0x0102);
    void *out = nullptr;
    unsigned used;
    char table[10] = {};
    struct Row {
        const char *name;
        std::function<int()> call;
        int result, failed;  // result with a working engine, and when the send fails
        std::string block;
        Bytes data;
    } rows[] = {
        {"wpr on", [] { return set_wpr_state(5); }, 0, -2, "C02CBF02 2 10 0 0 0", Bytes()},
        {"wpr off", [] { return set_wpr_state(0); }, 0, -2, "C02CBF02 2 11 0 0 0", Bytes()},
        {"domain list 0", [&] { return get_fw_user_domain_list(&out, &used, 0); }, 0, -2, "C02CBF04 4 3 0 0 722032", Bytes()},
        {"domain list 1", [&] { return get_fw_user_domain_list(&out, &used, 1); }, 0, -2, "C02CBF04 4 4 0 0 722032", Bytes()},
        {"domain list 2", [&] { return get_fw_user_domain_list(&out, &used, 2); }, 0, -2, "C02CBF04 4 0 0 0 722032", Bytes()},
        {"vp whitelist get", [&] { return get_fw_vp_wl_conf(&out, &used); }, 0, -2, "C02CBF0D 8 9 0 0 1048576", Bytes()},
        {"vp whitelist set", [&] { return set_fw_vp_wl_conf(table, 3); }, 0, -1, "C02CBF02 8 8 2 3 0", Bytes(3)},
        {"udb version, no used word", [&] { return get_fw_udb_ver(&out, nullptr); }, 0, -2, "C02CBF02 2 17 0 0 68", Bytes()},
        {"wbl table", [&] { return set_wbl_tbl_ioctl(table, 10, 0x107); }, 0, -2, "C02CBF01 1 7 2 10 0", Bytes(10)},
        {"debug level", [] { return set_dc_debug_level("dbg"); }, 0, -1, "C02CBF02 2 23 2 3 0", Bytes().str(0, "dbg")},
        {"empty debug level", [] { return set_dc_debug_level(""); }, 0, -1, "C02CBF02 2 23 2 0 0", Bytes()},
        {"family", [] { return set_family_id(300, 0x1234); }, 0, -2, "C02CBF02 2 13 2 624 0",
         Bytes(624).u8(0, 300 & 0xFF).u16(70, 0x1234)},
        {"quarantine", [] { return quarantine_uid_user(2, 0xA1B2C3D4); }, 0, -2, "C02CBF02 2 16 2 624 0",
         Bytes(624).u8(0, 2).u32(616, 0xA1B2C3D4)},
        {"delete", [] { return del_uid_user(1); }, 0, -2, "C02CBF02 2 15 2 624 0", Bytes(624).u8(0, 1)},
        {"ipv4", [] { return set_whitelist_ip("192.168.1.2", 4, 1); }, 1, -2, "C02CBF02 2 20 2 18 0",
         Bytes(18).u8(0, 4).bytes(1, {192, 168, 1, 2}).u8(17, 1)},
        {"ipv6", [] { return set_whitelist_ip("::1", 6, 0); }, 1, -2, "C02CBF02 2 20 2 18 0",
         Bytes(18).u8(0, 6).u8(16, 1)},
        {"op 2 parses nothing", [] { return set_whitelist_ip("junk", 4, 2); }, 1, -2, "C02CBF02 2 20 2 18 0",
         Bytes(18).u8(0, 4).u8(17, 2)},
        {"fqdn", [&] { return set_fw_wrs_fqdn(fqdn.data()); }, 0, -1, "C02CBF04 4 7 2 258 0", fqdn},
        {"wrs table", [&] { return set_wrs_tbl_ioctl(wrs_header.data()); }, 0, -2, "C02CBF01 1 33 2 534 0",
         Bytes().raw(0, wrs_header.data(), 264).raw(264, entries.data(), 270)},
        {"no file names", [] { return load_sigfile(nullptr, nullptr); }, 0, -1, "C02CBF02 2 29 2 256 0", Bytes(256)},
        {"names cut to 127", [&] { return load_metadb("meta.dat", long_name.c_str()); }, 0, -1,
         "C02CBF02 2 30 2 256 0", Bytes(256).str(0, "meta.dat").str(128, std::string(127, 's'))},
        {"sig update", [] { return update_sig_by_au(); }, 0, -2, "C02CBF02 2 31 0 0 0", Bytes()},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.name);
        {
            FakeMq fake;
            fake.answer({});
            EXPECT_EQ(row.call(), row.result);
            EXPECT_EQ(block_of(fake), row.block);
            EXPECT_EQ(fake.data_sent, row.data.vec());
            free(out);
            out = nullptr;
        }
        FakeMq failing;
        failing.ctrl_send_error = EIO;
        dwtest::StderrCapture err;
        EXPECT_EQ(row.call(), row.failed);
        free(out);
        out = nullptr;
    }
}

TEST(Requests, RefusedWithoutAnyRequest)
{
    struct Row {
        const char *name;
        std::function<int()> call;
        int result;
        const char *err;
    } rows[] = {
        {"uid 0", [] { return del_uid_user(0); }, -1, ""},
        {"negative family", [] { return set_family_id(3, -1); }, -1, ""},
        {"bad ipv4", [] { return set_whitelist_ip("192.168.1.300", 4, 1); }, -1, "Wrong IP format\n"},
        {"ipv4 text as ipv6", [] { return set_whitelist_ip("192.168.1.2", 6, 1); }, -1, "Wrong IP format\n"},
        {"null fqdn", [] { return set_fw_wrs_fqdn(nullptr); }, -1, ""},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        dwtest::StderrCapture err;
        EXPECT_EQ(row.call(), row.result);
        EXPECT_EQ(err.finish(), row.err);
        EXPECT_EQ(fake.calls, "");
    }
}

TEST(Requests, AllocationFailures)
{
    FakeMq fake;
    fake.fail_calloc = true;
    void *out = &fake;
    unsigned used;
    const std::string prefix = R"( \*\*\* ERROR: \[)";
    struct Row {
        std::function<int()> call;
        int result;
        std::string message;  // regex
    } rows[] = {
        {[&] { return get_fw_user_list(&out, &used); }, -1,
         prefix + R"(get_fw_user_list:[0-9]+\] Cannot allocate buffer space 157872 bytes\n)"},
        {[&] { return get_fw_vp_wl_conf(&out, &used); }, -1,
         R"(\[get_fw_vp_wl_conf\([0-9]+\)\]: Cannot allocate buffer space 1048576 bytes)"},
        {[&] { return get_wbl_rule(&out, &used); }, -1, ""},
        {[] { return set_whitelist_ip("::", 6, 1); }, 1, ""},
        {[] { return load_sigfile("a", "b"); }, 0, ""},
        {[] { return scan_uid_device(4); }, -1, ""},
    };
    for (Row &row : rows) {
        dwtest::StderrCapture err;
        EXPECT_EQ(row.call(), row.result);
        const std::string text = err.finish();
        EXPECT_TRUE(std::regex_match(text, std::regex(row.message))) << text;
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(fake.calls, "");
}
