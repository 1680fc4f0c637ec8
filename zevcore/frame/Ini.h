#pragma once

// The "ini" settings layer: simple typed settings in the per-user settings store.
//
// A setting named `key` is a key of its own, at the current base + "\" + `key`, and its data
// is that key's default value, always stored as text whatever the setting's type. A `key`
// may hold backslashes and so name a key further down ("Recovery\DoHistory"). Writing
// creates the key and its missing parents.
//
// Every `int` result is the store's status: 0 (ERROR_SUCCESS) is success, 2 not found, 11
// (ERROR_BAD_FORMAT) a stored text that is not a number. A failed read leaves its target as
// it was, except where said.
//
// The base is process-wide and moves: GetZEVFolder and writeProductPath leave it at their
// own keys, so call setIniBase right before each batch of calls. Not for use from two
// threads.

#include "zevcore/Export.h"
#include "zevcore/platform/Registry.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

/// Texts are read into a buffer of this many bytes: a longer stored text comes back cut to
/// ZEV_INI_VALUE_SIZE - 1 bytes. A caller's `char*` target must hold this many bytes.
inline constexpr int ZEV_INI_VALUE_SIZE = 1024;

/// Sets the base key text and the root for the calls that follow. A null base is "".
ZEVCORE_API void setIniBase(const char* base, HKEY root = HKEY_CURRENT_USER);
/// The current base text and root.
ZEVCORE_API const char* getIniBase();
ZEVCORE_API HKEY getIniRoot();

ZEVCORE_API int writeIniString(const char* key, const char* text);
ZEVCORE_API int writeIniString(const char* key, const CString& text);
ZEVCORE_API int write_registry(const char* key, const char* text);
/// Stores the decimal text ("%ld").
ZEVCORE_API int writeIniInt(const char* key, int value);
/// Stores the colour word as a signed decimal number, as it always was: RGB(255, 255, 255)
/// is "16777215", and a word with its top bit set is negative.
ZEVCORE_API int writeIniColor(const char* key, COLORREF value);
/// Stores "%g": six significant digits; more precision is lost on purpose.
ZEVCORE_API int writeIniDouble(const char* key, double value);
/// Stores 1 or 0.
ZEVCORE_API int writeIniBool(const char* key, bool value);

/// Reads the text into `text` (at least ZEV_INI_VALUE_SIZE bytes); `text` is untouched on
/// failure.
ZEVCORE_API int readIniString(const char* key, char* text);
ZEVCORE_API int readIniString(const char* key, CString& text);
/// As readIniString, but empties `text` first, so a failure leaves "".
ZEVCORE_API int read_registry(const char* key, char* text);
/// Reads a decimal integer: leading white space, a sign and digits; what follows the digits
/// is ignored ("12abc" is 12). No digits: ERROR_BAD_FORMAT. Beyond 32 bits the value stops
/// at INT_MIN or INT_MAX.
ZEVCORE_API int readIniInt(const char* key, int& value);
/// Reads a colour written by writeIniColor: a decimal number taken modulo 2^32, so "-1" is
/// 0xFFFFFFFF.
ZEVCORE_API int readIniColor(const char* key, COLORREF& value);
/// Reads a number in C notation ("%lf"), whatever the process's locale.
ZEVCORE_API int readIniDouble(const char* key, double& value);
/// Reads an integer; any non-zero number is true. With `clearFirst` the target is false
/// before anything else, so a failed read leaves false.
ZEVCORE_API int readIniBool(const char* key, bool& value, bool clearFirst = false);
/// As read_registry, for the named value `valueName` of the key instead of its default value.
ZEVCORE_API int read_registry_subkey(const char* key, const char* valueName, char* text);
/// Deletes the key (not one that still has subkeys).
ZEVCORE_API int delete_registry(const char* key);

/// A setting found by readIndexedSubKey. The first letter of its name tells its type.
struct _SRegItem {
    char name[128];
    /// 0 text, 1 integer, 2 bool, 3 colour, 4 double.
    int type;
    union alignas(8) {
        char text[ZEV_INI_VALUE_SIZE];
        int integer;
        bool boolean;
        COLORREF color;
        double number;
    } value;
};

/// Reads the `index`-th subkey of `key` as a setting: its name's first letter, in either
/// case, gives the type (b bool, c colour, d double, i integer, s text), and the setting is
/// read by the matching function. A name longer than 127 bytes is used cut. False when `key`
/// cannot be opened (the item is then untouched), when there is no such subkey, when the
/// first letter is any other, or when the read fails.
ZEVCORE_API bool readIndexedSubKey(const char* key, int index, _SRegItem& item);

/// Records the folder of the running program (with its trailing "/") under
/// "Software\ZEV" as the setting "Path\<product>". Leaves the base at "Software\ZEV".
ZEVCORE_API void writeProductPath(const char* product);
