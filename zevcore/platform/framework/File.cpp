#include "zevcore/platform/framework/File.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

CFile::CFile() = default;

CFile::CFile(const char* fileName, UINT openFlags) {
    CFileException error;
    if (!Open(fileName, openFlags, &error)) throw error;
}

CFile::~CFile() {
    if (m_file) std::fclose(m_file);
}

bool CFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
    Abort();
    m_path = fileName;
    if (!fileName || !*fileName) {
        if (error) *error = CFileException(CFileException::badPath, ENOENT, fileName);
        return false;
    }
    const bool write = (openFlags & (modeWrite | modeReadWrite)) != 0;
    const bool read = (openFlags & modeWrite) == 0;
    const bool create = (openFlags & modeCreate) != 0;
    const bool truncate = create && (openFlags & modeNoTruncate) == 0;
    const char* mode = "rb";
    if (write && truncate) {
        mode = read ? "w+b" : "wb";
    } else if (write) {
        if (create) {
            // Create when missing, keep the contents otherwise: "a" creates without truncating,
            // then reopen for positioned writing.
            if (std::FILE* probe = std::fopen(fileName, "ab")) std::fclose(probe);
        }
        mode = "r+b";
    }
    m_file = std::fopen(fileName, mode);
    if (!m_file) {
        const int os = errno;
        if (error) *error = CFileException(CFileException::OsErrorToException(os), os, fileName);
        return false;
    }
    return true;
}

void CFile::fail(int cause, int osError) const {
    throw CFileException(cause, osError, m_path);
}

UINT CFile::Read(void* buffer, UINT count) {
    if (!m_file) fail(CFileException::invalidFile, EBADF);
    if (count == 0) return 0;
    const std::size_t n = std::fread(buffer, 1, count, m_file);
    if (n < count && std::ferror(m_file)) fail(CFileException::hardIO, errno);
    return static_cast<UINT>(n);
}

void CFile::Write(const void* buffer, UINT count) {
    if (!m_file) fail(CFileException::invalidFile, EBADF);
    if (count == 0) return;
    if (std::fwrite(buffer, 1, count, m_file) != count) {
        const int os = errno;
        fail(os == ENOSPC ? CFileException::diskFull : CFileException::OsErrorToException(os), os);
    }
}

std::uint64_t CFile::Seek(std::int64_t offset, UINT from) {
    if (!m_file) fail(CFileException::invalidFile, EBADF);
    const int whence = from == end ? SEEK_END : from == current ? SEEK_CUR : SEEK_SET;
    if (fseeko(m_file, static_cast<off_t>(offset), whence) != 0)
        fail(CFileException::badSeek, errno);
    return GetPosition();
}

std::uint64_t CFile::GetPosition() const {
    if (!m_file) fail(CFileException::invalidFile, EBADF);
    const off_t at = ftello(m_file);
    if (at < 0) fail(CFileException::badSeek, errno);
    return static_cast<std::uint64_t>(at);
}

std::uint64_t CFile::GetLength() const {
    if (!m_file) fail(CFileException::invalidFile, EBADF);
    const off_t at = ftello(m_file);
    if (at < 0 || fseeko(m_file, 0, SEEK_END) != 0) fail(CFileException::badSeek, errno);
    const off_t length = ftello(m_file);
    fseeko(m_file, at, SEEK_SET);
    return static_cast<std::uint64_t>(length);
}

void CFile::Flush() {
    if (m_file && std::fflush(m_file) != 0) fail(CFileException::OsErrorToException(errno), errno);
}

void CFile::Close() {
    if (!m_file) return;
    std::FILE* file = m_file;
    m_file = nullptr;
    if (std::fclose(file) != 0) fail(CFileException::OsErrorToException(errno), errno);
}

void CFile::Abort() {
    if (m_file) std::fclose(m_file);
    m_file = nullptr;
}

bool CFile::IsOpen() const {
    return m_file != nullptr;
}

CString CFile::GetFileName() const {
    const int slash = m_path.ReverseFind('/');
    return slash < 0 ? m_path : m_path.Mid(slash + 1);
}

// --- CMemFile --------------------------------------------------------------------------------

CMemFile::CMemFile(const void* data, std::size_t size)
    : m_data(static_cast<const char*>(data), data ? size : 0) {}

CMemFile::~CMemFile() = default;

bool CMemFile::Open(const char*, UINT, CFileException* error) {
    if (error) *error = CFileException(CFileException::genericException);
    return false;
}

UINT CMemFile::Read(void* buffer, UINT count) {
    const std::size_t available = m_position < m_data.size() ? m_data.size() - m_position : 0;
    const std::size_t n = std::min<std::size_t>(count, available);
    if (n > 0) std::memcpy(buffer, m_data.data() + m_position, n);
    m_position += n;
    return static_cast<UINT>(n);
}

void CMemFile::Write(const void* buffer, UINT count) {
    if (count == 0) return;
    if (m_position > m_data.size()) m_data.resize(m_position, '\0');
    m_data.replace(m_position, std::min<std::size_t>(count, m_data.size() - m_position),
                   static_cast<const char*>(buffer), count);
    m_position += count;
}

std::uint64_t CMemFile::Seek(std::int64_t offset, UINT from) {
    const std::int64_t base = from == end       ? static_cast<std::int64_t>(m_data.size())
                              : from == current ? static_cast<std::int64_t>(m_position)
                                                : 0;
    if (offset < -base || offset > INT64_MAX - base) fail(CFileException::badSeek, EINVAL);
    m_position = static_cast<std::size_t>(base + offset);
    return m_position;
}
