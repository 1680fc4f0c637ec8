#pragma once

// A small writer and reader pair for simple configuration-like XML, tuned to each other: the
// writer puts each element on a line of its own, and the reader reads line by line and
// understands just that layout. Texts are 8-bit; the declaration names ISO-8859-1.

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zevcore/Export.h"

/// Writes XML in the one-element-a-line layout. Names, values and comments are cleaned, not
/// escaped: the characters & " ' < > are removed. A writer whose file could not be opened
/// has IsOpen false, and its other operations do nothing.
class ZEVCORE_API xmlwriter {
public:
    /// Creates or replaces the file and writes the declaration (with no line feed after it).
    explicit xmlwriter(std::string path);
    /// Closes the file without writing any close tags.
    ~xmlwriter();
    xmlwriter(const xmlwriter&) = delete;
    xmlwriter& operator=(const xmlwriter&) = delete;

    bool IsOpen() const { return m_file != nullptr; }

    /// Queues an attribute for the next Createtag or CreateChild; queued attributes are
    /// written last-added first.
    void AddAtributes(std::string name, std::string value);
    /// Opens an element on a line of its own and goes one level deeper.
    void Createtag(std::string name);
    /// As Createtag, with UseDefault="true" or "false" before the queued attributes.
    void Createtag(std::string name, bool useDefault);
    /// Writes a whole element with its text on one line.
    void CreateChild(std::string name, const char* value);
    void CreateChild(std::string name, int value);
    /// The value as "%.15lg".
    void CreateChild(std::string name, double value);
    void AddComment(std::string text);
    /// Closes the innermost open element, on a line indented as its opening tag. Nothing when
    /// no element is open.
    void CloseLasttag();
    /// Closes every open element, then the file.
    void CloseAlltags();

private:
    void startLine();
    void appendAttributes();
    void openTag(const std::string& name, const char* useDefault);
    void flush();

    std::string m_fileName;
    std::vector<std::string> m_attributes;  // value, name, value, name ...
    std::FILE* m_file = nullptr;
    int m_depth = 0;
    std::vector<std::string> m_openTags;
    /// Text not yet handed to the file.
    std::string m_out;
};

/// An element that has child elements, as the reader builds it. Leaf elements (text on the
/// line of the element) are the `values` of their parent, not nodes.
class ZEVCORE_API xmlreaderNode {
public:
    xmlreaderNode(std::string name, xmlreaderNode* parent);
    /// Deletes the node's children as well.
    ~xmlreaderNode();
    xmlreaderNode(const xmlreaderNode&) = delete;
    xmlreaderNode& operator=(const xmlreaderNode&) = delete;

    /// Appends a child under the index the cursor gives, and moves the cursor on.
    xmlreaderNode* AddChildNode(std::string name);
    /// Sets a leaf value; a repeated name keeps the last value.
    void AddElementVal(std::string name, std::string value);
    /// The leaf value of that name, or the empty text (and the name is then entered with it).
    std::string GetElementValue(std::string name);
    std::string GetNodeName() const { return m_name; }
    xmlreaderNode* GetParentNode() const { return m_parent; }
    long GetChildNodeCnt() const { return static_cast<long>(m_children.size()); }
    /// Child 0, with the cursor set to 1; null when there is no child.
    xmlreaderNode* GetFirstChild();
    /// The child at the cursor, moving the cursor on; null past the last child.
    xmlreaderNode* GetNextChild();
    void ResetNodeCntr() { m_cursor = 0; }
    /// Sets the cursors of this node and of its descendants back for iteration.
    void ResetReading();
    /// Deletes every child (and their children) and forgets the values.
    void DeleteAll();

    const std::map<std::string, std::string>& Values() const { return m_values; }

    /// The number of nodes alive.
    static long GetObjectCnt() { return iObjCnt; }
    static long iObjCnt;

private:
    friend class xmlreader;
    // AddChildNode and AddElementVal for the reader, from text it has not copied.
    xmlreaderNode* addChild(std::string_view name);
    void setValue(std::string_view name, std::string_view value);

    std::string m_name;
    int m_cursor = 0;
    xmlreaderNode* m_parent;
    std::map<std::string, std::string> m_values;
    std::map<int, std::unique_ptr<xmlreaderNode>> m_children;
};

/// Reads a file in the writer's layout into a tree of nodes.
class ZEVCORE_API xmlreader {
public:
    /// Stores the name and reads the file at once; test GetRootNode for the outcome.
    explicit xmlreader(std::string path);
    ~xmlreader();
    xmlreader(const xmlreader&) = delete;
    xmlreader& operator=(const xmlreader&) = delete;

    /// Reads the file line by line (lines longer than 999 bytes arrive in pieces). False when
    /// the file cannot be opened for reading and writing, when a line is refused (the root's
    /// children and values are then deleted) or when elements stay open at the end (the tree
    /// is kept as far as it was read).
    bool ReadFile();
    /// Takes one trimmed line; false when it is refused.
    bool ProcessString(std::string line);
    /// The text without blanks, tabs and line feeds at either end.
    std::string EatupWhiteSpace(std::string text);

    xmlreaderNode* GetRootNode() const { return m_root.get(); }
    std::string GetRootName() const { return m_rootName; }
    std::string GetDocName() const { return m_docName; }
    void ResetReading();
    void DeleteAll();

private:
    bool processLine(const char* line, const char* end);

    std::string m_docName;
    std::string m_rootName;
    std::unique_ptr<xmlreaderNode> m_root;
    xmlreaderNode* m_current = nullptr;
    std::FILE* m_file = nullptr;
};
