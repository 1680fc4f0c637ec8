#pragma once

// The preferences of the library's own applications (the tool and the studio): one tree,
// so that both read and write the same stored values.

#include <memory>
#include <string>

#include "zevcore/settings/PreferenceManager.h"

namespace zevtool {

/// The key under "Software\ZEV\" that the studio's preferences live in.
inline constexpr const char* kStudioKey = "ZEVCore Studio";

/// Keys of the tree's items, for code that reads them.
enum StudioPreference : int {
    kPrefUnitStyle = 1,
    kPrefDecimals,
    kPrefElementSize,
    kPrefMethod,
    kPrefMaxArea,
    kPrefSpan,
    kPrefDivisions,
    kPrefQuadsOnly,
    kPrefBackground,
    kPrefMeshLines,
    kPrefLabelFont,
    kPrefShowGrid,
    kPrefProjectFolder,
    kPrefLastFile,
    kPrefUserName,
};

/// The studio's tree under `key`, with its built-in defaults (nothing read yet).
std::unique_ptr<CPreferenceManager> makeStudioPreferences(const char* key = kStudioKey);

/// An item's kind as the tool names it: bool, colour, double, file, folder, font, int, list,
/// quantity or string.
std::string preferenceKind(const CPreferenceItem& item);
/// The committed value as a user reads it (a quantity in the current unit style).
std::string showPreference(const CPreferenceItem& item);
/// Sets the committed value from a user's text, checked by the item's own property: answers
/// "" when accepted, else the property's message. Integers take a whole number only; bools
/// take on/off, yes/no, true/false, 1/0;
/// colours "R:r G:g B:b", "r,g,b" or "#rrggbb"; fonts "FACE, SIZE pt[, bold][, italic]".
std::string setPreference(CPreferenceItem& item, const std::string& text);

}  // namespace zevtool
