// XML: ZEVCore's writer and reader against pugixml and libxml2 on one document of 1,000
// groups of three values, in the layout ZEVCore writes.

#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "peers/Cases.h"
#include "zevcore/files/Xml.h"

#ifdef ZEV_HAVE_PUGIXML
#include <pugixml.hpp>
#endif
#ifdef ZEV_HAVE_LIBXML2
#include <libxml/parser.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlwriter.h>
#endif

namespace peers {

namespace {

constexpr int kGroups = 1000;

std::string scratch(const char* name) {
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp && *tmp ? tmp : "/tmp") + "/compare_peers_" + std::to_string(getpid()) +
           "_" + name;
}

// Removes the file when the last copy of the step goes.
struct Scratch {
    std::string path;
    explicit Scratch(const char* name) : path(scratch(name)) {}
    ~Scratch() { std::remove(path.c_str()); }
};

void zevWrite(const std::string& path) {
    xmlwriter w(path);
    w.Createtag("root");
    for (int i = 0; i < kGroups; ++i) {
        w.Createtag("group");
        w.CreateChild("index", i);
        w.CreateChild("value", i * 0.5);
        w.CreateChild("name", "a name");
        w.CloseLasttag();
    }
    w.CloseAlltags();
}

std::function<void()> zevWriting() {
    auto file = std::make_shared<Scratch>("zev_write.xml");
    return [file] { zevWrite(file->path); };
}

std::function<void()> zevReading() {
    auto file = std::make_shared<Scratch>("zev_read.xml");
    zevWrite(file->path);
    return [file] {
        xmlreader reader(file->path);
        keep(reader.GetRootNode());
    };
}

#ifdef ZEV_HAVE_PUGIXML
std::function<void()> pugiWriting() {
    auto file = std::make_shared<Scratch>("pugi_write.xml");
    return [file] {
        pugi::xml_document doc;
        pugi::xml_node root = doc.append_child("root");
        char text[40];
        for (int i = 0; i < kGroups; ++i) {
            pugi::xml_node group = root.append_child("group");
            std::snprintf(text, sizeof text, "%d", i);
            group.append_child("index").text().set(text);
            std::snprintf(text, sizeof text, "%.15g", i * 0.5);
            group.append_child("value").text().set(text);
            group.append_child("name").text().set("a name");
        }
        doc.save_file(file->path.c_str(), "\t");
    };
}

std::function<void()> pugiReading() {
    auto file = std::make_shared<Scratch>("pugi_read.xml");
    zevWrite(file->path);
    return [file] {
        pugi::xml_document doc;
        pugi::xml_parse_result result = doc.load_file(file->path.c_str());
        keep(result.status);
    };
}
#endif

#ifdef ZEV_HAVE_LIBXML2
std::function<void()> libxml2Reading() {
    auto file = std::make_shared<Scratch>("libxml2_read.xml");
    zevWrite(file->path);
    return [file] {
        // The streaming reader, as ZEVCore's keeps no more than a line at a time.
        xmlTextReaderPtr reader = xmlReaderForFile(file->path.c_str(), nullptr, 0);
        int nodes = 0;
        while (reader && xmlTextReaderRead(reader) == 1) ++nodes;
        xmlFreeTextReader(reader);
        keep(nodes);
    };
}

std::function<void()> libxml2Writing() {
    auto file = std::make_shared<Scratch>("libxml2_write.xml");
    return [file] {
        xmlTextWriterPtr w = xmlNewTextWriterFilename(file->path.c_str(), 0);
        xmlTextWriterSetIndent(w, 1);
        xmlTextWriterStartDocument(w, nullptr, "ISO-8859-1", nullptr);
        xmlTextWriterStartElement(w, BAD_CAST "root");
        for (int i = 0; i < kGroups; ++i) {
            xmlTextWriterStartElement(w, BAD_CAST "group");
            xmlTextWriterWriteFormatElement(w, BAD_CAST "index", "%d", i);
            xmlTextWriterWriteFormatElement(w, BAD_CAST "value", "%.15g", i * 0.5);
            xmlTextWriterWriteElement(w, BAD_CAST "name", BAD_CAST "a name");
            xmlTextWriterEndElement(w);
        }
        xmlTextWriterEndDocument(w);
        xmlFreeTextWriter(w);
    };
}
#endif

}  // namespace

std::vector<Case> xmlCases() {
    std::vector<Case> cases{
        {"xml-write", "zevcore", zevWriting},
        {"xml-read", "zevcore", zevReading},
    };
#ifdef ZEV_HAVE_PUGIXML
    cases.push_back({"xml-write", "pugixml", pugiWriting});
    cases.push_back({"xml-read", "pugixml", pugiReading});
#endif
#ifdef ZEV_HAVE_LIBXML2
    cases.push_back({"xml-write", "libxml2", libxml2Writing});
    cases.push_back({"xml-read", "libxml2", libxml2Reading});
#endif
    return cases;
}

}  // namespace peers
