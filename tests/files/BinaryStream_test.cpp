#include "zevcore/files/BinaryStream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/TestEnv.h"

namespace {

using zevtest::readFile;
using zevtest::TempDir;
using zevtest::writeFile;

std::string bytes(std::initializer_list<int> list) {
    std::string s;
    for (int b : list) s += static_cast<char>(b);
    return s;
}

TEST(FileError, NamesAreFourteenBytePaddedRows) {
    static_assert(sizeof(FileErrorName) == 11 * 14);
    EXPECT_STREQ(FileErrorName[feSuccess], "success");
    EXPECT_STREQ(FileErrorName[fePOLError], "POL error");
    EXPECT_STREQ(FileErrorName[feTempError], "temp. error");
    EXPECT_STREQ(FileErrorName[feWriteError], "write error");
    EXPECT_EQ(std::memcmp(FileErrorName[feReadError], "read error\0\0\0\0", 14), 0);
}

TEST(BinaryStream, EveryTypeHasItsByteForm) {
    TempDir dir;
    const std::string path = dir.file("all.bin");
    {
        obfstream out(path.c_str(), 0);
        ASSERT_TRUE(!!out);
        out << true << false << 'A' << static_cast<short>(-2) << static_cast<unsigned short>(0xBEEF)
            << 0x01020304 << 0xFFFFFFFEu << 1.5f << -2.0 << 0.25L << "hi"
            << "";
        out.write("xyz", 2).put('!');
        EXPECT_STREQ(out.fileName(), path.c_str());
    }
    const std::string expected =
        bytes({1,   0,    'A',  0xFE, 0xFF, 0xEF, 0xBE, 4,    3,    2,
               1,   0xFE, 0xFF, 0xFF, 0xFF, 0,    0,    0xC0, 0x3F,  // 1.5f
               0,   0,    0,    0,    0,    0,    0,    0xC0,        // -2.0
               0,   0,    0,    0,    0,    0,    0xD0, 0x3F,        // 0.25
               'h', 'i',  0,    0,    'x',  'y',  '!'});
    EXPECT_EQ(readFile(path), expected);

    ibfstream in(path.c_str(), 0);
    bool t = false, f = true;
    char c = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned int ui = 0;
    float fl = 0;
    double d = 0;
    long double ld = 0;
    CString hi, empty;
    in >> t >> f;
    in.get(c) >> s >> us >> i >> ui >> fl >> d >> ld >> hi >> empty;
    char raw[3] = {};
    in.read(raw, 2).get(raw[2]);
    EXPECT_FALSE(!in);
    EXPECT_TRUE(t);
    EXPECT_FALSE(f);
    EXPECT_EQ(c, 'A');
    EXPECT_EQ(s, -2);
    EXPECT_EQ(us, 0xBEEF);
    EXPECT_EQ(i, 0x01020304);
    EXPECT_EQ(ui, 0xFFFFFFFEu);
    EXPECT_EQ(fl, 1.5f);
    EXPECT_EQ(d, -2.0);
    EXPECT_EQ(ld, 0.25L);
    EXPECT_STREQ(hi, "hi");
    EXPECT_EQ(hi.GetLength(), 5);  // the text, its NUL, a NUL and one more byte
    EXPECT_STREQ(empty, "");
    EXPECT_EQ(empty.GetLength(), 3);
    EXPECT_EQ(std::string(raw, 3), "xy!");
}

TEST(BinaryStream, NullTextWritesNothingAndLongTextIsCut) {
    TempDir dir;
    const std::string path = dir.file("t.bin");
    const std::string big(70000, 'q');
    {
        obfstream out(path.c_str(), 0);
        out << static_cast<const char*>(nullptr) << big.c_str();
    }
    const std::string file = readFile(path);
    ASSERT_EQ(file.size(), 65536u);
    EXPECT_EQ(file.substr(0, 65535), big.substr(0, 65535));
    EXPECT_EQ(file.back(), '\0');
}

TEST(BinaryStream, TextReadersDifferByOneByteAtTheLimit) {
    TempDir dir;
    const std::string path = dir.file("limit.bin");
    const std::string fits(65534, 'a'), tooLong(65535, 'b');
    {
        obfstream out(path.c_str(), 0);
        out << fits.c_str() << tooLong.c_str() << tooLong.c_str();
    }
    {
        ibfstream in(path.c_str(), 0);
        CString s;
        in >> s;
        EXPECT_FALSE(!in);
        EXPECT_EQ(std::string(static_cast<const char*>(s)), fits);
        EXPECT_EQ(s.GetLength(), 65534 + 3);
        in >> s;
        EXPECT_TRUE(!in);
    }
    {
        // The char* form takes the 65,535-byte text whole, and needs 65,537 bytes of room.
        ibfstream in(path.c_str(), 0);
        std::vector<char> buffer(65537, 'x');
        in >> buffer.data() >> buffer.data();
        EXPECT_FALSE(!in);
        EXPECT_EQ(std::string(buffer.data()), tooLong);
        EXPECT_EQ(buffer[65536], '\0');
        in >> static_cast<char*>(nullptr);
        EXPECT_FALSE(!in);
    }
}

TEST(BinaryStream, EndOfFile) {
    TempDir dir;
    const std::string path = dir.file("eof.bin");
    // Nothing written: a file of zero bytes; a number read from it fails and keeps its value.
    { obfstream out(path.c_str(), 0); }
    EXPECT_EQ(readFile(path), "");
    {
        ibfstream in(path.c_str(), 0);
        int i = 42;
        in >> i;
        EXPECT_TRUE(!in);
        EXPECT_NE(in.eof(), 0);
        EXPECT_EQ(static_cast<void*>(in), nullptr);
        EXPECT_EQ(i, 42);
    }
    // Two bytes of four: the target keeps its other bytes.
    writeFile(path, bytes({0x11, 0x22}));
    {
        ibfstream in(path.c_str(), 0);
        int i = 0x7A7B7C7D;
        in >> i;
        EXPECT_TRUE(!in);
        EXPECT_EQ(i, 0x7A7B2211);
    }
    // A text with no NUL before the end: end of file alone, which is not a failure.
    writeFile(path, "abc");
    ibfstream in(path.c_str(), 0);
    CString s;
    in >> s;
    EXPECT_NE(in.eof(), 0);
    EXPECT_EQ(!in, 0);
    EXPECT_NE(static_cast<void*>(in), nullptr);
    EXPECT_STREQ(s, "abc");
}

TEST(BinaryStream, MakeBadPoisonsAndSeekgIsAbsolute) {
    TempDir dir;
    const std::string path = dir.file("seek.bin");
    writeFile(path, bytes({1, 0, 0, 0, 2, 0, 0, 0}));
    ibfstream in(path.c_str(), 0);
    int v = 0;
    in.seekg(4) >> v;
    EXPECT_EQ(v, 2);
    in.seekg(0) >> v;
    EXPECT_EQ(v, 1);
    in.makeBad();
    EXPECT_TRUE(!in);
    EXPECT_TRUE(in.bad());
    in.seekg(4) >> v;
    EXPECT_EQ(v, 1);
}

TEST(BinaryStream, OpeningFailuresAndModes) {
    TempDir dir;
    ibfstream missing(dir.file("none.bin").c_str(), 0);
    EXPECT_TRUE(!missing);
    EXPECT_STREQ(missing.fileName(), dir.file("none.bin").c_str());
    obfstream noFolder(dir.file("no/such/folder.bin").c_str(), 0);
    EXPECT_TRUE(!noFolder);
    ibfstream nullName(nullptr, 0);
    EXPECT_TRUE(!nullName);
    EXPECT_STREQ(nullName.fileName(), "");

    // Mode 0 replaces on writing; app keeps what was there.
    const std::string path = dir.file("mode.bin");
    writeFile(path, "old contents");
    {
        obfstream out(path.c_str(), 0);
        out << 'n';
    }
    EXPECT_EQ(readFile(path), "n");
    {
        obfstream out(path.c_str(), std::ios::app);
        out << 'm';
    }
    EXPECT_EQ(readFile(path), "nm");

    // Another stream may read and write the file while it is open.
    ibfstream reader(path.c_str(), std::ios::in);
    obfstream writer(path.c_str(), std::ios::app);
    writer << 'z';
    writer.close();
    char a = 0, b = 0, c = 0;
    reader.get(a).get(b).get(c);
    EXPECT_FALSE(!reader);
    EXPECT_EQ(std::string({a, b, c}), "nmz");
}

TEST(BinaryStream, ArraysWithCountAndElements) {
    TempDir dir;
    const std::string path = dir.file("arr.bin");
    CTArray<int> ints, none;
    ints.setLower(0);
    ints.add(7);
    ints.add(-1);
    CTArray<double> doubles;
    doubles.add(0.5);
    {
        obfstream out(path.c_str(), 0);
        EXPECT_EQ(writeArray(ints, out), feSuccess);
        EXPECT_EQ(writeArray(none, out), feSuccess);
        EXPECT_EQ(writeArray(doubles, out), feSuccess);
    }
    EXPECT_EQ(readFile(path), bytes({2, 0, 0, 0, 7, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF,  //
                                     0, 0, 0, 0,                                      //
                                     1, 0, 0, 0, 0, 0, 0, 0, 0,    0,    0xE0, 0x3F}));
    ibfstream in(path.c_str(), 0);
    CTArray<int> a, b;
    a.add(99);
    b.add(99);
    CTArray<double> c;
    EXPECT_EQ(readArray(a, in), feSuccess);
    EXPECT_EQ(readArray(b, in), feSuccess);
    EXPECT_EQ(readArray(c, in), feSuccess);
    ASSERT_EQ(a.getCount(), 2);
    EXPECT_EQ(a[1], 7);
    EXPECT_EQ(a[2], -1);
    EXPECT_EQ(b.getCount(), 0);
    ASSERT_EQ(c.getCount(), 1);
    EXPECT_EQ(c[1], 0.5);
}

TEST(BinaryStream, ArraysOnFailedStreams) {
    TempDir dir;
    const std::string path = dir.file("fail.bin");
    // A count of two billion over one element: a failed read, quickly, with what was whole.
    writeFile(path, bytes({0, 0x94, 0x35, 0x77, 5, 0, 0, 0, 6, 0}));
    ibfstream in(path.c_str(), 0);
    CTArray<int> a;
    EXPECT_EQ(readArray(a, in), feReadError);
    ASSERT_EQ(a.getCount(), 1);
    EXPECT_EQ(a[1], 5);

    a.add(8);
    EXPECT_EQ(readArray(a, in), feReadError);  // failed on entry: unchanged
    EXPECT_EQ(a.getCount(), 2);

    const std::string outPath = dir.file("out.bin");
    obfstream out(outPath.c_str(), 0);
    out.setstate(std::ios::failbit);
    EXPECT_EQ(writeArray(a, out), feWriteError);
    out.close();
    EXPECT_EQ(readFile(outPath), "");
}

// Random records of every type, written and read back equal; then the same file cut at every
// byte reads back as a failed stream.
struct Record {
    bool b;
    char c;
    short s;
    unsigned short us;
    int i;
    unsigned int ui;
    float f;
    double d;
    long double ld;
    std::string text;
    int sentinel;
    bool operator==(const Record&) const = default;
};

void writeRecord(obfstream& out, const Record& r) {
    out << r.b << r.c << r.s << r.us << r.i << r.ui << r.f << r.d << r.ld << r.text.c_str()
        << r.sentinel;
}

bool readRecord(ibfstream& in, Record& r) {
    CString text;
    in >> r.b;
    in.get(r.c) >> r.s >> r.us >> r.i >> r.ui >> r.f >> r.d >> r.ld >> text >> r.sentinel;
    r.text = static_cast<const char*>(text);
    return !in == 0;
}

TEST(BinaryStream, RandomRecordsRoundTripAndTruncationAlwaysFails) {
    std::mt19937 rng(20261122);
    auto any = [&](auto lo, auto hi) {
        return std::uniform_int_distribution<long long>(lo, hi)(rng);
    };
    std::vector<Record> records(20);
    for (Record& r : records) {
        r.b = any(0, 1) == 1;
        r.c = static_cast<char>(any(-128, 127));
        r.s = static_cast<short>(any(-32768, 32767));
        r.us = static_cast<unsigned short>(any(0, 65535));
        r.i = static_cast<int>(any(INT32_MIN, INT32_MAX));
        r.ui = static_cast<unsigned int>(any(0, UINT32_MAX));
        r.f = std::uniform_real_distribution<float>(-1e30f, 1e30f)(rng);
        r.d = std::uniform_real_distribution<double>(-1e300, 1e300)(rng);
        r.ld = std::uniform_real_distribution<double>(-1, 1)(rng);
        r.text.clear();
        for (long long n = any(0, 40); n > 0; --n) r.text += static_cast<char>(any(1, 255));
        r.sentinel = static_cast<int>(any(INT32_MIN, INT32_MAX));
    }
    TempDir dir;
    const std::string path = dir.file("records.bin");
    {
        obfstream out(path.c_str(), 0);
        for (const Record& r : records) writeRecord(out, r);
    }
    {
        ibfstream in(path.c_str(), 0);
        for (const Record& r : records) {
            Record back{};
            ASSERT_TRUE(readRecord(in, back));
            EXPECT_TRUE(back == r);
        }
        char extra = 0;
        in.get(extra);
        EXPECT_TRUE(!in);
    }
    // Every record ends in a number, so any cut leaves some field short.
    const std::string whole = readFile(path);
    const std::string cutPath = dir.file("cut.bin");
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        writeFile(cutPath, whole.substr(0, cut));
        ibfstream in(cutPath.c_str(), 0);
        bool allRead = true;
        for (std::size_t n = 0; n < records.size() && allRead; ++n) {
            Record back{};
            allRead = readRecord(in, back);
        }
        ASSERT_FALSE(allRead) << "cut at " << cut;
    }
}

}  // namespace
