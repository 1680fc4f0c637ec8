#include "zevcore/platform/framework/String.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(String, RecordedLengthMayPassANul) {
    CString s("ab\0cd", 5);
    EXPECT_EQ(s.GetLength(), 5);
    EXPECT_STREQ(static_cast<const char*>(s), "ab");
    EXPECT_EQ(s.GetAt(3), 'c');
    EXPECT_EQ(s.GetAt(5), '\0');
    EXPECT_EQ(s.GetAt(-1), '\0');
}

TEST(String, NullAndEmptyInputs) {
    CString s(static_cast<const char*>(nullptr));
    EXPECT_TRUE(s.IsEmpty());
    s = static_cast<const char*>(nullptr);
    EXPECT_TRUE(s.IsEmpty());
    s += static_cast<const char*>(nullptr);
    EXPECT_EQ(s.Compare(nullptr), 0);
    EXPECT_EQ(CString("x", -3).GetLength(), 0);
    EXPECT_EQ(CString('-', 0).GetLength(), 0);
    EXPECT_EQ(CString('-', 3), "---");
}

TEST(String, ComparisonWithAndWithoutCase) {
    CString s("Length");
    EXPECT_EQ(s.Compare("Length"), 0);
    EXPECT_LT(s.Compare("length"), 0);
    EXPECT_EQ(s.CompareNoCase("LENGTH"), 0);
    EXPECT_LT(s.CompareNoCase("lengths"), 0);
    EXPECT_GT(s.CompareNoCase("LENGT"), 0);
    EXPECT_TRUE(s == "Length");
    EXPECT_TRUE(CString("a") < CString("b"));
}

TEST(String, FormatGrowsAsNeeded) {
    CString s;
    s.Format("%d-%s-%.2f", 12, "ab", 1.005);
    EXPECT_EQ(s, "12-ab-1.00");
    std::string big(10000, 'z');
    s.Format("[%s]", big.c_str());
    EXPECT_EQ(s.GetLength(), 10002);
    s.Format("%s", "");
    EXPECT_TRUE(s.IsEmpty());
    s.AppendFormat("%d", 7);
    s.AppendFormat("/%d", 8);
    EXPECT_EQ(s, "7/8");
}

TEST(String, Trimming) {
    CString s("  \t a b \r\n");
    EXPECT_EQ(CString(s).TrimLeft(), "a b \r\n");
    EXPECT_EQ(CString(s).TrimRight(), "  \t a b");
    EXPECT_EQ(s.Trim(), "a b");
    EXPECT_EQ(CString("   ").Trim(), "");
    EXPECT_EQ(CString("xxaxx").Trim("x"), "a");
    EXPECT_EQ(CString("\"q\"").TrimLeft("\""), "q\"");
}

TEST(String, CaseAndSearch) {
    CString s("kip-ft");
    EXPECT_EQ(CString(s).MakeUpper(), "KIP-FT");
    EXPECT_EQ(CString("AbC").MakeLower(), "abc");
    EXPECT_EQ(s.Find("ft"), 4);
    EXPECT_EQ(s.Find("ft", 5), -1);
    EXPECT_EQ(s.Find("k", 7), -1);
    EXPECT_EQ(s.Find('-'), 3);
    EXPECT_EQ(s.Find('-', -2), -1);
    EXPECT_EQ(s.Find(""), 0);
    EXPECT_EQ(s.ReverseFind('t'), 5);
    EXPECT_EQ(s.FindOneOf("xf-"), 3);
    EXPECT_EQ(s.FindOneOf("z"), -1);
}

TEST(String, PiecesClampOutOfRangeArguments) {
    CString s("abcdef");
    EXPECT_EQ(s.Mid(2), "cdef");
    EXPECT_EQ(s.Mid(2, 2), "cd");
    EXPECT_EQ(s.Mid(-3, 2), "ab");
    EXPECT_EQ(s.Mid(4, 100), "ef");
    EXPECT_EQ(s.Mid(10), "");
    EXPECT_EQ(s.Mid(1, -1), "");
    EXPECT_EQ(s.Left(2), "ab");
    EXPECT_EQ(s.Left(99), "abcdef");
    EXPECT_EQ(s.Right(2), "ef");
    EXPECT_EQ(s.Right(-2), "");
}

TEST(String, ReplaceRemoveInsertDelete) {
    CString s("a.b.c");
    EXPECT_EQ(s.Replace(".", ".."), 2);
    EXPECT_EQ(s, "a..b..c");
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_EQ(s.Replace('.', ','), 4);
    EXPECT_EQ(s.Remove(','), 4);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(s.Insert(1, "XY"), 5);
    EXPECT_EQ(s, "aXYbc");
    EXPECT_EQ(s.Insert(99, "!"), 6);
    EXPECT_EQ(s.Delete(1, 2), 4);
    EXPECT_EQ(s, "abc!");
    EXPECT_EQ(s.Delete(3, 50), 3);
    EXPECT_EQ(s.Delete(-1), 3);
}

TEST(String, BufferWithExplicitLength) {
    CString s("abc");
    char* buffer = s.GetBuffer(10);
    std::memcpy(buffer, "xy\0zw", 5);
    s.ReleaseBuffer(5);
    EXPECT_EQ(s.GetLength(), 5);
    EXPECT_STREQ(s.GetString(), "xy");

    buffer = s.GetBuffer(8);
    std::strcpy(buffer, "hello");
    s.ReleaseBuffer();
    EXPECT_EQ(s, "hello");
    EXPECT_EQ(s.GetLength(), 5);

    EXPECT_EQ(std::string(s.GetBuffer(2)), "hello");  // never shrinks the contents
    s.ReleaseBuffer(2);
    EXPECT_EQ(s, "he");
}

TEST(String, Concatenation) {
    CString a("kip");
    EXPECT_EQ(a + "-" + CString("ft") + '2', "kip-ft2");
    EXPECT_EQ("x" + a, "xkip");
    a += 'x';
    a += CString("y");
    EXPECT_EQ(a, "kipxy");
}

}  // namespace
