#include "zevcore/platform/framework/Archive.h"

#include <gtest/gtest.h>

#include "support/ExpectMessage.h"

#include <functional>
#include <set>
#include <string>

#include "support/TestEnv.h"
#include "zevcore/platform/framework/Array.h"

// Classes for the object form. They live at global scope, as application classes do.
class CTestA : public CObject {
    DECLARE_SERIAL(CTestA)
public:
    CTestA() = default;
    explicit CTestA(int v) : value(v) {}
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar << value;
        } else {
            ar >> value;
        }
    }
    int value = 0;
};
IMPLEMENT_SERIAL(CTestA, CObject, 1)

class CTestB : public CTestA {
    DECLARE_SERIAL(CTestB)
public:
    void Serialize(CArchive& ar) override {
        CTestA::Serialize(ar);
        if (ar.IsStoring()) {
            ar << name;
        } else {
            ar >> name;
        }
    }
    CString name;
};
IMPLEMENT_SERIAL(CTestB, CTestA, 2)

// Accepts every schema and remembers which one it was read with.
class CTestVersioned : public CObject {
    DECLARE_SERIAL(CTestVersioned)
public:
    void Serialize(CArchive& ar) override {
        if (ar.IsLoading()) schema = ar.GetObjectSchema();
    }
    UINT schema = 0;
};
IMPLEMENT_SERIAL(CTestVersioned, CObject, VERSIONABLE_SCHEMA | 3)

// Owns one child object, so objects can nest.
class CTestNode : public CObject {
    DECLARE_SERIAL(CTestNode)
public:
    ~CTestNode() override { delete child; }
    void Serialize(CArchive& ar) override {
        if (ar.IsStoring()) {
            ar << child;
        } else {
            ar >> child;
        }
    }
    CTestNode* child = nullptr;
};
IMPLEMENT_SERIAL(CTestNode, CObject, 1)

class CTestDynamic : public CObject {
    DECLARE_DYNAMIC(CTestDynamic)
};
IMPLEMENT_DYNAMIC(CTestDynamic, CObject)

namespace {

std::string bytes(std::initializer_list<int> list) {
    std::string s;
    for (int b : list) s += static_cast<char>(b);
    return s;
}

std::string stored(const std::function<void(CArchive&)>& write) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    write(ar);
    ar.Close();
    return file.Contents();
}

// Loads `data` with `read`; answers the exception's cause, or -1 when nothing was thrown.
int loadCause(const std::string& data, const std::function<void(CArchive&)>& read) {
    CMemFile file(data.data(), data.size());
    CArchive ar(&file, CArchive::load);
    try {
        read(ar);
    } catch (const CArchiveException& e) {
        return e.m_cause;
    }
    return -1;
}

TEST(Archive, NumbersAreLittleEndianAndUnaligned) {
    const std::string data = stored([](CArchive& ar) {
        ar << 1 << static_cast<short>(-1) << 2.0 << static_cast<BYTE>(7) << true << 0.5f
           << static_cast<DWORD>(0x80000000u) << static_cast<WORD>(0x1234);
    });
    EXPECT_EQ(data, bytes({1,    0, 0, 0, 0xFF, 0xFF, 0,    0, 0, 0, 0,    0,    0,
                           0x40, 7, 1, 0, 0,    0,    0x3F, 0, 0, 0, 0x80, 0x34, 0x12}));
    int i = 0;
    short s = 0;
    double d = 0;
    BYTE b = 0;
    bool flag = false;
    float f = 0;
    DWORD dw = 0;
    WORD w = 0;
    EXPECT_EQ(
        loadCause(data, [&](CArchive& ar) { ar >> i >> s >> d >> b >> flag >> f >> dw >> w; }), -1);
    EXPECT_EQ(i, 1);
    EXPECT_EQ(s, -1);
    EXPECT_EQ(d, 2.0);
    EXPECT_EQ(b, 7);
    EXPECT_TRUE(flag);
    EXPECT_EQ(f, 0.5f);
    EXPECT_EQ(dw, 0x80000000u);
    EXPECT_EQ(w, 0x1234);
    EXPECT_EQ(loadCause(bytes({1, 2, 3}), [&](CArchive& ar) { ar >> i; }),
              CArchiveException::endOfFile);
}

TEST(Archive, TextLengthPrefixes) {
    struct Case {
        int length;
        std::string prefix;
    };
    const Case cases[] = {
        {0, bytes({0})},
        {3, bytes({3})},
        {254, bytes({0xFE})},
        {255, bytes({0xFF, 0xFF, 0})},
        {0xFFFD, bytes({0xFF, 0xFD, 0xFF})},
        {0xFFFE, bytes({0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0, 0})},
        {70000, bytes({0xFF, 0xFF, 0xFF, 0x70, 0x11, 1, 0})},
    };
    for (const Case& c : cases) {
        const CString text(std::string(static_cast<std::size_t>(c.length), 'k'));
        const std::string data = stored([&](CArchive& ar) { ar << text; });
        ASSERT_EQ(data.size(), c.prefix.size() + static_cast<std::size_t>(c.length)) << c.length;
        EXPECT_EQ(data.substr(0, c.prefix.size()), c.prefix) << c.length;
        CString back;
        EXPECT_EQ(loadCause(data, [&](CArchive& ar) { ar >> back; }), -1);
        EXPECT_EQ(back, text) << c.length;
    }
}

TEST(Archive, BadTextsAreRefused) {
    CString text;
    auto readText = [&](CArchive& ar) { ar >> text; };
    // The wide-character marker.
    EXPECT_EQ(loadCause(bytes({0xFF, 0xFE, 0xFF, 2, 'a', 0, 'b', 0}), readText),
              CArchiveException::genericException);
    // A length far past the data: refused at the end of the data, without a 4 GB allocation.
    EXPECT_EQ(loadCause(bytes({0xFF, 0xFF, 0xFF, 0xF0, 0xFF, 0xFF, 0x7F, 'x'}), readText),
              CArchiveException::endOfFile);
    EXPECT_EQ(loadCause(bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 1, 0, 0, 0}),
                        readText),
              CArchiveException::badIndex);
    EXPECT_EQ(loadCause(bytes({5, 'a', 'b'}), readText), CArchiveException::endOfFile);
}

TEST(Archive, CountForm) {
    const std::string data = stored([](CArchive& ar) {
        ar.WriteCount(0);
        ar.WriteCount(0xFFFE);
        ar.WriteCount(0xFFFF);
        ar.WriteCount(0x123456789ull);
    });
    EXPECT_EQ(data, bytes({0,    0,    0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF,
                           0xFF, 0xFF, 0xFF, 0xFF, 0x89, 0x67, 0x45, 0x23, 1, 0, 0,    0}));
    std::uint64_t a = 1, b = 0, c = 0, d = 0;
    EXPECT_EQ(loadCause(data,
                        [&](CArchive& ar) {
                            a = ar.ReadCount();
                            b = ar.ReadCount();
                            c = ar.ReadCount();
                            d = ar.ReadCount();
                        }),
              -1);
    EXPECT_EQ(a, 0u);
    EXPECT_EQ(b, 0xFFFEu);
    EXPECT_EQ(c, 0xFFFFu);
    EXPECT_EQ(d, 0x123456789ull);
}

TEST(Archive, IntArrayIsCountThenRawNumbers) {
    CArray<int, int> keys;
    keys.Add(1);
    keys.Add(-2);
    const std::string data = stored([&](CArchive& ar) { keys.Serialize(ar); });
    EXPECT_EQ(data, bytes({2, 0, 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF}));
    CArray<int, int> back;
    EXPECT_EQ(loadCause(data, [&](CArchive& ar) { back.Serialize(ar); }), -1);
    ASSERT_EQ(back.GetSize(), 2);
    EXPECT_EQ(back[1], -2);
    // A count of four billion over two numbers ends at the data's end.
    EXPECT_EQ(loadCause(bytes({0xFF, 0xFF, 0, 0, 0, 0xF0, 1, 0, 0, 0}),
                        [&](CArchive& ar) { back.Serialize(ar); }),
              CArchiveException::endOfFile);
}

// Five elements: a new class, an old class by index, a back-reference, null, a second class.
const std::string kObjectArray =
    bytes({5,    0,                                                 // count
           0xFF, 0xFF, 1, 0, 6, 0,   'C', 'T', 'e', 's', 't', 'A',  // new class CTestA: index 1
           5,    0,    0, 0,                                        // object 2
           0x01, 0x80, 6, 0, 0, 0,                                  // class 1 again: object 3
           2,    0,                                                 // object 2 again
           0,    0,                                                 // null
           0xFF, 0xFF, 2, 0, 6, 0,   'C', 'T', 'e', 's', 't', 'B',  // new class CTestB: index 4
           7,    0,    0, 0, 2, 'h', 'i'});                         // object 5

TEST(Archive, ObjectArrayWithClassTagsAndReferences) {
    CTestA first(5), second(6);
    CTestB third;
    third.value = 7;
    third.name = "hi";
    CObArray array;
    array.Add(&first);
    array.Add(&second);
    array.Add(&first);
    array.Add(nullptr);
    array.Add(&third);
    EXPECT_EQ(stored([&](CArchive& ar) { array.Serialize(ar); }), kObjectArray);

    CTypedPtrArray<CObArray, CTestA*> back;
    ASSERT_EQ(loadCause(kObjectArray, [&](CArchive& ar) { back.Serialize(ar); }), -1);
    ASSERT_EQ(back.GetSize(), 5);
    EXPECT_EQ(back[0]->value, 5);
    EXPECT_EQ(back[1]->value, 6);
    EXPECT_EQ(back[2], back[0]);
    EXPECT_EQ(back[3], nullptr);
    ASSERT_TRUE(back[4]->IsKindOf(RUNTIME_CLASS(CTestB)));
    EXPECT_EQ(static_cast<CTestB*>(back[4])->name, "hi");
    EXPECT_EQ(back[4]->value, 7);
    delete back[0];
    delete back[1];
    delete back[4];
}

TEST(Archive, BadObjectDataGivesItsCause) {
    struct Case {
        const char* what;
        std::string data;
        int cause;
    };
    const Case cases[] = {
        {"unknown class", bytes({0xFF, 0xFF, 1, 0, 3, 0, 'C', 'Z', 'Z'}),
         CArchiveException::badClass},
        {"other schema", bytes({0xFF, 0xFF, 9, 0, 6, 0, 'C', 'T', 'e', 's', 't', 'A'}),
         CArchiveException::badSchema},
        {"name too long", bytes({0xFF, 0xFF, 1, 0, 64, 0}) + std::string(64, 'C'),
         CArchiveException::badClass},
        {"class index never read", bytes({0x01, 0x80}), CArchiveException::badIndex},
        {"object index never read", bytes({0x05, 0x00}), CArchiveException::badIndex},
        {"big object index", bytes({0xFF, 0x7F, 0x10, 0, 0, 0}), CArchiveException::badIndex},
        {"object tag naming a class",
         bytes({0xFF, 0xFF, 1, 0, 6, 0, 'C', 'T', 'e', 's', 't', 'A', 0, 0, 0, 0, 1, 0}),
         CArchiveException::badIndex},
        {"class not creatable",
         bytes({0xFF, 0xFF, 0xFF, 0xFF, 12, 0, 'C', 'T', 'e', 's', 't', 'D', 'y', 'n', 'a', 'm',
                'i', 'c'}),
         CArchiveException::badClass},
        {"cut short", bytes({0xFF, 0xFF, 1, 0, 6, 0, 'C', 'T', 'e', 's', 't', 'A', 5, 0}),
         CArchiveException::endOfFile},
    };
    for (const Case& c : cases) {
        // Two reads, so that the back-reference cases have something read before them.
        EXPECT_EQ(loadCause(c.data,
                            [](CArchive& ar) {
                                CObject* a = ar.ReadObject(nullptr);
                                delete a;
                                CObject* b = ar.ReadObject(nullptr);
                                delete b;
                            }),
                  c.cause)
            << c.what;
    }
    // An object of another class than the one asked for.
    EXPECT_EQ(loadCause(kObjectArray.substr(2),
                        [](CArchive& ar) { delete ar.ReadObject(RUNTIME_CLASS(CTestB)); }),
              CArchiveException::badClass);
}

TEST(Archive, VersionableSchemaIsPassedToSerialize) {
    const std::string data = bytes({0xFF, 0xFF, 9,   0,   14,  0,   'C', 'T', 'e', 's',
                                    't',  'V',  'e', 'r', 's', 'i', 'o', 'n', 'e', 'd'});
    CObject* object = nullptr;
    EXPECT_EQ(loadCause(data, [&](CArchive& ar) { ar >> object; }), -1);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(static_cast<CTestVersioned*>(object)->schema, 9u);
    delete object;
}

TEST(Archive, DeepNestingIsRefusedNotOverflowed) {
    std::string data = bytes({0xFF, 0xFF, 1, 0, 9, 0, 'C', 'T', 'e', 's', 't', 'N', 'o', 'd', 'e'});
    for (int i = 0; i < 5000; ++i) data += bytes({0x01, 0x80});
    EXPECT_EQ(loadCause(data, [](CArchive& ar) { delete ar.ReadObject(nullptr); }),
              CArchiveException::badIndex);

    CTestNode root;
    root.child = new CTestNode;
    const std::string two = stored([&](CArchive& ar) { ar << &root; });
    CTestNode* back = nullptr;
    EXPECT_EQ(loadCause(two, [&](CArchive& ar) { ar >> back; }), -1);
    ASSERT_NE(back, nullptr);
    ASSERT_NE(back->child, nullptr);
    EXPECT_EQ(back->child->child, nullptr);
    delete back;
}

TEST(Archive, EveryTruncationThrowsAndLeaksNothing) {
    for (std::size_t cut = 0; cut < kObjectArray.size(); ++cut) {
        CObArray array;
        const int cause =
            loadCause(kObjectArray.substr(0, cut), [&](CArchive& ar) { array.Serialize(ar); });
        EXPECT_TRUE(cause == CArchiveException::endOfFile || cause == CArchiveException::badClass)
            << "cut at " << cut << " gave " << cause;
        std::set<CObject*> owned(array.begin(), array.end());
        for (CObject* o : owned) delete o;
    }
}

TEST(Archive, LinesWithReadString) {
    const std::string data = "one\r\ntwo\nthree\rfour\n\nlast";
    CString line;
    std::vector<std::string> lines;
    EXPECT_EQ(loadCause(data,
                        [&](CArchive& ar) {
                            while (ar.ReadString(line)) lines.emplace_back(line);
                        }),
              -1);
    EXPECT_EQ(lines, (std::vector<std::string>{"one", "two", "three\rfour", "", "last"}));

    char buffer[4];
    std::vector<std::string> pieces;
    EXPECT_EQ(loadCause("abcdef\r\nx",
                        [&](CArchive& ar) {
                            while (ar.ReadString(buffer, sizeof buffer))
                                pieces.emplace_back(buffer);
                        }),
              -1);
    // "def" fills the buffer before the line ends, so the line end comes alone.
    EXPECT_EQ(pieces, (std::vector<std::string>{"abc", "def", "", "x"}));

    EXPECT_EQ(stored([](CArchive& ar) { ar.WriteString("a line\n"); }), "a line\n");
}

TEST(Archive, WrongDirectionIsRefused) {
    CMemFile file;
    CArchive storing(&file, CArchive::store);
    int v = 0;
    EXPECT_THROW_MSG(storing >> v, CArchiveException,
                     "An attempt was made to read from an archive that is being written.");
    EXPECT_EQ(loadCause("", [](CArchive& ar) { ar << 1; }), CArchiveException::readOnly);
}

TEST(Archive, ExceptionsCarryCauseAndFile) {
    zevtest::TempDir dir;
    const std::string path = dir.file("short.bin");
    zevtest::writeFile(path, "x");
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    int v = 0;
    EXPECT_THROW_MSG(
        ar >> v, CArchiveException,
        "An unexpected end of file was found while reading the archive. (" + path + ")");
}

TEST(RuntimeClass, CreationByNameAndKinship) {
    EXPECT_EQ(CRuntimeClass::FromName("CTestB"), RUNTIME_CLASS(CTestB));
    EXPECT_EQ(CRuntimeClass::FromName("CTestC"), nullptr);
    EXPECT_EQ(CRuntimeClass::FromName(nullptr), nullptr);
    CObject* made = CRuntimeClass::CreateObject("CTestB");
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CTestA)));
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(made->IsKindOf(RUNTIME_CLASS(CTestNode)));
    EXPECT_TRUE(made->IsSerializable());
    EXPECT_STREQ(made->GetRuntimeClass()->m_lpszClassName, "CTestB");
    delete made;
    EXPECT_EQ(CRuntimeClass::CreateObject("CTestDynamic"), nullptr);
    CTestDynamic dynamic;
    EXPECT_FALSE(dynamic.IsSerializable());
    EXPECT_EQ(stored([&](CArchive& ar) {
                  try {
                      ar << &dynamic;
                  } catch (const CArchiveException& e) {
                      ar << e.m_cause;
                  }
              }),
              bytes({CArchiveException::badClass, 0, 0, 0}));
}

}  // namespace
