// Every request function checked on the wire: what dpi-engine-sim received
// (request code, block fields, data queue attributes, input bytes) against
// one table written from the layout tables, and each function's result
// convention. Three runs over the table:
//   FullSize    - real queue sizes; a request whose queue cannot be created
//                 on this machine is skipped with the limit named
//   ShrunkQueue - the largest requests, with data queues that do not fit
//                 here created at 64 KiB by a wrapper around mq_create; the
//                 wrapper keeps the attributes the library asked for
//   OnFailure   - an engine that unlinks every data queue early, so each
//                 transport failure shows through the function's convention
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "dpiwrapper/requests.h"
#include "dpiwrapper/signature.h"
#include "support/bytes.h"
#include "support/engine_process.h"
#include "transport/sys_ops.h"

namespace {

using dwtest::Bytes;
using dwtest::EngineProcess;
using dwtest::EngineRecord;
using Image = std::vector<uint8_t>;

// What a call hands the test back: the output buffer the function allocated
// (freed here) and the used-length word.
struct Io {
    void *out = nullptr;
    unsigned int used = 0xDEADBEEF;
    bool used_given = true;  // false when the function got no used-length word
    ~Io() { std::free(out); }
};

enum class Dir { output, input, command };
// Result on success / on a transport failure (-3 from run_ioctl).
enum class Conv { result, zero_minus_one, whitelist };
enum Ptr : unsigned { kIn = 1, kOut = 2, kUsed = 4 };

struct Row {
    const char *name;
    int (*call)(Io &);
    unsigned code;
    uint8_t group;
    uint8_t command;
    uint8_t flags;
    Dir dir;
    uint32_t size;  // in_len or out_len; the data queue's mq_msgsize
    unsigned ptrs;  // which pointer fields of the block are set
    Conv conv;
    Image (*input)();  // expected input bytes
};

void PrintTo(const Row &r, std::ostream *os) { *os << r.name; }

// Free-form input handed to the pass-through setters.
uint8_t g_blob[37];
const bool g_blob_filled = [] {
    for (size_t i = 0; i < sizeof g_blob; ++i) g_blob[i] = static_cast<uint8_t>(i * 7 + 3);
    return true;
}();
Image blob_image() { return Image(g_blob, g_blob + sizeof g_blob); }
unsigned int g_bits[2] = {0x11223344u, 0x55667788u};

const std::string kLong(200, 'n');

// Web-reputation header as its caller holds it: 264 bytes (byte 1 = count)
// and, at offset 264, the address of the 135-byte entries.
std::vector<uint8_t> g_wrs_entries;
std::vector<uint8_t> wrs_caller_header()
{
    g_wrs_entries.assign(2 * 135, 0);
    for (size_t i = 0; i < g_wrs_entries.size(); ++i) g_wrs_entries[i] = static_cast<uint8_t>(i ^ 0x5A);
    std::vector<uint8_t> h(264 + sizeof(void *), 0);
    for (size_t i = 0; i < 264; ++i) h[i] = static_cast<uint8_t>(i);
    h[1] = 2;
    const void *p = g_wrs_entries.data();
    std::memcpy(h.data() + 264, &p, sizeof p);
    return h;
}
Image wrs_image()
{
    std::vector<uint8_t> h = wrs_caller_header();
    return Bytes(264).raw(0, h.data(), 264).raw(264, g_wrs_entries.data(), g_wrs_entries.size()).vec();
}

Image fqdn_record() { return Bytes(258).str(0, "updates.example.net").u16(256, 0x0102).vec(); }

Image none() { return {}; }

// The three plain shapes: a report into an allocated buffer, an input block
// (flags 2, in_buf only), and a command with only the used-length word.
Row get(const char *name, int (*call)(Io &), unsigned code, uint8_t group, uint8_t command, uint32_t size)
{
    return {name, call, code, group, command, 0, Dir::output, size, kOut | kUsed, Conv::result, none};
}
Row set(const char *name, int (*call)(Io &), unsigned code, uint8_t group, uint8_t command, uint32_t size,
        Conv conv, Image (*input)() = blob_image)
{
    return {name, call, code, group, command, 2, Dir::input, size, kIn, conv, input};
}
Row cmd(const char *name, int (*call)(Io &), unsigned code, uint8_t group, uint8_t command)
{
    return {name, call, code, group, command, 0, Dir::command, 0, kUsed, Conv::result, none};
}

#define OUT(fn) [](Io &io) { return fn(&io.out, &io.used); }
#define BLOB(fn) [](Io &) { return fn(g_blob, 37); }
#define CALL(expr) [](Io &) { return expr; }
constexpr Conv kRes = Conv::result, kZM1 = Conv::zero_minus_one, kWl = Conv::whitelist;
constexpr unsigned G1 = 0xC02CBF01, G2 = 0xC02CBF02, G4 = 0xC02CBF04, G5 = 0xC02CBF05, G8 = 0xC02CBF08,
                   G9 = 0xC02CBF09, G17 = 0xC02CBF11;

const std::vector<Row> kRows = {
    get("get_fw_func_bit", OUT(get_fw_func_bit), G2, 2, 1, 4),
    set("set_fw_func_bit", CALL(set_fw_func_bit(g_bits, 8)), G2, 2, 2, 8, kZM1,
        [] { return Bytes().u32(0, 0x11223344).u32(4, 0x55667788).vec(); }),
    get("get_fw_user_list", OUT(get_fw_user_list), G2, 2, 3, 157872),
    get("get_fw_user_app_rate", OUT(get_fw_user_app_rate), G2, 2, 4, 1554432),
    get("get_fw_app_bw_clear", OUT(get_fw_app_bw_clear), G2, 2, 5, 1036288),
    set("set_fw_app_patrol", BLOB(set_fw_app_patrol), G2, 2, 6, 37, kZM1),
    get("get_fw_app_patrol", OUT(get_fw_app_patrol), G2, 2, 7, 1036288),
    get("get_fw_app_patrol_rule", OUT(get_fw_app_patrol_rule), G2, 2, 8, 133358),
    set("set_fw_wpr_conf", BLOB(set_fw_wpr_conf), G2, 2, 9, 37, kRes),
    cmd("set_wpr_state_on", CALL(set_wpr_state(-7)), G2, 2, 10),
    cmd("set_wpr_state_off", CALL(set_wpr_state(0)), G2, 2, 11),
    set("set_fw_redirect_url", BLOB(set_fw_redirect_url), G2, 2, 12, 37, kRes),
    set("set_family_id", CALL(set_family_id(300, 0x1234)), G2, 2, 13, 624, kRes,
        [] { return Bytes(624).u8(0, 300 & 0xFF).u16(70, 0x1234).vec(); }),
    set("scan_uid_device", CALL(scan_uid_device(255)), G2, 2, 14, 624, kRes, [] { return Bytes(624).u8(0, 255).vec(); }),
    set("del_uid_user", CALL(del_uid_user(1)), G2, 2, 15, 624, kRes, [] { return Bytes(624).u8(0, 1).vec(); }),
    set("quarantine_uid_user", CALL(quarantine_uid_user(9, 0xCAFEBABE)), G2, 2, 16, 624, kRes,
        [] { return Bytes(624).u8(0, 9).u32(616, 0xCAFEBABE).vec(); }),
    get("get_fw_udb_ver", OUT(get_fw_udb_ver), G2, 2, 17, 68),
    {"get_fw_udb_ver_no_used", [](Io &io) { io.used_given = false; return get_fw_udb_ver(&io.out, nullptr); }, G2,
     2, 17, 0, Dir::output, 68, kOut | kUsed, kRes, none},
    set("set_fw_darth_vader", BLOB(set_fw_darth_vader), G2, 2, 18, 37, kZM1),
    get("get_fw_all_stats", OUT(get_fw_all_stats), G2, 2, 19, 1060),
    set("set_whitelist_ip_v4", CALL(set_whitelist_ip("192.168.1.20", 4, 1)), G2, 2, 20, 18, kWl,
        [] { return Bytes(18).u8(0, 4).bytes(1, {192, 168, 1, 20}).u8(17, 1).vec(); }),
    set("set_whitelist_ip_v6", CALL(set_whitelist_ip("2001:db8::7", 6, 0)), G2, 2, 20, 18, kWl,
        [] { return Bytes(18).u8(0, 6).bytes(1, {0x20, 0x01, 0x0d, 0xb8}).u8(16, 7).u8(17, 0).vec(); }),
    set("set_whitelist_ip_op2", CALL(set_whitelist_ip("not an address", 4, 2)), G2, 2, 20, 18, kWl,
        [] { return Bytes(18).u8(0, 4).u8(17, 2).vec(); }),
    set("set_dc_debug_level", CALL(set_dc_debug_level("trace")), G2, 2, 23, 5, kZM1,
        [] { return Bytes().str(0, "trace").vec(); }),
    {"set_dc_debug_level_empty", CALL(set_dc_debug_level("")), G2, 2, 23, 2, Dir::command, 0, kIn, kZM1, none},
    set("set_fw_vif_insp_depth", BLOB(set_fw_vif_insp_depth), G2, 2, 24, 37, kZM1),
    set("set_ext_pktcnt", BLOB(set_ext_pktcnt), G2, 2, 25, 37, kZM1),
    set("set_ext_pktbytes", BLOB(set_ext_pktbytes), G2, 2, 26, 37, kZM1),
    get("get_fw_ver_info", OUT(get_fw_ver_info), G2, 2, 27, 296),
    get("get_fw_memtrack_data", OUT(get_fw_memtrack_data), G2, 2, 28, 1712),
    set("load_sigfile", CALL(load_sigfile("/tmp/new.sig", "/tmp/new.sig.md5")), G2, 2, 29, 256, kZM1,
        [] { return Bytes(256).str(0, "/tmp/new.sig").str(128, "/tmp/new.sig.md5").vec(); }),
    set("load_sigfile_long_names", CALL(load_sigfile(kLong.c_str(), nullptr)), G2, 2, 29, 256, kZM1,
        [] { return Bytes(256).str(0, std::string(127, 'n')).vec(); }),
    set("load_metadb", CALL(load_metadb(nullptr, kLong.c_str())), G2, 2, 30, 256, kZM1,
        [] { return Bytes(256).str(128, std::string(127, 'n')).vec(); }),
    cmd("update_sig_by_au", CALL(update_sig_by_au()), G2, 2, 31),
    get("get_fw_dbg_stats", OUT(get_fw_dbg_stats), G2, 2, 32, 1060),
    // The wbl table's command is the low byte of its argument.
    set("set_wbl_tbl_ioctl", CALL(set_wbl_tbl_ioctl(g_blob, 37, 0x106)), G1, 1, 6, 37, kRes),
    set("set_wrs_tbl_ioctl", CALL(set_wrs_tbl_ioctl(wrs_caller_header().data())), G1, 1, 33, 264 + 2 * 135, kRes,
        wrs_image),
    get("get_fw_wrs_url_list", OUT(get_fw_wrs_url_list), G4, 4, 1, 49160),
    get("get_fw_wrs_malic_url_list", OUT(get_fw_wrs_malic_url_list), G4, 4, 2, 49160),
    get("get_fw_user_domain_list_0", [](Io &io) { return get_fw_user_domain_list(&io.out, &io.used, 0); }, G4, 4, 3,
        722032),
    get("get_fw_user_domain_list_1", [](Io &io) { return get_fw_user_domain_list(&io.out, &io.used, 1); }, G4, 4, 4,
        722032),
    get("get_fw_user_domain_list_2", [](Io &io) { return get_fw_user_domain_list(&io.out, &io.used, 2); }, G4, 4, 0,
        722032),
    cmd("set_fw_user_domain_clear", CALL(set_fw_user_domain_clear()), G4, 4, 5),
    get("get_wrs_ruleset", OUT(get_wrs_ruleset), G4, 4, 6, 34419),
    set("set_fw_wrs_fqdn", CALL(set_fw_wrs_fqdn(fqdn_record().data())), G4, 4, 7, 258, kZM1, fqdn_record),
    get("get_wbl_log_list", OUT(get_wbl_log_list), G5, 5, 1, 38004),
    get("get_wbl_rule", OUT(get_wbl_rule), G5, 5, 2, 536572),
    // Group 8 uses code 0xC02CBF08 except for the two whitelist requests.
    set("set_fw_vp", BLOB(set_fw_vp), G8, 8, 1, 37, kZM1),
    get("get_fw_vp_list", OUT(get_fw_vp_list), G8, 8, 2, 32000),
    get("get_fw_vp_log_detail", OUT(get_fw_vp_log_detail), G8, 8, 7, 112112),
    set("set_fw_vp_wl_conf", BLOB(set_fw_vp_wl_conf), G2, 8, 8, 37, kZM1),
    get("get_fw_vp_wl_conf", OUT(get_fw_vp_wl_conf), 0xC02CBF0D, 8, 9, 1048576),
    get("get_fw_anomaly_list", OUT(get_fw_anomaly_list), G9, 9, 1, 12008),
    get("get_fw_anomaly_list_detail", OUT(get_fw_anomaly_list_detail), G9, 9, 3, 112112),
    get("get_fw_trs_log", OUT(get_fw_trs_log), G17, 17, 1, 32776),
    set("set_fw_trs_log_accepted", BLOB(set_fw_trs_log_accepted), G17, 17, 2, 37, kRes),
};

#undef OUT
#undef BLOB
#undef CALL

long maxmsg_of(const Row &r) { return r.dir == Dir::input ? 1 : 2; }
int success_of(const Row &r) { return r.conv == Conv::whitelist ? 1 : 0; }
int failure_of(const Row &r)
{
    if (r.dir == Dir::command) return 0;  // no data queue to lose
    return r.conv == Conv::result ? -3 : r.conv == Conv::zero_minus_one ? -1 : -2;
}
// Every output request is answered with its full size of this byte.
uint8_t fill_of(const Row &r) { return static_cast<uint8_t>(r.group * 16 + r.command + 1); }

// The largest reports: two messages of them exceed the 819200-byte
// per-user queue budget of a machine without CAP_SYS_RESOURCE.
bool is_large(const Row &r) { return r.size > 409600; }

std::string scenario()
{
    std::string s = R"({"requests": [)";
    bool first = true;
    for (const Row &r : kRows) {
        if (r.dir != Dir::output) continue;
        s += first ? "" : ",";
        first = false;
        s += R"({"group":)" + std::to_string(r.group) + R"(,"command":)" + std::to_string(r.command) +
             R"(,"payload_size":)" + std::to_string(r.size) + R"(,"fill":)" + std::to_string(fill_of(r)) + "}";
    }
    return s + "]}";
}

// mq_create wrapper: keeps what the library asked for and, when the real
// queue cannot be created here, creates it with a 64 KiB message size.
constexpr long kShrunkMsgSize = 64 * 1024;
struct mq_attr g_asked, g_used;
int g_creates = 0;

mqd_t shrinking_create(const char *name, int oflag, mode_t mode, struct mq_attr *attr)
{
    ++g_creates;
    g_asked = *attr;
    g_used = *attr;
    mqd_t q = dw::sys::real_ops().mq_create(name, oflag, mode, attr);
    if (q != static_cast<mqd_t>(-1)) return q;
    g_used.mq_msgsize = std::min(attr->mq_msgsize, kShrunkMsgSize);
    return dw::sys::real_ops().mq_create(name, oflag, mode, &g_used);
}

class Catalogue : public ::testing::TestWithParam<Row> {
protected:
    static void start_engine(const std::vector<std::string> &args)
    {
        engine_ = new EngineProcess;
        ASSERT_TRUE(engine_->start(scenario(), args)) << engine_->error();
    }
    static void TearDownTestSuite()
    {
        EXPECT_EQ(engine_->stop(), 0);
        delete engine_;
        engine_ = nullptr;
    }
    void SetUp() override
    {
        ASSERT_NE(engine_, nullptr);
        ASSERT_TRUE(engine_->running()) << engine_->log();
        seen_ = engine_->records().size();
    }
    void TearDown() override
    {
        dw::sys::reset_ops();
        EXPECT_TRUE(dwtest::leftover_data_queues().empty());
    }

    // Runs the row's function; returns the engine's record of it.
    EngineRecord call(const Row &r, Io &io, int &rc)
    {
        rc = r.call(io);
        return engine_->record_number(seen_ + 1);
    }

    // The block, the queue attributes and the input bytes the engine saw.
    void expect_on_wire(const Row &r, const EngineRecord &e, long msgsize)
    {
        const int64_t expected[][2] = {
            {e["code"], r.code}, {e["magic"], 0xBF}, {e["group"], r.group}, {e["command"], r.command},
            {e["reserved"], 0}, {e["flags"], r.flags}, {e["tail_zero"], 1},
            {e["in_len"], r.dir == Dir::input ? r.size : 0}, {e["out_len"], r.dir == Dir::output ? r.size : 0},
            {e["in_buf"], (r.ptrs & kIn) != 0}, {e["out_buf"], (r.ptrs & kOut) != 0},
            {e["used_len_ptr"], (r.ptrs & kUsed) != 0}, {e["queue_existed"], r.dir != Dir::command}};
        for (const auto &f : expected) EXPECT_EQ(f[0], f[1]) << "field " << &f - expected;
        EXPECT_EQ(e.str("queue"), dwtest::data_queue_name_of_this_thread());
        if (r.dir == Dir::command) return;
        EXPECT_EQ(e["mq_maxmsg"], maxmsg_of(r));
        EXPECT_EQ(e["mq_msgsize"], msgsize);
        if (r.dir == Dir::input) {
            EXPECT_EQ(engine_->input_of(e), r.input());
        }
    }

    // The report arrived whole (or as much as the queue took).
    void expect_output(const Row &r, const Io &io, uint32_t delivered)
    {
        ASSERT_NE(io.out, nullptr);
        EXPECT_EQ(io.used, io.used_given ? delivered : 0xDEADBEEF);
        const uint8_t *b = static_cast<const uint8_t *>(io.out);
        EXPECT_EQ(std::count(b, b + delivered, fill_of(r)), static_cast<long>(delivered));
        EXPECT_EQ(std::count(b + delivered, b + r.size, 0), static_cast<long>(r.size - delivered))
            << "the rest of the calloc'd buffer stays zero";
    }

    static EngineProcess *engine_;
    size_t seen_ = 0;
};
EngineProcess *Catalogue::engine_ = nullptr;

class FullSize : public Catalogue {
protected:
    static void SetUpTestSuite() { start_engine({}); }
};

TEST_P(FullSize, OnTheWire)
{
    const Row &r = GetParam();
    if (r.dir != Dir::command && !dwtest::can_create_queue(maxmsg_of(r), r.size))
        GTEST_SKIP() << dwtest::queue_skip_reason(maxmsg_of(r), r.size);
    Io io;
    int rc;
    EngineRecord e = call(r, io, rc);
    EXPECT_EQ(rc, success_of(r)) << engine_->log();
    expect_on_wire(r, e, r.size);
    if (r.dir == Dir::output) {
        EXPECT_EQ(e["capped"], 0);
        expect_output(r, io, r.size);
    }
}

class ShrunkQueue : public Catalogue {
protected:
    static void SetUpTestSuite() { start_engine({}); }
};

TEST_P(ShrunkQueue, OnTheWire)
{
    const Row &r = GetParam();
    g_creates = 0;
    dw::sys::ops().mq_create = shrinking_create;
    Io io;
    int rc;
    EngineRecord e = call(r, io, rc);
    dw::sys::reset_ops();
    ASSERT_EQ(g_creates, 1);
    std::cout << "[ queue    ] " << r.name << ": asked " << g_asked.mq_maxmsg << " x " << g_asked.mq_msgsize
              << " bytes, created " << g_used.mq_maxmsg << " x " << g_used.mq_msgsize << "\n";
    EXPECT_EQ(g_asked.mq_maxmsg, maxmsg_of(r));
    EXPECT_EQ(g_asked.mq_msgsize, static_cast<long>(r.size));
    EXPECT_EQ(rc, success_of(r)) << engine_->log();
    expect_on_wire(r, e, g_used.mq_msgsize);
    EXPECT_EQ(e["capped"], g_used.mq_msgsize < static_cast<long>(r.size));
    expect_output(r, io, static_cast<uint32_t>(g_used.mq_msgsize));
}

class OnFailure : public Catalogue {
protected:
    static void SetUpTestSuite() { start_engine({"--fault", "unlink_early"}); }
};

// run_ioctl returns -3 when its final unlink fails; each function passes it
// on by its own convention.
TEST_P(OnFailure, ResultConvention)
{
    const Row &r = GetParam();
    dw::sys::ops().mq_create = shrinking_create;
    Io io;
    int rc;
    dwtest::StderrCapture err;
    EngineRecord e = call(r, io, rc);
    std::string text = err.finish();
    EXPECT_EQ(rc, failure_of(r));
    if (r.dir != Dir::command) {
        EXPECT_NE(text.find("Cannot unlink data MQ"), std::string::npos) << text;
    }
    EXPECT_EQ(e["command"], r.command);
}

std::string row_name(const ::testing::TestParamInfo<Row> &i) { return i.param.name; }

std::vector<Row> large_output_rows()
{
    std::vector<Row> v;
    for (const Row &r : kRows)
        if (r.dir == Dir::output && is_large(r)) v.push_back(r);
    return v;
}

INSTANTIATE_TEST_SUITE_P(Requests, FullSize, ::testing::ValuesIn(kRows), row_name);
INSTANTIATE_TEST_SUITE_P(Requests, ShrunkQueue, ::testing::ValuesIn(large_output_rows()), row_name);
INSTANTIATE_TEST_SUITE_P(Requests, OnFailure, ::testing::ValuesIn(kRows), row_name);

}  // namespace
