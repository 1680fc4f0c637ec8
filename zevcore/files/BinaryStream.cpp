#include "zevcore/files/BinaryStream.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

const char FileErrorName[11][14] = {
    "success",    "cancelled",   "bad format", "cannot create", "cannot open", "not found",
    "old version", "POL error",  "read error", "temp. error",   "write error",
};

namespace {

// The texts' limits: the writer cuts at kMaxText bytes; the CString reader holds one byte less.
constexpr int kMaxText = 0xFFFF;
constexpr int kCStringReadSize = 0xFFFF;
constexpr int kCharReadSize = 0x10000;

// Only the standard's six open-mode bits are passed on; anything else in a caller's int is
// not a mode.
std::ios_base::openmode openMode(int mode, std::ios_base::openmode forced) {
    const auto known = std::ios_base::app | std::ios_base::ate | std::ios_base::binary |
                       std::ios_base::in | std::ios_base::out | std::ios_base::trunc;
    return (static_cast<std::ios_base::openmode>(mode) & known) | forced;
}

// The file form is little-endian whatever the machine.
template <typename T>
void toFileOrder(unsigned char (&bytes)[sizeof(T)]) {
    if constexpr (std::endian::native == std::endian::big) {
        for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
    }
}

}  // namespace

// --- ibfstream -------------------------------------------------------------------------------

// On this system every open is shared: other programs may read and write the file meanwhile.
ibfstream::ibfstream(const char* name, int mode) : m_name(name ? name : "") {
    if (name) {
        open(name, openMode(mode, std::ios_base::binary | std::ios_base::in));
    } else {
        setstate(std::ios_base::failbit);
    }
}

ibfstream::~ibfstream() = default;

template <typename T>
ibfstream& ibfstream::readNumber(T& value) {
    // Start from the target's own bytes so that a short read leaves the rest of it as it was.
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    toFileOrder<T>(bytes);
    std::ifstream::read(reinterpret_cast<char*>(bytes), sizeof(T));
    if (gcount() > 0) {
        toFileOrder<T>(bytes);
        std::memcpy(&value, bytes, sizeof(T));
    }
    return *this;
}

ibfstream& ibfstream::operator>>(double& value) { return readNumber(value); }
ibfstream& ibfstream::operator>>(float& value) { return readNumber(value); }
ibfstream& ibfstream::operator>>(unsigned int& value) { return readNumber(value); }
ibfstream& ibfstream::operator>>(int& value) { return readNumber(value); }
ibfstream& ibfstream::operator>>(unsigned short& value) { return readNumber(value); }
ibfstream& ibfstream::operator>>(short& value) { return readNumber(value); }

ibfstream& ibfstream::operator>>(long double& value) {
    double narrow = static_cast<double>(value);
    readNumber(narrow);
    value = narrow;
    return *this;
}

ibfstream& ibfstream::operator>>(bool& value) {
    char byte = 0;
    std::ifstream::get(byte);
    if (gcount() == 1) value = byte != 0;
    return *this;
}

ibfstream& ibfstream::operator>>(char* buffer) {
    if (!buffer) return *this;
    std::ifstream::getline(buffer, kCharReadSize, '\0');
    buffer[gcount()] = '\0';
    return *this;
}

ibfstream& ibfstream::operator>>(CString& text) {
    // One buffer for every read, never cleared: only the bytes the read stored are taken,
    // so a short text costs what it is long, not the size of the largest.
    thread_local const std::unique_ptr<char[]> buffer(new char[kCStringReadSize + 1]);
    std::ifstream::getline(buffer.get(), kCStringReadSize, '\0');
    const auto count = static_cast<size_t>(gcount());
    // The recorded length is count + 2: the bytes read (the text and, when it was found, the
    // place of its terminating NUL) and two NULs after them, so no stale byte shows through.
    std::string read(buffer.get(), count);
    read.append(2, '\0');
    text = CString(read);
    return *this;
}

ibfstream& ibfstream::read(char* buffer, int count) {
    if (buffer && count >= 0) std::ifstream::read(buffer, count);
    return *this;
}

ibfstream& ibfstream::getline(char* buffer, int size, char delimiter) {
    if (buffer) std::ifstream::getline(buffer, size, delimiter);
    return *this;
}

ibfstream& ibfstream::get(char* buffer, int size, char delimiter) {
    if (buffer) std::ifstream::get(buffer, size, delimiter);
    return *this;
}

ibfstream& ibfstream::get(char& ch) {
    std::ifstream::get(ch);
    return *this;
}

ibfstream& ibfstream::seekg(int position) {
    std::ifstream::seekg(std::streampos(position));
    return *this;
}

void ibfstream::makeBad() {
    clear();
    setstate(std::ios_base::badbit);
}

// --- obfstream -------------------------------------------------------------------------------

obfstream::obfstream(const char* name, int mode) : m_name(name ? name : "") {
    if (name) {
        open(name, openMode(mode, std::ios_base::binary | std::ios_base::out));
    } else {
        setstate(std::ios_base::failbit);
    }
}

obfstream::~obfstream() = default;

template <typename T>
obfstream& obfstream::writeNumber(T value) {
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    toFileOrder<T>(bytes);
    std::ofstream::write(reinterpret_cast<const char*>(bytes), sizeof(T));
    return *this;
}

obfstream& obfstream::operator<<(long double value) {
    return writeNumber(static_cast<double>(value));
}
obfstream& obfstream::operator<<(double value) { return writeNumber(value); }
obfstream& obfstream::operator<<(float value) { return writeNumber(value); }
obfstream& obfstream::operator<<(unsigned int value) { return writeNumber(value); }
obfstream& obfstream::operator<<(int value) { return writeNumber(value); }
obfstream& obfstream::operator<<(unsigned short value) { return writeNumber(value); }
obfstream& obfstream::operator<<(short value) { return writeNumber(value); }
obfstream& obfstream::operator<<(char value) { return put(value); }
obfstream& obfstream::operator<<(bool value) { return put(value ? 1 : 0); }

obfstream& obfstream::operator<<(const char* text) {
    if (!text) return *this;
    const std::size_t length = strnlen(text, kMaxText);
    std::ofstream::write(text, static_cast<std::streamsize>(length));
    return put('\0');
}

obfstream& obfstream::write(const char* data, int count) {
    if (data && count > 0) std::ofstream::write(data, count);
    return *this;
}

obfstream& obfstream::put(char ch) {
    std::ofstream::put(ch);
    return *this;
}

// --- arrays ----------------------------------------------------------------------------------


ETFileError writeArray(CTArray<int>& array, obfstream& out) {
    return zev::detail::writeElements(array, out);
}
ETFileError readArray(CTArray<int>& array, ibfstream& in) {
    return zev::detail::readElements(array, in);
}
