// Security logs: decoding a full anomaly report with rule and IPS look-ups
// through the cache's indexes, beside the same decode with constant answers
// (no look-up at all); and ordering four full lists by time as
// get_security_logs does.
//
// Counters: entries per report; with_lookups/without_lookups is printed by
// comparing the two decode benchmarks' times (target: at most 2x).
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "facade/security_detail.h"
#include "support/bytes.h"
#include "support/log_capture.h"

using namespace dw::seclog;

namespace {

constexpr unsigned kRules = 8000;        // lines in each generated reference file
constexpr unsigned kSections = 10;       // client sections
constexpr unsigned kPerSection = 100;    // entries per client section
constexpr unsigned kRouterEntries = 74;  // fills the 112112-byte buffer

// Reference files with kRules rules, loaded into one cache.
struct Reference {
    std::string dir;
    DpiDataDBCache cache;

    Reference()
    {
        char tmpl[] = "/tmp/dw-secbench-XXXXXX";
        dir = mkdtemp(tmpl);
        write(dir + "/korad.rule.db", [](FILE *f, unsigned id) {
            std::fprintf(f, "%u,Rule number %u against a web application\n", id, id);
        });
        write(dir + "/korad.ips.db", [](FILE *f, unsigned id) {
            std::fprintf(f, "%u,%u,%u\n", id, id % 40, 1 + id % 5);
        });
        std::snprintf(RULE_DB_PATH, sizeof RULE_DB_PATH, "%s/korad.rule.db", dir.c_str());
        std::snprintf(IPS_DB_PATH, sizeof IPS_DB_PATH, "%s/korad.ips.db", dir.c_str());
        list_head *head = nullptr;
        if (!cache.get_rule_db(head) || !cache.get_csv_db(head)) std::abort();
    }
    ~Reference()
    {
        unlink((dir + "/korad.rule.db").c_str());
        unlink((dir + "/korad.ips.db").c_str());
        rmdir(dir.c_str());
    }
    template <typename Line>
    static void write(const std::string &path, Line line)
    {
        FILE *f = std::fopen(path.c_str(), "w");
        std::fputs("# generated for the benchmark\n", f);
        for (unsigned id = 1; id <= kRules; ++id) line(f, 100000 + id);
        std::fclose(f);
    }
};

// A full anomaly report; every rule id is in both files.
dwtest::Bytes full_report()
{
    std::mt19937 rng(7);
    dwtest::Bytes b(kDetailReportSize);
    size_t pos = 8;
    b.u32(0, kSections);
    auto entry = [&](size_t at) {
        b.u32(at + 8, 100001 + rng() % kRules).u32(at + 16, 1700000000 + rng() % 86400);
        b.u8(at + 28, rng() % 2).u8(at + 30, rng() % 2 ? 4 : 6);
        for (size_t i = 36; i < 68; ++i) b.u8(at + i, static_cast<uint8_t>(rng()));
        b.u8(at + 68, 1);
    };
    for (unsigned s = 0; s < kSections; ++s) {
        b.bytes(pos + 1, {0x02, 0x10, 0x20, 0x30, 0x40, static_cast<uint8_t>(s)});
        b.u16(pos + 28, kPerSection);
        pos += 32;
        for (unsigned k = 0; k < kPerSection; ++k, pos += 104) entry(pos);
    }
    b.u32(pos, kRouterEntries);
    pos += 8;
    for (unsigned k = 0; k < kRouterEntries; ++k, pos += 104) entry(pos);
    b.vec().resize(pos);
    return b;
}

DetailLookups router_only()
{
    DetailLookups l;
    l.router_mac = [] { return std::string("02:00:00:00:00:01"); };
    return l;
}

void decode_loop(benchmark::State &state, const DetailLookups &lookups)
{
    static dwtest::Bytes report = full_report();
    size_t entries = 0;
    for (auto _ : state) {
        std::vector<dpi_inf_log> out;
        out.reserve(kSections * kPerSection + kRouterEntries);
        if (decode_detail_report(kAnomalyTexts, report.data(), kDetailReportSize,
                                 static_cast<unsigned>(report.size()), lookups, out) != 0)
            state.SkipWithError("decode failed");
        entries = out.size();
        benchmark::DoNotOptimize(out.data());
        dwtest::clear_logs();
    }
    state.counters["entries"] = static_cast<double>(entries);
    state.counters["report_bytes"] = static_cast<double>(report.size());
}

void BM_AnomalyDecodeWithLookups(benchmark::State &state)
{
    static Reference ref;
    DetailLookups l = router_only();
    const DpiDataDBCache *cache = &ref.cache;
    l.rule_name = [cache](unsigned id) { return cache->find_rule_name(id); };
    l.ips_rule = [cache](unsigned id) { return cache->find_ips_rule(id); };
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, "bench", __LINE__);
    decode_loop(state, l);
}

// Same decode and the same record contents' sizes, but the names and
// categories come back without any search.
void BM_AnomalyDecodeWithoutLookups(benchmark::State &state)
{
    static const ips_rule_entry_t rule = {0, 7, 3, {}};
    DetailLookups l = router_only();
    l.rule_name = [](unsigned) { return "Rule number 100000 against a web application"; };
    l.ips_rule = [](unsigned) { return &rule; };
    decode_loop(state, l);
}

// get_security_logs' ordering: four lists of 512 records, shuffled times.
void BM_SortFourLists(benchmark::State &state)
{
    std::mt19937 rng(11);
    dpi_security_log prepared;
    for (int i = 0; i < 512; ++i) {
        dpi_vul_log v;
        v.time = rng();
        v.rule_name = "virtual patch rule with a long enough name";
        v.local_ip = "192.168.1.20";
        prepared.vul_logs.push_back(v);
        dpi_inf_log a;
        a.time = rng();
        a.rule_name = v.rule_name;
        prepared.inf_logs.push_back(a);
        dpi_web_log w;
        w.time = rng();
        w.url = "http://malware.example/some/path";
        prepared.web_logs.push_back(w);
        dpi_ip_log t;
        t.time = rng();
        t.peer_ip = "2001:0DB8:0000:0000:0000:0000:0000:0001";
        prepared.ip_logs.push_back(t);
    }
    for (auto _ : state) {
        state.PauseTiming();
        dpi_security_log logs = prepared;
        state.ResumeTiming();
        std::sort(logs.web_logs.begin(), logs.web_logs.end(), sort_by_time<dpi_base_sec_log>);
        std::sort(logs.ip_logs.begin(), logs.ip_logs.end(), sort_by_time<dpi_base_sec_log>);
        std::sort(logs.inf_logs.begin(), logs.inf_logs.end(), sort_by_time<dpi_base_sec_log>);
        std::sort(logs.vul_logs.begin(), logs.vul_logs.end(), sort_by_time<dpi_base_sec_log>);
        benchmark::DoNotOptimize(logs.vul_logs.data());
    }
    state.counters["records"] = 4 * 512;
}

}  // namespace

BENCHMARK(BM_AnomalyDecodeWithoutLookups)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AnomalyDecodeWithLookups)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SortFourLists)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
