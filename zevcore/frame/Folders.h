#pragma once

// The family's folder layout, the folder of the current project, the first-run seeding of
// the user's data and a few file searches. Paths use "/". Results point into static
// buffers owned here; none is freed by the caller. Not for use from two threads.

#include "zevcore/Export.h"
#include "zevcore/platform/framework/String.h"

/// The folders of the family. The first six can be moved by a setting under
/// "Software\ZEV\Paths" (UserDocuments, UserData, UserMaterials, UserShapes, UserCFS,
/// UserSettings); the common data folder cannot.
enum ETZEVFolder {
    ZEVUserDocuments = 0,
    ZEVUserData = 1,
    ZEVUserMaterials = 2,
    ZEVUserShapes = 3,
    ZEVUserCFS = 4,
    ZEVUserSettings = 5,
    ZEVCommonData = 6,
};

/// The longest path a folder result holds; longer paths come back cut.
inline constexpr int ZEV_MAX_PATH = 4096;

/// The folder's path. Resolved once per process and then served from a cache, even if the
/// folder is later removed. A movable folder's stored setting wins, as it is, unchecked;
/// otherwise the default location is written back as the setting, so it stays from then on.
/// The folder is created when resolved (a stored one is not). Leaves the ini base at
/// "Software\ZEV\Paths" whenever it had to resolve a movable folder. An unknown folder
/// gives "".
ZEVCORE_API const char* GetZEVFolder(ETZEVFolder folder);

/// The folder's path with `name` appended. Results rotate through three buffers: each stays
/// valid through the next two calls with a name. A null `name` gives GetZEVFolder's result
/// and does not use a buffer.
ZEVCORE_API const char* MakeZEVFilePath(ETZEVFolder folder, const char* name);

/// Searches the folder "ZEV" in the program-files folder (the same one when `x86`), with its
/// sub-folders (folders entered before their own name is compared, names compared
/// case-sensitively, symbolic links not entered), for an entry called `name`; its full path,
/// or "". Leaves the process's current directory in the last folder entered, as it always
/// has; when the ZEV folder cannot be entered the directory does not change.
ZEVCORE_API const char* GetZEVProgramFile(const char* name, bool x86);

/// The folder of the current project, or "".
ZEVCORE_API const char* CurrentProjectFilePath();
/// Stores the folder of the file `path` (the path without its last part); null or "" stores
/// "".
ZEVCORE_API void SetCurrentProjectFilePath(const char* path);

/// First-run seeding: copies the common data folder's "Data" tree into the user's data
/// folder. A file the user changed since (its time is not older than the source's) is never
/// overwritten; an older one is put aside as "<name>.backup" first (unless that exists
/// already) and replaced.
ZEVCORE_API void SetupZEVDataFiles();
/// The same from `root` + "/Data".
ZEVCORE_API void SetupZEVDemoDataFiles(const CString& root);

/// Searches `dir` and its sub-folders (in name order, not through symbolic links) for a
/// file called `name` (case-sensitive); 1 and its path in `found`, else 0.
ZEVCORE_API int FindFileInDirectory(const CString& dir, const CString& name, CString& found);
/// The same search over the file system that holds the current directory, from its mount
/// point, without crossing into other mounted file systems.
ZEVCORE_API int FindFileOnLocalDrive(const CString& name, CString& found);
