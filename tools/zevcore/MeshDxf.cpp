#include "tools/zevcore/MeshDxf.h"

#include <iconv.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <utility>

#include "tools/zevcore/MeshIo.h"
#include "zevcore/files/dxf/DxfFileWrite.h"
#include "zevcore/platform/services/Desktop.h"
#include "zevcore/quantities/Units.h"

namespace zevtool::meshio {

namespace {

constexpr double kPi = 3.14159265358979323846;

std::string pointText(const Point& p) {
    char text[80];
    std::snprintf(text, sizeof text, "(%g, %g)", p.x, p.y);
    return text;
}

bool finite(std::initializer_list<double> values) {
    for (double v : values)
        if (!std::isfinite(v)) return false;
    return true;
}

std::string upper(std::string s) {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

// ---- Units

struct UnitRow {
    int code;
    const char* label;
    double inches;
};
// $INSUNITS codes and their lengths.
constexpr UnitRow kUnits[] = {
    {1, "in", 1.0},
    {2, "ft", 12.0},
    {3, "mi", 63360.0},
    {4, "mm", 1.0 / 25.4},
    {5, "cm", 1.0 / 2.54},
    {6, "m", 1000.0 / 25.4},
    {7, "km", 1e6 / 25.4},
    {8, "µin", 1e-6},
    {9, "mil", 1e-3},
    {10, "yd", 36.0},
    {11, "Å", 1e-7 / 25.4},
    {12, "nm", 1e-6 / 25.4},
    {13, "µm", 1e-3 / 25.4},
    {14, "dm", 100.0 / 25.4},
    {15, "dam", 1e4 / 25.4},
    {16, "hm", 1e5 / 25.4},
    {17, "Gm", 1e12 / 25.4},
    {18, "au", 1.495978707e14 / 25.4},
    {19, "ly", 9.4607304725808e18 / 25.4},
    {20, "pc", 3.0856775814913673e19 / 25.4},
};

const UnitRow* unitOfCode(int code) {
    for (const UnitRow& row : kUnits)
        if (row.code == code) return &row;
    return nullptr;
}

// ---- Placing: x' = a x + b y + e, y' = c x + d y + f.

struct Affine {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;
    Point apply(const Point& p) const { return {a * p.x + b * p.y + e, c * p.x + d * p.y + f}; }
    Point vector(const Point& p) const { return {a * p.x + b * p.y, c * p.x + d * p.y}; }
    // This after `inner`.
    Affine after(const Affine& in) const {
        return {a * in.a + b * in.c, a * in.b + b * in.d,     c * in.a + d * in.c,
                c * in.b + d * in.d, a * in.e + b * in.f + e, c * in.e + d * in.f + f};
    }
};

Piece placed(const Piece& p, const Affine& t) {
    Piece q = p;
    if (!p.curve) {
        q.a = t.apply(p.a), q.b = t.apply(p.b);
    } else {
        q.c = t.apply(p.c), q.u = t.vector(p.u), q.v = t.vector(p.v);
    }
    return q;
}

Piece line(const Point& a, const Point& b) {
    Piece p;
    p.a = a, p.b = b;
    return p;
}

Piece circular(const Point& centre, double r, double t0, double sweep) {
    Piece p;
    p.curve = true;
    p.c = centre, p.u = {r, 0.0}, p.v = {0.0, r};
    p.t0 = t0, p.sweep = sweep;
    return p;
}

// A polyline side from a to b with a bulge: the tangent of a quarter of its turn,
// counter-clockwise when positive.
Piece bulgedSide(const Point& a, const Point& b, double bulge) {
    const double theta = 4.0 * std::atan(bulge);
    const double chord = std::hypot(b.x - a.x, b.y - a.y);
    if (std::fabs(bulge) < 1e-12 || !(chord > 0.0) || !std::isfinite(theta)) return line(a, b);
    const double offset = chord / (2.0 * std::tan(theta / 2.0));
    const Point centre{(a.x + b.x) / 2 - (b.y - a.y) / chord * offset,
                       (a.y + b.y) / 2 + (b.x - a.x) / chord * offset};
    return circular(centre, std::hypot(a.x - centre.x, a.y - centre.y),
                    std::atan2(a.y - centre.y, a.x - centre.x), theta);
}

// ---- Text

std::string utf8Of(unsigned long cp) {
    std::string out;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x110000) {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += "\xEF\xBF\xBD";
    }
    return out;
}

bool validUtf8(const std::string& s) {
    for (size_t i = 0; i < s.size();) {
        const auto c = static_cast<unsigned char>(s[i]);
        const size_t n = c < 0x80         ? 1
                         : (c >> 5) == 6  ? 2
                         : (c >> 4) == 14 ? 3
                         : (c >> 3) == 30 ? 4
                                          : 0;
        if (n == 0 || i + n > s.size()) return false;
        for (size_t k = 1; k < n; ++k)
            if ((static_cast<unsigned char>(s[i + k]) >> 6) != 2) return false;
        i += n;
    }
    return true;
}

// Bytes in a Windows code page to UTF-8; a byte the page does not map becomes U+FFFD.
std::string fromCodePage(const std::string& bytes, const std::string& page) {
    bool ascii = true;
    for (char c : bytes) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) return bytes;
    iconv_t cd = iconv_open("UTF-8", ("CP" + page).c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) cd = iconv_open("UTF-8", "CP1252");
    if (cd == reinterpret_cast<iconv_t>(-1)) return validUtf8(bytes) ? bytes : std::string();
    std::string out;
    std::string in = bytes;
    char* from = in.data();
    size_t left = in.size();
    char buffer[1024];
    while (left > 0) {
        char* to = buffer;
        size_t room = sizeof buffer;
        const size_t r = iconv(cd, &from, &left, &to, &room);
        out.append(buffer, static_cast<size_t>(to - buffer));
        if (r == static_cast<size_t>(-1) && errno != E2BIG) {
            out += "\xEF\xBF\xBD";  // a byte the page has no character for
            ++from, --left;
        }
    }
    iconv_close(cd);
    return out;
}

}  // namespace

bool sameLayerName(const std::string& a, const std::string& b) {
    return upper(a) == upper(b);
}

LengthUnit styleSmallLength() {
    LengthUnit u;
    const int index = Units::currentUnit(UNIT_LENGTH_SMALL);
    const char* label = Units::unitLabel(UNIT_LENGTH_SMALL, index);
    const double factor = Units::displayValue(UNIT_LENGTH_SMALL, 1.0, index);
    if (index < 0 || !label || !*label || !(factor > 0.0)) return u;  // inches
    u.label = label;
    u.inches = 1.0 / factor;
    u.insUnits = 0;
    for (const UnitRow& row : kUnits)
        if (u.label == row.label) u.insUnits = row.code;
    return u;
}

LengthUnit drawingUnit(const tag_DXFHEADERVARS& header) {
    LengthUnit u;
    if (const UnitRow* row = unitOfCode(header.InsUnits)) {
        u.label = row->label, u.inches = row->inches, u.insUnits = row->code;
        u.source = "$INSUNITS " + std::to_string(header.InsUnits);
        return u;
    }
    if (header.Measurement == 0 || header.Measurement == 1) {
        const UnitRow* row = unitOfCode(header.Measurement == 0 ? 1 : 4);
        u.label = row->label, u.inches = row->inches, u.insUnits = row->code;
        u.source = "$MEASUREMENT " + std::to_string(header.Measurement);
        return u;
    }
    return styleSmallLength();
}

bool parseLength(const std::string& text, const LengthUnit& unit, double& length) {
    // A bare number is in the drawing's unit, whatever the style shows.
    const char* end = text.data() + text.size();
    if (std::from_chars(text.data(), end, length).ptr == end && !text.empty())
        return std::isfinite(length) && length > 0.0;
    ETUnitError error = UNIT_OK;
    const double inches =
        Units::parse_cli(UNIT_LENGTH_SMALL, text.c_str(), &error, UNIT_RANGE_POSITIVE);
    if (error != UNIT_OK || !std::isfinite(inches) || !(inches > 0.0)) return false;
    length = inches / unit.inches;
    return std::isfinite(length) && length > 0.0;
}

Point Piece::at(double t) const {
    return {c.x + u.x * std::cos(t) + v.x * std::sin(t),
            c.y + u.y * std::cos(t) + v.y * std::sin(t)};
}
Point Piece::start() const {
    return curve ? at(t0) : a;
}
Point Piece::end() const {
    return curve ? at(t0 + sweep) : b;
}
Piece Piece::reversed() const {
    Piece p = *this;
    if (curve) {
        p.t0 = t0 + sweep, p.sweep = -sweep;
    } else {
        std::swap(p.a, p.b);
    }
    return p;
}

int sidesOf(const Piece& p, double size) {
    if (!p.curve) return 1;
    const double sweep = std::fabs(p.sweep);
    double n = std::ceil(sweep / (kMostTurnDegrees * kPi / 180.0));
    if (size > 0.0) {
        // The length, and the largest radius for the chord's stray.
        double length = 0.0;
        Point last = p.at(p.t0);
        for (int k = 1; k <= 64; ++k) {
            const Point q = p.at(p.t0 + p.sweep * k / 64);
            length += std::hypot(q.x - last.x, q.y - last.y);
            last = q;
        }
        // The polygon of 64 sides falls short of the curve by less than a thousandth.
        n = std::max(n, std::ceil(1.001 * length / (kLongestSide * size)));
        const double r = std::max(std::hypot(p.u.x, p.u.y), std::hypot(p.v.x, p.v.y));
        const double tolerance = kChordTolerance * size;
        if (tolerance < r)
            n = std::max(n, std::ceil(sweep / (2.0 * std::acos(1.0 - tolerance / r))));
    }
    if (!(n >= 1.0)) return 1;
    return static_cast<int>(std::min(n, static_cast<double>(kMostCurveSides)));
}

void appendPiece(std::vector<Point>& out, const Piece& p, double size) {
    if (!p.curve) {
        out.push_back(p.a);
        return;
    }
    const int count = sidesOf(p, size);
    for (int k = 0; k < count; ++k) out.push_back(p.at(p.t0 + p.sweep * k / count));
}

std::string drawingText(const std::string& bytes, const tag_DXFHEADERVARS& header) {
    // R2007 (AC1021) and later files are UTF-8 throughout.
    const bool utf8 =
        std::strncmp(header.AcadVer, "AC", 2) == 0 && std::atoi(header.AcadVer + 2) >= 1021;
    std::string page = header.CodePage;
    std::string digits;
    for (char c : page)
        if (std::isdigit(static_cast<unsigned char>(c))) digits += c;
    std::string text = utf8 ? (validUtf8(bytes) ? bytes : fromCodePage(bytes, "1252"))
                            : fromCodePage(bytes, digits.empty() ? "1252" : digits);
    // "\U+00D8" stands for a character the code page lacks; "%%c", "%%d" and "%%p" for the
    // diameter, degree and plus-minus signs.
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && text[i + 1] == '%') {
            const char k = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i + 2])));
            if (k == 'c' || k == 'd' || k == 'p') {
                out += k == 'c' ? "\xC3\x98" : k == 'd' ? "\xC2\xB0" : "\xC2\xB1";
                i += 2;
                continue;
            }
        }
        if (text.compare(i, 3, "\\U+") == 0 && i + 7 <= text.size() &&
            std::all_of(text.begin() + static_cast<std::ptrdiff_t>(i + 3),
                        text.begin() + static_cast<std::ptrdiff_t>(i + 7),
                        [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); })) {
            out += utf8Of(std::strtoul(text.substr(i + 3, 4).c_str(), nullptr, 16));
            i += 6;
            continue;
        }
        out += text[i];
    }
    return out;
}

std::string plainMText(const std::string& text) {
    std::string out(text.size() + 1, '\0');
    out.resize(dxfMTextPlain(text.c_str(), out.data(), out.size()));
    return out;
}

namespace {

// An entity as a block (or model space) holds it, in its own coordinates.
struct Item {
    enum Kind { Outline, PointMark, Text, Insert } kind = Outline;
    std::string layer, handle;
    Shape shape;  // Outline (its layer and handle unused)
    Point at;     // PointMark, Text, Insert
    double height = 0, angle = 0;
    std::string text;  // Text; the block's name for Insert
    double xs = 1, ys = 1;
    int columns = 1, rows = 1;
    double columnSpacing = 0, rowSpacing = 0;
    bool hatch = false;
};

struct Block {
    Point base;
    std::vector<Item> items;
};

// An entity whose extrusion points down is drawn mirrored in x (its object coordinates).
Affine objectFrame(const tag_DXFENTITYHEADER& h) {
    Affine t;
    if (h.ExtrusionDirection[2] < 0.0) t.a = -1.0;
    return t;
}

void placeShape(Shape& s, const Affine& t) {
    for (Piece& p : s.pieces) p = placed(p, t);
}

std::vector<Piece> polylinePieces(const tag_ENTPOLYLINE& pl, bool& closed) {
    DWORD n = pl.nVertex;
    closed = (pl.Flag & 1) != 0;
    std::vector<Piece> pieces;
    if (!pl.pVertex || n == 0) return pieces;
    auto pointOf = [&](DWORD i) { return Point{pl.pVertex[i].Point.x, pl.pVertex[i].Point.y}; };
    // A closed polyline that also repeats its first point at the end.
    if (closed && n > 1 && pointOf(0).x == pointOf(n - 1).x && pointOf(0).y == pointOf(n - 1).y)
        --n;
    const DWORD sides = closed ? n : n - 1;
    for (DWORD i = 0; i < sides; ++i) {
        const Point a = pointOf(i), b = pointOf((i + 1) % n);
        if (!finite({a.x, a.y, b.x, b.y})) continue;
        if (a.x == b.x && a.y == b.y) continue;
        pieces.push_back(
            bulgedSide(a, b, std::isfinite(pl.pVertex[i].Bulge) ? pl.pVertex[i].Bulge : 0.0));
    }
    return pieces;
}

bool toItem(HDXF h, int type, const tag_DXFENTITYHEADER& eh, const DXFENTITYDATA& e,
            const tag_DXFHEADERVARS& vars, bool dimensions, Item& item) {
    tag_DXFENTITYEXTRA extra{};
    dxfGetEntityExtra(h, &extra);
    // An entity that names no layer is on layer 0.
    item.layer = eh.LayerName[0] ? drawingText(eh.LayerName, vars) : "0";
    item.handle = extra.Handle;
    Shape& s = item.shape;
    const Affine frame = objectFrame(eh);
    switch (type) {
        case ENT_LINE: {
            const tag_ENTLINE& l = e.Line;
            if (!finite({l.Point0.x, l.Point0.y, l.Point1.x, l.Point1.y})) return false;
            s.pieces.push_back(line({l.Point0.x, l.Point0.y}, {l.Point1.x, l.Point1.y}));
            return true;
        }
        case ENT_CIRCLE: {
            const tag_ENTCIRCLE& c = e.Circle;
            if (!finite({c.Point0.x, c.Point0.y, c.Radius}) || !(c.Radius > 0.0)) return false;
            s.pieces.push_back(circular({c.Point0.x, c.Point0.y}, c.Radius, 0.0, 2 * kPi));
            s.closed = true;
            placeShape(s, frame);
            return true;
        }
        case ENT_ARC: {
            const tag_ENTARC& a = e.Arc;
            if (!finite({a.Point0.x, a.Point0.y, a.Radius, a.StartAngle, a.EndAngle}) ||
                !(a.Radius > 0.0))
                return false;
            double sweep = std::fmod(a.EndAngle - a.StartAngle, 360.0);
            if (sweep <= 0.0) sweep += 360.0;
            s.pieces.push_back(circular({a.Point0.x, a.Point0.y}, a.Radius,
                                        a.StartAngle * kPi / 180, sweep * kPi / 180));
            placeShape(s, frame);
            return true;
        }
        case ENT_ELLIPSE: {
            const tag_ENTELLIPSE& el = e.Ellipse;
            const double mx = el.MajorAxisEndPoint.x, my = el.MajorAxisEndPoint.y;
            const double ratio = el.MinorToMajorRatio;
            if (!finite({el.CenterPoint.x, el.CenterPoint.y, mx, my, ratio, el.StartParam,
                         el.EndParam}) ||
                !(std::hypot(mx, my) > 0.0) || !(ratio > 0.0))
                return false;
            double sweep = std::fmod(el.EndParam - el.StartParam, 2 * kPi);
            if (sweep <= 1e-12) sweep += 2 * kPi;
            Piece p;
            p.curve = true;
            p.c = {el.CenterPoint.x, el.CenterPoint.y};
            p.u = {mx, my}, p.v = {-ratio * my, ratio * mx};
            p.t0 = el.StartParam, p.sweep = sweep;
            s.closed = sweep >= 2 * kPi - 1e-9;
            if (s.closed) p.t0 = 0.0, p.sweep = 2 * kPi;
            s.pieces.push_back(p);
            if (eh.ExtrusionDirection[2] < 0.0) placeShape(s, frame);
            return true;
        }
        case ENT_POLYLINE: {
            // Polygon meshes and polyface meshes are no outlines.
            if (e.PolyLine.Flag & (16 | 64)) return false;
            s.pieces = polylinePieces(e.PolyLine, s.closed);
            placeShape(s, frame);
            return !s.pieces.empty();
        }
        case ENT_SOLID:
        case ENT_FACE3D: {
            // A solid's third and fourth corners go the other way round from a face's.
            const tag_ENTSOLID& q = e.Solid;
            const bool solid = type == ENT_SOLID;
            const tag_REALPOINT* p[4] = {&q.Point0, &q.Point1, solid ? &q.Point3 : &q.Point2,
                                         solid ? &q.Point2 : &q.Point3};
            for (int k = 0; k < 4; ++k) {
                const Point a{p[k]->x, p[k]->y}, b{p[(k + 1) % 4]->x, p[(k + 1) % 4]->y};
                if (finite({a.x, a.y, b.x, b.y}) && (a.x != b.x || a.y != b.y))
                    s.pieces.push_back(line(a, b));
            }
            s.closed = s.drawnOnly = true;
            if (solid) placeShape(s, frame);
            return !s.pieces.empty();
        }
        case ENT_HATCH: {
            const tag_DXFENTHATCH& hatch = e.Hatch;
            item.hatch = true;
            s.drawnOnly = true;
            // Each path as a closed polyline of its own; the item holds the first, the rest
            // follow as further items (see readItems).
            return hatch.nPaths > 0;
        }
        case ENT_POINT:
            item.kind = Item::PointMark;
            item.at = {e.Point.Point0.x, e.Point.Point0.y};
            return finite({item.at.x, item.at.y});
        case ENT_TEXT: {
            const tag_ENTTEXT& t = e.Text.Text;
            item.kind = Item::Text;
            const tag_REALPOINT& at = t.Justification ? t.SecondAlignmentPoint : t.Point0;
            item.at = frame.apply({at.x, at.y});
            item.height = t.Height, item.angle = t.RotationAngle;
            item.text = drawingText(t.strText, vars);
            return finite({item.at.x, item.at.y, item.height, item.angle});
        }
        case ENT_MTEXT: {
            const tag_DXFENTMTEXT& m = e.MText;
            item.kind = Item::Text;
            item.at = {m.Point0.x, m.Point0.y};
            item.height = m.Height, item.angle = m.RotationAngle;
            item.text = plainMText(drawingText(m.strText, vars));
            return finite({item.at.x, item.at.y, item.height, item.angle});
        }
        case ENT_INSERT:
        case ENT_DIMENSION: {
            item.kind = Item::Insert;
            if (type == ENT_DIMENSION) {
                // A dimension is drawn by its block, placed where it stands.
                if (!dimensions || !e.Dimension.BlockName[0]) return false;
                item.text = e.Dimension.BlockName;
                return true;
            }
            const tag_ENTINSERT& in = e.Insert.Insert;
            item.text = e.Insert.BlockName;
            item.at = {in.Point0.x, in.Point0.y};
            // Scales the file leaves out are 1.
            item.xs = in.XScale != 0.0 ? in.XScale : 1.0;
            item.ys = in.YScale != 0.0 ? in.YScale : 1.0;
            item.angle = in.RotationAngle;
            item.columns = std::clamp(extra.Columns, 1, 10000);
            item.rows = std::clamp(extra.Rows, 1, 10000);
            item.columnSpacing = extra.ColumnSpacing, item.rowSpacing = extra.RowSpacing;
            if (eh.ExtrusionDirection[2] < 0.0)
                item.at.x = -item.at.x, item.xs = -item.xs, item.angle = -item.angle;
            return finite({item.at.x, item.at.y, item.xs, item.ys, item.angle, item.columnSpacing,
                           item.rowSpacing});
        }
        default:
            return false;
    }
}

// The entities up to the end of the block or section.
void readItems(HDXF h, const tag_DXFHEADERVARS& vars, bool dimensions, std::vector<Item>& items) {
    tag_DXFENTITYHEADER eh;
    auto data = std::make_unique<DXFENTITYDATA>();
    while (int type = dxfReadEntityData(h, &eh, data.get())) {
        Item item;
        if (toItem(h, type, eh, *data, vars, dimensions, item)) {
            if (type == ENT_HATCH) {
                const tag_DXFENTHATCH& hatch = data->Hatch;
                for (DWORD i = 0; i < hatch.nVertex;) {
                    DWORD end = i + 1;
                    while (end < hatch.nVertex && !(hatch.pVertex[end].Flag & 1)) ++end;
                    tag_ENTPOLYLINE path{hatch.pVertex + i, end - i, 1};
                    Item part = item;
                    part.shape.pieces = polylinePieces(path, part.shape.closed);
                    if (!part.shape.pieces.empty()) items.push_back(std::move(part));
                    i = end;
                }
            } else {
                items.push_back(std::move(item));
            }
        }
        dxfFreeEntityData(&eh, data.get());
    }
}

constexpr int kDeepest = 16;
constexpr long kMostPlaced = 2000000;

struct Placer {
    const std::map<std::string, Block>& blocks;
    Drawing& out;
    long budget = kMostPlaced;
    std::vector<std::string> open;

    void place(const std::vector<Item>& items, const Affine& t, const std::string& outerLayer,
               const std::string& outerHandle, int depth) {
        for (const Item& item : items) {
            if (budget <= 0) return;
            // Entities on layer 0 in a block take the layer of their insert.
            const std::string layer =
                item.layer == "0" && !outerLayer.empty() ? outerLayer : item.layer;
            const std::string& handle = outerHandle.empty() ? item.handle : outerHandle;
            switch (item.kind) {
                case Item::Outline: {
                    --budget;
                    Shape s = item.shape;
                    s.layer = layer, s.handle = handle;
                    placeShape(s, t);
                    out.shapes.push_back(std::move(s));
                    if (item.hatch) ++out.hatches;
                    break;
                }
                case Item::PointMark:
                    --budget;
                    out.marks.push_back({layer, t.apply(item.at)});
                    break;
                case Item::Text: {
                    --budget;
                    const Point dir = t.vector(
                        {std::cos(item.angle * kPi / 180), std::sin(item.angle * kPi / 180)});
                    const double scale = std::sqrt(std::fabs(t.a * t.d - t.b * t.c));
                    out.labels.push_back({layer, t.apply(item.at), item.height * scale,
                                          std::atan2(dir.y, dir.x) * 180 / kPi, item.text});
                    break;
                }
                case Item::Insert:
                    insert(item, t, layer, handle, depth);
                    break;
            }
        }
    }

    void insert(const Item& item, const Affine& t, const std::string& layer,
                const std::string& handle, int depth) {
        const auto found = blocks.find(upper(item.text));
        if (found == blocks.end() || depth >= kDeepest ||
            std::find(open.begin(), open.end(), found->first) != open.end())
            return;
        const Block& block = found->second;
        const double r = item.angle * kPi / 180;
        const double cr = std::cos(r), sr = std::sin(r);
        open.push_back(found->first);
        for (int row = 0; row < item.rows && budget > 0; ++row)
            for (int column = 0; column < item.columns && budget > 0; ++column) {
                --budget;  // a place of an empty block costs too
                // The array's spacing runs along the insert's rotated axes, unscaled.
                const double ox = column * item.columnSpacing, oy = row * item.rowSpacing;
                Affine local;
                local.a = cr * item.xs, local.b = -sr * item.ys;
                local.c = sr * item.xs, local.d = cr * item.ys;
                local.e = item.at.x + cr * ox - sr * oy -
                          (local.a * block.base.x + local.b * block.base.y);
                local.f = item.at.y + sr * ox + cr * oy -
                          (local.c * block.base.x + local.d * block.base.y);
                place(block.items, t.after(local), layer, handle, depth + 1);
            }
        open.pop_back();
    }
};

}  // namespace

Drawing readDrawing(const std::string& path, bool dimensions) {
    refuseFolder(path);
    refuseLargeFile(path);
    HDXF h = dxfOpenFile(path.c_str());
    if (!h) throw InputError(0, "cannot read the file");
    dxfReadMoreKinds(h, 1);
    Drawing d;
    std::map<std::string, Block> blocks;
    std::vector<Item> model;
    bool anySection = false;
    auto record = std::make_unique<DXFTABLERECORD>();
    while (unsigned long section = dxfFindNextSection(h)) {
        anySection = true;
        if (section == SEC_HEADER) {
            dxfReadHeaderVars(h, &d.header);
        } else if (section == SEC_TABLES) {
            while (unsigned long type = dxfReadTableType(h, record.get()))
                if (type == TAB_LAYER)
                    d.layers.push_back(drawingText(record->Layer.Name, d.header));
        } else if (section == SEC_BLOCKS) {
            tag_DXFBLOCKHEADER header;
            while (dxfFindBlockHeader(h, &header)) {
                Block block;
                block.base = {header.BasePoint.x, header.BasePoint.y};
                if (!finite({block.base.x, block.base.y})) block.base = {};
                readItems(h, d.header, dimensions, block.items);
                // The first block of a name counts, as for the drawing database.
                blocks.emplace(upper(header.Name), std::move(block));
            }
        } else if (section == SEC_ENTITIES) {
            readItems(h, d.header, dimensions, model);
        }
    }
    dxfCloseFile(h);
    if (!anySection) throw InputError(0, "the file holds no DXF sections");
    d.unit = drawingUnit(d.header);
    Placer placer{blocks, d, kMostPlaced, {}};
    placer.place(model, Affine{}, "", "", 0);
    return d;
}

namespace {

const char* const kChooseLayers = "choose the boundary's layers with --layer";

// A piece of a chain: which shape it came from, for the messages.
struct Link {
    int to;
    int piece;
    bool forward;
};

std::string entityText(const std::string& handle) {
    return handle.empty() ? "" : " (entity " + handle + ")";
}

// Joins the open pieces into closed loops; on failure `problem` says where and no loop is
// given.
std::vector<std::vector<Piece>> chain(const std::vector<Piece>& pieces,
                                      const std::vector<std::string>& handles, double tolerance,
                                      std::string& problem) {
    std::map<std::pair<long long, long long>, int> ids;
    std::vector<Point> nodes;
    auto idOf = [&](const Point& p) {
        const std::pair<long long, long long> key{std::llround(p.x / tolerance),
                                                  std::llround(p.y / tolerance)};
        auto [it, added] = ids.emplace(key, static_cast<int>(nodes.size()));
        if (added) nodes.push_back(p);
        return it->second;
    };
    std::vector<std::vector<Link>> links;
    for (size_t i = 0; i < pieces.size(); ++i) {
        const int a = idOf(pieces[i].start()), b = idOf(pieces[i].end());
        links.resize(nodes.size());
        if (a == b) continue;  // a piece of no length (a closed curve is a loop of its own)
        links[static_cast<size_t>(a)].push_back({b, static_cast<int>(i), true});
        links[static_cast<size_t>(b)].push_back({a, static_cast<int>(i), false});
    }
    links.resize(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) {
        const std::vector<Link>& at = links[i];
        if (at.size() == 1) {
            problem = "is open at " + pointText(nodes[i]) +
                      entityText(handles[static_cast<size_t>(at[0].piece)]);
            return {};
        }
        if (at.size() > 2) {
            problem = "has " + std::to_string(at.size()) + " lines meeting at " +
                      pointText(nodes[i]) + entityText(handles[static_cast<size_t>(at[0].piece)]) +
                      " (a closed chain has two at a point)";
            return {};
        }
    }
    std::vector<bool> used(pieces.size(), false);
    std::vector<std::vector<Piece>> loops;
    for (size_t start = 0; start < nodes.size(); ++start) {
        if (links[start].empty() || used[static_cast<size_t>(links[start][0].piece)]) continue;
        std::vector<Piece> loop;
        int at = static_cast<int>(start);
        for (;;) {
            const std::vector<Link>& next = links[static_cast<size_t>(at)];
            // Along the first side not yet taken: a loop starts where it was drawn and runs
            // the way its first side does, which the paver's rows follow.
            const Link* step = nullptr;
            for (const Link& l : next)
                if (!step && !used[static_cast<size_t>(l.piece)]) step = &l;
            if (!step) break;
            used[static_cast<size_t>(step->piece)] = true;
            const Piece& p = pieces[static_cast<size_t>(step->piece)];
            loop.push_back(step->forward ? p : p.reversed());
            at = step->to;
        }
        loops.push_back(std::move(loop));
    }
    return loops;
}

std::vector<Point> loopPoints(const std::vector<Piece>& loop, double size) {
    std::vector<Point> out;
    for (const Piece& p : loop) appendPiece(out, p, size);
    return out;
}

std::string listed(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& n : names) out += (out.empty() ? "" : ", ") + n;
    return out;
}

}  // namespace

DxfRegion readDxfOutlines(const std::string& path, const std::vector<std::string>& layers) {
    const Drawing d = readDrawing(path, false);
    DxfRegion out;
    out.unit = d.unit;
    if (d.unit.source.empty())
        out.notes.push_back("the drawing gives no units; its lengths are taken as " + d.unit.label +
                            ", the unit style's small length");
    auto chosen = [&](const std::string& layer) {
        if (layers.empty()) return true;
        for (const std::string& l : layers)
            if (sameLayerName(l, layer)) return true;
        return false;
    };
    for (const std::string& l : layers) {
        bool any = false;
        for (const Shape& s : d.shapes) any = any || (!s.drawnOnly && sameLayerName(s.layer, l));
        for (const Mark& m : d.marks) any = any || sameLayerName(m.layer, l);
        if (!any) {
            std::vector<std::string> names = d.layers;
            for (const Shape& s : d.shapes)
                if (std::none_of(names.begin(), names.end(),
                                 [&](const std::string& n) { return sameLayerName(n, s.layer); }))
                    names.push_back(s.layer);
            throw InputError(0, "no outline of the drawing lies on layer '" + l +
                                    "' (its layers: " + listed(names) + ")");
        }
    }

    std::vector<std::vector<Piece>> loops;
    std::vector<std::string> loopLayers;
    // Open pieces, by layer (all in one with --layer), in the order the layers come.
    std::vector<std::string> openLayers;
    std::map<std::string, std::pair<std::vector<Piece>, std::vector<std::string>>> open;
    double extent = 0.0;
    for (const Shape& s : d.shapes) {
        if (!chosen(s.layer) || s.pieces.empty() || s.drawnOnly) continue;
        for (const Piece& p : s.pieces)
            for (const Point& q : {p.start(), p.end(), p.c})
                if (std::isfinite(q.x) && std::isfinite(q.y))
                    extent = std::max({extent, std::fabs(q.x), std::fabs(q.y)});
        if (s.closed) {
            loops.push_back(s.pieces);
            loopLayers.push_back(s.layer);
            continue;
        }
        const std::string key = layers.empty() ? upper(s.layer) : std::string();
        auto [it, added] = open.try_emplace(key);
        if (added) openLayers.push_back(key.empty() ? s.layer : s.layer);
        for (const Piece& p : s.pieces) {
            it->second.first.push_back(p);
            it->second.second.push_back(s.handle);
        }
    }
    const double tolerance = std::max(extent, 1.0) * 1e-9;
    for (const std::string& name : openLayers) {
        const auto& [pieces, handles] = open.at(layers.empty() ? upper(name) : std::string());
        std::string problem;
        std::vector<std::vector<Piece>> chains = chain(pieces, handles, tolerance, problem);
        if (!problem.empty()) {
            if (!layers.empty())
                throw InputError(0, "the chain of lines on layer " + name + ' ' + problem + "; " +
                                        kChooseLayers);
            out.notes.push_back("layer " + name + " passed over: its chain of lines " + problem);
            continue;
        }
        for (auto& c : chains) {
            loops.push_back(std::move(c));
            loopLayers.push_back(name);
        }
    }
    for (const Mark& m : d.marks)
        if (chosen(m.layer)) out.points.push_back(m.at);
    const std::string advice = layers.empty() ? std::string("; ") + kChooseLayers : "";
    if (loops.empty()) {
        std::string passed;
        for (size_t i = d.unit.source.empty() ? 1 : 0; i < out.notes.size(); ++i)
            passed += "; " + out.notes[i];
        throw InputError(
            0, "the drawing has no closed polyline or closed chain of lines" + passed + advice);
    }

    // The outer loop is the one no other loop holds; holes lie in it, and nothing deeper.
    std::vector<std::vector<Point>> coarse;
    for (const auto& loop : loops) coarse.push_back(loopPoints(loop, 0.0));
    const LoopLayout layout = layOutLoops(coarse);
    if (layout.meet)
        throw InputError(0, layout.first.loop == layout.second.loop
                                ? "the loop crosses itself"
                                : "the loop crosses an earlier loop");
    const std::vector<int>& depth = layout.depth;
    const auto outers = std::count(depth.begin(), depth.end(), 0);
    if (outers != 1)
        throw InputError(0, std::string("the drawing holds ") + std::to_string(outers) +
                                " loops that lie in no other (give one region" +
                                (layers.empty() ? std::string(", or ") + kChooseLayers : "") + ")");
    for (size_t i = 0; i < loops.size(); ++i)
        if (depth[i] > 1)
            throw InputError(0, std::string("the loop at ") + pointText(coarse[i][0]) +
                                    " lies inside a hole (islands are not meshed)" + advice);
    int hole = 0;
    for (int level = 0; level <= 1; ++level)
        for (size_t i = 0; i < loops.size(); ++i)
            if (depth[i] == level) {
                out.loops.push_back(loops[i]);
                out.names.push_back(loopLayers[i] +
                                    (level == 0 ? " outer" : " hole " + std::to_string(++hole)));
            }
    return out;
}

Region readDxfRegion(const std::string& path) {
    const DxfRegion outlines = readDxfOutlines(path, {});
    return outlines.region(defaultSize(outlines.region(0.0)));
}

Region DxfRegion::region(double size) const {
    long long sides = static_cast<long long>(points.size());
    for (const auto& loop : loops)
        for (const Piece& p : loop) sides += sidesOf(p, size);
    if (sides > kMostRegionSides)
        throw InputError(0,
                         "the element size is too small for the drawing: its outlines would "
                         "need more than " +
                             std::to_string(kMostRegionSides) + " sides");
    // Through the boundary file's reader, so both inputs are checked alike.
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(17);
    for (const auto& loop : loops) {
        const std::vector<Point> points = loopPoints(loop, size);
        for (const Point& p : points) text << p.x << ' ' << p.y << '\n';
        if (!points.empty()) text << points[0].x << ' ' << points[0].y << '\n';
        text << '\n';
    }
    if (!points.empty()) {
        text << "interior\n";
        for (const Point& p : points) text << p.x << ' ' << p.y << '\n';
    }
    try {
        return parseBoundaryText(text.str());
    } catch (const InputError& e) {
        throw InputError(0, e.what());  // its lines are not the drawing's
    }
}

std::string dxfMeshText(const Region& region, const Mesh& mesh, bool faces, int insUnits) {
    const CString temp = ZEVMakeTempFile("ZevMesh", ".dxf");
    if (temp.IsEmpty()) throw std::runtime_error("cannot make a temporary file");
    bool ok = true;
    {
        CDxfFileWrite w;
        ok = w.Create(temp.GetString());
        ok = ok && w.BeginSection(SEC_HEADER);
        if (insUnits > 0) ok = ok && w.HeaderInteger("$INSUNITS", 70, insUnits);
        ok = ok && w.EndSection();
        ok = ok && w.BeginSection(SEC_TABLES) && w.BeginTableType(TAB_LTYPE);
        tag_DXFLTYPE continuous{};
        std::snprintf(continuous.Name, sizeof continuous.Name, "CONTINUOUS");
        std::snprintf(continuous.DescriptiveText, sizeof continuous.DescriptiveText, "Solid line");
        ok = ok && w.AddLinetype(&continuous) && w.EndTableType();
        ok = ok && w.BeginTableType(TAB_LAYER) && w.AddLayer("0", 7, "CONTINUOUS") &&
             w.AddLayer("BOUNDARY", 1, "CONTINUOUS") && w.AddLayer("MESH", 5, "CONTINUOUS") &&
             w.EndTableType() && w.EndSection();
        ok = ok && w.BeginSection(SEC_BLOCKS) && w.EndSection();
        ok = ok && w.BeginSection(SEC_ENTITIES) && w.SetCurrentLayer("BOUNDARY");
        for (const auto& loop : region.loops) {
            std::vector<tag_DXFENTVERTEX> v(loop.size());
            for (size_t i = 0; i < loop.size(); ++i) v[i].Point = {loop[i].x, loop[i].y, 0.0};
            ok = ok && w.PolyLine(static_cast<int>(v.size()), v.data(), 1);
        }
        ok = ok && w.SetCurrentLayer("MESH");
        for (const Element& e : mesh.elements) {
            tag_REALPOINT corner[4]{};
            bool valid = e.count >= 3 && e.count <= 4;
            for (int k = 0; valid && k < e.count; ++k) {
                const int at = e.v[static_cast<size_t>(k)];
                valid = at >= 0 && static_cast<size_t>(at) < mesh.nodes.size();
                if (valid) corner[k] = {mesh.nodes[at].x, mesh.nodes[at].y, 0.0};
            }
            if (!valid) continue;
            if (e.count == 3) corner[3] = corner[2];
            if (faces) {
                ok = ok && w.Face3D(corner);
            } else {
                tag_DXFENTVERTEX v[4]{};
                for (int k = 0; k < e.count; ++k) v[k].Point = corner[k];
                ok = ok && w.PolyLine(e.count, v, 1);
            }
        }
        ok = ok && w.EndSection() && w.Close();
    }
    std::ifstream in(temp.GetString(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(temp);
    if (!ok) throw std::runtime_error("the DXF file could not be written");
    return bytes;
}

}  // namespace zevtool::meshio
