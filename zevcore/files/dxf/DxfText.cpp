#include <cctype>
#include <cstring>
#include <string>

#include "zevcore/files/dxf/Dxf.h"

namespace {

std::string plain(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '{' || c == '}') continue;
        if (c != '\\' || i + 1 >= text.size()) {
            out += c;
            continue;
        }
        const char code = text[++i];
        switch (code) {
            case 'P':
            case 'n':
                out += '\n';
                break;
            case '~':
                out += ' ';
                break;
            case '\\':
            case '{':
            case '}':
                out += code;
                break;
            case 'S': {  // a stack: "1^2;" or "1/2;" or "1#2;"
                const size_t end = text.find(';', i);
                std::string stack =
                    text.substr(i + 1, end == std::string::npos ? std::string::npos : end - i - 1);
                for (char& s : stack)
                    if (s == '^' || s == '#') s = '/';
                out += stack;
                i = end == std::string::npos ? text.size() : end;
                break;
            }
            case 'U':  // "\U+XXXX" is decoded with the file's text
                out += "\\U";
                break;
            case 'L':
            case 'l':
            case 'O':
            case 'o':
            case 'K':
            case 'k':
                break;  // underline, overline, strike-through on and off
            default: {
                // \f...; \H...; \C...; \A...; \W...; \Q...; \T...; \p...; and the like end at ';'.
                const size_t end = text.find(';', i);
                i = end == std::string::npos ? text.size() : end;
                break;
            }
        }
    }
    return out;
}

}  // namespace

std::size_t dxfMTextPlain(const char* text, char* out, std::size_t capacity) {
    if (!out || capacity == 0) return 0;
    const std::string words = plain(text ? text : "");
    std::size_t n = words.size() < capacity - 1 ? words.size() : capacity - 1;
    // A character cut in two is left out whole.
    while (n > 0 && n < words.size() && (static_cast<unsigned char>(words[n]) & 0xC0) == 0x80) --n;
    std::memcpy(out, words.data(), n);
    out[n] = '\0';
    return n;
}
