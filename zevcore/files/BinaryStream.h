#pragma once

// Binary file streams: the fields a caller writes, concatenated, with no header of their own.
// Numbers are little-endian and unaligned; a text is its bytes and a NUL. See docs/formats.md.

#include <cstdint>
#include <fstream>
#include <string>

#include "zevcore/Export.h"
#include "zevcore/frame/TArray.h"
#include "zevcore/platform/framework/String.h"

/// The result of every file-level read and write of the library. Any non-zero code is a
/// failure; `FileErrorName[code]` is its text for the user.
enum ETFileError {
    feSuccess = 0,
    feCancelled = 1,
    feBadFormat = 2,
    feCannotCreate = 3,
    feCannotOpen = 4,
    feNotFound = 5,
    feOldVersion = 6,
    fePOLError = 7,
    feReadError = 8,
    feTempError = 9,
    feWriteError = 10,
};

/// The user's text for each ETFileError, indexed by the code: 11 rows of 14 bytes, NUL-padded.
extern ZEVCORE_API const char FileErrorName[11][14];

/// A binary input file stream that remembers the name it was opened with.
///
/// Never throws and never reports: failure shows only in the stream's state, and a failed
/// stream ignores every later operation, so a reader may run through a whole record and test
/// once at the end. A read past the end sets the fail and end-of-file bits; a number target
/// then keeps its previous bytes, wholly or in part.
class ZEVCORE_API ibfstream : public std::ifstream {
public:
    /// Opens `name` for shared reading, always in binary and for input whatever `mode` holds
    /// (the standard open-mode bits). A file that cannot be opened (or a null name) leaves the
    /// fail bit set. The name is kept whatever the outcome.
    explicit ibfstream(const char* name, int mode = 0);
    ~ibfstream() override;

    /// Reads a NUL-ended text of at most 65,534 bytes. A longer text sets the fail bit. The
    /// recorded length of the result is the bytes taken off the stream plus two (so n + 3 for a
    /// text of n bytes with its NUL); every byte past the text is NUL.
    ibfstream& operator>>(CString& text);
    /// Reads an 8-byte double and widens it.
    ibfstream& operator>>(long double& value);
    ibfstream& operator>>(double& value);
    ibfstream& operator>>(float& value);
    ibfstream& operator>>(unsigned int& value);
    ibfstream& operator>>(int& value);
    ibfstream& operator>>(unsigned short& value);
    ibfstream& operator>>(short& value);
    /// One byte: any non-zero byte is true.
    ibfstream& operator>>(bool& value);
    /// Reads a NUL-ended text of at most 65,535 bytes into `buffer`, which must hold 65,537
    /// bytes: a NUL is stored one place past the text's own terminator. Null reads nothing.
    ibfstream& operator>>(char* buffer);

    ibfstream& read(char* buffer, int count);
    ibfstream& getline(char* buffer, int size, char delimiter);
    ibfstream& get(char* buffer, int size, char delimiter);
    ibfstream& get(char& ch);

    /// Goes to an absolute byte position.
    ibfstream& seekg(int position);

    int eof() const { return std::ifstream::eof() ? 1 : 0; }
    /// Clears every state bit and sets the bad bit: all later checks fail.
    void makeBad();
    /// Non-zero when the fail or bad bit is set; end of file alone does not count.
    int operator!() const { return fail() ? 1 : 0; }
    operator void*() const { return fail() ? nullptr : const_cast<ibfstream*>(this); }
    const char* fileName() const { return m_name.c_str(); }

private:
    template <typename T>
    ibfstream& readNumber(T& value);

    std::string m_name;
};

/// A binary output file stream that remembers the name it was opened with. Never throws;
/// failure shows only in the stream's state.
class ZEVCORE_API obfstream : public std::ofstream {
public:
    /// Opens `name` for shared writing, always in binary and for output whatever `mode` holds
    /// (without app, ate or in the file is replaced). Failure leaves the fail bit set.
    explicit obfstream(const char* name, int mode = 0);
    ~obfstream() override;

    /// Writes the text's bytes, at most 65,535 of them, and one NUL. A null pointer writes
    /// nothing at all, not even the NUL.
    obfstream& operator<<(const char* text);
    /// Narrowed to an 8-byte double: the file form does not depend on the compiler's width.
    obfstream& operator<<(long double value);
    obfstream& operator<<(double value);
    obfstream& operator<<(float value);
    obfstream& operator<<(unsigned int value);
    obfstream& operator<<(int value);
    obfstream& operator<<(unsigned short value);
    obfstream& operator<<(short value);
    obfstream& operator<<(char value);
    /// One byte: 1 for true, 0 for false.
    obfstream& operator<<(bool value);

    /// Exactly `count` bytes, with no length; a negative count writes nothing.
    obfstream& write(const char* data, int count);
    obfstream& put(char ch);

    int operator!() const { return fail() ? 1 : 0; }
    operator void*() const { return fail() ? nullptr : const_cast<obfstream*>(this); }
    const char* fileName() const { return m_name.c_str(); }

private:
    template <typename T>
    obfstream& writeNumber(T value);

    std::string m_name;
};

namespace zev::detail {

template <typename T>
ETFileError writeElements(CTArray<T>& array, obfstream& out) {
    if (!out) return feWriteError;
    out << static_cast<int>(array.getCount());
    for (std::int32_t i = array.getLower(); i <= array.getLast(); ++i) out << array[i];
    return !out ? feWriteError : feSuccess;
}

// The count comes from the file and bounds the loop only: the loop ends at the first failed
// element, so a wrong count costs neither time nor memory.
template <typename T>
ETFileError readElements(CTArray<T>& array, ibfstream& in) {
    if (!in) return feReadError;
    array.clear();
    int count = 0;
    in >> count;
    for (int i = 0; i < count; ++i) {
        T value{};
        in >> value;
        if (!in) break;
        array.add(value);
    }
    return !in ? feReadError : feSuccess;
}

}  // namespace zev::detail

/// Writes the element count as an `int`, then each element (4 bytes) from the first index on.
/// Answers feWriteError when the stream is failed before or after, else feSuccess; a stream
/// failed on entry is not written to.
ZEVCORE_API ETFileError writeArray(CTArray<int>& array, obfstream& out);
/// Empties the array and reads a count and that many elements. Answers feReadError, with the
/// array unchanged, when the stream is failed on entry; feReadError when it fails during the
/// read (the array then holds the elements read whole before the failure); else feSuccess.
ZEVCORE_API ETFileError readArray(CTArray<int>& array, ibfstream& in);

// The same pair for doubles (8 bytes each) is for the library's own grids; it is inline and
// not part of the exported interface.
inline ETFileError writeArray(CTArray<double>& array, obfstream& out) {
    return zev::detail::writeElements(array, out);
}
inline ETFileError readArray(CTArray<double>& array, ibfstream& in) {
    return zev::detail::readElements(array, in);
}
