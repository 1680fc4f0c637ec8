#pragma once

// An archive: the framework's binary form of values, texts and run-time typed objects, read
// from or written to a CFile. Byte layouts are in docs/formats.md. Every failure throws
// CArchiveException (or CFileException from the file beneath).

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/Exception.h"
#include "zevcore/platform/framework/File.h"
#include "zevcore/platform/framework/Object.h"
#include "zevcore/platform/framework/String.h"

class ZEVCORE_API CArchive {
public:
    enum Mode : UINT { store = 0, load = 1, bNoFlushOnDelete = 2, bNoByteSwap = 4 };

    /// An archive over an open file, loading or storing. The file stays the caller's. The
    /// buffer arguments are accepted for the familiar signature and not needed here.
    CArchive(CFile* file, UINT mode, int bufferSize = 4096, void* buffer = nullptr);
    /// Flushes a storing archive, swallowing errors; call Close to see them.
    ~CArchive();
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsLoading() const { return m_loading; }
    bool IsStoring() const { return !m_loading; }
    CFile* GetFile() const { return m_file; }

    /// The schema of the object being loaded when its class accepts several
    /// (VERSIONABLE_SCHEMA); (UINT)-1 otherwise. Reading it resets it.
    UINT GetObjectSchema();
    void SetObjectSchema(UINT schema) { m_objectSchema = schema; }

    /// Reads up to `count` raw bytes; answers how many there were.
    UINT Read(void* buffer, UINT count);
    /// Reads exactly `count` raw bytes or throws endOfFile.
    void EnsureRead(void* buffer, UINT count);
    void Write(const void* buffer, UINT count);
    void Flush();
    /// Flushes and detaches from the file; later use throws.
    void Close();
    /// Detaches without flushing or throwing.
    void Abort();

    /// Reads one line: the bytes up to a line feed, without it and without a carriage return
    /// just before it. False at the end of the data with nothing read.
    bool ReadString(CString& line);
    /// As above into `buffer`, which holds at most `max` - 1 bytes and a NUL; a longer line is
    /// cut there and the rest stays for the next read. Null at the end with nothing read.
    char* ReadString(char* buffer, UINT max);
    /// Writes the text's bytes, with no length and no NUL.
    void WriteString(const char* text);

    /// The count form: 2 bytes below 0xFFFF, else 0xFFFF and 4 bytes (and, past that, 0xFFFFFFFF
    /// and 8 bytes).
    std::uint64_t ReadCount();
    void WriteCount(std::uint64_t count);

    /// Reads an object in the tagged object form: null, a back-reference to an object read
    /// before, or a new object of a class named in the data (or referred to by its index).
    /// Throws badClass for an unknown class, one not derived from `requested` (when given) or
    /// one that cannot be created; badSchema for another schema of a class that accepts one
    /// only; badIndex for a tag that refers to nothing. An object whose Serialize throws is
    /// deleted before the exception goes on.
    CObject* ReadObject(const CRuntimeClass* requested);
    /// Writes an object in the tagged object form (or the tag of one written before).
    void WriteObject(const CObject* object);
    /// Reads a class tag alone (new class or class index).
    CRuntimeClass* ReadClass(const CRuntimeClass* requested = nullptr, UINT* schema = nullptr,
                             DWORD* objectTag = nullptr);
    void WriteClass(const CRuntimeClass* runtimeClass);

    CArchive& operator<<(bool value);
    CArchive& operator<<(char value);
    CArchive& operator<<(signed char value);
    CArchive& operator<<(unsigned char value);
    CArchive& operator<<(short value);
    CArchive& operator<<(unsigned short value);
    CArchive& operator<<(int value);
    CArchive& operator<<(unsigned int value);
    CArchive& operator<<(long long value);
    CArchive& operator<<(unsigned long long value);
    CArchive& operator<<(float value);
    CArchive& operator<<(double value);
    CArchive& operator<<(const CObject* object);

    CArchive& operator>>(bool& value);
    CArchive& operator>>(char& value);
    CArchive& operator>>(signed char& value);
    CArchive& operator>>(unsigned char& value);
    CArchive& operator>>(short& value);
    CArchive& operator>>(unsigned short& value);
    CArchive& operator>>(int& value);
    CArchive& operator>>(unsigned int& value);
    CArchive& operator>>(long long& value);
    CArchive& operator>>(unsigned long long& value);
    CArchive& operator>>(float& value);
    CArchive& operator>>(double& value);
    CArchive& operator>>(CObject*& object);

    /// The length-prefixed text form: 1 byte below 255, else 0xFF and 2 bytes below 0xFFFE,
    /// else 0xFF, 0xFFFF and 4 bytes; then the bytes. A text stored in wide characters is
    /// refused with genericException.
    friend ZEVCORE_API CArchive& operator<<(CArchive& ar, const CString& text);
    friend ZEVCORE_API CArchive& operator>>(CArchive& ar, CString& text);

    /// The file's name, for exception messages.
    CString m_strFileName;

private:
    template <typename T>
    CArchive& put(T value);
    template <typename T>
    CArchive& get(T& value);
    void mustLoad() const;
    void mustStore() const;
    [[noreturn]] void fail(int cause, const char* detail = nullptr) const;

    struct Loaded {
        CRuntimeClass* runtimeClass = nullptr;  // set for a class entry
        CObject* object = nullptr;              // set for an object entry
        UINT schema = 0;
    };

    CFile* m_file;
    bool m_loading;
    UINT m_objectSchema = static_cast<UINT>(-1);
    int m_depth = 0;
    std::vector<Loaded> m_loaded;                     // index 0 is the null entry
    std::unordered_map<const void*, DWORD> m_stored;  // object or class -> index
    DWORD m_nextIndex = 1;
};
