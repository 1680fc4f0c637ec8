// Interior constraint points: after paving, drag the nearest free corner of the enclosing
// element onto each point, and split elements where that fails.

#include "zevcore/mesh/paver/MeshModel.h"

namespace Paver {

void CMeshModel::InsertInteriorPoints() {
    nodesMoved();
    for (MeshVertex* v : vertices) v->smoothCount = 0;
    missedInteriorPoints = 0;
    int missed = FitMeshToInteriorPoints();
    for (int pass = 1; pass <= 3 && missed > 0; ++pass) {
        SmoothInterior();
        SplitQuadsAtInteriorPoints(pass == 2);
        SmoothInterior();
        SmoothInterior();
        missed = FitMeshToInteriorPoints();
    }
    missedInteriorPoints = missed;
}

int CMeshModel::FitMeshToInteriorPoints() {
    int missed = 0;
    for (const CPoint2D& p : interiorPoints) {
        if (IsPointOnBoundary(p)) continue;
        for (Quad* q : quads) {
            if (!q || !q->ContainsPoint(p)) continue;
            if (!MoveQuadVertexToPoint(*q, p)) ++missed;
            break;
        }
    }
    return missed;
}

void CMeshModel::SplitQuadsAtInteriorPoints(bool near) {
    for (const CPoint2D& p : interiorPoints) {
        if (IsPointOnBoundary(p)) continue;
        std::vector<Quad*> hit;
        for (Quad* q : quads)
            if (q && (q->ContainsPoint(p) || (near && q->IsNearPoint(p, 6.0)))) hit.push_back(q);
        for (Quad* q : hit) SplitQuad(*q);
    }
}

MeshVertex* CMeshModel::FindClosestMutableVertex(Quad& q, const CPoint2D& p) {
    MeshVertex* best = nullptr;
    double limit = 1000000.0;
    for (int i = 0; i < 4; ++i) {
        MeshVertex* c = q.corners[i];
        if (!c || c->isShapeBoundary || c->isFixed) continue;
        double d = c->point.dist(p);
        if (!(d < limit)) continue;
        CPoint2D at[4];
        for (int k = 0; k < 4; ++k) at[k] = k == i ? p : (q.corners[k] ? q.corners[k]->point : p);
        if (!IsConcave(at[0], at[1], at[2], at[3])) {
            best = c;
            limit = d;
        }
    }
    return best;
}

MeshVertex* CMeshModel::MoveQuadVertexToPoint(Quad& q, const CPoint2D& p) {
    MeshVertex* v = FindClosestMutableVertex(q, p);
    if (!v) return nullptr;
    CPoint2D old = v->point;
    v->point = p;
    for (const Quad* held : v->quads) {
        if (held->IsConcaveQuad()) {
            v->point = old;
            return nullptr;
        }
    }
    v->isFixed = true;
    return v;
}

bool CMeshModel::IsPointOnBoundary(const CPoint2D& p) const {
    for (const CPoint2D& b : boundaryPoints)
        if (b == p) return true;
    return false;
}

}  // namespace Paver
