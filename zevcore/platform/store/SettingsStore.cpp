// The settings store in an SQLite database in WAL mode, shared by every process of the user.
//
// What measuring several writers under random kills taught, and this file keeps to:
// - The write lock is taken only inside BEGIN IMMEDIATE, and a read-modify-write happens
//   wholly inside it. Opening never writes unless the file is new (the schema is checked
//   with a read first).
// - busy_timeout alone still lets SQLITE_BUSY through under a saturated write load, so the
//   opening and every transaction are retried until one overall deadline.
// - A read is one read transaction, so it never sees half of another process's write: a
//   read of one statement is its own, a longer one is wrapped in BEGIN and COMMIT, and a
//   snapshot (CZEVSettingsSnapshot) holds one across several calls.
// - A read never changes a file: a store that does not exist yet is read as an empty one kept
//   in memory, and the file (with its folder) is made by the first write; a database that is
//   not a store is left exactly as it was.
// - A batch (CZEVSettingsBatch) holds one write transaction across several calls; each write
//   in it is a savepoint of its own, so a refused call undoes only itself. When SQLite ends
//   the transaction by itself (a full disk, an I/O error), the batch is marked failed: every
//   later call in it is refused and its commit fails, so no write in it ever lands alone.
// - Transaction control runs as statements prepared once: parsing BEGIN and COMMIT again on
//   every call cost more than the read they wrapped.
// - The connection belongs to this object, which is used by one thread at a time like all of
//   the store, so it is opened without SQLite's own lock around every call.

#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include "zevcore/platform/store/SettingsStore.h"

namespace {

using KeyId = IZEVSettingsStore::KeyId;

constexpr int kSchemaVersion = 1;
constexpr int kApplicationId = 0x5A455652;  // "ZEVR"
constexpr int kBusyTimeoutMs = 200;
// Keys 1 to 4 are the roots, in the order of their handle numbers from 0x80000000.
constexpr KeyId kCurrentUser = 2;
constexpr KeyId kRootCount = 4;

const char* const kSchema =
    "CREATE TABLE keys(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, name TEXT NOT NULL,"
    " fold TEXT NOT NULL, written INTEGER NOT NULL DEFAULT 0, UNIQUE(parent, fold));"
    "CREATE TABLE vals(key INTEGER NOT NULL, name TEXT NOT NULL, fold TEXT NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(key, fold)) WITHOUT ROWID;"
    "INSERT INTO keys(id, parent, name, fold) VALUES"
    " (1, 0, 'HKEY_CLASSES_ROOT', 'hkey_classes_root'),"
    " (2, 0, 'HKEY_CURRENT_USER', 'hkey_current_user'),"
    " (3, 0, 'HKEY_LOCAL_MACHINE', 'hkey_local_machine'),"
    " (4, 0, 'HKEY_USERS', 'hkey_users');"
    "PRAGMA application_id = 1514493522;"
    "PRAGMA user_version = 1;";
static_assert(kApplicationId == 1514493522);

std::string fold(const std::string& name) {
    std::string folded = name;
    for (char& c : folded)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

std::int64_t nowMsSinceEpoch() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// Results that mean "another connection is in the way": worth trying again.
bool isBusy(int rc) {
    rc &= 0xff;
    return rc == SQLITE_BUSY || rc == SQLITE_LOCKED || rc == SQLITE_PROTOCOL;
}

// Creates the folder that will hold the file, with its parents; failures show at open.
void makeParentFolders(const std::string& path) {
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1))
        mkdir(path.substr(0, at).c_str(), 0700);
}

/// A prepared statement, reset and cleared when the scope ends so it can be used again.
class Statement {
public:
    Statement(sqlite3_stmt* stmt, int prepared) : m_stmt(stmt), m_prepared(prepared) {}
    // Every use binds every parameter, so the bindings need no clearing.
    ~Statement() {
        if (m_stmt) sqlite3_reset(m_stmt);
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    bool ok() const { return m_stmt != nullptr; }
    Statement& bind(int i, std::int64_t v) {
        sqlite3_bind_int64(m_stmt, i, v);
        return *this;
    }
    Statement& bind(int i, const std::string& text) {
        sqlite3_bind_text(m_stmt, i, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Statement& bindBlob(int i, const std::string& bytes) {
        sqlite3_bind_blob(m_stmt, i, bytes.data(), static_cast<int>(bytes.size()),
                          SQLITE_TRANSIENT);
        return *this;
    }
    /// Binds without a copy: `text` must outlive this Statement (declared before it).
    Statement& bindStatic(int i, const std::string& text) {
        sqlite3_bind_text(m_stmt, i, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
        return *this;
    }
    Statement& bindStaticBlob(int i, const std::string& bytes) {
        sqlite3_bind_blob(m_stmt, i, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
        return *this;
    }
    /// SQLITE_ROW, SQLITE_DONE or an error (the preparation's, when it failed).
    int step() { return m_stmt ? sqlite3_step(m_stmt) : m_prepared; }
    bool isNull(int col) { return sqlite3_column_type(m_stmt, col) == SQLITE_NULL; }
    std::int64_t integer(int col) { return sqlite3_column_int64(m_stmt, col); }
    std::string text(int col) {
        const void* p = sqlite3_column_blob(m_stmt, col);
        int n = sqlite3_column_bytes(m_stmt, col);
        return p ? std::string(static_cast<const char*>(p), static_cast<size_t>(n)) : std::string();
    }

private:
    sqlite3_stmt* m_stmt;
    int m_prepared;
};

struct CloseDatabase {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// A statement prepared for one use.
StatementHandle prepareOnce(sqlite3* db, const char* sql, int& rc) {
    sqlite3_stmt* stmt = nullptr;
    rc = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
    return StatementHandle(stmt);
}

// The status a failed statement answers.
LSTATUS failureOf(int rc, bool write) {
    rc &= 0xff;
    if (rc == SQLITE_FULL) return ERROR_DISK_FULL;
    if (rc == SQLITE_NOMEM) return ERROR_OUTOFMEMORY;
    if (isBusy(rc)) return ERROR_BUSY;
    return write ? ERROR_CANTWRITE : ERROR_BADDB;
}

bool fileExists(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

struct CZEVFileSettingsStore::Impl {
    CString path;
    Database db;
    bool onDisk = false;  // false while an empty store in memory stands in for a missing file
    LSTATUS openStatus = ERROR_BADDB;
    int deadlineMs = 10000;
    int batchDepth = 0;
    // Set when the batch's transaction ended under it: what the batch's calls answer from then.
    LSTATUS batchFailure = ERROR_SUCCESS;
    int snapshotDepth = 0;
    bool snapshotOwnsTransaction = false;
    std::unordered_set<KeyId> touchedInBatch;
    // Destroyed before `db`, as the database must outlive its statements.
    // Keyed by the text's address: every statement is a literal of this file.
    std::unordered_map<const char*, StatementHandle> statements;
    std::minstd_rand random{static_cast<unsigned>(nowMsSinceEpoch())};

    ~Impl() { statements.clear(); }

    Statement prepare(const char* sql) {
        StatementHandle& stmt = statements[sql];
        int rc = SQLITE_OK;
        if (!stmt) {
            sqlite3_stmt* made = nullptr;
            rc = sqlite3_prepare_v3(db.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &made, nullptr);
            stmt.reset(made);
        }
        return Statement(stmt.get(), rc == SQLITE_OK ? SQLITE_MISUSE : rc);
    }

    int exec(const char* sql) { return sqlite3_exec(db.get(), sql, nullptr, nullptr, nullptr); }

    /// Runs a statement that answers no rows (transaction control), prepared once.
    int run(const char* sql) {
        Statement s = prepare(sql);
        int rc = s.step();
        return rc == SQLITE_DONE || rc == SQLITE_ROW ? SQLITE_OK : rc;
    }

    bool inTransaction() const { return db && !sqlite3_get_autocommit(db.get()); }

    /// Makes sure a database is there to answer: the file when it exists or `forWrite` asks
    /// for it, else an empty store in memory. Answers the open status.
    LSTATUS connect(bool forWrite) {
        if (onDisk) return openStatus;
        if (path.IsEmpty()) return openStatus = ERROR_BADDB;
        // A snapshot stays on the database it began on.
        if (db && snapshotDepth > 0) return openStatus;
        if (!forWrite && !fileExists(path.str())) {
            if (!db) openInMemory();
            return openStatus;
        }
        statements.clear();
        db.reset();
        onDisk = true;
        open();
        return openStatus;
    }

    void openInMemory() {
        sqlite3* made = nullptr;
        int rc = sqlite3_open_v2(":memory:", &made, SQLITE_OPEN_READWRITE, nullptr);
        db.reset(made);
        openStatus = rc == SQLITE_OK && exec(kSchema) == SQLITE_OK ? ERROR_SUCCESS : ERROR_BADDB;
    }

    // A short, growing, jittered pause so that waiting writers do not wake in step.
    void pause(int attempt) {
        int ceiling = 1 << (attempt < 5 ? attempt : 5);
        std::this_thread::sleep_for(std::chrono::milliseconds(1 + random() % ceiling));
    }

    /// Runs `body` in one transaction (a write transaction when `write`), retrying the whole
    /// of it while the file is busy, up to the deadline. `body` answers an SQLite result and
    /// sets the status to answer; a write whose status is not success is rolled back. A read
    /// of `oneStatement` is a transaction by itself and needs no BEGIN; a write of
    /// `oneStatement` changes nothing when it fails, so inside a batch it needs no savepoint.
    template <typename Body>
    LSTATUS transact(bool write, bool oneStatement, Body body) {
        if (write && snapshotDepth > 0 && batchDepth == 0) return ERROR_ACCESS_DENIED;
        if (connect(write || batchDepth > 0) != ERROR_SUCCESS) return openStatus;
        if (batchDepth > 0) return inBatch(write, write && !oneStatement, body);
        if (snapshotDepth > 0) return inSnapshot(body);
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
        for (int attempt = 0;; ++attempt) {
            LSTATUS status = ERROR_SUCCESS;
            int rc = SQLITE_OK;
            if (!write && oneStatement) {
                rc = body(status);
            } else {
                rc = run(write ? "BEGIN IMMEDIATE" : "BEGIN");
                if (rc == SQLITE_OK) {
                    rc = body(status);
                    if (rc == SQLITE_OK && (status == ERROR_SUCCESS || !write)) rc = run("COMMIT");
                }
                if (inTransaction()) run("ROLLBACK");
            }
            if (rc == SQLITE_OK) return status;
            if (!isBusy(rc)) return failureOf(rc, write);
            if (std::chrono::steady_clock::now() >= deadline) return ERROR_BUSY;
            pause(attempt);
        }
    }

    // Inside a snapshot's read transaction.
    template <typename Body>
    LSTATUS inSnapshot(Body body) {
        LSTATUS status = ERROR_SUCCESS;
        int rc = body(status);
        return rc == SQLITE_OK ? status : failureOf(rc, false);
    }

    // Inside a batch's transaction: a write of several statements is a savepoint of its own,
    // released when it succeeds and undone when it does not; a read needs none.
    template <typename Body>
    LSTATUS inBatch(bool write, bool savepoint, Body body) {
        if (batchFailure != ERROR_SUCCESS) return batchFailure;
        LSTATUS status = ERROR_SUCCESS;
        int rc = SQLITE_OK;
        if (!savepoint) {
            rc = body(status);
        } else {
            rc = run("SAVEPOINT call");
            if (rc == SQLITE_OK) rc = body(status);
            if (inTransaction()) {
                if (rc != SQLITE_OK || status != ERROR_SUCCESS) run("ROLLBACK TO call");
                run("RELEASE call");
            }
        }
        if (!inTransaction()) {
            // SQLite rolled the whole batch back (a full disk, an I/O error): nothing of it
            // may land, not even what the calls after this one would write on their own.
            batchFailure = rc != SQLITE_OK ? failureOf(rc, true) : ERROR_CANTWRITE;
            return batchFailure;
        }
        return rc == SQLITE_OK ? status : failureOf(rc, write);
    }

    LSTATUS beginBatch() {
        if (snapshotDepth > 0 && batchDepth == 0) return ERROR_ACCESS_DENIED;
        if (batchDepth > 0) {
            if (batchFailure != ERROR_SUCCESS) return batchFailure;
            int rc = run("SAVEPOINT batch");
            if (rc != SQLITE_OK) return failureOf(rc, true);
            ++batchDepth;
            return ERROR_SUCCESS;
        }
        if (connect(true) != ERROR_SUCCESS) return openStatus;
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
        for (int attempt = 0;; ++attempt) {
            int rc = run("BEGIN IMMEDIATE");
            if (rc == SQLITE_OK) {
                batchDepth = 1;
                batchFailure = ERROR_SUCCESS;
                touchedInBatch.clear();
                return ERROR_SUCCESS;
            }
            if (inTransaction()) run("ROLLBACK");
            if (!isBusy(rc)) return failureOf(rc, true);
            if (std::chrono::steady_clock::now() >= deadline) return ERROR_BUSY;
            pause(attempt);
        }
    }

    LSTATUS endBatch(bool commit) {
        if (batchDepth == 0) return ERROR_INVALID_PARAMETER;
        if (--batchDepth > 0) {
            if (batchFailure != ERROR_SUCCESS) return batchFailure;
            if (!commit) {
                run("ROLLBACK TO batch");
                touchedInBatch.clear();
            }
            int rc = run("RELEASE batch");
            return rc == SQLITE_OK ? ERROR_SUCCESS : failureOf(rc, true);
        }
        const LSTATUS failure = batchFailure;
        batchFailure = ERROR_SUCCESS;
        touchedInBatch.clear();
        int rc = failure != ERROR_SUCCESS ? SQLITE_OK : run(commit ? "COMMIT" : "ROLLBACK");
        if (inTransaction()) run("ROLLBACK");
        if (!commit) return ERROR_SUCCESS;
        if (failure != ERROR_SUCCESS) return failure;
        return rc == SQLITE_OK ? ERROR_SUCCESS : failureOf(rc, true);
    }

    LSTATUS beginSnapshot() {
        if (batchDepth > 0 || snapshotDepth > 0) {
            ++snapshotDepth;
            return ERROR_SUCCESS;
        }
        if (connect(false) != ERROR_SUCCESS) return openStatus;
        int rc = run("BEGIN");
        if (rc != SQLITE_OK) return failureOf(rc, false);
        snapshotDepth = 1;
        snapshotOwnsTransaction = true;
        return ERROR_SUCCESS;
    }

    LSTATUS endSnapshot() {
        if (snapshotDepth == 0) return ERROR_INVALID_PARAMETER;
        if (--snapshotDepth > 0 || !snapshotOwnsTransaction) return ERROR_SUCCESS;
        snapshotOwnsTransaction = false;
        run("COMMIT");
        if (inTransaction()) run("ROLLBACK");
        return ERROR_SUCCESS;
    }

    /// Opens the file and makes sure it holds a store, retrying while it is busy.
    void open() {
        std::string file = path.str();
        makeParentFolders(file);
        sqlite3* made = nullptr;
        int opened = sqlite3_open_v2(
            file.c_str(), &made, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
            nullptr);
        db.reset(made);
        if (opened != SQLITE_OK) return;
        sqlite3_busy_timeout(db.get(), kBusyTimeoutMs);
        sqlite3_extended_result_codes(db.get(), 0);
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(deadlineMs);
        for (int attempt = 0;; ++attempt) {
            int rc = prepareFile();
            if (rc == SQLITE_OK) {
                openStatus = ERROR_SUCCESS;
                return;
            }
            if (!isBusy(rc) || std::chrono::steady_clock::now() >= deadline) {
                openStatus = isBusy(rc) ? ERROR_BUSY : ERROR_BADDB;
                return;
            }
            pause(attempt);
        }
    }

    int pragmaInt(const char* sql, std::int64_t& value) {
        int rc = SQLITE_OK;
        StatementHandle stmt = prepareOnce(db.get(), sql, rc);
        if (rc == SQLITE_OK) {
            rc = sqlite3_step(stmt.get());
            if (rc == SQLITE_ROW) {
                value = sqlite3_column_int64(stmt.get(), 0);
                rc = SQLITE_OK;
            } else if (rc == SQLITE_DONE) {
                rc = SQLITE_ERROR;
            }
        }
        return rc;
    }

    int journalIsWal(bool& wal) {
        int rc = SQLITE_OK;
        StatementHandle stmt = prepareOnce(db.get(), "PRAGMA journal_mode", rc);
        if (rc == SQLITE_OK && (rc = sqlite3_step(stmt.get())) == SQLITE_ROW) {
            const unsigned char* mode = sqlite3_column_text(stmt.get(), 0);
            wal = mode && std::string(reinterpret_cast<const char*>(mode)) == "wal";
            rc = SQLITE_OK;
        }
        return rc;
    }

    int prepareFile() {
        // Reads first: a store already set up is opened without taking the write lock.
        // One read transaction, so that a schema another process commits meanwhile is seen
        // whole or not at all.
        std::int64_t version = 0, appId = 0, objects = 0;
        int rc = exec("BEGIN");
        if (rc == SQLITE_OK) rc = pragmaInt("PRAGMA user_version", version);
        if (rc == SQLITE_OK) rc = pragmaInt("PRAGMA application_id", appId);
        if (rc == SQLITE_OK) rc = pragmaInt("SELECT count(*) FROM sqlite_master", objects);
        if (rc == SQLITE_OK) rc = exec("COMMIT");
        if (!sqlite3_get_autocommit(db.get())) exec("ROLLBACK");
        if (rc != SQLITE_OK) return rc;
        const bool ours = version == kSchemaVersion && appId == kApplicationId;
        // Somebody else's database: refused before anything could change it.
        if (!ours && (objects != 0 || version != 0 || appId != 0)) return SQLITE_NOTADB;
        bool wal = false;
        if ((rc = journalIsWal(wal)) != SQLITE_OK) return rc;
        if (!wal) {
            if ((rc = exec("PRAGMA journal_mode=WAL")) != SQLITE_OK) return rc;
            if ((rc = journalIsWal(wal)) != SQLITE_OK) return rc;
            // The mode stays as it was while another connection holds the file.
            if (!wal) return SQLITE_BUSY;
        }
        // Every commit reaches the disk before it is acknowledged (see docs/settings-store.md).
        if ((rc = exec("PRAGMA synchronous=FULL")) != SQLITE_OK) return rc;
        if (ours) return SQLITE_OK;
        if ((rc = exec("BEGIN IMMEDIATE")) != SQLITE_OK) return rc;
        // Another process may have set the file up while this one waited for the lock.
        rc = pragmaInt("PRAGMA user_version", version);
        if (rc == SQLITE_OK && version == 0) rc = exec(kSchema);
        if (rc == SQLITE_OK) rc = exec("COMMIT");
        if (!sqlite3_get_autocommit(db.get())) exec("ROLLBACK");
        return rc;
    }

    // Inside a transaction: sets `status` to ERROR_KEY_DELETED when the key is gone.
    int requireKey(KeyId key, LSTATUS& status) {
        bool exists = false;
        int rc = keyExists(key, exists);
        if (rc == SQLITE_OK && !exists) status = ERROR_KEY_DELETED;
        return rc;
    }

    // Inside a transaction: whether the key still exists.
    int keyExists(KeyId key, bool& exists) {
        Statement s = prepare("SELECT 1 FROM keys WHERE id = ?1");
        s.bind(1, key);
        int rc = s.step();
        exists = rc == SQLITE_ROW;
        return rc == SQLITE_ROW || rc == SQLITE_DONE ? SQLITE_OK : rc;
    }

    int findChild(KeyId parent, const std::string& name, KeyId& child) {
        const std::string folded = fold(name);
        Statement s = prepare("SELECT id FROM keys WHERE parent = ?1 AND fold = ?2");
        s.bind(1, parent).bindStatic(2, folded);
        int rc = s.step();
        child = rc == SQLITE_ROW ? s.integer(0) : 0;
        return rc == SQLITE_ROW || rc == SQLITE_DONE ? SQLITE_OK : rc;
    }

    int touch(KeyId key) {
        Statement s = prepare("UPDATE keys SET written = ?2 WHERE id = ?1");
        s.bind(1, key).bind(2, nowMsSinceEpoch());
        int rc = s.step();
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    }

    // Inside a transaction, before a value of `key` changes: moves the key's write time and
    // sets `status` to ERROR_KEY_DELETED when the key is gone, in one statement. A batch
    // moves each key's time once, at its first write (the batch's keys are its own until the
    // commit, and a deletion in it forgets what was moved).
    int touchForWrite(KeyId key, LSTATUS& status) {
        if (batchDepth > 0 && touchedInBatch.count(key)) return SQLITE_OK;
        int rc = touch(key);
        if (rc != SQLITE_OK) return rc;
        if (sqlite3_changes(db.get()) == 0) {
            status = ERROR_KEY_DELETED;
            return SQLITE_OK;
        }
        if (batchDepth > 0) touchedInBatch.insert(key);
        return SQLITE_OK;
    }

    // Inside a transaction: finds the path below `parent`, making what is missing when asked.
    int walk(KeyId parent, const std::vector<std::string>& parts, bool create, KeyId& key,
             bool& created, LSTATUS& status) {
        int rc = SQLITE_OK;
        created = false;
        key = parent;
        for (const std::string& part : parts) {
            KeyId child = 0;
            if ((rc = findChild(key, part, child)) != SQLITE_OK) return rc;
            // A child is found only under a parent that is there; a miss under the first
            // parent may mean that the parent itself is gone.
            if (child == 0 && key == parent) {
                if ((rc = requireKey(parent, status)) != SQLITE_OK || status != ERROR_SUCCESS)
                    return rc;
            }
            if (child == 0) {
                if (!create) {
                    status = ERROR_FILE_NOT_FOUND;
                    return SQLITE_OK;
                }
                Statement s = prepare(
                    "INSERT INTO keys(parent, name, fold, written) VALUES (?1, ?2, ?3, ?4)");
                s.bind(1, key).bind(2, part).bind(3, fold(part)).bind(4, nowMsSinceEpoch());
                if ((rc = s.step()) != SQLITE_DONE) return rc;
                child = sqlite3_last_insert_rowid(db.get());
                created = true;
            } else {
                created = false;
            }
            key = child;
        }
        return parts.empty() ? requireKey(parent, status) : SQLITE_OK;
    }
};

IZEVSettingsStore::~IZEVSettingsStore() = default;

CZEVFileSettingsStore::CZEVFileSettingsStore(const char* path) : m_impl(std::make_unique<Impl>()) {
    m_impl->path = path ? path : "";
    m_impl->connect(false);
}

CZEVFileSettingsStore::~CZEVFileSettingsStore() {
    if (m_impl->batchDepth > 0) {
        m_impl->batchDepth = 1;
        m_impl->endBatch(false);
    }
    if (m_impl->snapshotDepth > 0) {
        m_impl->snapshotDepth = 1;
        m_impl->endSnapshot();
    }
}

LSTATUS CZEVFileSettingsStore::BeginBatch() {
    return m_impl->beginBatch();
}
LSTATUS CZEVFileSettingsStore::EndBatch(bool commit) {
    return m_impl->endBatch(commit);
}
LSTATUS CZEVFileSettingsStore::BeginSnapshot() {
    return m_impl->beginSnapshot();
}
LSTATUS CZEVFileSettingsStore::EndSnapshot() {
    return m_impl->endSnapshot();
}

LSTATUS CZEVFileSettingsStore::OpenStatus() const {
    return m_impl->openStatus;
}
const CString& CZEVFileSettingsStore::Path() const {
    return m_impl->path;
}
void CZEVFileSettingsStore::SetDeadlineMs(int ms) {
    m_impl->deadlineMs = ms < 0 ? 0 : ms;
}

bool CZEVFileSettingsStore::CheckIntegrity(std::string& report) {
    report.clear();
    if (!m_impl->db) {
        report = "not open";
        return false;
    }
    int rc = SQLITE_OK;
    StatementHandle stmt = prepareOnce(m_impl->db.get(), "PRAGMA integrity_check", rc);
    while (rc == SQLITE_OK && sqlite3_step(stmt.get()) == SQLITE_ROW) {
        const unsigned char* line = sqlite3_column_text(stmt.get(), 0);
        if (!report.empty()) report += '\n';
        report += line ? reinterpret_cast<const char*>(line) : "";
    }
    if (rc != SQLITE_OK) report = sqlite3_errmsg(m_impl->db.get());
    return report == "ok";
}

IZEVSettingsStore::KeyId CZEVFileSettingsStore::RootKey(HKEY root) {
    auto number = reinterpret_cast<std::uintptr_t>(root);
    if (number < 0x80000000u || number >= 0x80000000u + kRootCount) return 0;
    return static_cast<KeyId>(number - 0x80000000u) + 1;
}

bool CZEVFileSettingsStore::IsWritable(KeyId key) {
    return key == kCurrentUser || key > kRootCount;
}

LSTATUS CZEVFileSettingsStore::OpenKey(KeyId parent, const std::vector<std::string>& parts,
                                       bool create, KeyId& key, bool& created) {
    // Most creations find the key there already: look first without the write lock.
    LSTATUS status = m_impl->transact(false, false, [&](LSTATUS& st) {
        return m_impl->walk(parent, parts, false, key, created, st);
    });
    if (status != ERROR_FILE_NOT_FOUND || !create) return status;
    if (!IsWritable(parent)) return ERROR_ACCESS_DENIED;
    return m_impl->transact(true, false, [&](LSTATUS& st) {
        return m_impl->walk(parent, parts, true, key, created, st);
    });
}

LSTATUS CZEVFileSettingsStore::QueryValue(KeyId key, const std::string& name,
                                          ZEVStoredValue& value) {
    // A value is there only under a key that is there, so a value found is one statement,
    // a read transaction of its own. Only a miss asks, in a second one, whether the key went:
    // the two may see different instants, which decides no more than which of two "not
    // there" answers is given.
    const std::string folded = fold(name);
    return m_impl->transact(false, true, [&](LSTATUS& st) {
        int rc = SQLITE_OK;
        {
            Statement s =
                m_impl->prepare("SELECT type, data FROM vals WHERE key = ?1 AND fold = ?2");
            s.bind(1, key).bindStatic(2, folded);
            rc = s.step();
            if (rc == SQLITE_ROW) {
                value.name = name;
                value.type = static_cast<DWORD>(s.integer(0));
                value.data = s.text(1);
                return SQLITE_OK;
            }
            if (rc != SQLITE_DONE) return rc;
        }
        bool exists = false;
        rc = m_impl->keyExists(key, exists);
        st = exists ? ERROR_FILE_NOT_FOUND : ERROR_KEY_DELETED;
        return rc;
    });
}

LSTATUS CZEVFileSettingsStore::SetValue(KeyId key, const ZEVStoredValue& value) {
    if (!IsWritable(key)) return ERROR_ACCESS_DENIED;
    const std::string folded = fold(value.name);
    // The key's time moves first, which also tells whether the key is there; then the value
    // is put in one statement. Should that statement fail on its own, all that stays is the
    // key's moved time, so inside a batch the call needs no savepoint.
    return m_impl->transact(true, true, [&](LSTATUS& st) {
        int rc = m_impl->touchForWrite(key, st);
        if (rc != SQLITE_OK || st != ERROR_SUCCESS) return rc;
        // A value written again under another case keeps the name it was made with.
        Statement s = m_impl->prepare(
            "INSERT INTO vals(key, name, fold, type, data) VALUES (?1, ?2, ?3, ?4, ?5)"
            " ON CONFLICT(key, fold) DO UPDATE SET type = excluded.type, data = excluded.data");
        s.bind(1, key).bindStatic(2, value.name).bindStatic(3, folded);
        s.bind(4, static_cast<std::int64_t>(value.type)).bindStaticBlob(5, value.data);
        rc = s.step();
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    });
}

LSTATUS CZEVFileSettingsStore::DeleteValue(KeyId key, const std::string& name) {
    if (!IsWritable(key)) return ERROR_ACCESS_DENIED;
    return m_impl->transact(true, false, [&](LSTATUS& st) {
        int rc = m_impl->requireKey(key, st);
        if (rc != SQLITE_OK || st != ERROR_SUCCESS) return rc;
        Statement s = m_impl->prepare("DELETE FROM vals WHERE key = ?1 AND fold = ?2");
        s.bind(1, key).bind(2, fold(name));
        if ((rc = s.step()) != SQLITE_DONE) return rc;
        if (sqlite3_changes(m_impl->db.get()) == 0) {
            st = ERROR_FILE_NOT_FOUND;
            return SQLITE_OK;
        }
        return m_impl->touch(key);
    });
}

LSTATUS CZEVFileSettingsStore::DeleteKey(KeyId key, bool tree, bool keepKey) {
    if (!keepKey && key <= kRootCount) return ERROR_ACCESS_DENIED;
    if (!IsWritable(key)) return ERROR_ACCESS_DENIED;
    return m_impl->transact(true, false, [&](LSTATUS& st) {
        // Key numbers are used again: what the batch knows of the keys it wrote is dropped.
        m_impl->touchedInBatch.clear();
        int rc = m_impl->requireKey(key, st);
        if (rc != SQLITE_OK || st != ERROR_SUCCESS) return rc;
        if (!tree) {
            Statement s = m_impl->prepare("SELECT 1 FROM keys WHERE parent = ?1 LIMIT 1");
            s.bind(1, key);
            rc = s.step();
            if (rc == SQLITE_ROW) {
                st = ERROR_ACCESS_DENIED;
                return SQLITE_OK;
            }
            if (rc != SQLITE_DONE) return rc;
        }
        static const char* const kBeneath =
            "WITH RECURSIVE sub(id) AS (SELECT ?1 UNION ALL"
            " SELECT keys.id FROM keys JOIN sub ON keys.parent = sub.id) ";
        static const std::string dropValues =
            std::string(kBeneath) + "DELETE FROM vals WHERE key IN (SELECT id FROM sub)";
        static const std::string dropKeys = std::string(kBeneath) +
                                            "DELETE FROM keys WHERE id IN (SELECT id FROM sub)"
                                            " AND (?2 = 0 OR id <> ?1)";
        {
            Statement s = m_impl->prepare(dropValues.c_str());
            s.bind(1, key);
            if ((rc = s.step()) != SQLITE_DONE) return rc;
        }
        {
            Statement s = m_impl->prepare(dropKeys.c_str());
            s.bind(1, key).bind(2, keepKey ? 1 : 0);
            if ((rc = s.step()) != SQLITE_DONE) return rc;
        }
        return keepKey ? m_impl->touch(key) : SQLITE_OK;
    });
}

LSTATUS CZEVFileSettingsStore::SubKeys(KeyId key, std::vector<std::string>& names) {
    return m_impl->transact(false, false, [&](LSTATUS& st) {
        names.clear();
        int rc = m_impl->requireKey(key, st);
        if (rc != SQLITE_OK || st != ERROR_SUCCESS) return rc;
        Statement s = m_impl->prepare("SELECT name FROM keys WHERE parent = ?1 ORDER BY fold");
        s.bind(1, key);
        while ((rc = s.step()) == SQLITE_ROW) names.push_back(s.text(0));
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    });
}

LSTATUS CZEVFileSettingsStore::Values(KeyId key, std::vector<ZEVStoredValue>& values) {
    return m_impl->transact(false, false, [&](LSTATUS& st) {
        values.clear();
        int rc = m_impl->requireKey(key, st);
        if (rc != SQLITE_OK || st != ERROR_SUCCESS) return rc;
        Statement s =
            m_impl->prepare("SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY fold");
        s.bind(1, key);
        while ((rc = s.step()) == SQLITE_ROW)
            values.push_back({s.text(0), static_cast<DWORD>(s.integer(1)), s.text(2)});
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    });
}

LSTATUS CZEVFileSettingsStore::WriteTime(KeyId key, std::int64_t& msSinceEpoch) {
    return m_impl->transact(false, true, [&](LSTATUS& st) {
        Statement s = m_impl->prepare("SELECT written FROM keys WHERE id = ?1");
        s.bind(1, key);
        int rc = s.step();
        if (rc == SQLITE_ROW) {
            msSinceEpoch = s.integer(0);
            return SQLITE_OK;
        }
        st = ERROR_KEY_DELETED;
        return rc == SQLITE_DONE ? SQLITE_OK : rc;
    });
}

CString ZEVSettingsStorePath() {
    const char* explicitPath = std::getenv("ZEV_REGISTRY");
    if (explicitPath && *explicitPath) return explicitPath;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    std::string base;
    if (config && *config == '/') {
        base = config;
    } else {
        // Without HOME, the home folder of the account, as login would have set it.
        const char* home = std::getenv("HOME");
        if (!home || *home != '/') {
            const passwd* account = getpwuid(getuid());
            home =
                account && account->pw_dir && *account->pw_dir == '/' ? account->pw_dir : nullptr;
        }
        if (!home) return CString();
        base = std::string(home) + "/.config";
    }
    return CString(base + "/ZEV/registry.db");
}

namespace {
IZEVSettingsStore* gInstalledStore = nullptr;
}

LSTATUS IZEVSettingsStore::BeginBatch() {
    return ERROR_SUCCESS;
}
LSTATUS IZEVSettingsStore::EndBatch(bool) {
    return ERROR_SUCCESS;
}
LSTATUS IZEVSettingsStore::BeginSnapshot() {
    return ERROR_SUCCESS;
}
LSTATUS IZEVSettingsStore::EndSnapshot() {
    return ERROR_SUCCESS;
}

CZEVSettingsBatch::CZEVSettingsBatch() : m_store(&ZEVSettingsStore()) {
    m_status = m_store->BeginBatch();
}

CZEVSettingsBatch::~CZEVSettingsBatch() {
    if (!m_ended && m_status == ERROR_SUCCESS) m_store->EndBatch(false);
}

CZEVSettingsSnapshot::CZEVSettingsSnapshot() : m_store(&ZEVSettingsStore()) {
    m_status = m_store->BeginSnapshot();
}

CZEVSettingsSnapshot::~CZEVSettingsSnapshot() {
    if (m_status == ERROR_SUCCESS) m_store->EndSnapshot();
}

LSTATUS CZEVSettingsBatch::Commit() {
    if (m_ended || m_status != ERROR_SUCCESS) return m_ended ? ERROR_INVALID_PARAMETER : m_status;
    m_ended = true;
    return m_store->EndBatch(true);
}

IZEVSettingsStore& ZEVSettingsStore() {
    if (gInstalledStore) return *gInstalledStore;
    static CZEVFileSettingsStore fallback(ZEVSettingsStorePath());
    return fallback;
}

IZEVSettingsStore* ZEVInstallSettingsStore(IZEVSettingsStore* store) {
    IZEVSettingsStore* previous = gInstalledStore;
    gInstalledStore = store;
    return previous;
}
