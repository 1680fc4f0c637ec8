// zevcore dxf: what a DXF file holds, and a picture of its drawing.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "Args.h"
#include "Command.h"
#include "Output.h"
#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/platform/Painter.h"

namespace zevtool {
namespace {

constexpr const char* kHelp =
    "Usage: zevcore dxf info FILE\n"
    "       zevcore dxf svg FILE OUT.svg\n"
    "\n"
    "info  prints the sections in the order they stand, each table with its entries, the\n"
    "      blocks with their entity counts, and the entities of model space counted by type\n"
    "      (entities of kinds the reader does not know are passed over and not counted;\n"
    "      LWPOLYLINE counts as POLYLINE)\n"
    "svg   draws model space as the drawing paints itself (lines, arcs, circles, ellipses,\n"
    "      polylines, solids and faces as outlines, texts, inserted blocks), scaled to fit\n"
    "      800 units across (OUT.svg - for standard output)\n"
    "\n"
    "Options:\n"
    "  -h, --help   show this help and exit\n"
    "\n"
    "Exit status: 0 success, 1 the file could not be read or holds no DXF sections, or the\n"
    "picture could not be written, 2 bad usage.\n";

const char* entityName(int type) {
    switch (type) {
        case ENT_LINE: return "LINE";
        case ENT_POINT: return "POINT";
        case ENT_CIRCLE: return "CIRCLE";
        case ENT_ELLIPSE: return "ELLIPSE";
        case ENT_TEXT: return "TEXT";
        case ENT_ARC: return "ARC";
        case ENT_SOLID: return "SOLID";
        case ENT_INSERT: return "INSERT";
        case ENT_POLYLINE: return "POLYLINE";
        case ENT_DIMENSION: return "DIMENSION";
        case ENT_FACE3D: return "3DFACE";
        default: return "?";
    }
}

const char* sectionName(unsigned long s) {
    switch (s) {
        case SEC_HEADER: return "HEADER";
        case SEC_TABLES: return "TABLES";
        case SEC_BLOCKS: return "BLOCKS";
        case SEC_ENTITIES: return "ENTITIES";
        default: return "(other)";
    }
}

const char* tableName(unsigned long t) {
    switch (t) {
        case TAB_LTYPE: return "LTYPE";
        case TAB_LAYER: return "LAYER";
        case TAB_STYLE: return "STYLE";
        default: return "DIMSTYLE";
    }
}

void checkReadable(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw std::runtime_error("cannot read '" + path + "': it is a folder");
}

// Counts of the entities the reader yields until the section or block ends.
std::map<std::string, int> countEntities(HDXF h, int& total) {
    std::map<std::string, int> counts;
    tag_DXFENTITYHEADER header;
    auto data = std::make_unique<DXFENTITYDATA>();
    total = 0;
    while (int type = dxfReadEntityData(h, &header, data.get())) {
        dxfFreeEntityData(&header, data.get());
        ++counts[entityName(type)];
        ++total;
    }
    return counts;
}

int runInfo(const std::string& path) {
    checkReadable(path);
    HDXF h = dxfOpenFile(path.c_str());
    if (!h) throw std::runtime_error("cannot read '" + path + "'");
    std::ostringstream out;
    std::vector<std::string> sections;
    std::vector<std::pair<std::string, std::vector<std::string>>> tables;
    std::vector<std::pair<std::string, int>> blocks;
    std::map<std::string, int> entities;
    int entityTotal = 0;
    auto record = std::make_unique<DXFTABLERECORD>();
    while (unsigned long section = dxfFindNextSection(h)) {
        sections.push_back(sectionName(section));
        if (section == SEC_TABLES) {
            while (unsigned long type = dxfReadTableType(h, record.get())) {
                const std::string name = tableName(type);
                if (tables.empty() || tables.back().first != name) tables.push_back({name, {}});
                tables.back().second.push_back(record->Layer.Name);
            }
        } else if (section == SEC_BLOCKS) {
            tag_DXFBLOCKHEADER block;
            while (dxfFindBlockHeader(h, &block)) {
                int n = 0;
                countEntities(h, n);
                blocks.push_back({block.Name, n});
            }
        } else if (section == SEC_ENTITIES) {
            int n = 0;
            for (const auto& [name, count] : countEntities(h, n)) entities[name] += count;
            entityTotal += n;
        }
    }
    dxfCloseFile(h);
    if (sections.empty()) throw std::runtime_error("'" + path + "' holds no DXF sections");

    out << "sections:";
    for (const std::string& s : sections) out << ' ' << s;
    out << "\ntables:\n";
    for (const auto& [name, entries] : tables) {
        out << "  " << name << " (" << entries.size() << "):";
        for (size_t i = 0; i < entries.size(); ++i) out << (i ? ", " : " ") << entries[i];
        out << '\n';
    }
    out << "blocks (" << blocks.size() << "):\n";
    for (const auto& [name, n] : blocks) out << "  " << name << ": " << n << " entities\n";
    out << "entities (" << entityTotal << "):\n";
    for (const auto& [name, n] : entities) out << "  " << name << ' ' << n << '\n';
    std::cout << out.str();
    return kSuccess;
}

// Paints into SVG text.
class SvgPainter : public IZEVPainter {
public:
    SvgPainter() {
        m_out.imbue(std::locale::classic());
        m_out.precision(7);
    }
    std::string text() const { return m_out.str(); }
    std::ostringstream& stream() { return m_out; }

    void FillRect(HDC, int left, int top, int right, int bottom, COLORREF color) override {
        m_out << "<rect x=\"" << left << "\" y=\"" << top << "\" width=\"" << right - left
              << "\" height=\"" << bottom - top << "\" fill=\"" << hex(color) << "\"/>\n";
    }
    void SetClip(HDC, int, int, int, int) override {}
    void Line(HDC, double x1, double y1, double x2, double y2, COLORREF color) override {
        m_out << "<line x1=\"" << x1 << "\" y1=\"" << y1 << "\" x2=\"" << x2 << "\" y2=\"" << y2
              << "\" stroke=\"" << hex(color) << "\"/>\n";
    }
    void Polyline(HDC, const ZEVPaintPoint* p, int count, bool closed, COLORREF color) override {
        m_out << '<' << (closed ? "polygon" : "polyline") << " points=\"";
        for (int i = 0; i < count; ++i) m_out << (i ? " " : "") << p[i].x << ',' << p[i].y;
        m_out << "\" fill=\"none\" stroke=\"" << hex(color) << "\"/>\n";
    }
    void Arc(HDC, double cx, double cy, double r, double start, double end,
             COLORREF color) override {
        double sweep = std::fmod(end - start, 2 * std::numbers::pi);
        if (sweep <= 0) sweep += 2 * std::numbers::pi;
        if (end - start >= 2 * std::numbers::pi - 1e-12 || sweep >= 2 * std::numbers::pi - 1e-12) {
            m_out << "<circle cx=\"" << cx << "\" cy=\"" << cy << "\" r=\"" << r
                  << "\" fill=\"none\" stroke=\"" << hex(color) << "\"/>\n";
            return;
        }
        // Counter-clockwise as seen, with y down: SVG's negative sweep.
        m_out << "<path d=\"M " << cx + r * std::cos(start) << ' ' << cy - r * std::sin(start)
              << " A " << r << ' ' << r << " 0 " << (sweep > std::numbers::pi ? 1 : 0) << " 0 "
              << cx + r * std::cos(start + sweep) << ' ' << cy - r * std::sin(start + sweep)
              << "\" fill=\"none\" stroke=\"" << hex(color) << "\"/>\n";
    }
    void Text(HDC, double x, double y, double height, double angle, const char* text,
              COLORREF color) override {
        m_out << "<text x=\"" << x << "\" y=\"" << y << "\" font-size=\"" << height
              << "\" fill=\"" << hex(color) << "\"";
        if (angle != 0.0)
            m_out << " transform=\"rotate(" << -angle * 180 / std::numbers::pi << ' ' << x << ' ' << y
                  << ")\"";
        m_out << '>' << escaped(text) << "</text>\n";
    }

private:
    static std::string hex(COLORREF c) {
        char text[8];
        std::snprintf(text, sizeof text, "#%02x%02x%02x", GetRValue(c), GetGValue(c),
                      GetBValue(c));
        return text;
    }
    static std::string escaped(const char* text) {
        std::string out;
        for (const char* c = text; *c; ++c) {
            switch (*c) {
                case '<': out += "&lt;"; break;
                case '>': out += "&gt;"; break;
                case '&': out += "&amp;"; break;
                default:
                    // Control bytes are not allowed in XML.
                    if (static_cast<unsigned char>(*c) >= 0x20 || *c == '\t') out += *c;
            }
        }
        return out;
    }
    std::ostringstream m_out;
};

struct Box {
    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    void add(double x, double y) {
        if (!std::isfinite(x) || !std::isfinite(y)) return;
        minX = std::min(minX, x), maxX = std::max(maxX, x);
        minY = std::min(minY, y), maxY = std::max(maxY, y);
    }
    void add(const tag_REALPOINT& p, double grow = 0.0) {
        add(p.x - grow, p.y - grow);
        add(p.x + grow, p.y + grow);
    }
};

Box extents(HDRAWING h) {
    Box box;
    tag_ENTITYHEADER eh;
    auto e = std::make_unique<DRWENTITYDATA>();
    for (unsigned long flags = FIND_FIRST; drwFindEntity(h, nullptr, &eh, e.get(), flags);
         flags = FIND_NEXT) {
        switch (eh.EntityType) {
            case ENT_LINE: box.add(e->Line.Point0), box.add(e->Line.Point1); break;
            case ENT_POINT: box.add(e->Point.Point0); break;
            case ENT_CIRCLE: box.add(e->Circle.Point0, e->Circle.Radius); break;
            case ENT_ARC: box.add(e->Arc.Point0, e->Arc.Radius); break;
            case ENT_ELLIPSE:
                box.add(e->Ellipse.CenterPoint, std::hypot(e->Ellipse.MajorAxisEndPoint.x,
                                                           e->Ellipse.MajorAxisEndPoint.y));
                break;
            case ENT_TEXT: box.add(e->Text.Point0); break;
            case ENT_SOLID:
            case ENT_FACE3D:
                for (const tag_REALPOINT* p :
                     {&e->Solid.Point0, &e->Solid.Point1, &e->Solid.Point2, &e->Solid.Point3})
                    box.add(*p);
                break;
            case ENT_INSERT: box.add(e->Insert.Point0); break;
            case ENT_POLYLINE:
                for (DWORD i = 0; i < e->PolyLine.nVertex; ++i)
                    box.add(e->PolyLine.pVertex[i].Point);
                break;
            default: break;
        }
    }
    return box;
}

int runSvg(const std::string& path, const std::string& outPath) {
    checkReadable(path);
    CDrawing drawing;
    if (!drawing.Create()) throw std::runtime_error("out of memory");
    if (!drawing.LoadDXFFile(path.c_str()))
        throw std::runtime_error("cannot read '" + path +
                                 "' (missing, or a layer names a line type it does not define)");
    Box box = extents(drawing.Handle());
    if (!(box.minX <= box.maxX)) box.minX = box.minY = 0, box.maxX = box.maxY = 1;
    const double margin = 20, width = 800;
    const double extent = std::max({box.maxX - box.minX, box.maxY - box.minY, 1e-9});
    const double scale = (width - 2 * margin) / extent;
    const int height = static_cast<int>(std::ceil((box.maxY - box.minY) * scale + 2 * margin));

    tag_VIEW view{};
    view.Viewable = 1;
    view.WindowLeft = 0, view.WindowTop = 0;
    view.WindowRight = static_cast<int>(width), view.WindowBottom = height;
    view.ZoomLevel = 1.0;
    view.PPU = scale;
    view.ViewLeft = box.minX - margin / scale;
    view.ViewBottom = box.minY - margin / scale;
    drawing.SetViewProperties(&view);

    SvgPainter svg;
    svg.stream() << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width
                 << "\" height=\"" << height << "\" viewBox=\"0 0 " << width << ' ' << height
                 << "\" stroke-width=\"1\">\n";
    IZEVPainter* before = ZEVInstallPainter(&svg);
    drawing.Paint(nullptr);
    ZEVInstallPainter(before);
    svg.stream() << "</svg>\n";
    writeOutput(outPath, svg.text());
    return kSuccess;
}

int run(const std::vector<std::string>& args) {
    std::vector<std::string> words = ArgReader(args).parse();
    if (words.empty()) throw UsageError("no action given (info, svg)");
    const std::string action = words[0];
    if (action != "info" && action != "svg") throw UsageError("unknown action '" + action + "'");
    if (words.size() != (action == "svg" ? 3u : 2u))
        throw UsageError("wrong number of arguments for '" + action + "'");
    return action == "info" ? runInfo(words[1]) : runSvg(words[1], words[2]);
}

}  // namespace

ZEV_COMMAND("dxf", "what a DXF file holds; its drawing as SVG", kHelp, run);

}  // namespace zevtool
