#include "zevcore/files/Xml.h"
#include "zevcore/platform/Locale.h"

#include <cstring>
#include <utility>

namespace {

// The writer does not escape: it removes the characters that would need it.
std::string cleaned(std::string text) {
    for (char mark : {'&', '"', '\'', '<', '>'}) std::erase(text, mark);
    return text;
}

// The declaration, with no line feed after it.
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>";

// Lines are read in pieces of at most this many bytes less one.
constexpr int kLineBuffer = 1000;

}  // namespace

// --- xmlwriter -------------------------------------------------------------------------------

xmlwriter::xmlwriter(std::string path) : m_fileName(std::move(path)) {
    m_file = std::fopen(m_fileName.c_str(), "w");
    if (m_file) std::fputs(kDeclaration, m_file);
}

xmlwriter::~xmlwriter() {
    if (m_file) std::fclose(m_file);
}

void xmlwriter::AddAtributes(std::string name, std::string value) {
    m_attributes.push_back(cleaned(std::move(value)));
    m_attributes.push_back(cleaned(std::move(name)));
}

std::string xmlwriter::takeAttributes() {
    std::string text;
    // Stored as value then name; taken from the back, so the last added comes first.
    while (m_attributes.size() >= 2) {
        const std::string name = std::move(m_attributes.back());
        m_attributes.pop_back();
        const std::string value = std::move(m_attributes.back());
        m_attributes.pop_back();
        text += " " + name + "=\"" + value + "\"";
    }
    m_attributes.clear();
    return text;
}

void xmlwriter::startLine() {
    std::fputc('\n', m_file);
    for (int i = 0; i < m_depth; ++i) std::fputc('\t', m_file);
}

void xmlwriter::openTag(const std::string& name, const char* useDefault) {
    if (!m_file) return;
    const std::string tag = cleaned(name);
    startLine();
    std::fprintf(m_file, "<%s", tag.c_str());
    if (useDefault) std::fprintf(m_file, " UseDefault=\"%s\"", useDefault);
    std::fprintf(m_file, "%s>", takeAttributes().c_str());
    ++m_depth;
    m_openTags.push_back(tag);
}

void xmlwriter::Createtag(std::string name) {
    openTag(name, nullptr);
}

void xmlwriter::Createtag(std::string name, bool useDefault) {
    openTag(name, useDefault ? "true" : "false");
}

void xmlwriter::CreateChild(std::string name, const char* value) {
    if (!m_file) return;
    const std::string tag = cleaned(std::move(name));
    const std::string text = cleaned(value ? value : "");
    startLine();
    std::fprintf(m_file, "<%s%s>%s</%s>", tag.c_str(), takeAttributes().c_str(), text.c_str(),
                 tag.c_str());
}

void xmlwriter::CreateChild(std::string name, int value) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", value);
    CreateChild(std::move(name), text);
}

void xmlwriter::CreateChild(std::string name, double value) {
    char text[40];
    CZEVClassicLocaleScope classic;
    std::snprintf(text, sizeof text, "%.15lg", value);
    CreateChild(std::move(name), text);
}

void xmlwriter::AddComment(std::string text) {
    if (!m_file) return;
    startLine();
    std::fprintf(m_file, "<!--%s-->", cleaned(std::move(text)).c_str());
}

void xmlwriter::CloseLasttag() {
    if (!m_file || m_openTags.empty()) return;
    --m_depth;
    startLine();
    std::fprintf(m_file, "</%s>", m_openTags.back().c_str());
    m_openTags.pop_back();
}

void xmlwriter::CloseAlltags() {
    while (!m_openTags.empty() && m_file) CloseLasttag();
    if (m_file) std::fclose(m_file);
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

bool xmlreader::ReadFile() {
    if (m_file) std::fclose(m_file);
    m_file = std::fopen(m_docName.c_str(), "r+");
    if (!m_file) return false;
    char buffer[kLineBuffer];
    while (std::fgets(buffer, kLineBuffer, m_file)) {
        if (!ProcessString(EatupWhiteSpace(buffer))) {
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
    if (line.empty() || line[0] != '<') return false;
    if (line.size() > 1 && (line[1] == '!' || line[1] == '?')) return true;
    if (line.size() > 1 && line[1] == '/') {
        if (!m_current) return false;
        m_current->ResetNodeCntr();
        m_current = m_current->GetParentNode();
        return true;
    }
    const std::string text = line.substr(1);
    const std::string name = text.substr(0, text.find_first_of(" \t>"));
    const std::size_t open = text.find('<');
    if (open == std::string::npos) {
        if (!m_root) {
            m_root = std::make_unique<xmlreaderNode>(name, nullptr);
            m_current = m_root.get();
        } else if (m_current) {
            m_current = m_current->AddChildNode(name);
        } else {
            return false;  // a second element at the top
        }
        return true;
    }
    if (!m_current) return false;
    const std::size_t close = text.find('>');
    const std::size_t start = close == std::string::npos ? 0 : close + 1;
    std::size_t end = text.find('<', start);
    if (end == std::string::npos) end = text.size();
    m_current->AddElementVal(name, text.substr(start, end - start));
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
