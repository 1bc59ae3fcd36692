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
uint8_t blob_byte(size_t i) { return static_cast<uint8_t>(i * 7 + 3); }
uint8_t g_blob[37];
const bool g_blob_filled = [] {
    for (size_t i = 0; i < sizeof g_blob; ++i) g_blob[i] = blob_byte(i);
    return true;
}();
Image blob_image()
{
    Image v(37);
    for (size_t i = 0; i < v.size(); ++i) v[i] = blob_byte(i);
    return v;
}
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
    return Bytes(264 + g_wrs_entries.size())
        .raw(0, h.data(), 264)
        .raw(264, g_wrs_entries.data(), g_wrs_entries.size())
        .vec();
}

Image fqdn_record() { return Bytes(258).str(0, "updates.example.net").u16(256, 0x0102).vec(); }

Image none() { return {}; }

#define OUT(fn) [](Io &io) { return fn(&io.out, &io.used); }

const Row kRows[] = {
    // Group 2, code 0xC02CBF02.
    {"get_fw_func_bit", OUT(get_fw_func_bit), 0xC02CBF02, 2, 1, 0, Dir::output, 4, kOut | kUsed, Conv::result, none},
    {"set_fw_func_bit", [](Io &) { return set_fw_func_bit(g_bits, 8); }, 0xC02CBF02, 2, 2, 2, Dir::input, 8, kIn,
     Conv::zero_minus_one, [] { return Bytes().u32(0, 0x11223344).u32(4, 0x55667788).vec(); }},
    {"get_fw_user_list", OUT(get_fw_user_list), 0xC02CBF02, 2, 3, 0, Dir::output, 157872, kOut | kUsed, Conv::result, none},
    {"get_fw_user_app_rate", OUT(get_fw_user_app_rate), 0xC02CBF02, 2, 4, 0, Dir::output, 1554432, kOut | kUsed,
     Conv::result, none},
    {"get_fw_app_bw_clear", OUT(get_fw_app_bw_clear), 0xC02CBF02, 2, 5, 0, Dir::output, 1036288, kOut | kUsed,
     Conv::result, none},
    {"set_fw_app_patrol", [](Io &) { return set_fw_app_patrol(g_blob, 37); }, 0xC02CBF02, 2, 6, 2, Dir::input, 37,
     kIn, Conv::zero_minus_one, blob_image},
    {"get_fw_app_patrol", OUT(get_fw_app_patrol), 0xC02CBF02, 2, 7, 0, Dir::output, 1036288, kOut | kUsed,
     Conv::result, none},
    {"get_fw_app_patrol_rule", OUT(get_fw_app_patrol_rule), 0xC02CBF02, 2, 8, 0, Dir::output, 133358, kOut | kUsed,
     Conv::result, none},
    {"set_fw_wpr_conf", [](Io &) { return set_fw_wpr_conf(g_blob, 37); }, 0xC02CBF02, 2, 9, 2, Dir::input, 37, kIn,
     Conv::result, blob_image},
    {"set_wpr_state_on", [](Io &) { return set_wpr_state(-7); }, 0xC02CBF02, 2, 10, 0, Dir::command, 0, kUsed,
     Conv::result, none},
    {"set_wpr_state_off", [](Io &) { return set_wpr_state(0); }, 0xC02CBF02, 2, 11, 0, Dir::command, 0, kUsed,
     Conv::result, none},
    {"set_fw_redirect_url", [](Io &) { return set_fw_redirect_url(g_blob, 37); }, 0xC02CBF02, 2, 12, 2, Dir::input,
     37, kIn, Conv::result, blob_image},
    {"set_family_id", [](Io &) { return set_family_id(7, 0x1234); }, 0xC02CBF02, 2, 13, 2, Dir::input, 624, kIn,
     Conv::result, [] { return Bytes(624).u8(0, 7).u16(70, 0x1234).vec(); }},
    {"scan_uid_device", [](Io &) { return scan_uid_device(255); }, 0xC02CBF02, 2, 14, 2, Dir::input, 624, kIn,
     Conv::result, [] { return Bytes(624).u8(0, 255).vec(); }},
    {"del_uid_user", [](Io &) { return del_uid_user(1); }, 0xC02CBF02, 2, 15, 2, Dir::input, 624, kIn, Conv::result,
     [] { return Bytes(624).u8(0, 1).vec(); }},
    {"quarantine_uid_user", [](Io &) { return quarantine_uid_user(9, 0xCAFEBABE); }, 0xC02CBF02, 2, 16, 2,
     Dir::input, 624, kIn, Conv::result, [] { return Bytes(624).u8(0, 9).u32(616, 0xCAFEBABE).vec(); }},
    {"get_fw_udb_ver", OUT(get_fw_udb_ver), 0xC02CBF02, 2, 17, 0, Dir::output, 68, kOut | kUsed, Conv::result, none},
    {"get_fw_udb_ver_no_used", [](Io &io) {
         io.used_given = false;
         return get_fw_udb_ver(&io.out, nullptr);
     }, 0xC02CBF02, 2, 17, 0,
     Dir::output, 68, kOut | kUsed, Conv::result, none},
    {"set_fw_darth_vader", [](Io &) { return set_fw_darth_vader(g_blob, 37); }, 0xC02CBF02, 2, 18, 2, Dir::input,
     37, kIn, Conv::zero_minus_one, blob_image},
    {"get_fw_all_stats", OUT(get_fw_all_stats), 0xC02CBF02, 2, 19, 0, Dir::output, 1060, kOut | kUsed, Conv::result, none},
    {"set_whitelist_ip_v4", [](Io &) { return set_whitelist_ip("192.168.1.20", 4, 1); }, 0xC02CBF02, 2, 20, 2,
     Dir::input, 18, kIn, Conv::whitelist,
     [] { return Bytes(18).u8(0, 4).bytes(1, {192, 168, 1, 20}).u8(17, 1).vec(); }},
    {"set_whitelist_ip_v6", [](Io &) { return set_whitelist_ip("2001:db8::7", 6, 0); }, 0xC02CBF02, 2, 20, 2,
     Dir::input, 18, kIn, Conv::whitelist,
     [] { return Bytes(18).u8(0, 6).bytes(1, {0x20, 0x01, 0x0d, 0xb8}).u8(16, 7).u8(17, 0).vec(); }},
    {"set_whitelist_ip_op2", [](Io &) { return set_whitelist_ip("not an address", 4, 2); }, 0xC02CBF02, 2, 20, 2,
     Dir::input, 18, kIn, Conv::whitelist, [] { return Bytes(18).u8(0, 4).u8(17, 2).vec(); }},
    {"set_dc_debug_level", [](Io &) { return set_dc_debug_level("trace"); }, 0xC02CBF02, 2, 23, 2, Dir::input, 5,
     kIn, Conv::zero_minus_one, [] { return Bytes().str(0, "trace").vec(); }},
    {"set_dc_debug_level_empty", [](Io &) { return set_dc_debug_level(""); }, 0xC02CBF02, 2, 23, 2, Dir::command, 0,
     kIn, Conv::zero_minus_one, none},
    {"set_fw_vif_insp_depth", [](Io &) { return set_fw_vif_insp_depth(g_blob, 37); }, 0xC02CBF02, 2, 24, 2,
     Dir::input, 37, kIn, Conv::zero_minus_one, blob_image},
    {"set_ext_pktcnt", [](Io &) { return set_ext_pktcnt(g_blob, 37); }, 0xC02CBF02, 2, 25, 2, Dir::input, 37, kIn,
     Conv::zero_minus_one, blob_image},
    {"set_ext_pktbytes", [](Io &) { return set_ext_pktbytes(g_blob, 37); }, 0xC02CBF02, 2, 26, 2, Dir::input, 37,
     kIn, Conv::zero_minus_one, blob_image},
    {"get_fw_ver_info", OUT(get_fw_ver_info), 0xC02CBF02, 2, 27, 0, Dir::output, 296, kOut | kUsed, Conv::result, none},
    {"get_fw_memtrack_data", OUT(get_fw_memtrack_data), 0xC02CBF02, 2, 28, 0, Dir::output, 1712, kOut | kUsed,
     Conv::result, none},
    {"load_sigfile", [](Io &) { return load_sigfile("/tmp/new.sig", "/tmp/new.sig.md5"); }, 0xC02CBF02, 2, 29, 2,
     Dir::input, 256, kIn, Conv::zero_minus_one,
     [] { return Bytes(256).str(0, "/tmp/new.sig").str(128, "/tmp/new.sig.md5").vec(); }},
    {"load_sigfile_long_names", [](Io &) { return load_sigfile(kLong.c_str(), nullptr); }, 0xC02CBF02, 2, 29, 2,
     Dir::input, 256, kIn, Conv::zero_minus_one, [] { return Bytes(256).str(0, std::string(127, 'n')).vec(); }},
    {"load_metadb", [](Io &) { return load_metadb(nullptr, "meta.db"); }, 0xC02CBF02, 2, 30, 2, Dir::input, 256,
     kIn, Conv::zero_minus_one, [] { return Bytes(256).str(128, "meta.db").vec(); }},
    {"update_sig_by_au", [](Io &) { return update_sig_by_au(); }, 0xC02CBF02, 2, 31, 0, Dir::command, 0, kUsed,
     Conv::result, none},
    {"get_fw_dbg_stats", OUT(get_fw_dbg_stats), 0xC02CBF02, 2, 32, 0, Dir::output, 1060, kOut | kUsed, Conv::result, none},
    // Group 1, code 0xC02CBF01.
    {"set_wbl_tbl_ioctl", [](Io &) { return set_wbl_tbl_ioctl(g_blob, 37, 6); }, 0xC02CBF01, 1, 6, 2, Dir::input,
     37, kIn, Conv::result, blob_image},
    {"set_wrs_tbl_ioctl", [](Io &) { return set_wrs_tbl_ioctl(wrs_caller_header().data()); }, 0xC02CBF01, 1, 33, 2,
     Dir::input, 264 + 2 * 135, kIn, Conv::result, wrs_image},
    // Group 4, code 0xC02CBF04.
    {"get_fw_wrs_url_list", OUT(get_fw_wrs_url_list), 0xC02CBF04, 4, 1, 0, Dir::output, 49160, kOut | kUsed,
     Conv::result, none},
    {"get_fw_wrs_malic_url_list", OUT(get_fw_wrs_malic_url_list), 0xC02CBF04, 4, 2, 0, Dir::output, 49160,
     kOut | kUsed, Conv::result, none},
    {"get_fw_user_domain_list_0", [](Io &io) { return get_fw_user_domain_list(&io.out, &io.used, 0); }, 0xC02CBF04,
     4, 3, 0, Dir::output, 722032, kOut | kUsed, Conv::result, none},
    {"get_fw_user_domain_list_1", [](Io &io) { return get_fw_user_domain_list(&io.out, &io.used, 1); }, 0xC02CBF04,
     4, 4, 0, Dir::output, 722032, kOut | kUsed, Conv::result, none},
    {"get_fw_user_domain_list_2", [](Io &io) { return get_fw_user_domain_list(&io.out, &io.used, 2); }, 0xC02CBF04,
     4, 0, 0, Dir::output, 722032, kOut | kUsed, Conv::result, none},
    {"set_fw_user_domain_clear", [](Io &) { return set_fw_user_domain_clear(); }, 0xC02CBF04, 4, 5, 0, Dir::command,
     0, kUsed, Conv::result, none},
    {"get_wrs_ruleset", OUT(get_wrs_ruleset), 0xC02CBF04, 4, 6, 0, Dir::output, 34419, kOut | kUsed, Conv::result, none},
    {"set_fw_wrs_fqdn", [](Io &) { return set_fw_wrs_fqdn(fqdn_record().data()); }, 0xC02CBF04, 4, 7, 2, Dir::input,
     258, kIn, Conv::zero_minus_one, fqdn_record},
    // Group 5, code 0xC02CBF05.
    {"get_wbl_log_list", OUT(get_wbl_log_list), 0xC02CBF05, 5, 1, 0, Dir::output, 38004, kOut | kUsed, Conv::result, none},
    {"get_wbl_rule", OUT(get_wbl_rule), 0xC02CBF05, 5, 2, 0, Dir::output, 536572, kOut | kUsed, Conv::result, none},
    // Group 8, code 0xC02CBF08 except the two whitelist requests.
    {"set_fw_vp", [](Io &) { return set_fw_vp(g_blob, 37); }, 0xC02CBF08, 8, 1, 2, Dir::input, 37, kIn,
     Conv::zero_minus_one, blob_image},
    {"get_fw_vp_list", OUT(get_fw_vp_list), 0xC02CBF08, 8, 2, 0, Dir::output, 32000, kOut | kUsed, Conv::result, none},
    {"get_fw_vp_log_detail", OUT(get_fw_vp_log_detail), 0xC02CBF08, 8, 7, 0, Dir::output, 112112, kOut | kUsed,
     Conv::result, none},
    {"set_fw_vp_wl_conf", [](Io &) { return set_fw_vp_wl_conf(g_blob, 37); }, 0xC02CBF02, 8, 8, 2, Dir::input, 37,
     kIn, Conv::zero_minus_one, blob_image},
    {"get_fw_vp_wl_conf", OUT(get_fw_vp_wl_conf), 0xC02CBF0D, 8, 9, 0, Dir::output, 1048576, kOut | kUsed,
     Conv::result, none},
    // Group 9, code 0xC02CBF09.
    {"get_fw_anomaly_list", OUT(get_fw_anomaly_list), 0xC02CBF09, 9, 1, 0, Dir::output, 12008, kOut | kUsed,
     Conv::result, none},
    {"get_fw_anomaly_list_detail", OUT(get_fw_anomaly_list_detail), 0xC02CBF09, 9, 3, 0, Dir::output, 112112,
     kOut | kUsed, Conv::result, none},
    // Group 17, code 0xC02CBF11.
    {"get_fw_trs_log", OUT(get_fw_trs_log), 0xC02CBF11, 17, 1, 0, Dir::output, 32776, kOut | kUsed, Conv::result, none},
    {"set_fw_trs_log_accepted", [](Io &) { return set_fw_trs_log_accepted(g_blob, 37); }, 0xC02CBF11, 17, 2, 2,
     Dir::input, 37, kIn, Conv::result, blob_image},
};

#undef OUT

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
        EXPECT_EQ(e.code, r.code);
        EXPECT_EQ(e.magic, 0xBFu);
        EXPECT_EQ(e.group, r.group);
        EXPECT_EQ(e.command, r.command);
        EXPECT_EQ(e.reserved, 0);
        EXPECT_EQ(e.flags, r.flags);
        EXPECT_TRUE(e.tail_zero);
        EXPECT_EQ(e.in_len, r.dir == Dir::input ? r.size : 0u);
        EXPECT_EQ(e.out_len, r.dir == Dir::output ? r.size : 0u);
        EXPECT_EQ(e.in_buf, (r.ptrs & kIn) != 0);
        EXPECT_EQ(e.out_buf, (r.ptrs & kOut) != 0);
        EXPECT_EQ(e.used_len_ptr, (r.ptrs & kUsed) != 0);
        EXPECT_EQ(e.queue, dwtest::data_queue_name_of_this_thread());
        EXPECT_EQ(e.queue_existed, r.dir != Dir::command);
        if (r.dir == Dir::command) return;
        EXPECT_EQ(e.mq_maxmsg, maxmsg_of(r));
        EXPECT_EQ(e.mq_msgsize, msgsize);
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
        EXPECT_FALSE(e.capped);
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
    EXPECT_EQ(e.capped, g_used.mq_msgsize < static_cast<long>(r.size));
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
    EXPECT_EQ(e.group, r.group);
    EXPECT_EQ(e.command, r.command);
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
