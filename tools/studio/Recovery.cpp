#include "tools/studio/Recovery.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QObject>
#include <algorithm>

#include "zevcore/files/FileRecovery.h"
#include "zevcore/frame/Ini.h"
#include "zevcore/platform/services/Desktop.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PreferenceManager.h"

namespace studio {

namespace {

const char* const kDoTimedBackup = "Recovery\\DoTimedBackup";
const char* const kFrequency = "Recovery\\TimedBackupFrequency";
const char* const kDoHistory = "Recovery\\DoHistory";
const char* const kHistoryLevels = "Recovery\\HistoryLevels";
const char* const kHistoryPath = "Recovery\\HistoryPath";
const char* const kBackupTail = "_Timed_Backup";

template <typename Item>
Item* row(CPreferenceManager& manager, int key) {
    return dynamic_cast<Item*>(manager.GetPreference(key));
}

}  // namespace

void addRecoveryPreferences(CPreferenceManager& manager, const char* registryBase) {
    const int recovery = manager.AddCategory("Recovery", 0);
    const int timed = manager.AddGroup("Timed backup", 0, recovery);
    manager.AddPreference(kPrefTimedBackup, new CBoolPreference("Back up the open project", 0, 1),
                          timed);
    manager.AddPreference(
        kPrefBackupMinutes,
        new CIntPreference("Minutes between backups", 0, kDefaultBackupMinutes, 60, 1), timed);
    const int history = manager.AddGroup("History copies", 0, recovery);
    manager.AddPreference(kPrefHistory, new CBoolPreference("Keep a dated copy on opening", 0, 1),
                          history);
    manager.AddPreference(kPrefHistoryCopies, new CIntPreference("Copies kept", 0, 2, 10, 1),
                          history);
    manager.AddPreference(kPrefHistoryFolder, new CFolderPreference("Backup folder", 0, ""),
                          history);
    loadRecoveryPreferences(manager, registryBase);
}

void loadRecoveryPreferences(CPreferenceManager& manager, const char* registryBase) {
    setIniBase(registryBase);
    bool on = true;
    int number = 0;
    if (auto* item = row<CBoolPreference>(manager, kPrefTimedBackup)) {
        on = item->GetValue() != 0;
        if (readIniBool(kDoTimedBackup, on) == ERROR_SUCCESS) item->SetValue(on ? 1 : 0);
    }
    // Out-of-range stored numbers show as the library takes them.
    if (auto* item = row<CIntPreference>(manager, kPrefBackupMinutes);
        item && readIniInt(kFrequency, number) == ERROR_SUCCESS)
        item->SetValue(std::clamp(number, 1, 60));
    if (auto* item = row<CBoolPreference>(manager, kPrefHistory)) {
        on = item->GetValue() != 0;
        if (readIniBool(kDoHistory, on) == ERROR_SUCCESS) item->SetValue(on ? 1 : 0);
    }
    if (auto* item = row<CIntPreference>(manager, kPrefHistoryCopies);
        item && readIniInt(kHistoryLevels, number) == ERROR_SUCCESS)
        item->SetValue(std::clamp(number, 1, 10));
    if (auto* item = row<CFolderPreference>(manager, kPrefHistoryFolder)) {
        CString folder;
        if (readIniString(kHistoryPath, folder) != ERROR_SUCCESS || folder.IsEmpty())
            folder = ZEVTempFolder();
        item->SetFolder(folder);
    }
}

int storeRecoveryPreferences(CPreferenceManager& manager, const char* registryBase,
                             CFileRecovery& recovery) {
    setIniBase(registryBase);
    int status = ERROR_SUCCESS;
    auto keep = [&status](int result) {
        if (status == ERROR_SUCCESS) status = result;
    };
    if (auto* item = row<CBoolPreference>(manager, kPrefTimedBackup))
        keep(writeIniBool(kDoTimedBackup, item->GetValue() != 0));
    if (auto* item = row<CIntPreference>(manager, kPrefBackupMinutes))
        keep(writeIniInt(kFrequency, item->GetValue()));
    if (auto* item = row<CBoolPreference>(manager, kPrefHistory))
        keep(writeIniBool(kDoHistory, item->GetValue() != 0));
    if (auto* item = row<CIntPreference>(manager, kPrefHistoryCopies))
        keep(writeIniInt(kHistoryLevels, item->GetValue()));
    if (auto* item = row<CFolderPreference>(manager, kPrefHistoryFolder))
        keep(writeIniString(kHistoryPath, item->GetFolder()));
    // A timer that runs takes the new interval at once.
    recovery.newRegistry();
    return status;
}

void setDefaultBackupInterval(const char* registryBase) {
    setIniBase(registryBase);
    int minutes = 0;
    if (readIniInt(kFrequency, minutes) != ERROR_SUCCESS)
        writeIniInt(kFrequency, kDefaultBackupMinutes);
}

std::vector<FoundBackup> findBackups(const QString& extension) {
    std::vector<FoundBackup> found;
    const QDir folder(QString::fromUtf8(ZEVTempFolder().GetString()));
    const QString tail = QString::fromLatin1(kBackupTail) + extension;
    for (const QFileInfo& file : folder.entryInfoList({"*" + tail}, QDir::Files)) {
        const QString name = file.fileName();
        found.push_back(
            {file.absoluteFilePath(), name.left(name.size() - tail.size()), file.lastModified()});
    }
    std::stable_sort(found.begin(), found.end(), [](const FoundBackup& a, const FoundBackup& b) {
        return a.written > b.written;
    });
    return found;
}

QString recoveryQuestion(const FoundBackup& backup) {
    const QLocale locale;
    const QDateTime now = QDateTime::currentDateTime();
    const QString when =
        backup.written.date() == now.date()
            ? QObject::tr("today at %1").arg(locale.toString(backup.written.time(), "HH:mm"))
            : QObject::tr("on %1 at %2")
                  .arg(locale.toString(backup.written.date(), QLocale::LongFormat),
                       locale.toString(backup.written.time(), "HH:mm"));
    return QObject::tr(
               "ZEVCore Studio did not end normally last time. A backup of the project "
               "\"%1\" was written %2.\n\nOpen the backup? (No deletes it; Cancel keeps "
               "it for the next start.)")
        .arg(backup.project, when);
}

}  // namespace studio
