// The settings store beside raw SQLite doing the same work at the same isolation, in one
// run, with the ratios at the end. The raw side is what an application would write against
// SQLite itself: one table of (path, name) -> (type, data) in WAL mode with every commit
// flushed, statements prepared once. Each get is a read transaction of its own (autocommit);
// a get in a batch runs inside a write transaction; a tree is read in one read transaction
// and written in one write transaction. A ratio is the raw side's time over the store's: the
// store's rate as a share of raw SQLite's (1.0x is even). The store opens its connection
// without SQLite's per-call lock (it is used by one thread); the raw side runs twice, with
// SQLite's default locking and without it, so that the ratio of each is in the table.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/BenchStore.h"
#include "support/BenchTree.h"
#include "zevcore/platform/Registry.h"

namespace {

using zevbench::BenchStore;

// ---- The raw side -----------------------------------------------------------------------

class RawStore {
public:
    explicit RawStore(bool noMutex) {
        const char* tmp = std::getenv("TMPDIR");
        m_path = std::string(tmp && *tmp ? tmp : "/tmp") + "/zev-bench-raw-" +
                 std::to_string(getpid()) + ".db";
        sqlite3_open_v2(
            m_path.c_str(), &m_db,
            SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | (noMutex ? SQLITE_OPEN_NOMUTEX : 0),
            nullptr);
        exec("PRAGMA journal_mode=WAL");
        exec("PRAGMA synchronous=FULL");
        exec(
            "CREATE TABLE IF NOT EXISTS settings(path TEXT NOT NULL, name TEXT NOT NULL,"
            " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(path, name)) WITHOUT ROWID");
        m_get = prepare("SELECT type, data FROM settings WHERE path = ?1 AND name = ?2");
        m_put = prepare(
            "INSERT INTO settings(path, name, type, data) VALUES (?1, ?2, ?3, ?4)"
            " ON CONFLICT(path, name) DO UPDATE SET type = excluded.type, data = excluded.data");
        m_begin = prepare("BEGIN");
        m_beginWrite = prepare("BEGIN IMMEDIATE");
        m_commit = prepare("COMMIT");
    }
    ~RawStore() {
        for (sqlite3_stmt* s : {m_get, m_put, m_begin, m_beginWrite, m_commit}) sqlite3_finalize(s);
        sqlite3_close(m_db);
        for (const char* suffix : {"", "-wal", "-shm"}) unlink((m_path + suffix).c_str());
    }
    RawStore(const RawStore&) = delete;
    RawStore& operator=(const RawStore&) = delete;

    // Copies the value into `out` (of `size` bytes); answers its size, or -1 when absent.
    // Not inlined, so that a profiler can count it alone.
    [[gnu::noinline]] int get(const std::string& path, const std::string& name, void* out,
                              int size) {
        bindText(m_get, 1, path);
        bindText(m_get, 2, name);
        int got = -1;
        if (sqlite3_step(m_get) == SQLITE_ROW) {
            got = sqlite3_column_bytes(m_get, 1);
            if (got <= size) std::memcpy(out, sqlite3_column_blob(m_get, 1), std::size_t(got));
        }
        sqlite3_reset(m_get);
        return got;
    }
    bool put(const std::string& path, const std::string& name, int type, const void* data,
             int size) {
        bindText(m_put, 1, path);
        bindText(m_put, 2, name);
        sqlite3_bind_int(m_put, 3, type);
        sqlite3_bind_blob(m_put, 4, data, size, SQLITE_STATIC);
        const bool done = sqlite3_step(m_put) == SQLITE_DONE;
        sqlite3_reset(m_put);
        return done;
    }
    void begin() { step(m_begin); }
    void beginWrite() { step(m_beginWrite); }
    void commit() { step(m_commit); }

private:
    void exec(const char* sql) { sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr); }
    sqlite3_stmt* prepare(const char* sql) {
        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &s, nullptr);
        return s;
    }
    static void bindText(sqlite3_stmt* s, int i, const std::string& text) {
        sqlite3_bind_text(s, i, text.data(), int(text.size()), SQLITE_STATIC);
    }
    static void step(sqlite3_stmt* s) {
        sqlite3_step(s);
        sqlite3_reset(s);
    }
    std::string m_path;
    sqlite3* m_db = nullptr;
    sqlite3_stmt *m_get = nullptr, *m_put = nullptr, *m_begin = nullptr, *m_beginWrite = nullptr,
                 *m_commit = nullptr;
};

// Where each item of the tree lives, for the raw side.
struct RawItem {
    std::string path, name;
    int type;
    std::string data;
};

std::vector<RawItem> rawItems(CPreferenceManager& m) {
    std::vector<RawItem> items;
    for (int c = 0; c < m.GetNumCategories(); ++c) {
        const TPreferenceCategory* category = m.GetCategory(c);
        for (int g : category->members) {
            const TPreferenceGroup* group = m.GetGroup(g);
            const std::string path = std::string("Software\\ZEV\\") + m.GetKey().GetString() +
                                     "\\" + category->name.GetString() + "\\" +
                                     group->name.GetString();
            for (int key : group->members) {
                const CPreferenceItem* item = m.GetPreference(key);
                items.push_back({path, item->GetName().GetString(), int(item->GetRegValueType()),
                                 std::string(reinterpret_cast<const char*>(item->GetRegData()),
                                             item->GetRegDataSize())});
            }
        }
    }
    return items;
}

// ---- Timing, for the ratios ------------------------------------------------------------

// Each benchmark's timed work per iteration, from its last run (the one reported).
struct Timing {
    double cpu = 0, wall = 0;
};
std::map<std::string, Timing>& timings() {
    // Never destroyed: the table below reads it as the program ends.
    static auto* all = new std::map<std::string, Timing>;
    return *all;
}

double cpuSeconds() {
    return double(std::clock()) / CLOCKS_PER_SEC;
}

double wallSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Adds up the CPU and wall time between start and stop, and records it per iteration.
class Stopwatch {
public:
    void start() {
        m_cpu0 = cpuSeconds();
        m_wall0 = wallSeconds();
    }
    void stop() {
        m_cpu += cpuSeconds() - m_cpu0;
        m_wall += wallSeconds() - m_wall0;
    }
    void record(const char* name, const benchmark::State& state) const {
        const double n = double(state.iterations() > 0 ? state.iterations() : 1);
        timings()[name] = {m_cpu / n, m_wall / n};
    }

private:
    double m_cpu0 = 0, m_wall0 = 0, m_cpu = 0, m_wall = 0;
};

// Prints the ratios when the program ends, after the benchmarks' own table.
struct RatioTable {
    ~RatioTable() {
        std::map<std::string, Timing>& t = timings();
        std::printf(
            "\nThe store's rate as a share of raw SQLite's (CPU time; wall time in brackets)\n");
        std::printf("%-16s %22s %22s\n", "work", "SQLite, default locks", "SQLite, no mutex");
        for (const char* work : {"get", "get_in_batch", "set", "tree_read_500", "tree_write_500"}) {
            const std::string zev = std::string(work) + "/ZEVCore";
            if (!t.count(zev)) continue;
            std::printf("%-16s", work);
            for (const char* side : {"/SQLite", "/SQLite_nomutex"}) {
                const std::string raw = std::string(work) + side;
                if (t.count(raw))
                    std::printf(" %13.2fx (%4.2fx)", t[raw].cpu / t[zev].cpu,
                                t[raw].wall / t[zev].wall);
                else
                    std::printf(" %22s", "-");
            }
            std::printf("\n");
        }
    }
} ratioTable;

// ---- One get ----------------------------------------------------------------------------

constexpr DWORD kWord = 7;

void ZevGet(benchmark::State& state, const char* name, bool inBatch) {
    BenchStore store;
    HKEY key = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, "Software\\ZEV\\Bench", &key);
    RegSetValueExA(key, "Word", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&kWord), 4);
    std::unique_ptr<CZEVSettingsBatch> batch;
    if (inBatch) batch = std::make_unique<CZEVSettingsBatch>();
    Stopwatch watch;
    watch.start();
    for (auto _ : state) {
        DWORD data = 0, size = 4;
        RegQueryValueExA(key, "Word", nullptr, nullptr, reinterpret_cast<BYTE*>(&data), &size);
        benchmark::DoNotOptimize(data);
    }
    watch.stop();
    watch.record(name, state);
    batch.reset();
    RegCloseKey(key);
}

void RawGet(benchmark::State& state, const char* name, bool inBatch, bool noMutex) {
    RawStore raw(noMutex);
    raw.put("Software\\ZEV\\Bench", "Word", REG_DWORD, &kWord, 4);
    if (inBatch) raw.beginWrite();
    const std::string path = "Software\\ZEV\\Bench", value = "Word";
    Stopwatch watch;
    watch.start();
    for (auto _ : state) {
        DWORD data = 0;
        raw.get(path, value, &data, 4);
        benchmark::DoNotOptimize(data);
    }
    watch.stop();
    watch.record(name, state);
    if (inBatch) raw.commit();
}

// ---- One set, flushed -------------------------------------------------------------------

void ZevSet(benchmark::State& state, const char* name) {
    BenchStore store;
    HKEY key = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, "Software\\ZEV\\Bench", &key);
    DWORD word = 0;
    Stopwatch watch;
    watch.start();
    for (auto _ : state) {
        ++word;
        RegSetValueExA(key, "Word", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&word), 4);
    }
    watch.stop();
    watch.record(name, state);
    RegCloseKey(key);
}

void RawSet(benchmark::State& state, const char* name, bool noMutex) {
    RawStore raw(noMutex);
    DWORD word = 0;
    const std::string path = "Software\\ZEV\\Bench", value = "Word";
    Stopwatch watch;
    watch.start();
    for (auto _ : state) {
        ++word;
        raw.put(path, value, REG_DWORD, &word, 4);
    }
    watch.stop();
    watch.record(name, state);
}

// ---- A 500-item tree --------------------------------------------------------------------

void ZevTreeRead(benchmark::State& state, const char* name) {
    BenchStore store;
    auto m = zevbench::benchTree();
    m->WritePreferencesToRegistry();
    Stopwatch watch;
    watch.start();
    for (auto _ : state) benchmark::DoNotOptimize(m->ReadPreferencesFromRegistry());
    watch.stop();
    watch.record(name, state);
    state.SetItemsProcessed(state.iterations() * 500);
}

// The raw sides' work per iteration, not inlined, so that store_instructions can count it.
[[gnu::noinline]] void rawTreeReadOnce(RawStore& raw, const std::vector<RawItem>& items) {
    char buffer[256];
    raw.begin();
    for (const RawItem& i : items)
        benchmark::DoNotOptimize(raw.get(i.path, i.name, buffer, sizeof buffer));
    raw.commit();
}

[[gnu::noinline]] void rawTreeWriteOnce(RawStore& raw, const std::vector<RawItem>& items) {
    raw.beginWrite();
    for (const RawItem& i : items)
        raw.put(i.path, i.name, i.type, i.data.data(), int(i.data.size()));
    raw.commit();
}

void RawTreeRead(benchmark::State& state, const char* name, bool noMutex) {
    RawStore raw(noMutex);
    auto m = zevbench::benchTree();
    std::vector<RawItem> items = rawItems(*m);
    for (const RawItem& i : items)
        raw.put(i.path, i.name, i.type, i.data.data(), int(i.data.size()));
    Stopwatch watch;
    watch.start();
    for (auto _ : state) rawTreeReadOnce(raw, items);
    watch.stop();
    watch.record(name, state);
    state.SetItemsProcessed(state.iterations() * 500);
}

void ZevTreeWrite(benchmark::State& state, const char* name) {
    BenchStore store;
    auto m = zevbench::benchTree();
    m->WritePreferencesToRegistry();
    int round = 0;
    Stopwatch watch;
    for (auto _ : state) {
        state.PauseTiming();
        zevbench::changeEvery(*m, ++round);
        state.ResumeTiming();
        watch.start();
        benchmark::DoNotOptimize(m->WritePreferencesToRegistry());
        watch.stop();
    }
    watch.record(name, state);
    state.SetItemsProcessed(state.iterations() * 500);
}

void RawTreeWrite(benchmark::State& state, const char* name, bool noMutex) {
    RawStore raw(noMutex);
    auto m = zevbench::benchTree();
    int round = 0;
    Stopwatch watch;
    for (auto _ : state) {
        state.PauseTiming();
        zevbench::changeEvery(*m, ++round);
        std::vector<RawItem> items = rawItems(*m);
        state.ResumeTiming();
        watch.start();
        rawTreeWriteOnce(raw, items);
        watch.stop();
    }
    watch.record(name, state);
    state.SetItemsProcessed(state.iterations() * 500);
}

// ---- Registration ----------------------------------------------------------------------

// Registered before main, so that the library's own main runs them; a fixed count from
// ZEV_BENCH_ITERATIONS serves bench/platform/store_instructions, which runs two counts under
// callgrind and takes the difference.
const bool registered = [] {
    const char* fixed = std::getenv("ZEV_BENCH_ITERATIONS");
    const long iterations = fixed ? std::atol(fixed) : 0;
    static std::deque<std::string> names;  // the benchmarks keep pointers to them
    const auto add = [&](std::string name, auto function, auto... rest) {
        const char* kept = names.emplace_back(std::move(name)).c_str();
        benchmark::internal::Benchmark* b =
            benchmark::RegisterBenchmark(kept, function, kept, rest...);
        if (names.back().rfind("tree", 0) == 0) b->Unit(benchmark::kMicrosecond);
        if (iterations > 0) b->Iterations(iterations);
    };
    struct Raw {
        const char* suffix;
        bool noMutex;
    };
    const Raw raws[] = {{"/SQLite", false}, {"/SQLite_nomutex", true}};
    add("get/ZEVCore", ZevGet, false);
    for (const Raw& r : raws) add(std::string("get") + r.suffix, RawGet, false, r.noMutex);
    add("get_in_batch/ZEVCore", ZevGet, true);
    for (const Raw& r : raws) add(std::string("get_in_batch") + r.suffix, RawGet, true, r.noMutex);
    add("set/ZEVCore", ZevSet);
    for (const Raw& r : raws) add(std::string("set") + r.suffix, RawSet, r.noMutex);
    add("tree_read_500/ZEVCore", ZevTreeRead);
    for (const Raw& r : raws) add(std::string("tree_read_500") + r.suffix, RawTreeRead, r.noMutex);
    add("tree_write_500/ZEVCore", ZevTreeWrite);
    for (const Raw& r : raws)
        add(std::string("tree_write_500") + r.suffix, RawTreeWrite, r.noMutex);
    return true;
}();

}  // namespace
