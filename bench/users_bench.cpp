// Decoding a full user list (253 entries) with device descriptions from the
// cache's index, beside the same decode without look-ups and with the plain
// list walk, in one run. The ratio index/no-look-up is printed at the end.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "facade/users_decoder.h"

namespace {

constexpr size_t kEntries = 253;
constexpr size_t kEntry = 624;
constexpr unsigned kDeviceLines = 400;

// 253 in-use entries; ids spread over the database's keys, one in four
// without a full match. Host names as home networks have them: phones'
// generated names ("android-" and 16 hex digits) beside short chosen ones.
std::vector<uint8_t> user_list()
{
    std::vector<uint8_t> b(kEntries * kEntry, 0);
    for (size_t i = 0; i < kEntries; ++i) {
        uint8_t *e = &b[i * kEntry];
        e[0] = static_cast<uint8_t>(i);
        for (int k = 0; k < 6; ++k) e[1 + k] = static_cast<uint8_t>(i * 7 + k);
        e[7] = 192, e[8] = 168, e[9] = 1, e[10] = static_cast<uint8_t>(i);
        e[11] = 0xFE, e[12] = 0x80, e[26] = static_cast<uint8_t>(i);
        if (i % 2)
            std::snprintf(reinterpret_cast<char *>(e + 27), 33, "android-%016zx", i * 0x9E3779B97F4A7C15u);
        else
            std::snprintf(reinterpret_cast<char *>(e + 27), 33, "tv-%zu", i);
        unsigned key1 = static_cast<unsigned>(i * 13 % kDeviceLines) + 1;
        unsigned key2 = i % 4 == 3 ? 9999 : key1 % 7;
        e[60] = static_cast<uint8_t>(key1), e[61] = static_cast<uint8_t>(key1 >> 8);
        e[62] = static_cast<uint8_t>(key2), e[63] = static_cast<uint8_t>(key2 >> 8);
        e[612] = 1;
    }
    return b;
}

// A device file of kDeviceLines lines, loaded through the process-wide cache.
DpiDataDBCache &loaded_cache()
{
    static DpiDataDBCache *cache = [] {
        char dir[] = "/tmp/dw-users-bench-XXXXXX";
        if (!mkdtemp(dir)) std::abort();
        std::string path = std::string(dir) + "/korad.devdb.db";
        // Texts shaped like a real device file's: mostly short, a few
        // longer than the strings' in-place capacity.
        static const char *const kinds[][2] = {{"Phone", "Smartphone"}, {"Computer", "Laptop"},
                                               {"TV", "Smart TV"},      {"Game Console", "Handheld Console"},
                                               {"IoT", "IP Camera"},    {"Tablet", "Tablet"}};
        std::ofstream f(path);
        for (unsigned k = 1; k <= kDeviceLines; ++k) {
            const char *const *kind = kinds[k % 6];
            f << k << ',' << k % 7 << ",0,0,0,0,\"" << kind[0] << "\",\"Vendor " << k % 50 << "\",\"PocketOS\",\""
              << k % 20 << "\",\"Model " << k << "\",\"" << kind[1] << "\"\n";
        }
        f.close();
        std::snprintf(DEV_OS_DB_PATH, DW_PATH_SIZE, "%s", path.c_str());
        list_head *head = nullptr;
        DpiDataDBCache &c = DpiDataDBCache::instance();
        if (!c.get_dev_db(head)) std::abort();
        unlink(path.c_str());
        rmdir(dir);
        return &c;
    }();
    return *cache;
}

const dev_os_entry_t *find_indexed(const void *ctx, const unsigned int keys[6])
{
    return static_cast<const DpiDataDBCache *>(ctx)->find_dev_os(keys);
}

const dev_os_entry_t *find_walk(const void *ctx, const unsigned int keys[6])
{
    auto *head = const_cast<list_head *>(static_cast<const list_head *>(ctx));
    return search_dev_os(head, keys[0], keys[1], keys[2], keys[3], keys[4], keys[5]);
}

void run_decode(benchmark::State &state, const dw::DevOsLookup &lookup)
{
    const std::vector<uint8_t> buf = user_list();
    std::vector<dpi_user> users;
    for (auto _ : state) {
        users.clear();
        Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, "users_bench", __LINE__);
        dw::decode_users(buf.data(), buf.size(), buf.size(), lookup, users);
        benchmark::DoNotOptimize(users.data());
    }
    if (users.size() != kEntries) state.SkipWithError("wrong record count");
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kEntries));
}

void BM_DecodeNoLookup(benchmark::State &state) { run_decode(state, {}); }

void BM_DecodeIndexedLookup(benchmark::State &state)
{
    run_decode(state, {find_indexed, &loaded_cache()});
}

void BM_DecodeListWalk(benchmark::State &state)
{
    run_decode(state, {find_walk, &loaded_cache().dev_list});
}

BENCHMARK(BM_DecodeNoLookup)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_DecodeIndexedLookup)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_DecodeListWalk)->Repetitions(5)->ReportAggregatesOnly(true);

// Console output plus the medians' ratios to the no-look-up decode.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &r : runs)
            if (r.aggregate_name == "median")
                medians_[r.run_name.function_name] = {r.GetAdjustedRealTime(), r.GetAdjustedCPUTime()};
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        auto base = medians_.find("BM_DecodeNoLookup");
        if (base == medians_.end() || base->second.first <= 0 || base->second.second <= 0) return;
        for (const char *name : {"BM_DecodeIndexedLookup", "BM_DecodeListWalk"}) {
            auto it = medians_.find(name);
            if (it == medians_.end()) continue;
            std::printf("ratio %s / BM_DecodeNoLookup (medians): real %.2f, cpu %.2f\n", name,
                        it->second.first / base->second.first, it->second.second / base->second.second);
        }
    }

private:
    std::map<std::string, std::pair<double, double>> medians_;  // real, cpu
};

}  // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
