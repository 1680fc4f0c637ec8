#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

#include "zevcore/Export.h"

/// An 8-bit text string with the operations the library's code is written against.
///
/// The string keeps an explicit length, so it may hold bytes past a NUL: `GetLength()` is
/// the recorded length, while `operator const char*` shows the text only up to its first NUL.
/// Binary readers rely on that difference. Positions are zero-based; a position or count
/// out of range is clamped, never an error.
class ZEVCORE_API CString {
public:
    CString() = default;
    CString(const char* text);  // NOLINT: implicit, as text literals are passed everywhere
    CString(const char* text, int length);
    CString(char ch, int repeat = 1);
    CString(std::string_view text) : m_text(text) {}    // NOLINT
    CString(const std::string& text) : m_text(text) {}  // NOLINT

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }

    operator const char*() const { return m_text.c_str(); }  // NOLINT
    const char* GetString() const { return m_text.c_str(); }
    const std::string& str() const { return m_text; }

    /// The byte at a zero-based position; NUL when the position is outside the string.
    char GetAt(int index) const;
    void SetAt(int index, char ch);
    char operator[](int index) const { return GetAt(index); }

    CString& operator=(const char* text);
    CString& operator+=(const CString& other);
    CString& operator+=(const char* text);
    CString& operator+=(char ch);
    friend ZEVCORE_API CString operator+(const CString& a, const CString& b);
    friend ZEVCORE_API CString operator+(const CString& a, const char* b);
    friend ZEVCORE_API CString operator+(const char* a, const CString& b);
    friend ZEVCORE_API CString operator+(const CString& a, char b);

    /// strcmp-style comparison of the recorded bytes: negative, zero or positive.
    int Compare(const char* text) const;
    /// As Compare, with ASCII letters folded to lower case.
    int CompareNoCase(const char* text) const;

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.Compare(b) == 0; }
    friend bool operator<(const CString& a, const CString& b) { return a.m_text < b.m_text; }

    /// printf-style formatting; replaces the contents.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(const char* format, va_list args);
    void AppendFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// Remove white space (or the given characters) from the ends.
    CString& Trim();
    CString& TrimLeft();
    CString& TrimRight();
    CString& Trim(const char* chars);
    CString& TrimLeft(const char* chars);
    CString& TrimRight(const char* chars);

    CString& MakeUpper();
    CString& MakeLower();

    /// Zero-based position of the first match at or after `start`, or -1.
    int Find(const char* sub, int start = 0) const;
    int Find(char ch, int start = 0) const;
    /// Zero-based position of the last occurrence of `ch`, or -1.
    int ReverseFind(char ch) const;
    /// Position of the first byte that is one of `chars`, or -1.
    int FindOneOf(const char* chars) const;

    CString Mid(int first) const;
    CString Mid(int first, int count) const;
    CString Left(int count) const;
    CString Right(int count) const;

    /// Replace every occurrence; answers how many were replaced.
    int Replace(const char* oldText, const char* newText);
    int Replace(char oldCh, char newCh);
    /// Remove every occurrence of `ch`; answers how many were removed.
    int Remove(char ch);
    int Insert(int index, const char* text);
    int Delete(int index, int count = 1);

    /// A writable buffer of at least `minLength` bytes plus a terminating NUL. The string's
    /// contents up to its length are kept. Call ReleaseBuffer before using the string again.
    char* GetBuffer(int minLength);
    char* GetBuffer() { return GetBuffer(GetLength()); }
    /// Ends a GetBuffer: with a negative length the text runs to the first NUL, otherwise the
    /// recorded length is exactly `newLength` (bytes past a NUL included).
    void ReleaseBuffer(int newLength = -1);

private:
    std::string m_text;
};
