#include "zevcore/platform/framework/Archive.h"

#include <bit>
#include <cstring>
#include <string>
#include <utility>

namespace {

// Tags of the object form.
constexpr WORD kNullTag = 0x0000;
constexpr WORD kNewClassTag = 0xFFFF;
constexpr WORD kClassTag = 0x8000;
constexpr WORD kBigObjectTag = 0x7FFF;
constexpr DWORD kBigClassTag = 0x80000000u;
constexpr DWORD kMaxMapIndex = 0x7FFFFFFEu;

// The length prefix of texts.
constexpr WORD kWideTextMarker = 0xFFFE;

// Objects nest through their Serialize; a file may not make the nesting deeper than this, so
// that crafted data cannot exhaust the stack.
constexpr int kMaxObjectDepth = 1000;

// Texts are read in pieces of this size, so a length prefix larger than the data costs
// nothing before the data runs out.
constexpr std::size_t kTextChunk = 0x10000;

template <typename T>
void swapToFileOrder(T& value) {
    if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        for (std::size_t i = 0; i < sizeof(T) / 2; ++i)
            std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
        std::memcpy(&value, bytes, sizeof(T));
    }
}

}  // namespace

CArchive::CArchive(CFile* file, UINT mode, int, void*)
    : m_strFileName(file ? file->GetFilePath() : CString()),
      m_file(file),
      m_loading((mode & load) != 0) {
    m_loaded.push_back({});
}

CArchive::~CArchive() {
    if (m_file && IsStoring()) {
        try {
            m_file->Flush();
        } catch (...) {
        }
    }
}

void CArchive::fail(int cause, const char* detail) const {
    throw CArchiveException(cause, m_strFileName, detail);
}

void CArchive::mustLoad() const {
    if (!m_file) fail(CArchiveException::genericException, "The archive is closed.");
    if (!m_loading) fail(CArchiveException::writeOnly);
}

void CArchive::mustStore() const {
    if (!m_file) fail(CArchiveException::genericException, "The archive is closed.");
    if (m_loading) fail(CArchiveException::readOnly);
}

UINT CArchive::GetObjectSchema() {
    const UINT schema = m_objectSchema;
    m_objectSchema = static_cast<UINT>(-1);
    return schema;
}

UINT CArchive::Read(void* buffer, UINT count) {
    mustLoad();
    if (count == 0) return 0;
    // A file may deliver less than asked before its end; keep asking until it gives nothing.
    UINT total = 0;
    while (total < count) {
        const UINT n = m_file->Read(static_cast<char*>(buffer) + total, count - total);
        if (n == 0) break;
        total += n;
    }
    return total;
}

void CArchive::EnsureRead(void* buffer, UINT count) {
    if (Read(buffer, count) != count) fail(CArchiveException::endOfFile);
}

void CArchive::Write(const void* buffer, UINT count) {
    mustStore();
    m_file->Write(buffer, count);
}

void CArchive::Flush() {
    if (m_file && IsStoring()) m_file->Flush();
}

void CArchive::Close() {
    Flush();
    m_file = nullptr;
}

void CArchive::Abort() {
    m_file = nullptr;
}

// --- values ----------------------------------------------------------------------------------

template <typename T>
CArchive& CArchive::put(T value) {
    swapToFileOrder(value);
    Write(&value, sizeof(T));
    return *this;
}

template <typename T>
CArchive& CArchive::get(T& value) {
    T read{};
    EnsureRead(&read, sizeof(T));
    swapToFileOrder(read);
    value = read;
    return *this;
}

CArchive& CArchive::operator<<(bool value) {
    return put<BYTE>(value ? 1 : 0);
}
CArchive& CArchive::operator<<(char value) {
    return put(value);
}
CArchive& CArchive::operator<<(signed char value) {
    return put(value);
}
CArchive& CArchive::operator<<(unsigned char value) {
    return put(value);
}
CArchive& CArchive::operator<<(short value) {
    return put(value);
}
CArchive& CArchive::operator<<(unsigned short value) {
    return put(value);
}
CArchive& CArchive::operator<<(int value) {
    return put(value);
}
CArchive& CArchive::operator<<(unsigned int value) {
    return put(value);
}
CArchive& CArchive::operator<<(long long value) {
    return put(value);
}
CArchive& CArchive::operator<<(unsigned long long value) {
    return put(value);
}
CArchive& CArchive::operator<<(float value) {
    return put(value);
}
CArchive& CArchive::operator<<(double value) {
    return put(value);
}

CArchive& CArchive::operator>>(bool& value) {
    BYTE byte = 0;
    get(byte);
    value = byte != 0;
    return *this;
}
CArchive& CArchive::operator>>(char& value) {
    return get(value);
}
CArchive& CArchive::operator>>(signed char& value) {
    return get(value);
}
CArchive& CArchive::operator>>(unsigned char& value) {
    return get(value);
}
CArchive& CArchive::operator>>(short& value) {
    return get(value);
}
CArchive& CArchive::operator>>(unsigned short& value) {
    return get(value);
}
CArchive& CArchive::operator>>(int& value) {
    return get(value);
}
CArchive& CArchive::operator>>(unsigned int& value) {
    return get(value);
}
CArchive& CArchive::operator>>(long long& value) {
    return get(value);
}
CArchive& CArchive::operator>>(unsigned long long& value) {
    return get(value);
}
CArchive& CArchive::operator>>(float& value) {
    return get(value);
}
CArchive& CArchive::operator>>(double& value) {
    return get(value);
}

CArchive& CArchive::operator<<(const CObject* object) {
    WriteObject(object);
    return *this;
}

CArchive& CArchive::operator>>(CObject*& object) {
    object = ReadObject(nullptr);
    return *this;
}

// --- counts and texts ------------------------------------------------------------------------

std::uint64_t CArchive::ReadCount() {
    WORD word = 0;
    *this >> word;
    if (word != 0xFFFF) return word;
    DWORD dword = 0;
    *this >> dword;
    if (dword != 0xFFFFFFFFu) return dword;
    unsigned long long wide = 0;
    *this >> wide;
    return wide;
}

void CArchive::WriteCount(std::uint64_t count) {
    if (count < 0xFFFF) {
        *this << static_cast<WORD>(count);
        return;
    }
    *this << static_cast<WORD>(0xFFFF);
    if (count < 0xFFFFFFFFu) {
        *this << static_cast<DWORD>(count);
        return;
    }
    *this << static_cast<DWORD>(0xFFFFFFFFu) << static_cast<unsigned long long>(count);
}

CArchive& operator<<(CArchive& ar, const CString& text) {
    const std::uint64_t length = static_cast<std::uint64_t>(text.GetLength());
    if (length < 0xFF) {
        ar << static_cast<BYTE>(length);
    } else if (length < kWideTextMarker) {
        ar << static_cast<BYTE>(0xFF) << static_cast<WORD>(length);
    } else {
        ar << static_cast<BYTE>(0xFF) << static_cast<WORD>(0xFFFF) << static_cast<DWORD>(length);
    }
    ar.Write(text.str().data(), static_cast<UINT>(length));
    return ar;
}

CArchive& operator>>(CArchive& ar, CString& text) {
    std::uint64_t length = 0;
    BYTE byte = 0;
    ar >> byte;
    if (byte < 0xFF) {
        length = byte;
    } else {
        WORD word = 0;
        ar >> word;
        if (word == kWideTextMarker)
            ar.fail(CArchiveException::genericException,
                    "The text is stored in wide characters, which are not read here.");
        if (word < 0xFFFF) {
            length = word;
        } else {
            DWORD dword = 0;
            ar >> dword;
            length = dword;
            if (dword == 0xFFFFFFFFu) {
                unsigned long long wide = 0;
                ar >> wide;
                length = wide;
            }
        }
    }
    if (length > static_cast<std::uint64_t>(INT32_MAX))
        ar.fail(CArchiveException::badIndex, "A text is longer than a string can hold.");
    std::string bytes;
    while (bytes.size() < length) {
        const std::size_t piece = std::min<std::size_t>(kTextChunk, length - bytes.size());
        const std::size_t at = bytes.size();
        bytes.resize(at + piece);
        ar.EnsureRead(bytes.data() + at, static_cast<UINT>(piece));
    }
    text = CString(bytes);
    return ar;
}

bool CArchive::ReadString(CString& line) {
    mustLoad();
    std::string bytes;
    bool any = false;
    char ch = 0;
    while (Read(&ch, 1) == 1) {
        any = true;
        if (ch == '\n') break;
        bytes += ch;
    }
    if (!bytes.empty() && bytes.back() == '\r' && ch == '\n') bytes.pop_back();
    line = CString(bytes);
    return any;
}

char* CArchive::ReadString(char* buffer, UINT max) {
    mustLoad();
    if (!buffer || max == 0) return nullptr;
    UINT stored = 0;
    bool any = false;
    char ch = 0;
    while (stored + 1 < max && Read(&ch, 1) == 1) {
        any = true;
        if (ch == '\n') {
            if (stored > 0 && buffer[stored - 1] == '\r') --stored;
            break;
        }
        buffer[stored++] = ch;
    }
    buffer[stored] = '\0';
    return any ? buffer : nullptr;
}

void CArchive::WriteString(const char* text) {
    if (text) Write(text, static_cast<UINT>(std::strlen(text)));
}

// --- objects ---------------------------------------------------------------------------------

void CArchive::WriteClass(const CRuntimeClass* runtimeClass) {
    mustStore();
    if (!runtimeClass || runtimeClass->m_wSchema == 0xFFFFu)
        fail(CArchiveException::badClass, "The class cannot be archived.");
    const auto known = m_stored.find(runtimeClass);
    if (known != m_stored.end()) {
        if (known->second < kBigObjectTag) {
            *this << static_cast<WORD>(kClassTag | known->second);
        } else {
            *this << kBigObjectTag << (kBigClassTag | known->second);
        }
        return;
    }
    if (m_nextIndex > kMaxMapIndex) fail(CArchiveException::bufferFull);
    *this << kNewClassTag;
    runtimeClass->Store(*this);
    m_stored.emplace(runtimeClass, m_nextIndex++);
}

void CArchive::WriteObject(const CObject* object) {
    mustStore();
    if (!object) {
        *this << kNullTag;
        return;
    }
    const auto known = m_stored.find(object);
    if (known != m_stored.end()) {
        if (known->second < kBigObjectTag) {
            *this << static_cast<WORD>(known->second);
        } else {
            *this << kBigObjectTag << known->second;
        }
        return;
    }
    WriteClass(object->GetRuntimeClass());
    if (m_nextIndex > kMaxMapIndex) fail(CArchiveException::bufferFull);
    m_stored.emplace(object, m_nextIndex++);
    const_cast<CObject*>(object)->Serialize(*this);
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* requested, UINT* schema, DWORD* objectTag) {
    mustLoad();
    WORD tag = 0;
    *this >> tag;
    DWORD fullTag = 0;
    if (tag == kBigObjectTag) {
        *this >> fullTag;
    } else {
        fullTag = (static_cast<DWORD>(tag & kClassTag) << 16) | (tag & ~kClassTag);
    }
    if (!(fullTag & kBigClassTag)) {
        // Not a class at all: a null tag or an object's index, for the caller to resolve.
        if (!objectTag) fail(CArchiveException::badIndex, "A class was expected.");
        *objectTag = fullTag;
        return nullptr;
    }

    CRuntimeClass* runtimeClass = nullptr;
    UINT storedSchema = 0;
    if (tag == kNewClassTag) {
        runtimeClass = CRuntimeClass::Load(*this, &storedSchema);
        if (!runtimeClass || runtimeClass->m_wSchema == 0xFFFFu)
            fail(CArchiveException::badClass, "The archive names a class that is not known.");
        const UINT ownSchema = runtimeClass->m_wSchema & ~VERSIONABLE_SCHEMA;
        if (ownSchema != storedSchema && !(runtimeClass->m_wSchema & VERSIONABLE_SCHEMA))
            fail(CArchiveException::badSchema);
        m_loaded.push_back({runtimeClass, nullptr, storedSchema});
    } else {
        const DWORD index = fullTag & ~kBigClassTag;
        if (index == 0 || index >= m_loaded.size() || !m_loaded[index].runtimeClass)
            fail(CArchiveException::badIndex, "A class tag refers to no class.");
        runtimeClass = m_loaded[index].runtimeClass;
        storedSchema = m_loaded[index].schema;
    }
    if (requested && !runtimeClass->IsDerivedFrom(requested)) fail(CArchiveException::badClass);
    if (schema) *schema = storedSchema;
    if (objectTag) *objectTag = fullTag;
    return runtimeClass;
}

CObject* CArchive::ReadObject(const CRuntimeClass* requested) {
    mustLoad();
    UINT schema = 0;
    DWORD tag = 0;
    CRuntimeClass* runtimeClass = ReadClass(requested, &schema, &tag);
    if (!runtimeClass) {
        if (tag == kNullTag) return nullptr;
        if (tag >= m_loaded.size() || !m_loaded[tag].object)
            fail(CArchiveException::badIndex, "An object tag refers to no object.");
        CObject* object = m_loaded[tag].object;
        if (requested && !object->IsKindOf(requested)) fail(CArchiveException::badClass);
        return object;
    }

    if (m_depth >= kMaxObjectDepth)
        fail(CArchiveException::badIndex, "Objects are nested too deeply.");
    CObject* object = runtimeClass->CreateObject();
    if (!object) fail(CArchiveException::badClass, "An object of the class cannot be made.");
    // Entered before its fields are read, so that they may refer back to it.
    const std::size_t slot = m_loaded.size();
    m_loaded.push_back({nullptr, object, 0});
    const UINT savedSchema = m_objectSchema;
    m_objectSchema = schema;
    ++m_depth;
    try {
        object->Serialize(*this);
    } catch (...) {
        --m_depth;
        m_objectSchema = savedSchema;
        m_loaded[slot].object = nullptr;
        delete object;
        throw;
    }
    --m_depth;
    m_objectSchema = savedSchema;
    return object;
}
