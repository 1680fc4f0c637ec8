#include "zevcore/files/Xml.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "support/TestEnv.h"

namespace {

using zevtest::readFile;
using zevtest::TempDir;
using zevtest::writeFile;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>";

TEST(XmlWriter, LineLayout) {
    TempDir dir;
    const std::string path = dir.file("a.xml");
    {
        xmlwriter w(path);
        ASSERT_TRUE(w.IsOpen());
        w.AddComment("made by a test");
        w.AddAtributes("x", "1");
        w.AddAtributes("y", "2");
        w.Createtag("root", true);
        w.CreateChild("a", 1.5);
        w.CreateChild("n", -7);
        w.CreateChild("s", "text");
        w.CreateChild("null", static_cast<const char*>(nullptr));
        w.Createtag("inner");
        w.AddAtributes("k", "v");
        w.CreateChild("big", 1e30);
        w.CreateChild("third", 1.0 / 3.0);
        w.CreateChild("min", static_cast<int>(INT32_MIN));
        w.CloseLasttag();
        w.Createtag("off", false);
        w.CloseAlltags();
        EXPECT_FALSE(w.IsOpen());
    }
    EXPECT_EQ(readFile(path), kDeclaration +
                                  "\n<!--made by a test-->"
                                  "\n<root UseDefault=\"true\" y=\"2\" x=\"1\">"
                                  "\n\t<a>1.5</a>"
                                  "\n\t<n>-7</n>"
                                  "\n\t<s>text</s>"
                                  "\n\t<null></null>"
                                  "\n\t<inner>"
                                  "\n\t\t<big k=\"v\">1e+30</big>"
                                  "\n\t\t<third>0.333333333333333</third>"
                                  "\n\t\t<min>-2147483648</min>"
                                  "\n\t</inner>"
                                  "\n\t<off UseDefault=\"false\">"
                                  "\n\t</off>"
                                  "\n</root>");
}

TEST(XmlWriter, CleaningRemovesMarkupCharacters) {
    TempDir dir;
    const std::string path = dir.file("c.xml");
    {
        xmlwriter w(path);
        w.AddAtributes("a&b", "say \"it's\" <ok>");
        w.Createtag("R&D");
        w.AddComment("<&>");
        w.CreateChild("it's", "a<b & c>d");
        // Attributes queued before a close tag wait for the next element.
        w.AddAtributes("later", "yes");
        w.CloseLasttag();
        w.CreateChild("z", 0.1);
    }  // the destructor writes no close tags
    EXPECT_EQ(readFile(path), kDeclaration +
                                  "\n<RD ab=\"say its ok\">"
                                  "\n\t<!---->"
                                  "\n\t<its>ab  cd</its>"
                                  "\n</RD>"
                                  "\n<z later=\"yes\">0.1</z>");
}

TEST(XmlWriter, UnopenableFileDoesNothing) {
    TempDir dir;
    xmlwriter w(dir.file("no/such/folder.xml"));
    EXPECT_FALSE(w.IsOpen());
    w.Createtag("a");
    w.CreateChild("b", 1);
    w.AddComment("c");
    w.CloseLasttag();
    w.CloseAlltags();
    EXPECT_FALSE(w.IsOpen());
}

// A tree as the reader sees it, to compare with what libxml2 sees.
struct Tree {
    std::string name;
    std::map<std::string, std::string> values;
    std::vector<Tree> children;
    bool operator==(const Tree&) const = default;
};

void PrintTo(const Tree& t, std::ostream* os) {
    *os << "<" << t.name << ">{";
    for (const auto& [k, v] : t.values) *os << k << "=" << v << ";";
    for (const Tree& c : t.children) PrintTo(c, os);
    *os << "}";
}

// The files are ISO-8859-1; libxml2 hands out UTF-8.
std::string latin1ToUtf8(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

Tree fromReader(xmlreaderNode* node) {
    Tree t{node->GetNodeName(), {}, {}};
    for (const auto& [name, value] : node->Values()) t.values[name] = latin1ToUtf8(value);
    for (xmlreaderNode* c = node->GetChildNodeCnt() ? node->GetFirstChild() : nullptr; c;
         c = node->GetNextChild())
        t.children.push_back(fromReader(c));
    return t;
}

// An element with child elements, or opened on a line of its own, is a node; an element whose
// text is on its own line is a value.
Tree fromLibxml(xmlNode* node) {
    Tree t{reinterpret_cast<const char*>(node->name), {}, {}};
    for (xmlNode* c = node->children; c; c = c->next) {
        if (c->type != XML_ELEMENT_NODE) continue;
        bool hasElements = false, multiLine = false;
        for (xmlNode* g = c->children; g; g = g->next) {
            if (g->type == XML_ELEMENT_NODE) hasElements = true;
            if (g->type == XML_TEXT_NODE &&
                std::string(reinterpret_cast<const char*>(g->content)).find('\n') !=
                    std::string::npos)
                multiLine = true;
        }
        if (hasElements || multiLine) {
            t.children.push_back(fromLibxml(c));
        } else {
            xmlChar* text = xmlNodeGetContent(c);
            t.values[reinterpret_cast<const char*>(c->name)] = reinterpret_cast<const char*>(text);
            xmlFree(text);
        }
    }
    return t;
}

// Parses with libxml2, strictly; false when the file is not well-formed.
bool parseWithLibxml(const std::string& path, Tree& tree) {
    xmlDoc* doc = xmlReadFile(path.c_str(), nullptr,
                              XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!doc) return false;
    tree = fromLibxml(xmlDocGetRootElement(doc));
    xmlFreeDoc(doc);
    return true;
}

TEST(XmlRoundTrip, RandomDocumentsAgreeWithLibxml2) {
    std::mt19937 rng(4);
    auto pick = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); };
    // Names from a small set, so that repeated names (last value wins) are exercised; texts
    // with Latin-1 letters, blanks and the characters the writer removes.
    const char* names[] = {"a", "b", "Item", "x1", "long_name", "n-2", "q.r"};
    auto text = [&] {
        std::string s;
        const std::string alphabet = "abc XYZ 0.5 \xE9\xFC&<>'\"";
        for (int n = pick(12); n > 0; --n)
            s += alphabet[static_cast<std::size_t>(pick(static_cast<int>(alphabet.size())))];
        return s;
    };
    TempDir dir;
    for (int round = 0; round < 60; ++round) {
        const std::string path = dir.file("r" + std::to_string(round) + ".xml");
        {
            xmlwriter w(path);
            w.AddComment(text());
            w.Createtag("root");
            int depth = 1;
            for (int step = 0; step < 40; ++step) {
                const int op = pick(6);
                // Attribute names differ within an element (the writer does not check that),
                // and are queued only right before one.
                if (op != 1) {
                    if (pick(3) == 0) w.AddAtributes("p", text());
                    if (pick(3) == 0) w.AddAtributes("q", text());
                }
                switch (op) {
                    case 0:
                        w.Createtag(names[pick(7)], pick(2) == 0);
                        ++depth;
                        break;
                    case 1:
                        if (depth > 1) {
                            w.CloseLasttag();
                            --depth;
                        }
                        break;
                    case 2:
                        w.CreateChild(names[pick(7)], pick(1000) - 500);
                        break;
                    case 3:
                        w.CreateChild(names[pick(7)],
                                      std::uniform_real_distribution<double>(-1e6, 1e6)(rng));
                        break;
                    default:
                        w.CreateChild(names[pick(7)], text().c_str());
                        break;
                }
            }
            w.CloseAlltags();
        }
        Tree expected;
        ASSERT_TRUE(parseWithLibxml(path, expected)) << readFile(path);
        xmlreader reader(path);
        ASSERT_NE(reader.GetRootNode(), nullptr);
        EXPECT_EQ(fromReader(reader.GetRootNode()), expected) << readFile(path);
    }
    EXPECT_EQ(xmlreaderNode::GetObjectCnt(), 0);
}

TEST(XmlReader, BuildsNodesAndValues) {
    TempDir dir;
    const std::string path = dir.file("r.xml");
    writeFile(path, kDeclaration +
                        "\n<!-- note -->\n<root a=\"1\">\n\t<k>first</k>\n\t<k>second</k>\n"
                        "\t<g>\n\t\t<v>1</v>\n\t</g>\n\t<g>\n\t</g>\n\t<e></e>\r\n</root>\n");
    {
        xmlreader reader(path);
        xmlreaderNode* root = reader.GetRootNode();
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(root->GetNodeName(), "root");
        EXPECT_EQ(root->GetElementValue("k"), "second");
        EXPECT_EQ(root->GetElementValue("e"), "");
        EXPECT_EQ(root->GetElementValue("unknown"), "");
        EXPECT_EQ(root->Values().count("unknown"), 1u);
        ASSERT_EQ(root->GetChildNodeCnt(), 2);
        xmlreaderNode* g1 = root->GetFirstChild();
        xmlreaderNode* g2 = root->GetNextChild();
        EXPECT_EQ(root->GetNextChild(), nullptr);
        EXPECT_EQ(g1->GetElementValue("v"), "1");
        EXPECT_EQ(g2->GetChildNodeCnt(), 0);
        EXPECT_EQ(g2->GetFirstChild(), nullptr);
        EXPECT_EQ(g1->GetParentNode(), root);
        EXPECT_EQ(reader.GetRootName(), "");
        EXPECT_EQ(reader.GetDocName(), path);
        EXPECT_EQ(xmlreaderNode::GetObjectCnt(), 3);
        reader.ResetReading();
        EXPECT_EQ(root->GetNextChild(), g1);
    }
    EXPECT_EQ(xmlreaderNode::GetObjectCnt(), 0);
}

TEST(XmlReader, RefusedFiles) {
    struct Case {
        const char* what;
        std::string content;
        long childrenLeft;
    };
    const Case cases[] = {
        {"empty line inside", "<root>\n\t<a>1</a>\n\t<g>\n\t</g>\n\n</root>\n", 0},
        {"text on a line of its own", "<root>\n\t<g>\n\t</g>\ntext\n</root>\n", 0},
        {"comment over two lines", "<root>\n\t<g>\n\t</g>\n<!-- one\ntwo -->\n</root>\n", 0},
        {"second top-level element", "<root>\n\t<g>\n\t</g>\n</root>\n<two>\n</two>\n", 0},
        // Not refused, but not closed either: the tree stays as read.
        {"tag left open", "<root>\n\t<g>\n\t\t<a>1</a>\n</root>\n", 1},
        {"self-closing tag never closed", "<root>\n\t<a/>\n</root>\n", 1},
    };
    TempDir dir;
    for (const Case& c : cases) {
        // Made before the file exists, so that ReadFile below is the first read.
        const std::string path = dir.file("bad.xml");
        std::remove(path.c_str());
        xmlreader reader(path);
        writeFile(path, c.content);
        EXPECT_FALSE(reader.ReadFile()) << c.what;
        ASSERT_NE(reader.GetRootNode(), nullptr) << c.what;
        EXPECT_EQ(reader.GetRootNode()->GetChildNodeCnt(), c.childrenLeft) << c.what;
    }
    // A closing tag with no open element.
    const std::string path = dir.file("close.xml");
    writeFile(path, "</root>\n");
    xmlreader reader(path);
    EXPECT_EQ(reader.GetRootNode(), nullptr);
    EXPECT_FALSE(reader.ProcessString("</x>"));
    EXPECT_FALSE(reader.ProcessString("<a>1</a>"));  // a value needs an open element
    EXPECT_TRUE(reader.ProcessString("<?anything"));
    EXPECT_FALSE(reader.ProcessString(""));
    EXPECT_FALSE(reader.ProcessString("x<a>"));
}

TEST(XmlReader, RefusalEmptiesTheRootAndTagsLeftOpenKeepTheTree) {
    TempDir dir;
    const std::string path = dir.file("e.xml");
    writeFile(path, "<root>\n\t<a>1</a>\n\t<g>\n\t\t<b>2</b>\n\t</g>\n\n</root>\n");
    {
        xmlreader reader(path);
        xmlreaderNode* root = reader.GetRootNode();
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(root->GetChildNodeCnt(), 0);
        EXPECT_TRUE(root->Values().empty());
        EXPECT_EQ(xmlreaderNode::GetObjectCnt(), 1);
    }
    writeFile(path, "<root>\n\t<a>1</a>\n\t<g>\n\t\t<b>2</b>\n");
    xmlreader open(path);
    ASSERT_NE(open.GetRootNode(), nullptr);
    EXPECT_EQ(open.GetRootNode()->GetElementValue("a"), "1");
    ASSERT_EQ(open.GetRootNode()->GetChildNodeCnt(), 1);
    EXPECT_EQ(open.GetRootNode()->GetFirstChild()->GetElementValue("b"), "2");
}

TEST(XmlReader, FileMustBeWritableAndLongLinesComeInPieces) {
    TempDir dir;
    xmlreader missing(dir.file("none.xml"));
    EXPECT_EQ(missing.GetRootNode(), nullptr);
    EXPECT_FALSE(missing.ReadFile());

    // A line of 1,500 bytes arrives as a piece of 999 that is read and one that is refused.
    const std::string path = dir.file("long.xml");
    writeFile(path, "<root>\n<v>" + std::string(1500, 'w') + "</v>\n</root>\n");
    xmlreader reader(path);
    EXPECT_FALSE(reader.ReadFile());
    ASSERT_NE(reader.GetRootNode(), nullptr);
    EXPECT_EQ(reader.GetRootNode()->Values().size(), 0u);
}

// Numbers are written as "%d" and "%.15lg" print them in the classic locale: every kind of
// double (random bit patterns, so subnormals, infinities and NaNs of both signs too) and int.
TEST(XmlWriter, NumbersAreWrittenAsPrintfWritesThem) {
    TempDir dir;
    const std::string path = dir.file("numbers.xml");
    std::mt19937_64 random(27);
    std::vector<double> doubles = {
        0.0,      -0.0,      1.0 / 3.0,    1e30,          1e-5,  123456789012345678.0,
        INFINITY, -INFINITY, std::nan(""), -std::nan(""), 5e-324};
    for (int i = 0; i < 3000; ++i) {
        const std::uint64_t bits = random();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        doubles.push_back(d);
        doubles.push_back(static_cast<double>(static_cast<std::int32_t>(bits)) / 1000.0);
    }
    std::vector<int> ints = {0, -1, INT32_MIN, INT32_MAX};
    for (int i = 0; i < 300; ++i) ints.push_back(static_cast<int>(random()));
    std::string expected = kDeclaration;
    {
        xmlwriter w(path);
        char text[64];
        for (double d : doubles) {
            w.CreateChild("d", d);
            std::snprintf(text, sizeof text, "%.15lg", d);
            expected += std::string("\n<d>") + text + "</d>";
        }
        for (int n : ints) {
            w.CreateChild("i", n);
            std::snprintf(text, sizeof text, "%d", n);
            expected += std::string("\n<i>") + text + "</i>";
        }
    }
    EXPECT_EQ(readFile(path), expected);
}

// Texts are printed as "%s" prints them: a nul ends each, and one in an attribute ends the
// text of all the element's attributes.
TEST(XmlWriter, TextsEndAtTheirFirstNul) {
    TempDir dir;
    const std::string path = dir.file("nul.xml");
    const std::string withNul("a\0b", 3);
    {
        xmlwriter w(path);
        w.AddAtributes("first", "1");
        w.AddAtributes("se" + withNul, "2");
        w.Createtag("t" + withNul);
        w.CreateChild("c" + withNul, "v");
        w.AddComment("x" + withNul);
        w.CloseAlltags();
    }
    EXPECT_EQ(readFile(path), kDeclaration +
                                  "\n<ta sea>"
                                  "\n\t<ca>v</ca>"
                                  "\n\t<!--xa-->"
                                  "\n</ta>");
}

// What the reader made of a file before it read in blocks: fgets into 1,000 bytes, each piece
// trimmed and taken by ProcessString.
void readLineByLine(const std::string& path, xmlreader& into) {
    std::FILE* file = std::fopen(path.c_str(), "r");
    ASSERT_NE(file, nullptr);
    char buffer[1000];
    bool ok = true;
    while (ok && std::fgets(buffer, sizeof buffer, file))
        ok = into.ProcessString(into.EatupWhiteSpace(buffer));
    std::fclose(file);
    if (!ok) into.DeleteAll();
}

// Files of random lines (long ones, blank ones, nuls, carriage returns, no final line feed,
// lines across the reader's block boundaries) read in blocks give the tree fgets gave.
TEST(XmlReader, ReadsInBlocksAsLineByLine) {
    TempDir dir;
    const std::string path = dir.file("blocks.xml");
    std::mt19937 random(27);
    auto below = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
    for (int round = 0; round < 60; ++round) {
        std::string text = "<root>\n";
        const int count = 50 + below(3000);
        int open = 0;
        for (int i = 0; i < count; ++i) {
            const int kind = below(40);
            std::string indent(static_cast<std::size_t>(below(4)), below(2) ? '\t' : ' ');
            if (kind == 0 && round % 3 == 0) {
                text += indent + "<v>" +
                        std::string(static_cast<std::size_t>(900 + below(1200)), 'w') + "</v>\n";
            } else if (kind == 1 && round % 4 == 0) {
                text += indent + std::string("<n\0ul>x</n>\n", 12);
            } else if (kind == 2 && round % 5 == 0) {
                text += "\n";
            } else if (kind < 8) {
                text += indent + "<g" + std::to_string(below(5)) + " a=\"1\">\r\n";
                ++open;
            } else if (kind < 14 && open > 0) {
                text += indent + "</g>\n";
                --open;
            } else {
                text += indent + "<k" + std::to_string(below(30)) + ">" +
                        std::to_string(below(100000)) + "</k>" + (below(9) ? "\n" : " \n");
            }
        }
        while (open-- > 0) text += "</g>\n";
        text += round % 2 ? "</root>" : "</root>\n";
        writeFile(path, text);

        xmlreader blocks(path);  // reads at once
        xmlreader lines(dir.file("none.xml"));
        readLineByLine(path, lines);
        ASSERT_EQ(blocks.GetRootNode() != nullptr, lines.GetRootNode() != nullptr);
        if (blocks.GetRootNode()) {
            EXPECT_EQ(fromReader(blocks.GetRootNode()), fromReader(lines.GetRootNode()))
                << "round " << round;
        }
    }
}

}  // namespace
