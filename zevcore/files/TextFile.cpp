#include "zevcore/files/TextFile.h"

#include <cstdlib>
#include <string>

#include "zevcore/platform/Locale.h"
#include "zevcore/platform/framework/File.h"

namespace {

constexpr char kNoFile[] = "No file specified to read.";

// The whole file, read as it comes; false when it cannot be opened or read.
bool readWhole(const char* path, CStringEx& text) {
    try {
        CFile file;
        if (!file.Open(path, CFile::modeRead | CFile::shareDenyNone | CFile::typeBinary))
            return false;
        std::string bytes;
        char buffer[0x10000];
        while (const UINT n = file.Read(buffer, sizeof buffer)) bytes.append(buffer, n);
        text = CString(bytes);
        return true;
    } catch (const CFileException&) {
        return false;
    }
}

const CString& emptyString() {
    static const CString empty;
    return empty;
}

const CStringArrayEx& emptyArray() {
    static const CStringArrayEx empty;
    return empty;
}

// The file's lines, split at line feeds with treatment 0; null, or the message to show.
const char* readLines(const char* path, CStringArrayEx& lines, CString& message) {
    CStringEx text;
    if (!readWhole(path, text)) {
        message.Format("Failed to open the file: \n\t%s", path);
        return message;
    }
    text.Parse("\n", lines, 0);
    return nullptr;
}

bool validIndex(int index, int size) {
    return index >= 0 && index < size;
}

}  // namespace

// --- CSimpleTextFile -------------------------------------------------------------------------

CSimpleTextFile::CSimpleTextFile() = default;
CSimpleTextFile::~CSimpleTextFile() = default;

const char* CSimpleTextFile::Read(const char* path) {
    static CString message;
    if (!path) return kNoFile;
    m_lines.RemoveAll();
    return readLines(path, m_lines, message);
}

bool CSimpleTextFile::Write(const char* path, const CStringArray& lines) {
    if (lines.IsEmpty() || !path) return false;
    try {
        CFile file;
        if (!file.Open(path, CFile::modeCreate | CFile::modeWrite | CFile::typeBinary))
            return false;
        for (const CString& line : lines) {
            file.Write(line.str().data(), static_cast<UINT>(line.GetLength()));
            file.Write("\n", 1);
        }
        file.Close();
    } catch (const CFileException&) {
        // As the original: the answer tells only whether the file could be opened.
    }
    return true;
}

namespace {

// The tokens of one line: blank-separated, with quoted tokens that may hold blanks.
void tokenize(const CString& line, CStringArrayEx& tokens) {
    const std::string& text = line.str();
    const std::size_t length = text.size();
    std::size_t position = 0;
    while (true) {
        // The next token from the position; runs of blanks are one delimiter.
        const std::size_t start = text.find_first_not_of(' ', position);
        if (start == std::string::npos) break;
        std::size_t end = text.find(' ', start);
        if (end == std::string::npos) end = length;
        CString token(text.substr(start, end - start));
        position = end + 1;
        bool last = false;
        const char mark = text[start];
        if (mark == '\'' || mark == '"') {
            const std::size_t closing = text.find(mark, start + 1);
            if (closing == std::string::npos || closing == start + 1) {
                token = CString(text.substr(start + 1));
                last = true;
            } else {
                token = CString(text.substr(start + 1, closing - start - 1));
                position = closing + 2;
            }
        }
        if (!token.IsEmpty()) tokens.Add(token);
        // A position at or past the line's last index ends the scan.
        if (last || position + 1 >= length) break;
    }
}

}  // namespace

bool CSimpleTextFile::Parse() {
    for (const CString& original : m_lines) {
        CString line(original);
        line.Trim();
        line.Remove('\n');
        line.Remove('\r');
        if (line.IsEmpty()) continue;
        const char first = line[0];
        if (first == ';' || first == '/' || first == '#') continue;
        auto tokens = std::make_unique<CStringArrayEx>();
        tokenize(line, *tokens);
        if (tokens->IsEmpty()) continue;
        m_parsedLines.push_back(std::move(tokens));
        m_parsed = true;
    }
    return true;
}

const CString& CSimpleTextFile::Line(int index) const {
    return validIndex(index, m_lines.GetSize()) ? m_lines[index] : emptyString();
}

int CSimpleTextFile::ParsedLines() const {
    return m_parsed ? static_cast<int>(m_parsedLines.size()) : 0;
}

int CSimpleTextFile::Tokens(int line) const {
    return ParsedLine(line).GetSize();
}

const CString& CSimpleTextFile::Token(int line, int token) const {
    const CStringArrayEx& tokens = ParsedLine(line);
    return validIndex(token, tokens.GetSize()) ? tokens[token] : emptyString();
}

const CStringArrayEx& CSimpleTextFile::ParsedLine(int line) const {
    if (!m_parsed || !validIndex(line, static_cast<int>(m_parsedLines.size()))) return emptyArray();
    return *m_parsedLines[static_cast<std::size_t>(line)];
}

// --- CTabbedTextFile -------------------------------------------------------------------------

CTabbedTextFile::CTabbedTextFile() = default;
CTabbedTextFile::~CTabbedTextFile() = default;

const char* CTabbedTextFile::Read(const char* path) {
    static CString message;
    if (!path) return kNoFile;
    m_headers.RemoveAll();
    m_rows.clear();
    m_loaded = false;

    CStringArrayEx lines;
    if (const char* failure = readLines(path, lines, message)) return failure;
    if (lines.GetSize() < 2) {
        message.Format("File '%s' is empty of data (no data rows).", path);
        return message;
    }
    CStringEx(lines[0]).Parse("\t", m_headers, 0);
    if (m_headers.IsEmpty()) {
        message.Format("File '%s' is empty of data (no columns).", path);
        return message;
    }
    for (int i = 1; i < lines.GetSize(); ++i) {
        auto row = std::make_unique<CStringArrayEx>();
        CStringEx(lines[i]).Parse("\t", *row, 0);
        if (row->IsEmpty() || (*row)[0].IsEmpty() || (*row)[0][0] == '#') continue;
        if (row->GetSize() != m_headers.GetSize()) {
            message.Format("Incorrect number of data items in row #%d", i);
            return message;
        }
        m_rows.push_back(std::move(row));
    }
    m_loaded = true;
    return nullptr;
}

const char* CTabbedTextFile::Header(int column) const {
    if (!m_loaded || !validIndex(column, m_headers.GetSize())) return nullptr;
    return m_headers[column];
}

const char* CTabbedTextFile::StringData(int row, int column) const {
    if (!validIndex(row, Rows())) return nullptr;
    const CStringArrayEx& cells = *m_rows[static_cast<std::size_t>(row)];
    if (!validIndex(column, cells.GetSize())) return nullptr;
    return cells[column];
}

double CTabbedTextFile::DoubleData(int row, int column) const {
    const char* cell = StringData(row, column);
    return cell ? ZEVStrtod(cell, nullptr) : 0.0;
}
