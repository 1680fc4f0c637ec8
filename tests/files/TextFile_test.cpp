#include "zevcore/files/TextFile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/TestEnv.h"

namespace {

using zevtest::readFile;
using zevtest::TempDir;
using zevtest::writeFile;

std::vector<std::string> items(const CStringArray& array) {
    std::vector<std::string> out;
    for (const CString& s : array) out.emplace_back(s.str());
    return out;
}

TEST(StringEx, ParseSplitsTrimsAndDropsEmptyPieces) {
    struct Case {
        const char* text;
        const char* delimiter;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"a,b", ",", {"a", "b"}},
        {"a,,b,", ",", {"a", "b"}},
        {" a , ,b ", ",", {"a", "", "b"}},
        {"one::two::", "::", {"one", "two"}},
        {"", ",", {}},
        {"whole", "", {"whole"}},
        {"x\r\ny\n\n  \nz", "\n", {"x", "y", "", "z"}},
    };
    for (const Case& c : cases) {
        CStringArrayEx array;
        array.Add("stale");
        EXPECT_EQ(CStringEx(c.text).Parse(c.delimiter, array, 0),
                  static_cast<int>(c.expected.size()));
        EXPECT_EQ(items(array), c.expected) << c.text;
    }
}

TEST(SimpleTextFile, ReadGivesTrimmedNonEmptyLines) {
    TempDir dir;
    const std::string path = dir.file("t.txt");
    writeFile(path, "  first line \r\n\n   \n\tsecond\n");
    CSimpleTextFile file;
    EXPECT_EQ(file.Read(path.c_str()), nullptr);
    ASSERT_EQ(file.Lines(), 3);
    EXPECT_EQ(file.Line(0), "first line");
    EXPECT_EQ(file.Line(1), "");  // the line of blanks was not empty before trimming
    EXPECT_EQ(file.Line(2), "second");
    EXPECT_EQ(file.Line(3), "");
    EXPECT_EQ(file.Line(-1), "");

    EXPECT_STREQ(file.Read(nullptr), "No file specified to read.");
    const std::string missing = dir.file("none.txt");
    EXPECT_EQ(std::string(file.Read(missing.c_str())), "Failed to open the file: \n\t" + missing);
    EXPECT_EQ(file.Lines(), 0);
}

TEST(SimpleTextFile, ParseTokens) {
    struct Case {
        const char* line;
        std::vector<std::string> tokens;
    };
    const Case cases[] = {
        {"'two words' further", {"two words", "further"}},
        {"\"double quoted\" x12", {"double quoted", "x12"}},
        {"a   bb    ccc", {"a", "bb", "ccc"}},
        {"open 'unterminated quote here", {"open", "unterminated quote here"}},
        {"'' rest of line", {"' rest of line"}},
        {"mid'quote ok", {"mid'quote", "ok"}},
        // A position at or past the last index ends the scan: a one-byte last token after a
        // single blank is not reached.
        {"x 1", {"x"}},
        {"x 12", {"x", "12"}},
        {"'q' z", {"q"}},
    };
    TempDir dir;
    const std::string path = dir.file("p.txt");
    std::string content = "; comment\n/ also\n# and this\n";
    for (const Case& c : cases) content += std::string(c.line) + "\n";
    writeFile(path, content);
    CSimpleTextFile file;
    ASSERT_EQ(file.Read(path.c_str()), nullptr);
    EXPECT_EQ(file.ParsedLines(), 0);
    EXPECT_EQ(file.Tokens(0), 0);
    EXPECT_EQ(file.Token(0, 0), "");
    EXPECT_TRUE(file.Parse());
    ASSERT_EQ(file.ParsedLines(), static_cast<int>(std::size(cases)));
    for (int i = 0; i < file.ParsedLines(); ++i)
        EXPECT_EQ(items(file.ParsedLine(i)), cases[i].tokens) << cases[i].line;
    EXPECT_EQ(file.Token(0, 1), "further");
    EXPECT_EQ(file.Token(0, 2), "");
    EXPECT_EQ(file.ParsedLine(99).GetSize(), 0);
    // Parsing again adds the lines again.
    file.Parse();
    EXPECT_EQ(file.ParsedLines(), 2 * static_cast<int>(std::size(cases)));
}

TEST(SimpleTextFile, WriteLinesWithLineFeeds) {
    TempDir dir;
    const std::string path = dir.file("w.txt");
    writeFile(path, "untouched");
    CSimpleTextFile file;
    EXPECT_FALSE(file.Write(path.c_str(), CStringArray()));
    EXPECT_EQ(readFile(path), "untouched");
    CStringArray lines;
    lines.Add("one");
    lines.Add(CString("t\0o", 3));
    lines.Add("");
    EXPECT_TRUE(file.Write(path.c_str(), lines));
    EXPECT_EQ(readFile(path), std::string("one\nt\0o\n\n", 9));
    EXPECT_FALSE(file.Write(dir.file("no/dir.txt").c_str(), lines));
}

TEST(TabbedTextFile, ReadsATable) {
    TempDir dir;
    const std::string path = dir.file("t.tab");
    writeFile(path, "Name\tLength\tArea\n# a comment\tx\nBeam\t 12.5 \t3\nCol\t4\t0.25\n");
    CTabbedTextFile table;
    EXPECT_EQ(table.Read(path.c_str()), nullptr);
    EXPECT_EQ(table.Columns(), 3);
    ASSERT_EQ(table.Rows(), 2);
    EXPECT_STREQ(table.Header(1), "Length");
    EXPECT_EQ(table.Header(3), nullptr);
    EXPECT_STREQ(table.StringData(0, 1), "12.5");
    EXPECT_EQ(table.DoubleData(1, 2), 0.25);
    EXPECT_EQ(table.StringData(-1, 0), nullptr);
    EXPECT_EQ(table.StringData(0, table.Columns()), nullptr);
    EXPECT_EQ(table.StringData(2, 0), nullptr);
    EXPECT_EQ(table.DoubleData(5, 5), 0.0);
}

TEST(TabbedTextFile, Messages) {
    struct Case {
        const char* content;
        std::string message;  // %s stands for the path
        int rowsKept;
    };
    const Case cases[] = {
        {"Only\tHeaders\n", "File '%s' is empty of data (no data rows).", 0},
        {"\n", "File '%s' is empty of data (no data rows).", 0},
        {"", "File '%s' is empty of data (no data rows).", 0},
        {" \t\t \nrow\n", "File '%s' is empty of data (no columns).", 0},
        // The comment line counts in the row number; the empty cell makes a row one short.
        {"A\tB\tC\n1\t2\t3\n#skip\n3\t\t4\n", "Incorrect number of data items in row #3", 1},
        {"A\tB\n1\t2\t3\n", "Incorrect number of data items in row #1", 0},
    };
    TempDir dir;
    const std::string path = dir.file("m.tab");
    for (const Case& c : cases) {
        writeFile(path, c.content);
        CTabbedTextFile table;
        const char* message = table.Read(path.c_str());
        ASSERT_NE(message, nullptr) << c.content;
        std::string expected = c.message;
        if (const auto at = expected.find("%s"); at != std::string::npos)
            expected.replace(at, 2, path);
        EXPECT_EQ(message, expected);
        EXPECT_EQ(table.Rows(), c.rowsKept);
        EXPECT_EQ(table.Header(0), nullptr);  // not loaded
    }
    CTabbedTextFile table;
    EXPECT_STREQ(table.Read(nullptr), "No file specified to read.");
    EXPECT_EQ(std::string(table.Read(dir.file("none").c_str())),
              "Failed to open the file: \n\t" + dir.file("none"));
    // A blank in the cell makes it a kept, empty item.
    writeFile(path, "A\tB\tC\n3\t \t4\n");
    EXPECT_EQ(table.Read(path.c_str()), nullptr);
    EXPECT_STREQ(table.StringData(0, 1), "");
}

}  // namespace
