#pragma once

// Strings and string arrays that split themselves on a delimiter.

#include "zevcore/Export.h"
#include "zevcore/platform/framework/Array.h"
#include "zevcore/platform/framework/String.h"

class CStringArrayEx;

/// A CString that can split itself.
class ZEVCORE_API CStringEx : public CString {
public:
    using CString::CString;
    CStringEx() = default;
    CStringEx(const CString& text) : CString(text) {}  // NOLINT: a CString is one

    /// Empties `array`, then splits the whole string on each occurrence of `delimiter`,
    /// dropping the delimiters. Treatment 0 (the only one; other values act as 0) trims white
    /// space from both ends of each piece and keeps only the pieces that were not empty
    /// before trimming: two delimiters in a row give no item, a piece of blanks an empty one.
    /// An empty or null delimiter does not split. Answers the number of items.
    int Parse(const char* delimiter, CStringArrayEx& array, int treatment = 0) const;
};

/// A CStringArray whose elements can be split in turn.
class ZEVCORE_API CStringArrayEx : public CStringArray {
public:
    CStringArrayEx();
    ~CStringArrayEx() override;
    CStringArrayEx(const CStringArrayEx&);
    CStringArrayEx& operator=(const CStringArrayEx&);

    /// Splits `text` into this array, as CStringEx::Parse.
    int Parse(const char* text, const char* delimiter, int treatment = 0);
};
