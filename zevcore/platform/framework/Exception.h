#pragma once

// The exceptions of the archive and file classes. They are thrown by value and caught by
// reference (catch (const CArchiveException& e)); nothing needs deleting.

#include <exception>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

/// The base of the library's framework exceptions.
class ZEVCORE_API CException : public std::exception {
public:
    ~CException() override;
    /// The message for the user, cut to fit `size` bytes with its NUL; false when there is none.
    virtual bool GetErrorMessage(char* buffer, UINT size) const;
    /// The same message as a string; empty when there is none.
    virtual CString ErrorMessage() const = 0;
    const char* what() const noexcept override;

protected:
    mutable CString m_what;
};

/// A failure of an archive: the cause, and the file the archive was reading or writing.
class ZEVCORE_API CArchiveException : public CException {
public:
    enum {
        none = 0,
        genericException = 1,
        readOnly = 2,   ///< a write on an archive that is loading
        endOfFile = 3,  ///< the data ended inside a value or an object
        writeOnly = 4,  ///< a read on an archive that is storing
        badIndex = 5,   ///< a tag, count or length that cannot be right: the format is invalid
        badClass = 6,   ///< an unknown class, or an object of a class other than the one asked for
        badSchema = 7,  ///< an object of another version of its class
        bufferFull = 8,
    };

    explicit CArchiveException(int cause = none, const char* fileName = nullptr,
                               const char* detail = nullptr);
    ~CArchiveException() override;
    CString ErrorMessage() const override;

    int m_cause;
    CString m_strFileName;
    /// What exactly was wrong, when the cause alone does not say (may be empty).
    CString m_strDetail;
};

/// A failure of a file operation.
class ZEVCORE_API CFileException : public CException {
public:
    enum {
        none = 0,
        genericException = 1,
        fileNotFound = 2,
        badPath = 3,
        tooManyOpenFiles = 4,
        accessDenied = 5,
        invalidFile = 6,
        removeCurrentDir = 7,
        directoryFull = 8,
        badSeek = 9,
        hardIO = 10,
        sharingViolation = 11,
        lockViolation = 12,
        diskFull = 13,
        endOfFile = 14,
    };

    explicit CFileException(int cause = none, LONG osError = -1, const char* fileName = nullptr);
    ~CFileException() override;
    CString ErrorMessage() const override;
    /// The cause for a system error number.
    static int OsErrorToException(LONG osError);

    int m_cause;
    LONG m_lOsError;
    CString m_strFileName;
};
