#include "tools/studio/Project.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace studio {

namespace {

constexpr const char* kOptionsTag = "# zevcore-studio options:";
constexpr const char* kMeshTag = "# zevcore-studio mesh:";

// Shortest text that reads back to the same double, whatever the locale.
std::string number(double v) {
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, v);
    return std::string(text, result.ptr);
}

void writeLoop(std::ostringstream& out, const std::vector<zevtool::meshio::Point>& loop) {
    for (const auto& p : loop) out << number(p.x) << ' ' << number(p.y) << '\n';
    if (!loop.empty()) out << number(loop.front().x) << ' ' << number(loop.front().y) << '\n';
}

bool readNumber(const std::string& text, double& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(value);
}

}  // namespace

std::string projectText(const zevtool::meshio::Region& region, const MeshSettings& settings) {
    std::ostringstream out;
    out << kOptionsTag << " size=" << number(settings.size) << " divisions=" << settings.divisions
        << " method=" << settings.method << " max-area=" << number(settings.maxArea)
        << " extended=" << (settings.extended ? 1 : 0) << '\n';
    out << "# A boundary file: the outer loop first, then holes and constraint points.\n";
    for (size_t i = 0; i < region.loops.size(); ++i) {
        out << '\n';
        if (i > 0 && i < region.solid.size() && region.solid[i]) out << "solid\n";
        writeLoop(out, region.loops[i]);
    }
    if (!region.interiorPoints.empty()) {
        out << "\ninterior\n";
        for (const auto& p : region.interiorPoints)
            out << number(p.x) << ' ' << number(p.y) << '\n';
    }
    if (!region.boundaryPoints.empty()) {
        out << "\nboundary\n";
        for (const auto& p : region.boundaryPoints)
            out << number(p.x) << ' ' << number(p.y) << '\n';
    }
    return out.str();
}

zevtool::meshio::Region regionOfMesh(const zevtool::meshio::Mesh& mesh) {
    using zevtool::meshio::InputError;
    // An edge's uses, counted without direction; a boundary edge keeps its element's direction.
    std::map<std::pair<int, int>, int> uses;
    std::map<std::pair<int, int>, std::pair<int, int>> directed;
    for (const auto& e : mesh.elements)
        for (int k = 0; k < e.count; ++k) {
            const int a = e.v[static_cast<size_t>(k)],
                      b = e.v[static_cast<size_t>((k + 1) % e.count)];
            const auto key = std::minmax(a, b);
            ++uses[key];
            directed[key] = {a, b};
        }
    std::map<int, int> next;
    for (const auto& [key, count] : uses)
        if (count == 1 && !next.emplace(directed[key].first, directed[key].second).second)
            throw InputError(0, "the mesh's boundary passes a node twice");
    std::vector<std::vector<zevtool::meshio::Point>> loops;
    while (!next.empty()) {
        std::vector<zevtool::meshio::Point> loop;
        const int start = next.begin()->first;
        int at = start;
        do {
            auto found = next.find(at);
            if (found == next.end()) throw InputError(0, "the mesh's boundary is not closed");
            if (at < 0 || static_cast<size_t>(at) >= mesh.nodes.size())
                throw InputError(0, "an element names a node the mesh does not have");
            loop.push_back(mesh.nodes[static_cast<size_t>(at)]);
            at = found->second;
            next.erase(found);
        } while (at != start);
        loops.push_back(std::move(loop));
    }
    if (loops.empty()) throw InputError(0, "the mesh has no elements");
    // The outer boundary first; the reader turns each loop the way the meshers want it.
    std::stable_sort(loops.begin(), loops.end(), [](const auto& a, const auto& b) {
        return std::fabs(zevtool::meshio::signedArea(a)) >
               std::fabs(zevtool::meshio::signedArea(b));
    });
    zevtool::meshio::Region region;
    region.loops = std::move(loops);
    return zevtool::meshio::parseBoundaryText(projectText(region, MeshSettings()));
}

std::string projectMeshText(const zevtool::meshio::Mesh& mesh) {
    if (mesh.elements.empty()) return "";
    std::ostringstream out;
    out << '\n'
        << kMeshTag << " version=" << kProjectMeshVersion << " nodes=" << mesh.nodes.size()
        << " elements=" << mesh.elements.size() << '\n';
    for (const auto& p : mesh.nodes) out << "# n " << number(p.x) << ' ' << number(p.y) << '\n';
    for (const auto& e : mesh.elements) {
        out << "# e " << e.count;
        for (int k = 0; k < e.count; ++k) out << ' ' << e.v[static_cast<size_t>(k)];
        out << '\n';
    }
    return out.str();
}

std::string readProjectMesh(const std::string& text, zevtool::meshio::Mesh& mesh) {
    mesh = {};
    std::istringstream lines(text);
    std::string line;
    const std::string tag = kMeshTag;
    int number = 0;
    while (std::getline(lines, line)) {
        ++number;
        if (line.compare(0, tag.size(), tag) == 0) break;
    }
    if (!lines && line.compare(0, tag.size(), tag) != 0) return "";
    long long version = 0, nodes = -1, elements = -1;
    char tail = 0;
    if (std::sscanf(line.c_str() + tag.size(), " version=%lld nodes=%lld elements=%lld %c",
                    &version, &nodes, &elements, &tail) < 1)
        return "its mesh has no version (line " + std::to_string(number) + ")";
    if (version > kProjectMeshVersion || version < 1)
        return "its mesh is of version " + std::to_string(version) +
               ", which this studio does not read";
    auto damaged = [&](const char* what) {
        mesh = {};
        return std::string("its mesh is damaged: ") + what + " (line " + std::to_string(number) +
               ")";
    };
    // The counts bound the work before anything is read.
    if (nodes < 0 || elements < 1 || nodes > 100000000 || elements > 100000000 || tail)
        return damaged("the counts are wrong");
    zevtool::meshio::Mesh read;
    read.nodes.reserve(static_cast<size_t>(std::min(nodes, 1000000LL)));
    while (std::getline(lines, line)) {
        ++number;
        std::istringstream words(line);
        std::string hash, kind;
        words >> hash >> kind;
        if (hash != "#" || (kind != "n" && kind != "e")) break;
        if (kind == "n") {
            std::string x, y, more;
            zevtool::meshio::Point p;
            if (!(words >> x >> y) || (words >> more) || !readNumber(x, p.x) || !readNumber(y, p.y))
                return damaged("a node is not two numbers");
            if (static_cast<long long>(read.nodes.size()) >= nodes)
                return damaged("too many nodes");
            read.nodes.push_back(p);
            continue;
        }
        zevtool::meshio::Element e;
        std::string more;
        if (!(words >> e.count) || (e.count != 3 && e.count != 4))
            return damaged("an element has neither 3 nor 4 corners");
        for (int k = 0; k < e.count; ++k) {
            int& v = e.v[static_cast<size_t>(k)];
            if (!(words >> v) || v < 0 || v >= nodes)
                return damaged("an element names a node the mesh does not have");
        }
        if (words >> more) return damaged("an element has more than its corners");
        if (static_cast<long long>(read.elements.size()) >= elements)
            return damaged("too many elements");
        read.elements.push_back(e);
    }
    if (static_cast<long long>(read.nodes.size()) != nodes ||
        static_cast<long long>(read.elements.size()) != elements)
        return damaged("it ends before its last node or element");
    mesh = std::move(read);
    return "";
}

bool readProjectSettings(const std::string& text, MeshSettings& settings) {
    const std::string tag = kOptionsTag;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.compare(0, tag.size(), tag) != 0) continue;
        MeshSettings read = settings;
        std::istringstream words(line.substr(tag.size()));
        std::string word;
        while (words >> word) {
            const size_t equals = word.find('=');
            if (equals == std::string::npos) return false;
            const std::string key = word.substr(0, equals), value = word.substr(equals + 1);
            double v = 0.0;
            if (key == "method") {
                if (value != "paver" && value != "triangle") return false;
                read.method = value;
            } else if (!readNumber(value, v)) {
                return false;
            } else if (key == "size") {
                if (!(v > 0.0)) return false;
                read.size = v;
            } else if (key == "divisions") {
                if (v < 0.0 || v > 1000.0 || v != std::floor(v)) return false;
                read.divisions = static_cast<int>(v);
            } else if (key == "max-area") {
                if (v < 0.0) return false;
                read.maxArea = v;
            } else if (key == "extended") {
                if (v != 0.0 && v != 1.0) return false;
                read.extended = v == 1.0;
            }
        }
        settings = read;
        return true;
    }
    return false;
}

}  // namespace studio
