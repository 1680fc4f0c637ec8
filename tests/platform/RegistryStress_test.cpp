// Several processes on one store, and processes killed in the middle of their writes.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/TestEnv.h"
#include "zevcore/platform/Registry.h"

namespace {

using zevtest::TempDir;

pid_t startWorker(const std::string& store, const std::string& acks, int worker, int count,
                  bool batched = false) {
    pid_t pid = fork();
    if (pid == 0) {
        std::string id = std::to_string(worker), n = std::to_string(count);
        execl(ZEV_STORE_WORKER, ZEV_STORE_WORKER, store.c_str(), acks.c_str(), id.c_str(),
              n.c_str(), batched ? "batch" : nullptr, nullptr);
        _exit(127);
    }
    return pid;
}

int exitCode(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// The acknowledged writes: (key, value) from every whole line.
std::vector<std::pair<std::string, std::string>> acknowledged(const std::string& acks) {
    std::vector<std::pair<std::string, std::string>> writes;
    std::ifstream in(acks);
    std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::istringstream lines(all.substr(0, all.rfind('\n') + 1));  // a cut last line is no ack
    std::string key, value;
    while (lines >> key >> value) writes.emplace_back(key, value);
    return writes;
}

// Every acknowledged write is in the store with its data, and the file is whole.
void expectAllPresent(const std::string& store, const std::string& acks, size_t atLeast) {
    CZEVFileSettingsStore reopened(store.c_str());
    ASSERT_EQ(reopened.OpenStatus(), ERROR_SUCCESS);
    std::string report;
    EXPECT_TRUE(reopened.CheckIntegrity(report)) << report;

    const auto writes = acknowledged(acks);
    EXPECT_GE(writes.size(), atLeast);
    const IZEVSettingsStore::KeyId root = reopened.RootKey(HKEY_CURRENT_USER);
    size_t missing = 0;
    for (const auto& [key, value] : writes) {
        std::vector<std::string> parts{"Software", "Stress", key.substr(key.rfind('\\') + 1)};
        IZEVSettingsStore::KeyId id = 0;
        bool created = false;
        ZEVStoredValue stored;
        if (reopened.OpenKey(root, parts, false, id, created) != ERROR_SUCCESS ||
            reopened.QueryValue(id, value, stored) != ERROR_SUCCESS || stored.data != value + '\0')
            ++missing;
    }
    EXPECT_EQ(missing, 0u) << "of " << writes.size() << " acknowledged writes";

    // The value everybody wrote holds one whole text of some worker's, never a mixture.
    IZEVSettingsStore::KeyId id = 0;
    bool created = false;
    ZEVStoredValue last;
    ASSERT_EQ(reopened.OpenKey(root, {"Software", "Stress", "K0"}, false, id, created),
              ERROR_SUCCESS);
    ASSERT_EQ(reopened.QueryValue(id, "last", last), ERROR_SUCCESS);
    ASSERT_FALSE(last.data.empty());
    EXPECT_EQ(last.data.back(), '\0');
    const std::string text = last.data.substr(0, last.data.size() - 1);
    const size_t dash = text.find('-');
    EXPECT_TRUE(text.size() > 3 && text[0] == 'w' && dash != std::string::npos &&
                text.find_first_not_of("0123456789", 1) == dash &&
                text.find_first_not_of("0123456789", dash + 1) == std::string::npos)
        << last.data;
    ::testing::Test::RecordProperty("acknowledged", static_cast<int>(writes.size()));
}

TEST(RegistryStress, SeveralProcessesWritingOverlappingKeysLoseNothing) {
    TempDir dir;
    const std::string store = dir.file("registry.db"), acks = dir.file("acks");
    constexpr int kWorkers = 4, kWrites = 60;
    std::vector<pid_t> workers;
    for (int w = 0; w < kWorkers; ++w) workers.push_back(startWorker(store, acks, w, kWrites));
    for (pid_t pid : workers) EXPECT_EQ(exitCode(pid), 0);
    expectAllPresent(store, acks, kWorkers * kWrites);
}

// Four rounds of writers killed while they write: each round starts `writers` workers and
// kills them once `acksPerRound` more writes are acknowledged (waiting at most 10 s for slow
// starts), after a random pause.
void killWritersInRounds(const std::string& store, const std::string& acks, int writers,
                         size_t acksPerRound, bool batched, unsigned seed) {
    std::mt19937 random(seed);
    for (int round = 0; round < 4; ++round) {
        std::vector<pid_t> workers;
        for (int w = 0; w < writers; ++w)
            workers.push_back(startWorker(store, acks, round * 10 + w, 0, batched));
        const size_t before = acknowledged(acks).size();
        const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (acknowledged(acks).size() < before + acksPerRound &&
               std::chrono::steady_clock::now() < giveUp)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 60));
        for (pid_t pid : workers) kill(pid, SIGKILL);
        for (pid_t pid : workers) EXPECT_EQ(exitCode(pid), -SIGKILL);
    }
}

TEST(RegistryStress, KilledWritersLeaveAWholeStoreWithEveryAcknowledgedWrite) {
    TempDir dir;
    const std::string store = dir.file("registry.db"), acks = dir.file("acks");
    killWritersInRounds(store, acks, 3, 5, false, 20261122);
    expectAllPresent(store, acks, 4 * 5);
}

TEST(RegistryStress, AKilledBatchLeavesAllOfItOrNone) {
    TempDir dir;
    const std::string store = dir.file("registry.db"), acks = dir.file("acks");
    killWritersInRounds(store, acks, 2, 3, true, 20261124);
    CZEVFileSettingsStore reopened(store.c_str());
    const IZEVSettingsStore::KeyId root = reopened.RootKey(HKEY_CURRENT_USER);
    int keysSeen = 0;
    for (int k = 0; k < 5; ++k) {
        IZEVSettingsStore::KeyId id = 0;
        bool created = false;
        std::string name = "K";
        name += std::to_string(k);  // not "K" + ..., which GCC 12 -O3 warns about wrongly
        if (reopened.OpenKey(root, {"Software", "Stress", name}, false, id, created) !=
            ERROR_SUCCESS)
            continue;
        ++keysSeen;
        ZEVStoredValue a, b, c;
        EXPECT_EQ(reopened.QueryValue(id, "a", a), ERROR_SUCCESS);
        EXPECT_EQ(reopened.QueryValue(id, "b", b), ERROR_SUCCESS);
        EXPECT_EQ(reopened.QueryValue(id, "c", c), ERROR_SUCCESS);
        EXPECT_TRUE(a.data == b.data && b.data == c.data)
            << a.data << " " << b.data << " " << c.data;
    }
    EXPECT_GT(keysSeen, 0);
}

}  // namespace
