#include "zevcore/files/StringEx.h"

#include <cstring>
#include <string>

int CStringEx::Parse(const char* delimiter, CStringArrayEx& array, int) const {
    array.RemoveAll();
    const std::string& text = str();
    const std::size_t step = delimiter ? std::strlen(delimiter) : 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = step ? text.find(delimiter, start, step) : std::string::npos;
        if (end == std::string::npos) end = text.size();
        if (end > start) {
            CString piece(text.substr(start, end - start));
            array.Add(piece.Trim());
        }
        if (end == text.size()) break;
        start = end + step;
    }
    return array.GetSize();
}

CStringArrayEx::CStringArrayEx() = default;
CStringArrayEx::~CStringArrayEx() = default;
CStringArrayEx::CStringArrayEx(const CStringArrayEx&) = default;
CStringArrayEx& CStringArrayEx::operator=(const CStringArrayEx&) = default;

int CStringArrayEx::Parse(const char* text, const char* delimiter, int treatment) {
    return CStringEx(text).Parse(delimiter, *this, treatment);
}
