#include "zevcore/platform/framework/File.h"

#include <gtest/gtest.h>

#include "support/ExpectMessage.h"

#include "support/TestEnv.h"

namespace {

using zevtest::readFile;
using zevtest::TempDir;
using zevtest::writeFile;

TEST(File, OpenFailuresAnswerACause) {
    TempDir dir;
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(dir.file("missing").c_str(), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
    EXPECT_FALSE(file.Open(nullptr, CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::badPath);
    EXPECT_THROW_MSG(CFile(dir.file("no/folder/f").c_str(), CFile::modeCreate | CFile::modeWrite),
                     CFileException,
                     "The file could not be found. (" + dir.file("no/folder/f") + ")");
}

TEST(File, CreateTruncatesUnlessToldNotTo) {
    TempDir dir;
    const std::string path = dir.file("f.bin");
    writeFile(path, "0123456789");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite);
        file.Seek(2, CFile::begin);
        file.Write("ab", 2);
    }
    EXPECT_EQ(readFile(path), "01ab456789");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::shareDenyNone);
        file.Write("xy", 2);
        EXPECT_EQ(file.GetLength(), 2u);
    }
    EXPECT_EQ(readFile(path), "xy");
    CFile file(path.c_str(), CFile::modeRead);
    char buffer[8] = {};
    EXPECT_EQ(file.Read(buffer, 8), 2u);
    EXPECT_EQ(file.Read(buffer, 8), 0u);
    EXPECT_EQ(file.GetFileName(), "f.bin");
    EXPECT_THROW_MSG(file.Seek(-1, CFile::begin), CFileException,
                     "The file position could not be set. (" + dir.file("f.bin") + ")");
}

TEST(File, MemoryFileReadsWritesAndSeeks) {
    CMemFile file("abc", 3);
    char buffer[4] = {};
    EXPECT_EQ(file.Read(buffer, 2), 2u);
    EXPECT_EQ(std::string(buffer), "ab");
    file.Seek(5, CFile::begin);
    file.Write("z", 1);
    EXPECT_EQ(file.Contents(), std::string("abc\0\0z", 6));
    EXPECT_EQ(file.Seek(-1, CFile::end), 5u);
    EXPECT_THROW_MSG(file.Seek(-7, CFile::current), CFileException,
                     "The file position could not be set.");
    EXPECT_EQ(file.Read(buffer, 4), 1u);
}

}  // namespace
