#pragma once

// The studio's side of file recovery: the timed backup's and the history copies' settings as
// rows of the preferences, and the question asked at start when a backup was left behind.

#include <QDateTime>
#include <QString>
#include <vector>

class CPreferenceManager;
class CFileRecovery;

namespace studio {

/// Minutes between timed backups when the user has chosen nothing: the library's quarter of
/// an hour loses too much work for a program whose whole project is a few edits.
inline constexpr int kDefaultBackupMinutes = 5;

/// Keys of the recovery rows in the preferences.
enum RecoveryPreference : int {
    kPrefTimedBackup = 100,
    kPrefBackupMinutes,
    kPrefHistory,
    kPrefHistoryCopies,
    kPrefHistoryFolder,
};

/// Adds the "Recovery" tab to `manager` and fills its rows from the recovery settings under
/// `registryBase` (the library's own keys are the values' home; the rows only show them).
void addRecoveryPreferences(CPreferenceManager& manager, const char* registryBase);
/// Fills the recovery rows from the settings store.
void loadRecoveryPreferences(CPreferenceManager& manager, const char* registryBase);
/// Writes the recovery rows to the settings the library reads, then has `recovery` read them
/// again; the store's status (ERROR_SUCCESS, else the first refusal).
int storeRecoveryPreferences(CPreferenceManager& manager, const char* registryBase,
                             CFileRecovery& recovery);
/// Before the first run has chosen anything, the studio's own interval goes into the store, so
/// that the library and the preferences agree on it.
void setDefaultBackupInterval(const char* registryBase);

/// A timed backup left in the temporary folder by a run that did not end in order.
struct FoundBackup {
    QString path;
    /// The project's name as the backup's file name carries it ("Untitled" for a new one).
    QString project;
    QDateTime written;
};

/// The backups of projects with `extension`, newest first.
std::vector<FoundBackup> findBackups(const QString& extension);
/// The question that offers `backup`: it names the project and when the backup was written.
QString recoveryQuestion(const FoundBackup& backup);

}  // namespace studio
