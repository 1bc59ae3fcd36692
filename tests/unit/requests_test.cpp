// Request functions: group, command, code, sizes and result rule of every
// request (literal values, independent of the catalogue), and the requests
// that build their own records.
#include <errno.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
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

using OutputFn = int (*)(void **, unsigned int *);
using InputFn = int (*)(void *, unsigned int);

struct OutputRow {
    const char *name;
    OutputFn fn;
    uint32_t code;
    uint8_t group, command;
    uint32_t size;
};

const OutputRow kOutputs[] = {
    {"get_fw_func_bit", get_fw_func_bit, 0xC02CBF02, 2, 1, 4},
    {"get_fw_user_list", get_fw_user_list, 0xC02CBF02, 2, 3, 157872},
    {"get_fw_user_app_rate", get_fw_user_app_rate, 0xC02CBF02, 2, 4, 1554432},
    {"get_fw_app_bw_clear", get_fw_app_bw_clear, 0xC02CBF02, 2, 5, 1036288},
    {"get_fw_app_patrol", get_fw_app_patrol, 0xC02CBF02, 2, 7, 1036288},
    {"get_fw_app_patrol_rule", get_fw_app_patrol_rule, 0xC02CBF02, 2, 8, 133358},
    {"get_fw_udb_ver", get_fw_udb_ver, 0xC02CBF02, 2, 17, 68},
    {"get_fw_all_stats", get_fw_all_stats, 0xC02CBF02, 2, 19, 1060},
    {"get_fw_ver_info", get_fw_ver_info, 0xC02CBF02, 2, 27, 296},
    {"get_fw_memtrack_data", get_fw_memtrack_data, 0xC02CBF02, 2, 28, 1712},
    {"get_fw_dbg_stats", get_fw_dbg_stats, 0xC02CBF02, 2, 32, 1060},
    {"get_fw_wrs_url_list", get_fw_wrs_url_list, 0xC02CBF04, 4, 1, 49160},
    {"get_fw_wrs_malic_url_list", get_fw_wrs_malic_url_list, 0xC02CBF04, 4, 2, 49160},
    {"get_wrs_ruleset", get_wrs_ruleset, 0xC02CBF04, 4, 6, 34419},
    {"get_wbl_log_list", get_wbl_log_list, 0xC02CBF05, 5, 1, 38004},
    {"get_wbl_rule", get_wbl_rule, 0xC02CBF05, 5, 2, 536572},
    {"get_fw_vp_list", get_fw_vp_list, 0xC02CBF08, 8, 2, 32000},
    {"get_fw_vp_log_detail", get_fw_vp_log_detail, 0xC02CBF08, 8, 7, 112112},
    {"get_fw_vp_wl_conf", get_fw_vp_wl_conf, 0xC02CBF0D, 8, 9, 1048576},
    {"get_fw_anomaly_list", get_fw_anomaly_list, 0xC02CBF09, 9, 1, 12008},
    {"get_fw_anomaly_list_detail", get_fw_anomaly_list_detail, 0xC02CBF09, 9, 3, 112112},
    {"get_fw_trs_log", get_fw_trs_log, 0xC02CBF11, 17, 1, 32776},
};

struct InputRow {
    const char *name;
    InputFn fn;
    uint32_t code;
    uint8_t group, command;
    bool sign_only;  // result is run_ioctl(...) >> 31
};

int set_fw_func_bit_void(void *data, unsigned int len) { return set_fw_func_bit(static_cast<unsigned *>(data), len); }

const InputRow kInputs[] = {
    {"set_fw_func_bit", set_fw_func_bit_void, 0xC02CBF02, 2, 2, true},
    {"set_fw_app_patrol", set_fw_app_patrol, 0xC02CBF02, 2, 6, true},
    {"set_fw_wpr_conf", set_fw_wpr_conf, 0xC02CBF02, 2, 9, false},
    {"set_fw_redirect_url", set_fw_redirect_url, 0xC02CBF02, 2, 12, false},
    {"set_fw_darth_vader", set_fw_darth_vader, 0xC02CBF02, 2, 18, true},
    {"set_fw_vif_insp_depth", set_fw_vif_insp_depth, 0xC02CBF02, 2, 24, true},
    {"set_ext_pktcnt", set_ext_pktcnt, 0xC02CBF02, 2, 25, true},
    {"set_ext_pktbytes", set_ext_pktbytes, 0xC02CBF02, 2, 26, true},
    {"set_fw_vp", set_fw_vp, 0xC02CBF08, 8, 1, true},
    {"set_fw_vp_wl_conf", set_fw_vp_wl_conf, 0xC02CBF02, 8, 8, true},
    {"set_fw_trs_log_accepted", set_fw_trs_log_accepted, 0xC02CBF11, 17, 2, false},
};

// Checks the block image of the control message.
void expect_block(const FakeMq &fake, uint32_t code, uint8_t group, uint8_t command, uint8_t flags,
                  uint32_t in_len, uint32_t out_len)
{
    const std::vector<uint8_t> &m = fake.control();
    EXPECT_EQ(read_le(m.data(), 64, 4), code);
    EXPECT_EQ(read_le(m.data(), 68, 4), 0xBFu);
    EXPECT_EQ(m[72], group);
    EXPECT_EQ(m[73], command);
    EXPECT_EQ(m[75], flags);
    EXPECT_EQ(read_le(m.data(), 80, 4), in_len);
    EXPECT_EQ(read_le(m.data(), 92, 4), out_len);
}

bool is_error(const std::string &out, const char *function, const std::string &body)
{
    return std::regex_match(out, std::regex(R"( \*\*\* ERROR: \[)" + std::string(function) + R"(:[0-9]+\] )" + body));
}

}  // namespace

TEST(Requests, OutputRequests)
{
    for (const OutputRow &row : kOutputs) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        fake.reply_bytes({0, 0, 0, 0});
        void *out = nullptr;
        unsigned used = 7;
        EXPECT_EQ(row.fn(&out, &used), 0);
        ASSERT_NE(out, nullptr);
        free(out);
        expect_block(fake, row.code, row.group, row.command, 0, 0, row.size);
        EXPECT_EQ(fake.attr.mq_msgsize, static_cast<long>(row.size));

        FakeMq failing;
        failing.ctrl_send_errors = {EIO};
        dwtest::StderrCapture err;
        EXPECT_EQ(row.fn(&out, &used), -2);
        free(out);
    }
}

TEST(Requests, OutputAllocationFailure)
{
    for (const OutputRow &row : kOutputs) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        fake.fail_calloc = true;
        void *out = &fake;
        unsigned used = 0;
        dwtest::StderrCapture err;
        EXPECT_EQ(row.fn(&out, &used), -1);
        const std::string text = err.finish();
        EXPECT_EQ(out, nullptr);
        EXPECT_TRUE(fake.calls.empty());
        const std::string body = "Cannot allocate buffer space " + std::to_string(row.size) + " bytes";
        if (row.group == 2) {
            EXPECT_TRUE(is_error(text, row.name, body + "\n")) << text;
        } else if (row.code == 0xC02CBF0D) {
            EXPECT_TRUE(std::regex_match(text, std::regex(R"(\[get_fw_vp_wl_conf\([0-9]+\)\]: )" + body))) << text;
        } else {
            EXPECT_EQ(text, "");
        }
    }
}

TEST(Requests, InputRequests)
{
    for (const InputRow &row : kInputs) {
        SCOPED_TRACE(row.name);
        uint8_t data[6] = {1, 2, 3, 4, 5, 6};
        FakeMq fake;
        EXPECT_EQ(row.fn(data, sizeof data), 0);
        expect_block(fake, row.code, row.group, row.command, 2, 6, 0);
        EXPECT_EQ(fake.data_sent, std::vector<uint8_t>(data, data + 6));

        FakeMq failing;
        failing.ctrl_send_errors = {EIO};
        dwtest::StderrCapture err;
        EXPECT_EQ(row.fn(data, sizeof data), row.sign_only ? -1 : -2);
    }
}

TEST(Requests, CommandSelection)
{
    struct Row {
        const char *name;
        std::function<int()> call;
        uint32_t code;
        uint8_t group, command;
    } rows[] = {
        {"wpr on", [] { return set_wpr_state(5); }, 0xC02CBF02, 2, 10},
        {"wpr off", [] { return set_wpr_state(0); }, 0xC02CBF02, 2, 11},
        {"domain clear", [] { return set_fw_user_domain_clear(); }, 0xC02CBF04, 4, 5},
        {"sig update", [] { return update_sig_by_au(); }, 0xC02CBF02, 2, 31},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        EXPECT_EQ(row.call(), 0);
        EXPECT_FALSE(fake.called("create"));
        expect_block(fake, row.code, row.group, row.command, 0, 0, 0);
        EXPECT_NE(read_le(fake.control().data(), 88, 4), 0u);  // used_len points at a local word
    }
    for (int which : {0, 1, 2, -1}) {
        FakeMq fake;
        fake.reply_bytes({0, 0, 0, 0});
        void *out = nullptr;
        unsigned used;
        EXPECT_EQ(get_fw_user_domain_list(&out, &used, which), 0);
        free(out);
        expect_block(fake, 0xC02CBF04, 4, which == 0 ? 3 : which == 1 ? 4 : 0, 0, 0, 722032);
    }
    FakeMq fake;
    char table[10] = {};
    EXPECT_EQ(set_wbl_tbl_ioctl(table, sizeof table, 0x107), 0);
    expect_block(fake, 0xC02CBF01, 1, 0x07, 2, 10, 0);
}

TEST(Requests, UdbVersionWithoutUsedWord)
{
    FakeMq fake;
    fake.answer({'v', '1'});
    void *out = nullptr;
    EXPECT_EQ(get_fw_udb_ver(&out, nullptr), 0);
    EXPECT_EQ(std::memcmp(out, "v1", 2), 0);
    free(out);
}

TEST(Requests, UserCommandRecords)
{
    struct Row {
        const char *name;
        std::function<int()> call;
        int result;
        uint8_t command;
        Bytes record;
    } rows[] = {
        {"family", [] { return set_family_id(300, 0x1234); }, 0, 13, Bytes(624).u8(0, 300 & 0xFF).u16(70, 0x1234)},
        {"scan", [] { return scan_uid_device(9); }, 0, 14, Bytes(624).u8(0, 9)},
        {"delete", [] { return del_uid_user(1); }, 0, 15, Bytes(624).u8(0, 1)},
        {"quarantine", [] { return quarantine_uid_user(2, 0xA1B2C3D4); }, 0, 16, Bytes(624).u8(0, 2).u32(616, 0xA1B2C3D4)},
        {"uid 0", [] { return del_uid_user(0); }, -1, 0, Bytes()},
        {"negative family", [] { return set_family_id(3, -1); }, -1, 0, Bytes()},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.name);
        FakeMq fake;
        EXPECT_EQ(row.call(), row.result);
        if (row.result < 0) {
            EXPECT_TRUE(fake.calls.empty());
            continue;
        }
        expect_block(fake, 0xC02CBF02, 2, row.command, 2, 624, 0);
        EXPECT_EQ(fake.data_sent, row.record.vec());
    }
}

TEST(Requests, TrustedAddressRecord)
{
    struct Row {
        const char *ip;
        int version;
        unsigned op;
        int result;
        Bytes record;
    } rows[] = {
        {"192.168.1.2", 4, 1, 1, Bytes(18).u8(0, 4).bytes(1, {192, 168, 1, 2}).u8(17, 1)},
        {"::1", 6, 0, 1, Bytes(18).u8(0, 6).u8(16, 1)},
        {"not an address", 4, 2, 1, Bytes(18).u8(0, 4).u8(17, 2)},
        {nullptr, 4, 2, 1, Bytes(18).u8(0, 4).u8(17, 2)},
        {"192.168.1.300", 4, 1, -1, Bytes()},
        {"192.168.1.2", 6, 1, -1, Bytes()},
    };
    for (Row &row : rows) {
        SCOPED_TRACE(row.ip ? row.ip : "NULL");
        FakeMq fake;
        dwtest::StderrCapture err;
        EXPECT_EQ(set_whitelist_ip(row.ip, row.version, row.op), row.result);
        const std::string text = err.finish();
        if (row.result < 0) {
            EXPECT_EQ(text, "Wrong IP format\n");
            EXPECT_TRUE(fake.calls.empty());
            continue;
        }
        expect_block(fake, 0xC02CBF02, 2, 20, 2, 18, 0);
        EXPECT_EQ(fake.data_sent, row.record.vec());
    }
    FakeMq failing;
    failing.ctrl_send_errors = {EIO};
    dwtest::StderrCapture err;
    EXPECT_EQ(set_whitelist_ip("::", 6, 1), -2);
    FakeMq no_memory;
    no_memory.fail_calloc = true;
    EXPECT_EQ(set_whitelist_ip("::", 6, 1), 1);
}

TEST(Requests, SmallFixedInputs)
{
    {
        FakeMq fake;
        EXPECT_EQ(set_dc_debug_level(""), 0);
        EXPECT_FALSE(fake.called("create"));
        expect_block(fake, 0xC02CBF02, 2, 23, 2, 0, 0);
    }
    {
        FakeMq fake;
        EXPECT_EQ(set_dc_debug_level("dbg"), 0);
        EXPECT_EQ(fake.data_sent, (std::vector<uint8_t>{'d', 'b', 'g'}));
    }
    {
        FakeMq fake;
        EXPECT_EQ(set_fw_wrs_fqdn(nullptr), -1);
        EXPECT_TRUE(fake.calls.empty());
        Bytes record = Bytes(258).str(0, "example.test").u16(256, 0x0102);
        EXPECT_EQ(set_fw_wrs_fqdn(record.data()), 0);
        expect_block(fake, 0xC02CBF04, 4, 7, 2, 258, 0);
        EXPECT_EQ(fake.data_sent, record.vec());
    }
}

TEST(Requests, WebReputationImageJoinsHeaderAndEntries)
{
    Bytes entries(2 * 135);
    for (size_t i = 0; i < entries.size(); ++i) entries.u8(i, static_cast<uint8_t>(i * 7));
    Bytes header(264 + sizeof(void *));
    header.u8(0, 0x42).u8(1, 2).u8(263, 0x99);
    const void *pointer = entries.data();
    header.raw(264, &pointer, sizeof pointer);

    FakeMq fake;
    EXPECT_EQ(set_wrs_tbl_ioctl(header.data()), 0);
    expect_block(fake, 0xC02CBF01, 1, 33, 2, 264 + 270, 0);
    ASSERT_EQ(fake.data_sent.size(), 534u);
    EXPECT_TRUE(std::equal(header.vec().begin(), header.vec().begin() + 264, fake.data_sent.begin()));
    EXPECT_TRUE(std::equal(entries.vec().begin(), entries.vec().end(), fake.data_sent.begin() + 264));
}

TEST(Requests, FilePairRecords)
{
    {
        FakeMq fake;
        EXPECT_EQ(load_sigfile(nullptr, nullptr), 0);
        expect_block(fake, 0xC02CBF02, 2, 29, 2, 256, 0);
        EXPECT_EQ(fake.data_sent, std::vector<uint8_t>(256, 0));
    }
    {
        FakeMq fake;
        const std::string second(200, 's');
        EXPECT_EQ(load_metadb("meta.dat", second.c_str()), 0);
        expect_block(fake, 0xC02CBF02, 2, 30, 2, 256, 0);
        EXPECT_EQ(fake.data_sent, Bytes(256).str(0, "meta.dat").str(128, std::string(127, 's')).vec());
    }
    {
        FakeMq fake;
        fake.ctrl_send_errors = {EIO};
        dwtest::StderrCapture err;
        EXPECT_EQ(load_sigfile("a", "b"), -1);
    }
    {
        FakeMq fake;
        fake.fail_calloc = true;
        EXPECT_EQ(load_sigfile("a", "b"), 0);
        EXPECT_TRUE(fake.calls.empty());
    }
}
