#pragma once

// A model whose stages can be driven one at a time, and small builders of fronts and
// elements for the tests.

#include <cmath>
#include <set>
#include <vector>

#include "zevcore/mesh/paver/MeshModel.h"

namespace paver_test {

using Paver::CLine2D;
using Paver::CPoint2D;
using Paver::MeshVertex;
using Paver::MeshVertexList;
using Paver::Quad;

class TestModel : public Paver::CMeshModel {
public:
    using CMeshModel::AddRow;
    using CMeshModel::CleanupMesh;
    using CMeshModel::FindClosestMutableVertex;
    using CMeshModel::FindRow;
    using CMeshModel::FitMeshToInteriorPoints;
    using CMeshModel::FixConcaveQuads;
    using CMeshModel::FreeAllFixedVertices;
    using CMeshModel::InsertExpansionWedge;
    using CMeshModel::InsertInteriorPoints;
    using CMeshModel::InsertTuck;
    using CMeshModel::IsNegativeInteriorAngle;
    using CMeshModel::IsPointOnBoundary;
    using CMeshModel::IsSmallInteriorAngle;
    using CMeshModel::IsTransitionSeamRequired;
    using CMeshModel::MergedBoundariesAreEven;
    using CMeshModel::MoveQuadVertexToPoint;
    using CMeshModel::MultipleBoundaryIntersection;
    using CMeshModel::PrepareShape;
    using CMeshModel::ProcessBoundary;
    using CMeshModel::RefineMesh;
    using CMeshModel::RemoveBoundary;
    using CMeshModel::RemoveQuad;
    using CMeshModel::Seam;
    using CMeshModel::SetNodeClassification;
    using CMeshModel::SetupNode;
    using CMeshModel::SingleBoundaryIntersection;
    using CMeshModel::SmoothBoundary;
    using CMeshModel::SmoothInterior;
    using CMeshModel::SplitQuad;
    using CMeshModel::SplitSideQuad;

    MeshVertex* vertex(double x, double y) {
        MeshVertex* v = NewVertex(CPoint2D(x, y));
        vertices.push_back(v);
        return v;
    }
    Quad* quad(MeshVertex* a, MeshVertex* b, MeshVertex* c, MeshVertex* d) {
        Quad* q = NewQuad(a, b, c, d);
        quads.push_back(q);
        return q;
    }
    /// Links the vertices into one circular front, in order, and registers it.
    MeshVertexList& ring(const std::vector<MeshVertex*>& vs) {
        for (size_t i = 0; i < vs.size(); ++i) {
            vs[i]->next = vs[(i + 1) % vs.size()];
            vs[(i + 1) % vs.size()]->prev = vs[i];
        }
        fronts.push_back({vs.front(), vs.back()});
        return fronts.back();
    }
    /// A front through the given points.
    MeshVertexList& ringAt(const std::vector<CPoint2D>& points) {
        std::vector<MeshVertex*> vs;
        for (const CPoint2D& p : points) vs.push_back(vertex(p.x, p.y));
        return ring(vs);
    }
    /// A grid of n by m unit elements with its lower left corner at the origin; answers the
    /// nodes row by row.
    std::vector<MeshVertex*> grid(int n, int m) {
        std::vector<MeshVertex*> nodes;
        for (int j = 0; j <= m; ++j)
            for (int i = 0; i <= n; ++i) nodes.push_back(vertex(i, j));
        auto at = [&](int i, int j) { return nodes[j * (n + 1) + i]; };
        for (int j = 0; j < m; ++j)
            for (int i = 0; i < n; ++i)
                quad(at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1));
        return nodes;
    }
    int frontSize(const MeshVertexList& list) const { return FrontSize(list); }
};

inline double signedArea(const Quad* q) {
    double twice = 0.0;
    for (int i = 0; i < 4; ++i) {
        const CPoint2D& a = q->corners[i]->point;
        const CPoint2D& b = q->corners[(i + 1) % 4]->point;
        twice += a.x * b.y - b.x * a.y;
    }
    return twice * 0.5;
}

/// A closed polygon entered as one boundary.
inline void addLoop(Paver::CMeshModel& model, const std::vector<CPoint2D>& points) {
    for (size_t i = 0; i < points.size(); ++i)
        model.AddBoundaryLine(CLine2D(points[i], points[(i + 1) % points.size()]));
    model.AddBoundary();
}

}  // namespace paver_test
