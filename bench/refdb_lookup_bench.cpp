// Application-name look-ups against a 4000-line application file: the
// cache's index versus the list walk it replaces, in the same run, plus what
// each costs in memory.
//   list_bytes  : malloc_usable_size of every entry block and name copy
//   index_bytes : capacity of the index table (one 16-byte slot per bucket)
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "dpiwrapper/dbcache.h"
#include "dpiwrapper/paths.h"
#include "refdb/db_index.h"

namespace {

constexpr int kLines = 4000;
constexpr int kLookups = 32384;

struct Key {
    unsigned cat, app;
};

// A 4000-line file (40 categories, some keys repeated, a few comments) and
// 32384 queries: nine in ten name an application of the file, the rest miss.
struct Fixture {
    DpiDataDBCache cache;
    std::vector<Key> queries;
    size_t list_bytes = 0, index_bytes = 0;

    Fixture()
    {
        char dir[] = "/tmp/dw-bench-XXXXXX";
        if (!mkdtemp(dir)) abort();
        const std::string path = std::string(dir) + "/korad.app.db";
        FILE *f = fopen(path.c_str(), "w");
        std::mt19937 rng(42);
        std::vector<Key> keys;
        for (int i = 0; i < kLines; ++i) {
            if (i % 100 == 0) {
                fprintf(f, "# block %d\n", i / 100);
                continue;
            }
            Key k{1u + i % 40, i % 10 == 5 ? keys[rng() % keys.size()].app : 1000u + i};
            keys.push_back(k);
            fprintf(f, "%u,%u,0,Application %d\n", k.cat, k.app, i);
        }
        fclose(f);
        snprintf(APP_INF_DB_PATH, DW_PATH_SIZE, "%s", path.c_str());
        list_head *head = nullptr;
        if (!cache.get_app_db(head)) abort();
        unlink(path.c_str());
        rmdir(dir);
        for (int i = 0; i < kLookups; ++i)
            queries.push_back(rng() % 10 ? keys[rng() % keys.size()] : Key{static_cast<unsigned>(1 + rng() % 50), 900000u + i});

        dw::refdb::FirstHitIndex ix;
        dw::refdb::build_app_index(ix, head);
        list_bytes = dw::refdb::list_bytes_app(head);
        index_bytes = ix.bytes();
    }
};

Fixture &fixture()
{
    static Fixture f;
    return f;
}

size_t walk_all(Fixture &f)
{
    size_t found = 0;
    for (const Key &k : f.queries) found += search_app_inf(&f.cache.app_list, k.cat, k.app) != nullptr;
    return found;
}

size_t index_all(Fixture &f)
{
    Scope::ReadWriteLocked guard(&g_dpi_db_rwlock, false, "bench", __LINE__);
    size_t found = 0;
    for (const Key &k : f.queries) found += f.cache.find_app_name(k.cat, k.app) != nullptr;
    return found;
}

void report(benchmark::State &state, const Fixture &f)
{
    state.SetItemsProcessed(state.iterations() * kLookups);
    state.counters["list_bytes"] = static_cast<double>(f.list_bytes);
    state.counters["index_bytes"] = static_cast<double>(f.index_bytes);
}

void BM_AppListWalk(benchmark::State &state)
{
    Fixture &f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(walk_all(f));
    report(state, f);
}
BENCHMARK(BM_AppListWalk)->Unit(benchmark::kMillisecond);

void BM_AppIndex(benchmark::State &state)
{
    Fixture &f = fixture();
    if (walk_all(f) != index_all(f)) state.SkipWithError("index and list walk disagree");
    for (auto _ : state) benchmark::DoNotOptimize(index_all(f));
    report(state, f);
}
BENCHMARK(BM_AppIndex)->Unit(benchmark::kMillisecond);

// Both batches timed alternately in one loop; the counter is walk time over
// index time, so machine noise hits both sides alike.
void BM_AppIndexSpeedup(benchmark::State &state)
{
    Fixture &f = fixture();
    using Clock = std::chrono::steady_clock;
    double walk_ns = 0, index_ns = 0;
    for (auto _ : state) {
        auto t0 = Clock::now();
        benchmark::DoNotOptimize(walk_all(f));
        auto t1 = Clock::now();
        benchmark::DoNotOptimize(index_all(f));
        auto t2 = Clock::now();
        walk_ns += std::chrono::duration<double, std::nano>(t1 - t0).count();
        index_ns += std::chrono::duration<double, std::nano>(t2 - t1).count();
    }
    state.counters["speedup"] = index_ns > 0 ? walk_ns / index_ns : 0;
    state.counters["index_ns_per_lookup"] = index_ns / (static_cast<double>(state.iterations()) * kLookups);
    state.counters["memory_ratio"] = static_cast<double>(f.index_bytes) / static_cast<double>(f.list_bytes);
}
BENCHMARK(BM_AppIndexSpeedup)->Unit(benchmark::kMillisecond)->Iterations(20);

}  // namespace

BENCHMARK_MAIN();
