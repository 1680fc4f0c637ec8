#pragma once

// The per-user settings store: a tree of keys under a few roots, each key with a default
// (unnamed) value and named values of a type and raw bytes. The functions below keep the
// names, arguments and status numbers that callers and stored data were written against.
//
// Key and value names compare without regard to ASCII case and keep the case they were
// created with. Key paths separate their parts with a backslash. Only HKEY_CURRENT_USER can
// be written; the other roots exist and stay empty.
//
// The store behind the functions is a service (IZEVSettingsStore, in
// zevcore/platform/store/SettingsStore.h, which also holds the statuses and value types):
// when a function answers ERROR_SUCCESS the write is in the store, and a process killed at
// any moment leaves the store whole.

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/store/SettingsStore.h"

// Access rights of an open key.
using REGSAM = DWORD;
inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr REGSAM KEY_NOTIFY = 0x0010;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_EXECUTE = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

/// A key or value name is at most this many bytes.
inline constexpr DWORD ZEV_MAX_KEY_NAME = 255;

/// Creates the key `subKey` under `key`, with every missing parent, or opens it when it
/// exists. A null or empty `subKey` opens `key` itself again. `disposition` (may be null)
/// tells REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY. `reserved`, `keyClass`, `options`
/// and `security` are accepted and ignored. ERROR_ACCESS_DENIED under a read-only root or
/// through a key opened without KEY_CREATE_SUB_KEY; ERROR_BAD_PATHNAME for an empty part of
/// the path (a leading or doubled backslash); ERROR_INVALID_PARAMETER for a part longer than
/// ZEV_MAX_KEY_NAME or a null `result`.
ZEVCORE_API LSTATUS RegCreateKeyExA(HKEY key, const char* subKey, DWORD reserved, char* keyClass,
                                    DWORD options, REGSAM access, void* security, HKEY* result,
                                    DWORD* disposition);
/// As RegCreateKeyExA with all access and no disposition.
ZEVCORE_API LSTATUS RegCreateKeyA(HKEY key, const char* subKey, HKEY* result);

/// Opens an existing key; ERROR_FILE_NOT_FOUND when it does not exist.
ZEVCORE_API LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM access,
                                  HKEY* result);
ZEVCORE_API LSTATUS RegOpenKeyA(HKEY key, const char* subKey, HKEY* result);

/// Closes a key opened by the functions above. Closing a root does nothing; a handle that
/// is not open gives ERROR_INVALID_HANDLE.
ZEVCORE_API LSTATUS RegCloseKey(HKEY key);

/// Reads value `name` (null or "" is the key's default value). `type` (may be null) gets
/// its type. With `data` null, `*size` gets the size in bytes. With `data`, `*size` is the
/// buffer's size on entry and the value's size on return; a buffer too small gives
/// ERROR_MORE_DATA and leaves `data` alone. `data` without `size` is
/// ERROR_INVALID_PARAMETER. The bytes come back as stored: a text holds its terminating NUL
/// only when the writer counted it.
ZEVCORE_API LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type,
                                     BYTE* data, DWORD* size);

/// Stores value `name` (null or "" is the default value) with `type` and `size` bytes of
/// `data`. Null `data` with a non-zero size is ERROR_INVALID_PARAMETER. Needs KEY_SET_VALUE.
ZEVCORE_API LSTATUS RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD size);

/// Removes value `name`; ERROR_FILE_NOT_FOUND when there is none.
ZEVCORE_API LSTATUS RegDeleteValueA(HKEY key, const char* name);

/// Removes the key `subKey` under `key` with its values. A key that still has subkeys is
/// not removed (ERROR_ACCESS_DENIED), nor is a root. Handles still open on a removed key
/// answer ERROR_KEY_DELETED from then on.
ZEVCORE_API LSTATUS RegDeleteKeyA(HKEY key, const char* subKey);

/// Removes `subKey` and everything beneath it; with a null or empty `subKey`, removes the
/// values and subkeys of `key` and keeps the key.
ZEVCORE_API LSTATUS RegDeleteTreeA(HKEY key, const char* subKey);

/// The name of the `index`-th subkey of `key`, in the order of the names compared without
/// case. `*nameSize` is the buffer's size in bytes on entry and the name's length without
/// its NUL on return. A buffer too small for the name and its NUL gives ERROR_MORE_DATA with
/// as much of the name as fits, NUL-terminated. Past the last subkey: ERROR_NO_MORE_ITEMS.
/// `keyClass` (when given) gets ""; `lastWrite` (when given) gets the key's last write time.
ZEVCORE_API LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize,
                                  DWORD* reserved, char* keyClass, DWORD* classSize,
                                  FILETIME* lastWrite);

/// The `index`-th value of `key` (the default value, when set, comes first as ""), with the
/// size rules of RegEnumKeyExA for the name and of RegQueryValueExA for the data.
ZEVCORE_API LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize,
                                  DWORD* reserved, DWORD* type, BYTE* data, DWORD* dataSize);
