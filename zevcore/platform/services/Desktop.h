#pragma once

// What the library asks of the desktop and the operating system about processes and files.

#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/framework/String.h"

/// The folder for temporary files: $TMPDIR when it is set and not empty, else "/tmp".
/// No trailing slash.
ZEVCORE_API CString ZEVTempFolder();

/// Creates a new, empty file in the temporary folder named `prefix`, six random characters
/// and `suffix`, and answers its path; "" when no file could be made.
ZEVCORE_API CString ZEVMakeTempFile(const char* prefix, const char* suffix);

/// Claims `name` for this process among the live processes of this user: true when nobody
/// else holds it. The claim lasts until the process ends. The lock lives under
/// $XDG_RUNTIME_DIR, or the temporary folder when that is not set.
ZEVCORE_API bool ZEVClaimSingleInstance(const char* name);

/// Runs a program found on PATH with these arguments (argv[0] is the program), without a
/// shell, and collects what it writes to standard output. False when it could not be started
/// or did not exit with status 0.
ZEVCORE_API bool ZEVRunProgram(const std::vector<CString>& argv, CString& output);

/// The absolute path of the program the desktop opens this file with, or "" when the
/// desktop names none: the file's type from the freedesktop MIME database (through
/// xdg-mime, falling back on the glob lists by extension), the type's default application,
/// and the program on its desktop entry's Exec line.
ZEVCORE_API CString ZEVDefaultApplicationFor(const char* path);
