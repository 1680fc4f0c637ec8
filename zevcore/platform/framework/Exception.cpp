#include "zevcore/platform/framework/Exception.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

CException::~CException() = default;

bool CException::GetErrorMessage(char* buffer, UINT size) const {
    const CString message = ErrorMessage();
    if (buffer && size > 0) {
        const std::size_t n = std::min<std::size_t>(message.GetLength(), size - 1);
        std::memcpy(buffer, message.GetString(), n);
        buffer[n] = '\0';
    }
    return !message.IsEmpty();
}

const char* CException::what() const noexcept {
    try {
        m_what = ErrorMessage();
        return m_what.GetString();
    } catch (...) {
        return "exception";
    }
}

namespace {

CString withFile(const char* text, const CString& fileName) {
    CString message(text);
    if (!fileName.IsEmpty()) message += CString(" (") + fileName + ")";
    return message;
}

// The row for a cause; the generic row (1) for a cause outside the table.
template <std::size_t N>
const char* textFor(const char* const (&texts)[N], int cause) {
    return cause >= 0 && static_cast<std::size_t>(cause) < N ? texts[cause] : texts[1];
}

}  // namespace

CArchiveException::CArchiveException(int cause, const char* fileName, const char* detail)
    : m_cause(cause), m_strFileName(fileName), m_strDetail(detail) {}

CArchiveException::~CArchiveException() = default;

CString CArchiveException::ErrorMessage() const {
    static const char* const texts[] = {
        "No error occurred.",
        "An unknown error occurred while accessing the archive.",
        "An attempt was made to write to an archive that is being read.",
        "An unexpected end of file was found while reading the archive.",
        "An attempt was made to read from an archive that is being written.",
        "The archive has an invalid format.",
        "The archive holds an object of an unexpected or unknown class.",
        "The archive holds an object of an unsupported version of its class.",
        "The archive's buffer is full.",
    };
    CString message = withFile(textFor(texts, m_cause), m_strFileName);
    if (!m_strDetail.IsEmpty()) message += CString(" ") + m_strDetail;
    return message;
}

CFileException::CFileException(int cause, LONG osError, const char* fileName)
    : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

CFileException::~CFileException() = default;

CString CFileException::ErrorMessage() const {
    static const char* const texts[] = {
        "No error occurred.",
        "An unknown error occurred while accessing the file.",
        "The file could not be found.",
        "The path is invalid.",
        "There are too many open files.",
        "Access to the file was denied.",
        "The file handle is invalid.",
        "The current folder cannot be removed.",
        "The folder is full.",
        "The file position could not be set.",
        "A hardware error occurred while accessing the file.",
        "The file is in use by another program.",
        "The file is locked by another program.",
        "The disk is full.",
        "An unexpected end of file was found.",
    };
    return withFile(textFor(texts, m_cause), m_strFileName);
}

int CFileException::OsErrorToException(LONG osError) {
    switch (osError) {
        case 0:
            return none;
        case ENOENT:
            return fileNotFound;
        case ENOTDIR:
        case ENAMETOOLONG:
        case ELOOP:
            return badPath;
        case EMFILE:
        case ENFILE:
            return tooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
            return accessDenied;
        case EBADF:
            return invalidFile;
        case ESPIPE:
            return badSeek;
        case EIO:
            return hardIO;
        case EBUSY:
        case ETXTBSY:
            return sharingViolation;
        case ENOSPC:
        case EDQUOT:
            return diskFull;
        default:
            return genericException;
    }
}
