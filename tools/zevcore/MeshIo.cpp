#include "tools/zevcore/MeshIo.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <locale>
#include <map>
#include <set>
#include <sstream>

#include "zevcore/platform/Locale.h"

namespace zevtool::meshio {

std::string svgText(const Region& region, const Mesh& mesh) {
    double minX = std::numeric_limits<double>::infinity(), minY = minX;
    double maxX = -minX, maxY = -minX;
    auto grow = [&](const Point& p) {
        minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    };
    for (const auto& loop : region.loops)
        for (const Point& p : loop) grow(p);
    for (const Point& p : mesh.nodes)
        if (std::isfinite(p.x) && std::isfinite(p.y)) grow(p);
    if (!(minX <= maxX)) minX = minY = 0.0, maxX = maxY = 1.0;
    double extent = std::max({maxX - minX, maxY - minY, 1e-12});
    const double width = 800.0, margin = 20.0;
    double scale = (width - 2 * margin) / extent;
    double height = (maxY - minY) * scale + 2 * margin;
    auto X = [&](const Point& p) { return margin + (p.x - minX) * scale; };
    auto Y = [&](const Point& p) { return height - margin - (p.y - minY) * scale; };

    std::ostringstream svg;
    svg.imbue(std::locale::classic());
    svg.precision(10);
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" viewBox=\"0 0 " << width << ' ' << height << "\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<g stroke=\"#2060a0\" stroke-width=\"0.8\" stroke-linejoin=\"round\">\n";
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        bool concave = measureElement(mesh, e).concave;
        svg << "<polygon fill=\"" << (concave ? "#f08080" : "#dce9f5") << "\" points=\"";
        for (int i = 0; i < e.count; ++i)
            svg << X(mesh.nodes[e.v[i]]) << ',' << Y(mesh.nodes[e.v[i]]) << ' ';
        svg << "\"/>\n";
    }
    svg << "</g>\n<g fill=\"none\" stroke=\"black\" stroke-width=\"2\">\n";
    for (const auto& loop : region.loops) {
        svg << "<polygon points=\"";
        for (const Point& p : loop) svg << X(p) << ',' << Y(p) << ' ';
        svg << "\"/>\n";
    }
    svg << "</g>\n";
    for (const Point& p : region.interiorPoints)
        svg << "<circle cx=\"" << X(p) << "\" cy=\"" << Y(p) << "\" r=\"4\" fill=\"#d02020\"/>\n";
    for (const Point& p : region.boundaryPoints)
        svg << "<circle cx=\"" << X(p) << "\" cy=\"" << Y(p) << "\" r=\"4\" fill=\"#20a020\"/>\n";
    svg << "</svg>\n";
    return svg.str();
}

namespace {

// The nodes (z = 0), numbered from 1, and the head of the elements.
void putNodes(std::ostringstream& msh, const Mesh& mesh) {
    msh << "$Nodes\n" << mesh.nodes.size() << '\n';
    for (size_t i = 0; i < mesh.nodes.size(); ++i)
        msh << i + 1 << ' ' << mesh.nodes[i].x << ' ' << mesh.nodes[i].y << " 0\n";
    msh << "$EndNodes\n$Elements\n";
}

}  // namespace

std::string mshText(const Mesh& mesh) {
    std::ostringstream msh;
    msh.imbue(std::locale::classic());
    msh.precision(17);
    msh << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n";
    putNodes(msh, mesh);
    std::ostringstream body;
    body.imbue(std::locale::classic());
    size_t written = 0;
    for (const Element& e : mesh.elements) {
        if (!validElement(e, static_cast<int>(mesh.nodes.size()))) continue;
        // Type 2 is the 3-node triangle, 3 the 4-node quadrangle; two tags: physical and
        // elementary entity, both 1.
        body << ++written << ' ' << (e.count == 3 ? 2 : 3) << " 2 1 1";
        for (int i = 0; i < e.count; ++i) body << ' ' << e.v[i] + 1;
        body << '\n';
    }
    msh << written << '\n' << body.str() << "$EndElements\n";
    return msh.str();
}

namespace {

double segmentDistance(const Point& p, const Point& a, const Point& b) {
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double length2 = dx * dx + dy * dy;
    double t = length2 > 0.0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / length2 : 0.0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

// The loop whose outline passes nearest the point.
size_t nearestLoop(const Region& region, const Point& p) {
    size_t best = 0;
    double bestDistance = HUGE_VAL;
    for (size_t k = 0; k < region.loops.size(); ++k) {
        const auto& loop = region.loops[k];
        for (size_t i = 0; i < loop.size(); ++i) {
            const double d = segmentDistance(p, loop[i], loop[(i + 1) % loop.size()]);
            if (d < bestDistance) bestDistance = d, best = k;
        }
    }
    return best;
}

}  // namespace

std::string mshText(const Mesh& mesh, const Region& region, const std::vector<std::string>& names) {
    const int nodes = static_cast<int>(mesh.nodes.size());
    const size_t loops = std::max<size_t>(region.loops.size(), 1);
    std::vector<std::string> groups;
    for (size_t k = 0; k < loops; ++k)
        groups.push_back(names.size() == region.loops.size() && k < names.size() ? names[k]
                         : k == 0 ? std::string("outer")
                                  : "hole " + std::to_string(k));
    // Sides that only one element has are the boundary's, kept as the element runs them.
    std::map<std::pair<int, int>, int> uses;
    std::vector<std::pair<int, int>> sides;
    for (const Element& e : mesh.elements) {
        if (!validElement(e, nodes)) continue;
        for (int i = 0; i < e.count; ++i) {
            const int a = e.v[static_cast<size_t>(i)],
                      b = e.v[static_cast<size_t>((i + 1) % e.count)];
            if (++uses[{std::min(a, b), std::max(a, b)}] == 1) sides.push_back({a, b});
        }
    }
    std::vector<std::pair<int, int>> boundary;
    for (const auto& [a, b] : sides)
        if (uses[{std::min(a, b), std::max(a, b)}] == 1) boundary.push_back({a, b});
    // Each run of boundary sides joined at nodes belongs to the loop nearest most of them.
    std::vector<int> parent(static_cast<size_t>(nodes));
    for (int i = 0; i < nodes; ++i) parent[static_cast<size_t>(i)] = i;
    auto root = [&](int i) {
        while (parent[static_cast<size_t>(i)] != i)
            i = parent[static_cast<size_t>(i)] =
                parent[static_cast<size_t>(parent[static_cast<size_t>(i)])];
        return i;
    };
    for (const auto& [a, b] : boundary) parent[static_cast<size_t>(root(a))] = root(b);
    std::map<int, std::vector<size_t>> runs;
    for (size_t i = 0; i < boundary.size(); ++i) runs[root(boundary[i].first)].push_back(i);
    std::vector<size_t> loopOf(boundary.size(), 0);
    if (!region.loops.empty())
        for (const auto& [run, members] : runs) {
            std::vector<int> votes(region.loops.size(), 0);
            const size_t step = std::max<size_t>(1, members.size() / 8);
            for (size_t m = 0; m < members.size(); m += step) {
                const auto& [a, b] = boundary[members[m]];
                const Point& p = mesh.nodes[static_cast<size_t>(a)];
                const Point& q = mesh.nodes[static_cast<size_t>(b)];
                ++votes[nearestLoop(region, {(p.x + q.x) / 2, (p.y + q.y) / 2})];
            }
            const size_t loop =
                static_cast<size_t>(std::max_element(votes.begin(), votes.end()) - votes.begin());
            for (size_t m : members) loopOf[m] = loop;
        }

    std::ostringstream msh;
    msh.imbue(std::locale::classic());
    msh.precision(17);
    msh << "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n$PhysicalNames\n" << loops + 1 << '\n';
    for (size_t k = 0; k < loops; ++k) {
        std::string name = groups[k];
        std::replace(name.begin(), name.end(), '"', '\'');
        msh << "1 " << k + 1 << " \"" << name << "\"\n";
    }
    msh << "2 " << loops + 1 << " \"surface\"\n$EndPhysicalNames\n";
    putNodes(msh, mesh);
    std::ostringstream body;
    body.imbue(std::locale::classic());
    size_t written = 0;
    // Type 1 is the 2-node line; tags: the physical group, then the elementary curve (the
    // loop's number) or surface (1).
    for (size_t i = 0; i < boundary.size(); ++i)
        body << ++written << " 1 2 " << loopOf[i] + 1 << ' ' << loopOf[i] + 1 << ' '
             << boundary[i].first + 1 << ' ' << boundary[i].second + 1 << '\n';
    for (const Element& e : mesh.elements) {
        if (!validElement(e, nodes)) continue;
        body << ++written << ' ' << (e.count == 3 ? 2 : 3) << " 2 " << loops + 1 << " 1";
        for (int i = 0; i < e.count; ++i) body << ' ' << e.v[static_cast<size_t>(i)] + 1;
        body << '\n';
    }
    msh << written << '\n' << body.str() << "$EndElements\n";
    return msh.str();
}

}  // namespace zevtool::meshio
