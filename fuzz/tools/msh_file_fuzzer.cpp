// Gmsh MSH files of any bytes, as `zevcore render` reads them: the reader answers with a mesh
// or an InputError, never a crash or undefined behaviour; every element it keeps names nodes
// of the mesh, and the mesh written out reads back the same.

#include <cstddef>
#include <cstdint>
#include <string>

#include "RegionChecks.h"
#include "tools/zevcore/RenderIo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zevfuzz::require;
    const std::string text(reinterpret_cast<const char*>(data), size);
    zevtool::meshio::Mesh mesh;
    try {
        mesh = zevtool::render::parseMshText(text);
    } catch (const zevtool::meshio::InputError&) {
        return 0;
    }
    const int nodes = static_cast<int>(mesh.nodes.size());
    for (const auto& e : mesh.elements) {
        require(e.count == 3 || e.count == 4);
        for (int c = 0; c < e.count; ++c) require(e.v[c] >= 0 && e.v[c] < nodes);
    }
    const zevtool::meshio::Mesh again =
        zevtool::render::parseMshText(zevtool::meshio::mshText(mesh));
    require(zevfuzz::samePoints(again.nodes, mesh.nodes));
    require(again.elements.size() == mesh.elements.size());
    for (size_t i = 0; i < mesh.elements.size(); ++i)
        require(again.elements[i].count == mesh.elements[i].count &&
                again.elements[i].v == mesh.elements[i].v);
    return 0;
}
