#include "zevcore/files/Xml.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

// The writer does not escape: it removes the characters that would need it.
bool isRemoved(char c) {
    return c == '&' || c == '"' || c == '\'' || c == '<' || c == '>';
}

std::string cleaned(std::string text) {
    std::erase_if(text, isRemoved);
    return text;
}

// The text as "%s" prints it: up to its first nul.
void appendText(std::string& out, std::string_view text) {
    const void* nul = std::memchr(text.data(), '\0', text.size());
    out.append(text.data(), nul ? static_cast<const char*>(nul) - text.data() : text.size());
}

// cleaned(text) as "%s" prints it, without the copy.
void appendCleaned(std::string& out, std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        const char* run = at;
        while (run != end && *run != '\0' && !isRemoved(*run)) ++run;
        out.append(at, run);
        if (run == end || *run == '\0') return;
        at = run + 1;
    }
}

// The declaration, with no line feed after it.
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>";

// Lines are read in pieces of at most this many bytes less one.
constexpr std::size_t kLineBuffer = 1000;

// The writer's text goes to the file in blocks of about this size.
constexpr std::size_t kWriteBlock = 1 << 14;

}  // namespace

// --- xmlwriter -------------------------------------------------------------------------------

xmlwriter::xmlwriter(std::string path) : m_fileName(std::move(path)) {
    m_file = std::fopen(m_fileName.c_str(), "w");
    if (m_file) m_out = kDeclaration;
}

xmlwriter::~xmlwriter() {
    if (!m_file) return;
    flush();
    std::fclose(m_file);
}

void xmlwriter::flush() {
    if (!m_out.empty()) std::fwrite(m_out.data(), 1, m_out.size(), m_file);
    m_out.clear();
}

void xmlwriter::AddAtributes(std::string name, std::string value) {
    m_attributes.push_back(cleaned(std::move(value)));
    m_attributes.push_back(cleaned(std::move(name)));
}

void xmlwriter::appendAttributes() {
    // Stored as value then name; taken from the back, so the last added comes first. They are
    // printed as one "%s": a nul in any ends the text of them all.
    bool ended = false;
    auto add = [&](std::string_view piece) {
        if (ended) return;
        const void* nul = std::memchr(piece.data(), '\0', piece.size());
        if (nul) {
            ended = true;
            piece = piece.substr(0, static_cast<const char*>(nul) - piece.data());
        }
        m_out.append(piece);
    };
    for (std::size_t i = m_attributes.size(); i >= 2; i -= 2) {
        add(" ");
        add(m_attributes[i - 1]);
        add("=\"");
        add(m_attributes[i - 2]);
        add("\"");
    }
    m_attributes.clear();
}

void xmlwriter::startLine() {
    if (m_out.size() >= kWriteBlock) flush();
    m_out.push_back('\n');
    m_out.append(static_cast<std::size_t>(m_depth), '\t');
}

void xmlwriter::openTag(const std::string& name, const char* useDefault) {
    if (!m_file) return;
    std::string tag = cleaned(name);
    startLine();
    m_out.push_back('<');
    appendText(m_out, tag);
    if (useDefault) {
        m_out += " UseDefault=\"";
        m_out += useDefault;
        m_out += '"';
    }
    appendAttributes();
    m_out.push_back('>');
    ++m_depth;
    m_openTags.push_back(std::move(tag));
}

void xmlwriter::Createtag(std::string name) {
    openTag(name, nullptr);
}

void xmlwriter::Createtag(std::string name, bool useDefault) {
    openTag(name, useDefault ? "true" : "false");
}

void xmlwriter::CreateChild(std::string name, const char* value) {
    if (!m_file) return;
    startLine();
    m_out.push_back('<');
    const std::size_t tagStart = m_out.size();
    appendCleaned(m_out, name);
    const std::size_t tagSize = m_out.size() - tagStart;
    appendAttributes();
    m_out.push_back('>');
    if (value) appendCleaned(m_out, value);
    m_out += "</";
    m_out.append(m_out, tagStart, tagSize);
    m_out.push_back('>');
}

void xmlwriter::CreateChild(std::string name, int value) {
    char text[16];
    const auto end = std::to_chars(text, text + sizeof text - 1, value).ptr;
    *end = '\0';
    CreateChild(std::move(name), text);
}

void xmlwriter::CreateChild(std::string name, double value) {
    // As "%.15lg" in the classic locale, whatever the process's.
    char text[40];
    const auto end =
        std::to_chars(text, text + sizeof text - 1, value, std::chars_format::general, 15).ptr;
    *end = '\0';
    CreateChild(std::move(name), text);
}

void xmlwriter::AddComment(std::string text) {
    if (!m_file) return;
    startLine();
    m_out += "<!--";
    appendCleaned(m_out, text);
    m_out += "-->";
}

void xmlwriter::CloseLasttag() {
    if (!m_file || m_openTags.empty()) return;
    --m_depth;
    startLine();
    m_out += "</";
    appendText(m_out, m_openTags.back());
    m_out.push_back('>');
    m_openTags.pop_back();
}

void xmlwriter::CloseAlltags() {
    while (!m_openTags.empty() && m_file) CloseLasttag();
    if (!m_file) return;
    flush();
    std::fclose(m_file);
    m_file = nullptr;
}

// --- xmlreaderNode ---------------------------------------------------------------------------

long xmlreaderNode::iObjCnt = 0;

xmlreaderNode::xmlreaderNode(std::string name, xmlreaderNode* parent)
    : m_name(std::move(name)), m_parent(parent) {
    ++iObjCnt;
}

xmlreaderNode::~xmlreaderNode() {
    DeleteAll();
    --iObjCnt;
}

xmlreaderNode* xmlreaderNode::AddChildNode(std::string name) {
    // A cursor moved back by hand may land on a taken index: the new child replaces the old.
    auto& slot = m_children[m_cursor++];
    slot = std::make_unique<xmlreaderNode>(std::move(name), this);
    return slot.get();
}

void xmlreaderNode::AddElementVal(std::string name, std::string value) {
    m_values[std::move(name)] = std::move(value);
}

xmlreaderNode* xmlreaderNode::addChild(std::string_view name) {
    // Children come in order of the cursor while a file is read: then the new one goes last.
    if (m_children.empty() || m_children.rbegin()->first < m_cursor) {
        auto child = std::make_unique<xmlreaderNode>(std::string(name), this);
        xmlreaderNode* added = child.get();
        m_children.emplace_hint(m_children.end(), m_cursor++, std::move(child));
        return added;
    }
    return AddChildNode(std::string(name));
}

void xmlreaderNode::setValue(std::string_view name, std::string_view value) {
    std::string key(name);
    const auto at = m_values.lower_bound(key);
    if (at != m_values.end() && at->first == key)
        at->second.assign(value);
    else
        m_values.emplace_hint(at, std::move(key), std::string(value));
}

std::string xmlreaderNode::GetElementValue(std::string name) {
    return m_values[std::move(name)];
}

xmlreaderNode* xmlreaderNode::GetFirstChild() {
    m_cursor = 1;
    const auto found = m_children.find(0);
    return found == m_children.end() ? nullptr : found->second.get();
}

xmlreaderNode* xmlreaderNode::GetNextChild() {
    const auto found = m_children.find(m_cursor++);
    return found == m_children.end() ? nullptr : found->second.get();
}

void xmlreaderNode::ResetReading() {
    for (auto& [index, child] : m_children) {
        if (!child) continue;
        if (!child->m_children.empty()) child->ResetReading();
        m_cursor = 0;
    }
}

void xmlreaderNode::DeleteAll() {
    // Taken out first, so that nothing is reachable through this node while it goes.
    std::map<int, std::unique_ptr<xmlreaderNode>> children;
    children.swap(m_children);
    children.clear();
    m_values.clear();
}

// --- xmlreader -------------------------------------------------------------------------------

xmlreader::xmlreader(std::string path) : m_docName(std::move(path)) {
    ReadFile();
}

xmlreader::~xmlreader() {
    if (m_file) std::fclose(m_file);
}

std::string xmlreader::EatupWhiteSpace(std::string text) {
    const char* blanks = " \t\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    const std::size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

namespace {

// The file in large blocks, handed out in the pieces fgets with a buffer of kLineBuffer bytes
// would give: up to and including a line feed, at most kLineBuffer - 1 bytes, the last one
// possibly without a line feed. Only one block is held at a time.
class LinePieces {
public:
    explicit LinePieces(std::FILE* file) : m_file(file) {}

    // The next piece, as far as its first nul (as the C string fgets fills ends there); false
    // at the end of the file.
    bool next(const char*& first, const char*& last) {
        if (m_end - m_begin < kLineBuffer - 1 && !m_ended) refill();
        if (m_begin == m_end) return false;
        const std::size_t room = std::min<std::size_t>(m_end - m_begin, kLineBuffer - 1);
        const char* start = m_block + m_begin;
        const void* feed = std::memchr(start, '\n', room);
        const std::size_t size = feed ? static_cast<const char*>(feed) - start + 1 : room;
        m_begin += size;
        first = start;
        const void* nul = std::memchr(start, '\0', size);
        last = nul ? static_cast<const char*>(nul) : start + size;
        return true;
    }

private:
    // On the stack: a heap block this size would be taken and given back for every file.
    static constexpr std::size_t kBlock = 1 << 14;

    void refill() {
        std::memmove(m_block, m_block + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
        while (m_end < kBlock && !m_ended) {
            const std::size_t got = std::fread(m_block + m_end, 1, kBlock - m_end, m_file);
            m_end += got;
            if (got == 0) m_ended = true;
        }
    }

    std::FILE* m_file;
    char m_block[kBlock];
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    bool m_ended = false;
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

const char* find(const char* first, const char* last, char c) {
    const void* at = std::memchr(first, c, static_cast<std::size_t>(last - first));
    return at ? static_cast<const char*>(at) : nullptr;
}

}  // namespace

bool xmlreader::ReadFile() {
    if (m_file) std::fclose(m_file);
    m_file = std::fopen(m_docName.c_str(), "r+");
    if (!m_file) return false;
    // The pieces' block is the only buffer: stdio's own would be one more copy and one more
    // allocation per file.
    std::setvbuf(m_file, nullptr, _IONBF, 0);
    LinePieces pieces(m_file);
    const char* first = nullptr;
    const char* last = nullptr;
    while (pieces.next(first, last)) {
        // EatupWhiteSpace without the copies.
        while (first != last && isBlank(*first)) ++first;
        while (last != first && isBlank(last[-1])) --last;
        if (!processLine(first, last)) {
            DeleteAll();
            return false;
        }
    }
    if (m_current) return false;
    std::fclose(m_file);
    m_file = nullptr;
    return true;
}

bool xmlreader::ProcessString(std::string line) {
    return processLine(line.data(), line.data() + line.size());
}

bool xmlreader::processLine(const char* line, const char* end) {
    const std::size_t size = static_cast<std::size_t>(end - line);
    if (size == 0 || line[0] != '<') return false;
    if (size > 1 && (line[1] == '!' || line[1] == '?')) return true;
    if (size > 1 && line[1] == '/') {
        if (!m_current) return false;
        m_current->ResetNodeCntr();
        m_current = m_current->GetParentNode();
        return true;
    }
    const char* text = line + 1;
    const char* nameEnd = text;
    while (nameEnd != end && *nameEnd != ' ' && *nameEnd != '\t' && *nameEnd != '>') ++nameEnd;
    const std::string_view name(text, static_cast<std::size_t>(nameEnd - text));
    if (!find(text, end, '<')) {
        if (!m_root) {
            m_root = std::make_unique<xmlreaderNode>(std::string(name), nullptr);
            m_current = m_root.get();
        } else if (m_current) {
            m_current = m_current->addChild(name);
        } else {
            return false;  // a second element at the top
        }
        return true;
    }
    if (!m_current) return false;
    const char* close = find(text, end, '>');
    const char* start = close ? close + 1 : text;
    const char* valueEnd = find(start, end, '<');
    m_current->setValue(
        name,
        std::string_view(start, static_cast<std::size_t>((valueEnd ? valueEnd : end) - start)));
    return true;
}

void xmlreader::ResetReading() {
    if (m_root) m_root->ResetReading();
}

void xmlreader::DeleteAll() {
    if (!m_root) return;
    m_root->DeleteAll();
    // The position may have been one of the nodes just deleted; the root is what is left.
    if (m_current) m_current = m_root.get();
}
