#pragma once

// Small plain-text data files read whole: lines with blank-separated tokens, and tables of
// tab-separated columns under a header line. Failures come back as a message for the user
// (null meaning success); nothing throws.

#include <memory>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/files/StringEx.h"
#include "zevcore/platform/framework/Array.h"
#include "zevcore/platform/framework/String.h"

/// A file as its lines and, after Parse, as tokens per line.
class ZEVCORE_API CSimpleTextFile {
public:
    CSimpleTextFile();
    ~CSimpleTextFile();
    CSimpleTextFile(const CSimpleTextFile&) = delete;
    CSimpleTextFile& operator=(const CSimpleTextFile&) = delete;

    /// Replaces the lines with the file's: split at line feeds, trimmed, empty lines gone.
    /// Answers null, or "No file specified to read." or "Failed to open the file: \n\t<path>"
    /// (valid until the next Read of this class).
    const char* Read(const char* path);
    /// Writes each string and a line feed (no carriage return). False, with the file left
    /// alone, for an empty array; false when the file cannot be created.
    bool Write(const char* path, const CStringArray& lines);
    /// Adds the tokens of each line that is not empty or a comment (";", "/" or "#" first) to
    /// the parsed lines; tokens are blank-separated, and a token opening with ' or " runs to
    /// its closing mark. Parsing twice adds the lines twice. Always true.
    bool Parse();

    int Lines() const { return m_lines.GetSize(); }
    /// The line, or an empty string for a bad index.
    const CString& Line(int index) const;
    /// 0 until Parse has kept a line.
    int ParsedLines() const;
    int Tokens(int line) const;
    /// The token, or an empty string when not parsed or for a bad index.
    const CString& Token(int line, int token) const;
    /// The line's tokens, or an empty array when not parsed or for a bad index.
    const CStringArrayEx& ParsedLine(int line) const;

private:
    CStringArrayEx m_lines;
    bool m_parsed = false;
    std::vector<std::unique_ptr<CStringArrayEx>> m_parsedLines;
};

/// A table: a header line of column names and data rows, tab-separated.
class ZEVCORE_API CTabbedTextFile {
public:
    CTabbedTextFile();
    ~CTabbedTextFile();
    CTabbedTextFile(const CTabbedTextFile&) = delete;
    CTabbedTextFile& operator=(const CTabbedTextFile&) = delete;

    /// Reads the table. Rows that are empty or whose first item is empty or starts with "#"
    /// are skipped. Answers null, or the message: "No file specified to read.", "Failed to
    /// open the file: \n\t<path>", "File '<path>' is empty of data (no data rows).", "File
    /// '<path>' is empty of data (no columns).", "Incorrect number of data items in row #<n>"
    /// (n counts the lines after the header from 1, skipped ones included). A failed read
    /// keeps what it read so far, but is not loaded.
    const char* Read(const char* path);

    int Rows() const { return static_cast<int>(m_rows.size()); }
    int Columns() const { return m_headers.GetSize(); }
    /// The column's name; null when not loaded or for a bad index.
    const char* Header(int column) const;
    /// The cell; null for a bad row or column.
    const char* StringData(int row, int column) const;
    /// `atof` of the cell; 0 for a bad row or column.
    double DoubleData(int row, int column) const;

private:
    bool m_loaded = false;
    CStringArrayEx m_headers;
    std::vector<std::unique_ptr<CStringArrayEx>> m_rows;
};
