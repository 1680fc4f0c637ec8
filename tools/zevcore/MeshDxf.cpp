#include "tools/zevcore/MeshDxf.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

#include "zevcore/files/dxf/DxfFileWrite.h"
#include "zevcore/platform/Desktop.h"

namespace zevtool::meshio {

namespace {

using Segment = std::pair<Point, Point>;

std::string pointText(const Point& p) {
    char text[80];
    std::snprintf(text, sizeof text, "(%g, %g)", p.x, p.y);
    return text;
}

constexpr double kPi = 3.14159265358979323846;
// Arcs become chords of at most this angle.
constexpr double kArcStep = kPi / 18;

bool finite(std::initializer_list<double> values) {
    for (double v : values)
        if (!std::isfinite(v)) return false;
    return true;
}

// The points of an arc turning `sweep` radians (counter-clockwise when positive) about
// `centre` from `from`, `from` left out and the end included.
void appendArc(std::vector<Point>& out, const Point& centre, const Point& from, double sweep) {
    const int n = std::max(1, static_cast<int>(std::ceil(std::fabs(sweep) / kArcStep)));
    const double dx = from.x - centre.x, dy = from.y - centre.y;
    for (int k = 1; k <= n; ++k) {
        const double a = sweep * k / n;
        out.push_back({centre.x + dx * std::cos(a) - dy * std::sin(a),
                       centre.y + dx * std::sin(a) + dy * std::cos(a)});
    }
}

// A polyline's points with its bulges drawn out as arcs; a closed one's closing segment too
// (its first point not repeated at the end).
std::vector<Point> polylinePoints(const tag_ENTPOLYLINE& p, bool closed) {
    std::vector<Point> out;
    for (DWORD i = 0; i < p.nVertex; ++i) {
        const tag_ENTVERTEX& v = p.pVertex[i];
        if (i == 0) out.push_back({v.Point.x, v.Point.y});
        if (i + 1 == p.nVertex && !closed) break;
        const tag_ENTVERTEX& w = p.pVertex[(i + 1) % p.nVertex];
        const Point a{v.Point.x, v.Point.y}, b{w.Point.x, w.Point.y};
        const double theta = 4.0 * std::atan(v.Bulge);
        const double chord = std::hypot(b.x - a.x, b.y - a.y);
        if (std::fabs(v.Bulge) < 1e-12 || !(chord > 0.0) || !std::isfinite(theta)) {
            out.push_back(b);
        } else {
            // The centre lies off the chord's middle, to the left for a counter-clockwise arc
            // of less than half a turn.
            const double offset = chord / (2.0 * std::tan(theta / 2.0));
            const Point centre{(a.x + b.x) / 2 - (b.y - a.y) / chord * offset,
                               (a.y + b.y) / 2 + (b.x - a.x) / chord * offset};
            appendArc(out, centre, a, theta);
        }
    }
    if (closed && out.size() > 1) out.pop_back();  // back at the first point
    return out;
}

// Joins segments that share end points (within `tolerance`) into closed loops.
std::vector<std::vector<Point>> chain(const std::vector<Segment>& segments, double tolerance) {
    std::map<std::pair<long long, long long>, int> ids;
    std::vector<Point> nodes;
    auto idOf = [&](const Point& p) {
        const std::pair<long long, long long> key{std::llround(p.x / tolerance),
                                                  std::llround(p.y / tolerance)};
        auto [it, added] = ids.emplace(key, static_cast<int>(nodes.size()));
        if (added) nodes.push_back(p);
        return it->second;
    };
    std::vector<std::vector<int>> links;
    for (const Segment& s : segments) {
        const int a = idOf(s.first), b = idOf(s.second);
        if (a == b) continue;  // a line of no length
        links.resize(nodes.size());
        links[a].push_back(b);
        links[b].push_back(a);
    }
    links.resize(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i)
        if (links[i].size() == 1)
            throw InputError(0,
                             std::string("the chain of lines is open at ") + pointText(nodes[i]));
        else if (links[i].size() > 2)
            throw InputError(0, std::to_string(links[i].size()) + " lines meet at " +
                                    pointText(nodes[i]) + " (a closed chain has two at a point)");
    std::vector<bool> used(nodes.size(), false);
    std::vector<std::vector<Point>> loops;
    for (size_t start = 0; start < nodes.size(); ++start) {
        if (used[start] || links[start].empty()) continue;
        std::vector<Point> loop;
        int previous = -1, at = static_cast<int>(start);
        while (!used[static_cast<size_t>(at)]) {
            used[static_cast<size_t>(at)] = true;
            loop.push_back(nodes[static_cast<size_t>(at)]);
            const std::vector<int>& next = links[static_cast<size_t>(at)];
            const int step = next[0] != previous ? next[0] : next[1];
            previous = at;
            at = step;
        }
        loops.push_back(loop);
    }
    return loops;
}

}  // namespace

Region readDxfRegion(const std::string& path) {
    refuseFolder(path);
    refuseLargeFile(path);
    HDXF h = dxfOpenFile(path.c_str());
    if (!h) throw InputError(0, "cannot read the file");
    std::vector<std::vector<Point>> loops;
    std::vector<Segment> segments;
    std::vector<Point> points;
    bool anySection = false;
    tag_DXFENTITYHEADER header;
    auto data = std::make_unique<DXFENTITYDATA>();
    while (unsigned long section = dxfFindNextSection(h)) {
        anySection = true;
        if (section != SEC_ENTITIES) continue;
        while (int type = dxfReadEntityData(h, &header, data.get())) {
            if (type == ENT_LINE) {
                const tag_ENTLINE& l = data->Line;
                segments.push_back({{l.Point0.x, l.Point0.y}, {l.Point1.x, l.Point1.y}});
            } else if (type == ENT_CIRCLE) {
                const tag_ENTCIRCLE& c = data->Circle;
                if (finite({c.Point0.x, c.Point0.y, c.Radius}) && c.Radius > 0.0) {
                    std::vector<Point> loop{{c.Point0.x + c.Radius, c.Point0.y}};
                    appendArc(loop, {c.Point0.x, c.Point0.y}, loop[0], 2 * kPi);
                    loop.pop_back();
                    loops.push_back(loop);
                }
            } else if (type == ENT_ARC) {
                const tag_ENTARC& a = data->Arc;
                if (finite({a.Point0.x, a.Point0.y, a.Radius, a.StartAngle, a.EndAngle}) &&
                    a.Radius > 0.0) {
                    double sweep = std::fmod(a.EndAngle - a.StartAngle, 360.0);
                    if (sweep <= 0.0) sweep += 360.0;
                    const double start = a.StartAngle * kPi / 180;
                    std::vector<Point> arc{{a.Point0.x + a.Radius * std::cos(start),
                                            a.Point0.y + a.Radius * std::sin(start)}};
                    appendArc(arc, {a.Point0.x, a.Point0.y}, arc[0], sweep * kPi / 180);
                    for (size_t i = 1; i < arc.size(); ++i)
                        segments.push_back({arc[i - 1], arc[i]});
                }
            } else if (type == ENT_POINT) {
                points.push_back({data->Point.Point0.x, data->Point.Point0.y});
            } else if (type == ENT_POLYLINE) {
                tag_ENTPOLYLINE p = data->PolyLine;
                // A closed polyline that also repeats its first point at the end.
                if (p.nVertex > 1 && p.pVertex[0].Point.x == p.pVertex[p.nVertex - 1].Point.x &&
                    p.pVertex[0].Point.y == p.pVertex[p.nVertex - 1].Point.y && (p.Flag & 1))
                    --p.nVertex;
                const std::vector<Point> vertices = polylinePoints(p, (p.Flag & 1) != 0);
                if (p.Flag & 1) {
                    loops.push_back(vertices);
                } else {
                    // An open polyline's segments chain with the lines.
                    for (size_t i = 1; i < vertices.size(); ++i)
                        segments.push_back({vertices[i - 1], vertices[i]});
                }
            }
            dxfFreeEntityData(&header, data.get());
        }
    }
    dxfCloseFile(h);
    if (!anySection) throw InputError(0, "the file holds no DXF sections");

    double extent = 0.0;
    for (const Segment& s : segments)
        for (const Point& p : {s.first, s.second})
            extent = std::max({extent, std::fabs(p.x), std::fabs(p.y)});
    for (std::vector<Point>& loop : chain(segments, std::max(extent, 1.0) * 1e-9))
        loops.push_back(std::move(loop));
    if (loops.empty())
        throw InputError(0, "the drawing has no closed polyline or closed chain of lines");

    // The outer loop is the one no other loop holds; holes lie in it, and nothing deeper.
    const LoopLayout layout = layOutLoops(loops);
    if (layout.meet)
        throw InputError(0, layout.first.loop == layout.second.loop
                                ? "the loop crosses itself"
                                : "the loop crosses an earlier loop");
    const std::vector<int>& depth = layout.depth;
    const auto outers = std::count(depth.begin(), depth.end(), 0);
    if (outers != 1)
        throw InputError(0, std::string("the drawing holds ") + std::to_string(outers) +
                                " loops that lie in no other (give one region)");
    for (size_t i = 0; i < loops.size(); ++i)
        if (depth[i] > 1)
            throw InputError(0, std::string("the loop at ") + pointText(loops[i][0]) +
                                    " lies inside a hole (islands are not meshed)");

    // Through the boundary file's reader, so both inputs are checked alike.
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(17);
    auto block = [&](const std::vector<Point>& loop) {
        for (const Point& p : loop) text << p.x << ' ' << p.y << '\n';
        if (!loop.empty()) text << loop[0].x << ' ' << loop[0].y << '\n';
        text << '\n';
    };
    for (size_t i = 0; i < loops.size(); ++i)
        if (depth[i] == 0) block(loops[i]);
    for (size_t i = 0; i < loops.size(); ++i)
        if (depth[i] == 1) block(loops[i]);
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

std::string dxfMeshText(const Region& region, const Mesh& mesh, bool faces) {
    const CString temp = ZEVMakeTempFile("ZevMesh", ".dxf");
    if (temp.IsEmpty()) throw std::runtime_error("cannot make a temporary file");
    bool ok = true;
    {
        CDxfFileWrite w;
        ok = w.Create(temp.GetString());
        ok = ok && w.BeginSection(SEC_HEADER) && w.EndSection();
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
