#pragma once

// Files as the framework's classes see them: a file on disk (CFile) and one in memory
// (CMemFile), both read and written by byte counts. Failures throw CFileException.

#include <cstdint>
#include <cstdio>
#include <string>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/framework/String.h"

/// A binary file on disk. Every open is shared: other programs may read and write the file
/// meanwhile (the share flags are accepted and have no effect on this system).
class ZEVCORE_API CFile {
public:
    enum OpenFlags : UINT {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
        typeText = 0x4000,
        typeBinary = 0x8000,
    };
    enum SeekPosition : UINT { begin = 0, current = 1, end = 2 };

    CFile();
    /// Opens at once; throws CFileException when the file cannot be opened.
    CFile(const char* fileName, UINT openFlags);
    virtual ~CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    /// Opens `fileName`: for reading unless modeWrite or modeReadWrite is given; modeCreate
    /// creates (and, without modeNoTruncate, empties) the file. Answers false on failure and,
    /// when `error` is given, fills it in.
    virtual bool Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
    /// Reads up to `count` bytes; answers how many were read (0 at the end).
    virtual UINT Read(void* buffer, UINT count);
    /// Writes all `count` bytes or throws.
    virtual void Write(const void* buffer, UINT count);
    /// Moves the position; answers the new position. Throws badSeek before the start.
    virtual std::uint64_t Seek(std::int64_t offset, UINT from);
    virtual std::uint64_t GetPosition() const;
    virtual std::uint64_t GetLength() const;
    virtual void Flush();
    /// Closes the file; throws when buffered data could not be written.
    virtual void Close();
    /// Closes the file, ignoring every error.
    virtual void Abort();

    bool IsOpen() const;
    CString GetFilePath() const { return m_path; }
    CString GetFileName() const;

protected:
    [[noreturn]] void fail(int cause, int osError) const;

    CString m_path;

private:
    std::FILE* m_file = nullptr;
};

/// A file held in memory, growing as it is written. Used for archives of in-memory data.
class ZEVCORE_API CMemFile : public CFile {
public:
    CMemFile() = default;
    /// A file that starts with a copy of `size` bytes at `data`, positioned at the start.
    CMemFile(const void* data, std::size_t size);
    ~CMemFile() override;

    bool Open(const char* fileName, UINT openFlags, CFileException* error = nullptr) override;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    std::uint64_t Seek(std::int64_t offset, UINT from) override;
    std::uint64_t GetPosition() const override { return m_position; }
    std::uint64_t GetLength() const override { return m_data.size(); }
    void Flush() override {}
    void Close() override {}
    void Abort() override {}

    /// The file's bytes.
    const std::string& Contents() const { return m_data; }

private:
    std::string m_data;
    std::size_t m_position = 0;
};
