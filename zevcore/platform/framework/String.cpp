#include "zevcore/platform/framework/String.h"
#include "zevcore/platform/Locale.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace {

// White space as the C library's isspace sees it in the "C" locale.
constexpr const char* kWhiteSpace = " \t\n\v\f\r";

int clampIndex(int index, int size) {
    return std::clamp(index, 0, size);
}

unsigned char foldCase(char ch) {
    return static_cast<unsigned char>(std::tolower(static_cast<unsigned char>(ch)));
}

}  // namespace

CString::CString(const char* text) : m_text(text ? text : "") {}

CString::CString(const char* text, int length) {
    if (text && length > 0) m_text.assign(text, static_cast<size_t>(length));
}

CString::CString(char ch, int repeat) {
    if (repeat > 0) m_text.assign(static_cast<size_t>(repeat), ch);
}

char CString::GetAt(int index) const {
    if (index < 0 || index >= GetLength()) return '\0';
    return m_text[static_cast<size_t>(index)];
}

void CString::SetAt(int index, char ch) {
    if (index >= 0 && index < GetLength()) m_text[static_cast<size_t>(index)] = ch;
}

CString& CString::operator=(const char* text) {
    m_text = text ? text : "";
    return *this;
}

CString& CString::operator+=(const CString& other) {
    m_text += other.m_text;
    return *this;
}

CString& CString::operator+=(const char* text) {
    if (text) m_text += text;
    return *this;
}

CString& CString::operator+=(char ch) {
    m_text += ch;
    return *this;
}

CString operator+(const CString& a, const CString& b) {
    CString result(a);
    result += b;
    return result;
}

CString operator+(const CString& a, const char* b) {
    CString result(a);
    result += b;
    return result;
}

CString operator+(const char* a, const CString& b) {
    CString result(a);
    result += b;
    return result;
}

CString operator+(const CString& a, char b) {
    CString result(a);
    result += b;
    return result;
}

int CString::Compare(const char* text) const {
    return std::strcmp(m_text.c_str(), text ? text : "");
}

int CString::CompareNoCase(const char* text) const {
    const char* a = m_text.c_str();
    const char* b = text ? text : "";
    for (;; ++a, ++b) {
        int diff = foldCase(*a) - foldCase(*b);
        if (diff != 0 || *a == '\0') return diff;
    }
}

void CString::FormatV(const char* format, va_list args) {
    if (!format) {
        m_text.clear();
        return;
    }
    // Numbers in every formatted text read the same whatever the host's locale.
    CZEVClassicLocaleScope classic;
    va_list copy;
    va_copy(copy, args);
    int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (needed < 0) {
        m_text.clear();
        return;
    }
    std::string out(static_cast<size_t>(needed) + 1, '\0');
    std::vsnprintf(out.data(), out.size(), format, args);
    out.resize(static_cast<size_t>(needed));
    m_text = std::move(out);
}

void CString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    FormatV(format, args);
    va_end(args);
}

void CString::AppendFormat(const char* format, ...) {
    CString tail;
    va_list args;
    va_start(args, format);
    tail.FormatV(format, args);
    va_end(args);
    m_text += tail.m_text;
}

CString& CString::Trim() {
    return Trim(kWhiteSpace);
}
CString& CString::TrimLeft() {
    return TrimLeft(kWhiteSpace);
}
CString& CString::TrimRight() {
    return TrimRight(kWhiteSpace);
}

CString& CString::Trim(const char* chars) {
    TrimRight(chars);
    return TrimLeft(chars);
}

CString& CString::TrimLeft(const char* chars) {
    if (!chars) return *this;
    size_t first = m_text.find_first_not_of(chars);
    m_text.erase(0, first == std::string::npos ? m_text.size() : first);
    return *this;
}

CString& CString::TrimRight(const char* chars) {
    if (!chars) return *this;
    size_t last = m_text.find_last_not_of(chars);
    m_text.erase(last == std::string::npos ? 0 : last + 1);
    return *this;
}

CString& CString::MakeUpper() {
    for (char& ch : m_text) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    return *this;
}

CString& CString::MakeLower() {
    for (char& ch : m_text) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return *this;
}

int CString::Find(const char* sub, int start) const {
    if (!sub || start < 0 || start > GetLength()) return -1;
    size_t at = m_text.find(sub, static_cast<size_t>(start));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::Find(char ch, int start) const {
    if (start < 0 || start >= GetLength()) return -1;
    size_t at = m_text.find(ch, static_cast<size_t>(start));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::ReverseFind(char ch) const {
    size_t at = m_text.rfind(ch);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::FindOneOf(const char* chars) const {
    if (!chars) return -1;
    size_t at = m_text.find_first_of(chars);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    int size = GetLength();
    first = clampIndex(first, size);
    count = std::clamp(count, 0, size - first);
    return CString(
        std::string_view(m_text).substr(static_cast<size_t>(first), static_cast<size_t>(count)));
}

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Right(int count) const {
    int size = GetLength();
    count = std::clamp(count, 0, size);
    return Mid(size - count, count);
}

int CString::Replace(const char* oldText, const char* newText) {
    if (!oldText || !*oldText) return 0;
    std::string_view from(oldText);
    std::string_view to(newText ? newText : "");
    int replaced = 0;
    size_t at = 0;
    while ((at = m_text.find(from, at)) != std::string::npos) {
        m_text.replace(at, from.size(), to);
        at += to.size();
        ++replaced;
    }
    return replaced;
}

int CString::Replace(char oldCh, char newCh) {
    int replaced = 0;
    for (char& ch : m_text) {
        if (ch == oldCh) {
            ch = newCh;
            ++replaced;
        }
    }
    return replaced;
}

int CString::Remove(char ch) {
    auto newEnd = std::remove(m_text.begin(), m_text.end(), ch);
    int removed = static_cast<int>(m_text.end() - newEnd);
    m_text.erase(newEnd, m_text.end());
    return removed;
}

int CString::Insert(int index, const char* text) {
    if (text) m_text.insert(static_cast<size_t>(clampIndex(index, GetLength())), text);
    return GetLength();
}

int CString::Delete(int index, int count) {
    int size = GetLength();
    if (index >= 0 && index < size && count > 0) {
        m_text.erase(static_cast<size_t>(index),
                     static_cast<size_t>(std::min(count, size - index)));
    }
    return GetLength();
}

char* CString::GetBuffer(int minLength) {
    if (minLength > GetLength()) m_text.resize(static_cast<size_t>(minLength), '\0');
    return m_text.data();
}

void CString::ReleaseBuffer(int newLength) {
    if (newLength < 0) {
        m_text.resize(std::strlen(m_text.c_str()));
    } else {
        m_text.resize(static_cast<size_t>(newLength), '\0');
    }
}
