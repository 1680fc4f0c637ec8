#pragma once

// The well-known folders of the user and the machine, and the few file operations the
// library's folder layer needs, on the freedesktop conventions.

#include "zevcore/Export.h"
#include "zevcore/platform/framework/String.h"

// Folder identifiers, with the numbers callers know.
inline constexpr int CSIDL_PERSONAL = 0x0005;
inline constexpr int CSIDL_APPDATA = 0x001a;
inline constexpr int CSIDL_LOCAL_APPDATA = 0x001c;
inline constexpr int CSIDL_COMMON_APPDATA = 0x0023;
inline constexpr int CSIDL_PROGRAM_FILES = 0x0026;
inline constexpr int CSIDL_PROGRAM_FILESX86 = 0x002a;
/// Or'ed into an identifier: create the folder when it does not exist.
inline constexpr int CSIDL_FLAG_CREATE = 0x8000;

/// The path of a well-known folder, without a trailing "/":
/// - CSIDL_PERSONAL: XDG_DOCUMENTS_DIR from $XDG_CONFIG_HOME/user-dirs.dirs, else ~/Documents;
/// - CSIDL_LOCAL_APPDATA: $XDG_DATA_HOME, else ~/.local/share;
/// - CSIDL_APPDATA: $XDG_CONFIG_HOME, else ~/.config;
/// - CSIDL_COMMON_APPDATA: $ZEV_COMMON_DATA; else /var/lib when /var/lib/ZEV exists or can be
///   made; else the per-user $XDG_STATE_HOME (~/.local/state);
/// - CSIDL_PROGRAM_FILES, CSIDL_PROGRAM_FILESX86: $ZEV_PROGRAM_FILES, else the prefix the
///   library is installed under (the same folder for both).
/// Relative XDG variables are ignored. False (and `path` empty) for an unknown identifier or
/// when there is no home; with CSIDL_FLAG_CREATE, also when the folder cannot be made.
ZEVCORE_API bool ZEVGetFolderPath(int csidl, CString& path);

/// Makes the folder and its missing parents; true when it exists afterwards.
ZEVCORE_API bool ZEVCreateFolders(const char* path);

/// Appends `name` to `path` with one "/" between them (a leading "/" of `name` does not
/// make it absolute).
ZEVCORE_API CString ZEVAppendPath(const char* path, const char* name);

/// The mount point of the file system that holds `path` (the highest folder above it on the
/// same device), or "" when `path` cannot be examined.
ZEVCORE_API CString ZEVMountPointOf(const char* path);
