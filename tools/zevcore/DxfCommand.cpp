// zevcore dxf: what a DXF file holds, and a picture of its drawing.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/MeshDxf.h"
#include "tools/zevcore/MeshIo.h"
#include "tools/zevcore/Numbers.h"
#include "tools/zevcore/Output.h"
#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/platform/services/Desktop.h"
#include "zevcore/platform/services/Painter.h"

namespace zevtool {
namespace {

constexpr const char* kHelp =
    "Usage: zevcore dxf info FILE\n"
    "       zevcore dxf svg FILE OUT.svg\n"
    "       zevcore dxf entities FILE\n"
    "       zevcore dxf sample OUT.dxf\n"
    "\n"
    "info  prints the sections in the order they stand, the drawing's version, length unit\n"
    "      and code page, each table with its entries, the blocks with their entity counts,\n"
    "      and the entities of model space counted by type\n"
    "      (entities of kinds the reader does not know are passed over and not counted;\n"
    "      LWPOLYLINE counts as POLYLINE)\n"
    "entities  prints each entity of model space on a line: its type, layer and colour,\n"
    "      then its numbers (LINE x1 y1 z1 x2 y2 z2; POINT x y z; CIRCLE x y z r; ARC x y z\n"
    "      r start end; ELLIPSE x y z mx my mz ratio start end; TEXT x y height rotation\n"
    "      and the text; SOLID and 3DFACE the four corners' x y z; INSERT x y xscale yscale\n"
    "      rotation and the block, then columns rows column-spacing row-spacing for an\n"
    "      array; POLYLINE flags and each vertex's x y z bulge; MTEXT x y height rotation\n"
    "      and its words; HATCH its paths and vertices). Names and texts are given in\n"
    "      UTF-8, read in the file's code page ($DWGCODEPAGE) before R2007\n"
    "svg   draws model space as the drawing paints itself (lines, arcs, circles, ellipses,\n"
    "      polylines with bulged sides as arcs, solids, faces and hatches as outlines, texts\n"
    "      and MTEXT lines, inserted blocks and arrays), scaled to fit\n"
    "      800 units across (OUT.svg - for standard output)\n"
    "sample writes a drawing with an entity of every kind the library writes, through the\n"
    "      drawing database: line types, layers, a text style, a block and its insert, a\n"
    "      linear dimension (drawn out in lines, points, a text and arrows)\n"
    "\n"
    "Options:\n"
    "  -h, --help   show this help and exit\n"
    "\n"
    "Exit status: 0 success, 1 the file could not be read or holds no DXF sections, or the\n"
    "picture could not be written, 2 bad usage.\n";

const char* entityName(int type) {
    switch (type) {
        case ENT_LINE:
            return "LINE";
        case ENT_POINT:
            return "POINT";
        case ENT_CIRCLE:
            return "CIRCLE";
        case ENT_ELLIPSE:
            return "ELLIPSE";
        case ENT_TEXT:
            return "TEXT";
        case ENT_ARC:
            return "ARC";
        case ENT_SOLID:
            return "SOLID";
        case ENT_INSERT:
            return "INSERT";
        case ENT_POLYLINE:
            return "POLYLINE";
        case ENT_DIMENSION:
            return "DIMENSION";
        case ENT_FACE3D:
            return "3DFACE";
        case ENT_MTEXT:
            return "MTEXT";
        case ENT_HATCH:
            return "HATCH";
        default:
            return "?";
    }
}

const char* sectionName(unsigned long s) {
    const char* name = dxfSectionName(s);
    return name ? name : "(other)";
}

const char* tableName(unsigned long t) {
    switch (t) {
        case TAB_LTYPE:
            return "LTYPE";
        case TAB_LAYER:
            return "LAYER";
        case TAB_STYLE:
            return "STYLE";
        default:
            return "DIMSTYLE";
    }
}

void checkReadable(const std::string& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        throw std::runtime_error("cannot read '" + path + "': it is a folder");
    if (std::filesystem::file_size(path, error) > meshio::kMaxInputBytes && !error)
        throw std::runtime_error("cannot read '" + path + "': it is larger than 64 MiB");
}

std::runtime_error noSections(const std::string& path) {
    return std::runtime_error("'" + path + "' holds no DXF sections");
}

// The drawing reader takes a file without sections for an empty drawing.
void requireSections(const std::string& path) {
    HDXF h = dxfOpenFile(path.c_str());
    if (!h) throw std::runtime_error("cannot read '" + path + "'");
    const bool any = dxfFindNextSection(h) != 0;
    dxfCloseFile(h);
    if (!any) throw noSections(path);
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
    tag_DXFHEADERVARS vars;
    dxfReadMoreKinds(h, 1);
    while (unsigned long section = dxfFindNextSection(h)) {
        sections.push_back(sectionName(section));
        if (section == SEC_HEADER) {
            dxfReadHeaderVars(h, &vars);
        } else if (section == SEC_TABLES) {
            while (unsigned long type = dxfReadTableType(h, record.get())) {
                const std::string name = tableName(type);
                if (tables.empty() || tables.back().first != name) tables.push_back({name, {}});
                tables.back().second.push_back(record->Layer.Name);  // read as bytes
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
    if (sections.empty()) throw noSections(path);

    out << "sections:";
    for (const std::string& s : sections) out << ' ' << s;
    const meshio::LengthUnit unit = meshio::drawingUnit(vars);
    out << "\nversion: " << (vars.AcadVer[0] ? vars.AcadVer : "none given") << "\nunits: ";
    if (unit.source.empty())
        out << "none given (taken as " << unit.label << ", the unit style's small length)";
    else
        out << unit.label << " (" << unit.source << ')';
    out << "\ncode page: " << (vars.CodePage[0] ? vars.CodePage : "none given") << '\n';
    out << "tables:\n";
    for (const auto& [name, entries] : tables) {
        out << "  " << name << " (" << entries.size() << "):";
        for (size_t i = 0; i < entries.size(); ++i)
            out << (i ? ", " : " ") << meshio::drawingText(entries[i], vars);
        out << '\n';
    }
    out << "blocks (" << blocks.size() << "):\n";
    for (const auto& [name, n] : blocks)
        out << "  " << meshio::drawingText(name, vars) << ": " << n << " entities\n";
    out << "entities (" << entityTotal << "):\n";
    for (const auto& [name, n] : entities) out << "  " << name << ' ' << n << '\n';
    std::cout << out.str();
    return kSuccess;
}

std::string numbers(std::initializer_list<double> values) {
    std::string out;
    for (double v : values) out += ' ' + shortestNumber(v);
    return out;
}

int runEntities(const std::string& path) {
    checkReadable(path);
    HDXF h = dxfOpenFile(path.c_str());
    if (!h) throw std::runtime_error("cannot read '" + path + "'");
    std::ostringstream out;
    tag_DXFENTITYHEADER eh;
    auto e = std::make_unique<DXFENTITYDATA>();
    bool any = false;
    tag_DXFHEADERVARS vars;
    dxfReadMoreKinds(h, 1);
    while (unsigned long section = dxfFindNextSection(h)) {
        any = true;
        if (section == SEC_HEADER) dxfReadHeaderVars(h, &vars);
        if (section != SEC_ENTITIES) continue;
        while (int type = dxfReadEntityData(h, &eh, e.get())) {
            out << entityName(type) << '\t' << meshio::drawingText(eh.LayerName, vars) << '\t'
                << eh.Color << '\t';
            switch (type) {
                case ENT_LINE: {
                    const tag_ENTLINE& l = e->Line;
                    out << numbers(
                        {l.Point0.x, l.Point0.y, l.Point0.z, l.Point1.x, l.Point1.y, l.Point1.z});
                    break;
                }
                case ENT_POINT:
                    out << numbers({e->Point.Point0.x, e->Point.Point0.y, e->Point.Point0.z});
                    break;
                case ENT_CIRCLE: {
                    const tag_ENTCIRCLE& c = e->Circle;
                    out << numbers({c.Point0.x, c.Point0.y, c.Point0.z, c.Radius});
                    break;
                }
                case ENT_ARC: {
                    const tag_ENTARC& a = e->Arc;
                    out << numbers(
                        {a.Point0.x, a.Point0.y, a.Point0.z, a.Radius, a.StartAngle, a.EndAngle});
                    break;
                }
                case ENT_ELLIPSE: {
                    const tag_ENTELLIPSE& el = e->Ellipse;
                    out << numbers({el.CenterPoint.x, el.CenterPoint.y, el.CenterPoint.z,
                                    el.MajorAxisEndPoint.x, el.MajorAxisEndPoint.y,
                                    el.MajorAxisEndPoint.z, el.MinorToMajorRatio, el.StartParam,
                                    el.EndParam});
                    break;
                }
                case ENT_TEXT: {
                    const tag_ENTTEXT& t = e->Text.Text;
                    out << numbers({t.Point0.x, t.Point0.y, t.Height, t.RotationAngle}) << '\t'
                        << meshio::drawingText(t.strText, vars);
                    break;
                }
                case ENT_MTEXT: {
                    const tag_DXFENTMTEXT& m = e->MText;
                    std::string words = meshio::plainMText(meshio::drawingText(m.strText, vars));
                    std::replace(words.begin(), words.end(), '\n', '|');
                    out << numbers({m.Point0.x, m.Point0.y, m.Height, m.RotationAngle}) << '\t'
                        << words;
                    break;
                }
                case ENT_HATCH:
                    out << ' ' << e->Hatch.nPaths << ' ' << e->Hatch.nVertex;
                    break;
                case ENT_SOLID:
                case ENT_FACE3D:
                    for (const tag_REALPOINT* p :
                         {&e->Solid.Point0, &e->Solid.Point1, &e->Solid.Point2, &e->Solid.Point3})
                        out << numbers({p->x, p->y, p->z});
                    break;
                case ENT_INSERT: {
                    const tag_ENTINSERT& in = e->Insert.Insert;
                    out << numbers(
                               {in.Point0.x, in.Point0.y, in.XScale, in.YScale, in.RotationAngle})
                        << '\t' << meshio::drawingText(e->Insert.BlockName, vars);
                    tag_DXFENTITYEXTRA extra{};
                    dxfGetEntityExtra(h, &extra);
                    if (extra.Columns > 1 || extra.Rows > 1)
                        out << '\t' << extra.Columns << ' ' << extra.Rows
                            << numbers({extra.ColumnSpacing, extra.RowSpacing});
                    break;
                }
                case ENT_POLYLINE: {
                    const tag_ENTPOLYLINE& p = e->PolyLine;
                    out << ' ' << p.Flag;
                    for (DWORD i = 0; i < p.nVertex; ++i)
                        out << numbers({p.pVertex[i].Point.x, p.pVertex[i].Point.y,
                                        p.pVertex[i].Point.z, p.pVertex[i].Bulge});
                    break;
                }
                default:
                    break;
            }
            out << '\n';
            dxfFreeEntityData(&eh, e.get());
        }
    }
    dxfCloseFile(h);
    if (!any) throw std::runtime_error("'" + path + "' holds no DXF sections");
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
        m_out << "<text x=\"" << x << "\" y=\"" << y << "\" font-size=\"" << height << "\" fill=\""
              << hex(color) << "\"";
        if (angle != 0.0)
            m_out << " transform=\"rotate(" << -angle * 180 / std::numbers::pi << ' ' << x << ' '
                  << y << ")\"";
        m_out << '>' << escaped(meshio::drawingText(text, m_header).c_str()) << "</text>\n";
    }
    void setHeader(const tag_DXFHEADERVARS& header) { m_header = header; }

private:
    static std::string hex(COLORREF c) {
        char text[8];
        std::snprintf(text, sizeof text, "#%02x%02x%02x", GetRValue(c), GetGValue(c), GetBValue(c));
        return text;
    }
    static std::string escaped(const char* text) {
        std::string out;
        for (const char* c = text; *c; ++c) {
            switch (*c) {
                case '<':
                    out += "&lt;";
                    break;
                case '>':
                    out += "&gt;";
                    break;
                case '&':
                    out += "&amp;";
                    break;
                default:
                    // Control bytes are not allowed in XML.
                    if (static_cast<unsigned char>(*c) >= 0x20 || *c == '\t') out += *c;
            }
        }
        return out;
    }
    std::ostringstream m_out;
    tag_DXFHEADERVARS m_header;
};

// The header's variables: the first section, when it is the HEADER.
tag_DXFHEADERVARS headerOf(const std::string& path) {
    tag_DXFHEADERVARS vars;
    if (HDXF h = dxfOpenFile(path.c_str())) {
        if (dxfFindNextSection(h) == SEC_HEADER) dxfReadHeaderVars(h, &vars);
        dxfCloseFile(h);
    }
    return vars;
}

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
            case ENT_LINE:
                box.add(e->Line.Point0), box.add(e->Line.Point1);
                break;
            case ENT_POINT:
                box.add(e->Point.Point0);
                break;
            case ENT_CIRCLE:
                box.add(e->Circle.Point0, e->Circle.Radius);
                break;
            case ENT_ARC:
                box.add(e->Arc.Point0, e->Arc.Radius);
                break;
            case ENT_ELLIPSE:
                box.add(e->Ellipse.CenterPoint,
                        std::hypot(e->Ellipse.MajorAxisEndPoint.x, e->Ellipse.MajorAxisEndPoint.y));
                break;
            case ENT_TEXT:
                box.add(e->Text.Point0);
                break;
            case ENT_SOLID:
            case ENT_FACE3D:
                for (const tag_REALPOINT* p :
                     {&e->Solid.Point0, &e->Solid.Point1, &e->Solid.Point2, &e->Solid.Point3})
                    box.add(*p);
                break;
            case ENT_INSERT:
                box.add(e->Insert.Point0);
                break;
            case ENT_POLYLINE:
                for (DWORD i = 0; i < e->PolyLine.nVertex; ++i)
                    box.add(e->PolyLine.pVertex[i].Point);
                break;
            default:
                break;
        }
    }
    return box;
}

int runSvg(const std::string& path, const std::string& outPath) {
    checkReadable(path);
    requireSections(path);
    CDrawing drawing;
    if (!drawing.Create()) throw std::runtime_error("out of memory");
    if (!drawing.LoadDXFFile(path.c_str()))
        throw std::runtime_error("cannot read '" + path +
                                 "' (missing, or a layer names a line type it does not define)");
    Box box = extents(drawing.Handle());
    if (!(box.minX <= box.maxX)) box.minX = box.minY = 0, box.maxX = box.maxY = 1;
    if (!std::isfinite(box.maxX - box.minX) || !std::isfinite(box.maxY - box.minY))
        throw std::runtime_error(
            "'" + path + "' spans too far to draw: its extent is beyond the largest number");
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
    svg.setHeader(headerOf(path));
    svg.stream() << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\""
                 << height << "\" viewBox=\"0 0 " << width << ' ' << height
                 << "\" stroke-width=\"1\">\n";
    IZEVPainter* before = ZEVInstallPainter(&svg);
    drawing.Paint(nullptr);
    ZEVInstallPainter(before);
    svg.stream() << "</svg>\n";
    writeOutput(outPath, svg.text());
    return kSuccess;
}

// A drawing with something of every kind, for readers elsewhere to take.
int runSample(const std::string& outPath) {
    CDrawing d;
    if (!d.Create()) throw std::runtime_error("out of memory");
    tag_LTYPE continuous{}, dashed{};
    std::snprintf(continuous.Name, sizeof continuous.Name, "CONTINUOUS");
    std::snprintf(continuous.DescriptiveText, sizeof continuous.DescriptiveText, "Solid line");
    std::snprintf(dashed.Name, sizeof dashed.Name, "DASHED");
    std::snprintf(dashed.DescriptiveText, sizeof dashed.DescriptiveText, "__ __ __");
    dashed.ElementsNumber = 2, dashed.TotalPatternLength = 0.75;
    dashed.Elements[0] = 0.5, dashed.Elements[1] = -0.25;
    const unsigned long solidLine = d.AddLinetype(&continuous);
    d.AddLinetype(&dashed);
    const struct {
        const char* name;
        short color;
    } layers[] = {{"0", 7}, {"Geometry", 3}, {"Notes", 1}, {"Dimensions", 5}};
    for (const auto& l : layers) {
        tag_LAYER layer{};
        std::snprintf(layer.Name, sizeof layer.Name, "%s", l.name);
        layer.Color = l.color;
        layer.LineTypeObjhandle = static_cast<DWORD>(solidLine);
        d.AddLayer(&layer);
    }
    tag_STYLE style{};
    std::snprintf(style.Name, sizeof style.Name, "Notes");
    std::snprintf(style.PrimaryFontFilename, sizeof style.PrimaryFontFilename, "txt");
    style.WidthFactor = 1.0;
    const unsigned long notes = d.AddTextStyle(&style);
    tag_DIMSTYLE dim{};
    std::snprintf(dim.Name, sizeof dim.Name, "ClosedFilled");
    std::snprintf(dim.DIMBLK1, sizeof dim.DIMBLK1, "ClosedFilled");
    std::snprintf(dim.DIMBLK2, sizeof dim.DIMBLK2, "ClosedFilled");
    dim.DIMTXSTYObjhandle = static_cast<DWORD>(notes);
    dim.DIMCLRD = dim.DIMCLRE = dim.DIMCLRT = 5;
    dim.DIMASZ = 0.25, dim.DIMTXT = 0.3, dim.DIMGAP = 0.1, dim.DIMEXO = 0.1, dim.DIMEXE = 0.2;
    d.AddDimStyle(&dim);

    tag_BLOCKHEADER block{};
    std::snprintf(block.Name, sizeof block.Name, "Marker");
    d.AddBlock(&block);
    d.SetActiveBlock("Marker");
    d.Line(-0.5, 0, 0.5, 0);
    d.Line(0, -0.5, 0, 0.5);
    d.Circle(0, 0, 0.25);
    d.SetActiveBlock(nullptr);

    d.SetLayer("Geometry");
    d.Line(0, 0, 10, 0);
    d.Point(5, 5);
    d.Circle(3, 3, 1);
    d.Arc(7, 3, 1.5, 30, 150);
    tag_ENTITYHEADER header{};
    header.Color = 256;
    header.LineTypeScale = 1.0;
    header.ExtrusionDirection[2] = 1.0;
    header.EntityType = ENT_ELLIPSE;
    header.LayerObjhandle = 0;
    tag_LAYER geometry{};
    std::snprintf(geometry.Name, sizeof geometry.Name, "Geometry");
    header.LayerObjhandle = static_cast<DWORD>(d.FindLayer(FIND_BYNAME, &geometry));
    tag_ENTELLIPSE ellipse{{5, 8, 0}, {2, 0, 0}, 0.5, 0.0, 6.283185307179586};
    d.AddEntity(0, &header, &ellipse);
    d.SetLineType("DASHED");
    d.Solid({1, 5, 0}, {2, 5, 0}, {1, 6, 0}, {2, 6, 0});
    d.Face3D({3, 5, 0}, {4, 5, 0}, {4, 6, 0}, {3, 6, 0});
    tag_ENTVERTEX v[4]{};
    v[0].Point = {0, 10, 0}, v[1].Point = {10, 10, 0}, v[2].Point = {10, 12, 0};
    v[3].Point = {0, 12, 0};
    d.PolyLine(v, 4, 1);
    d.InsertBlock("Marker", 8, 8, 1.0, 1.0, 45.0);
    d.SetLayer("Notes");
    d.SetTextStyle("Notes");
    d.Text("Every kind", 0, 13, 0.5);
    d.Text("Centred", 5, 11, 5, 11, 0.4, 0.0, 0x0201, 1.0);
    d.SetLayer("Dimensions");
    d.SetDimStyle("ClosedFilled");
    d.DimLinear(0, 0, 10, 0, 5, -1.5, 0.0, "10");

    const CString temp = ZEVMakeTempFile("ZevSample", ".dxf");
    if (temp.IsEmpty()) throw std::runtime_error("cannot make a temporary file");
    const bool saved = d.SaveDXFFile(temp.GetString());
    std::ifstream in(temp.GetString(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(temp);
    if (!saved) throw std::runtime_error("the sample could not be written");
    writeOutput(outPath, bytes);
    return kSuccess;
}

int run(const std::vector<std::string>& args) {
    std::vector<std::string> words = ArgReader(args).parse();
    if (words.empty()) throw UsageError("no action given (info, entities, svg, sample)");
    const std::string action = words[0];
    if (action != "info" && action != "svg" && action != "sample" && action != "entities")
        throw UsageError("unknown action '" + action + "'");
    if (words.size() != (action == "svg" ? 3u : 2u))
        throw UsageError("wrong number of arguments for '" + action + "'");
    if (action == "sample") return runSample(words[1]);
    if (action == "entities") return runEntities(words[1]);
    return action == "info" ? runInfo(words[1]) : runSvg(words[1], words[2]);
}

}  // namespace

ZEV_COMMAND("dxf", "what a DXF file holds; its drawing as SVG; a sample drawing", kHelp, run);

}  // namespace zevtool
