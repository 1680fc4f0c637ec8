// Smoothing and clean-up: relax the nodes of a front and of the paved interior, remove flat
// two-element nodes and concave elements, and split elements for refinement.

#include <algorithm>
#include <cmath>

#include "zevcore/mesh/paver/MeshModel.h"

namespace Paver {

void CMeshModel::Smooth(MeshVertexList& list) {
    SmoothBoundary(list, nullptr, nullptr);
    SmoothInterior();
    SmoothBoundary(list, nullptr, nullptr);
}

void CMeshModel::SmoothBoundary(MeshVertexList& list, MeshVertex* first, MeshVertex* last) {
    if (!first || !last) {
        first = list.head;
        last = list.tail;
    }
    if (!first) return;
    nodesMoved();
    MeshVertex* stop = first->prev;

    std::vector<Quad*> found;
    const long long limit = WalkLimit();
    long long steps = 0;
    MeshVertex* v = first;
    for (;;) {
        bool skip = v->isFixed || (v->prev && v->prev->nodeClass == kCornerNode) ||
                    (v->next && v->next->nodeClass == kCornerNode);
        if (!skip) {
            if (m_referenceSmoothing) {
                found.clear();
                for (Quad* q : quads)
                    if (q->HasVertex(v)) found.push_back(q);
            } else {
                ElementsAt(v, found);
            }
            if (!found.empty()) smoothBoundaryNode(v, found);
        }
        v = v->next;
        if (!v || v == last || v == stop || ++steps >= limit) break;
    }
}

void CMeshModel::smoothBoundaryNode(MeshVertex* v, const std::vector<Quad*>& found) {
    const double n = static_cast<double>(found.size());
    CPoint2D mean(0.0, 0.0);
    for (const Quad* q : found) {
        MeshVertex* after = q->NextCorner(v);
        MeshVertex* before = q->PrevCorner(v);
        MeshVertex* opposite = q->NextCorner(after);
        if (!after || !before || !opposite) return;
        mean += after->point + before->point - opposite->point;
    }
    mean = mean / n;
    if (found.size() != 2) {
        v->point = v->point + (mean - v->point);
        return;
    }
    if (!v->prev || !v->next) return;

    // The row rule: keep the depth of the row behind v and bisect its angle.
    const Quad* A = found[0];
    const Quad* B = found[1];
    MeshVertex* j = nullptr;
    MeshVertex* c = v;
    for (int step = 0; step < 3 && c; ++step) {
        c = A->PrevCorner(c);
        if (c && B->HasVertex(c)) {
            j = c;
            break;
        }
    }
    if (!j) return;
    double lD = v->point.dist(j->point);
    double lA = mean.dist(j->point);
    // When mean sits on j there is no direction to keep the depth along; the depth-keeping
    // move then simply goes to mean.
    CPoint2D vA =
        lA == 0.0 ? mean - v->point
                  : (j->point - v->point) + ((v->point + (mean - v->point)) - j->point) * lD / lA;

    CVector2D toPrev(j->point, v->prev->point);
    CVector2D toNext(j->point, v->next->point);
    CVector2D toV(j->point, v->point);
    CVector2D b1 = toPrev.GetBisectingVector(toNext).GetNormalized();
    CVector2D pB = b1.GetBisectingVector(toV).GetNormalized();
    CPoint2D Q = v->point;
    CLine2D(v->prev->point, v->next->point)
        .GetIntersection(CLine2D(j->point, CPoint2D(j->point.x + pB.x, j->point.y + pB.y)), Q);
    double lQ = j->point.dist(Q);
    float l = static_cast<float>(lQ >= lD ? lD : (lQ + lD) * 0.5);
    CVector2D vB = pB * l - toV;
    v->point.x = v->point.x + (vA.x + vB.x) * 0.5;
    v->point.y = v->point.y + (vA.y + vB.y) * 0.5;
}

void CMeshModel::SmoothInterior() {
    nodesMoved();
    // Front nodes are frozen for the pass, and their own flags put back after it.
    std::vector<bool> saved;
    const long long limit = WalkLimit();
    auto walkFronts = [&](auto&& visit) {
        for (MeshVertexList& list : fronts) {
            MeshVertex* v = list.head;
            long long steps = 0;
            if (!v) continue;
            do {
                visit(v);
                v = v->next;
            } while (v && v != list.head && ++steps < limit);
        }
    };
    walkFronts([&](MeshVertex* v) {
        saved.push_back(v->isFixed);
        v->isFixed = true;
    });

    // Extended mode keeps a list of the nodes that may still move, so that a pass costs what
    // moves rather than the whole mesh; a node that reached the count leaves the list (its
    // count then stops rising, the one difference).
    std::vector<MeshVertex*>* pool = &vertices;
    if (m_extended) {
        for (; m_movableSeen < vertices.size(); ++m_movableSeen)
            if (!vertices[m_movableSeen]->isShapeBoundary)
                m_movable.push_back(vertices[m_movableSeen]);
        std::erase_if(m_movable, [](const MeshVertex* v) { return v->smoothCount >= 51; });
        pool = &m_movable;
    }
    for (MeshVertex* v : *pool) {
        if (v->isFixed || v->isShapeBoundary) continue;
        if (v->smoothCount++ >= 51) continue;
        CVector2D T(0.0f, 0.0f);
        float W = 0.0f;
        for (const Quad* q : v->quads) {
            if (!q->HasVertex(v)) continue;
            CVector2D e(v->point, q->NextCorner(v)->point);
            float m = e.Magnitude();
            T = T + e * m;
            W += m;
        }
        if (W > 0.0f) T = T * (1.0f / W);
        // Narrowed to float on purpose: interior positions are kept in single precision.
        v->point.x = static_cast<double>(static_cast<float>(v->point.x) + T.x);
        v->point.y = static_cast<double>(static_cast<float>(v->point.y) + T.y);
    }

    size_t k = 0;
    walkFronts([&](MeshVertex* v) { v->isFixed = saved[k++]; });
}

bool CMeshModel::IsConcave(CPoint2D a, CPoint2D b, CPoint2D c, CPoint2D d) {
    const CPoint2D p[4] = {a, b, c, d};
    for (int k = 1; k <= 4; ++k) {
        const CPoint2D& at = p[k % 4];
        CVector2D u = CVector2D(at, p[(k + 3) % 4]).GetNormalized();
        CVector2D w = CVector2D(at, p[(k + 1) % 4]).GetNormalized();
        if (!(w.Cross(u) > 0.0f)) return true;
    }
    return false;
}

void CMeshModel::RemoveQuad(Quad* q) {
    auto at = std::find(quads.begin(), quads.end(), q);
    if (at == quads.end()) return;
    for (MeshVertex* c : q->corners)
        if (c) {
            std::erase(c->quads, q);
            ++c->quadsVersion;
        }
    quads.erase(at);
}

void CMeshModel::CleanupMesh() {
    // Extended mode repairs concave elements by moving a free corner before anything is
    // removed, so that no removal opens a hole.
    if (m_extended) {
        for (int round = 0; round < 5 && FixConcaveQuads() > 0; ++round) {
        }
    }
    // Phase 1: dissolve the first flat node held by exactly two elements.
    for (Quad* q : quads) {
        CVector2D e[4];
        bool complete = true;
        for (int i = 0; i < 4; ++i) {
            if (!q->corners[i] || !q->corners[(i + 1) % 4]) complete = false;
        }
        if (!complete) continue;
        for (int i = 0; i < 4; ++i)
            e[i] = CVector2D(q->corners[i]->point, q->corners[(i + 1) % 4]->point).GetNormalized();
        MeshVertex* v = nullptr;
        for (int i = 0; i < 4 && !v; ++i)
            if (std::fabs(e[i].Cross(e[(i + 1) % 4])) <= 0.1f) v = q->corners[(i + 1) % 4];
        if (!v || v->quads.size() != 2) continue;
        Quad* other = v->quads[0] == q ? v->quads[1] : v->quads[0];
        if (other == q) continue;
        MeshVertex* opp = other->NextCorner(other->NextCorner(v));
        if (!opp) continue;
        wedgeLog.push_back(q);
        q->ReplaceVertex(v, opp);
        RemoveQuad(other);
        break;
    }

    // Extended mode never removes an element: a removal would leave its area uncovered.
    if (m_extended) return;

    // Phase 2: the list of concave elements is never emptied, so only the first one found is
    // removed; a second keeps the warning coming until the cap of 100 rounds. Nothing changes
    // after the second is found, so its rounds are counted rather than searched again; the
    // search for it goes on from where the first was, since nothing before that is concave.
    auto concave = [](const Quad* q) { return q->IsConcaveQuad(); };
    auto found = std::find_if(quads.begin(), quads.end(), concave);
    if (found == quads.end()) return;
    putUpMessage("Warning: Concave element removed.");
    size_t at = static_cast<size_t>(found - quads.begin());
    RemoveQuad(*found);
    if (std::find_if(quads.begin() + static_cast<std::ptrdiff_t>(at), quads.end(), concave) ==
        quads.end())
        return;
    for (int round = 1; round < 100; ++round) putUpMessage("Warning: Concave element removed.");
}

bool CMeshModel::SplitQuad(Quad& q) {
    if (q.isRefined || q.IsConcaveQuad()) return false;
    MeshVertex* const* c = q.corners;
    CLine2D d1(c[0]->point, c[2]->point);
    CLine2D d2(c[3]->point, c[1]->point);
    // n[i] lies a quarter of the way along a diagonal from corner i.
    MeshVertex* n[4] = {
        NewVertex(d1.GetInterpolatedPoint2D(0.25f)), NewVertex(d2.GetInterpolatedPoint2D(0.75f)),
        NewVertex(d1.GetInterpolatedPoint2D(0.75f)), NewVertex(d2.GetInterpolatedPoint2D(0.25f))};
    Quad* made[5];
    for (int i = 0; i < 4; ++i) made[i] = NewQuad(c[i], c[(i + 1) % 4], n[(i + 1) % 4], n[i]);
    made[4] = NewQuad(n[0], n[1], n[2], n[3]);
    bool concave = false;
    for (Quad* m : made) {
        m->isRefined = true;
        concave = concave || m->IsConcaveQuad();
    }
    if (concave) {
        for (Quad* m : made) DiscardQuad(m);
        for (MeshVertex* v : n) DiscardVertex(v);
        return false;
    }
    vertices.insert(vertices.end(), n, n + 4);
    quads.insert(quads.end(), made, made + 5);
    RemoveQuad(&q);
    return true;
}

void CMeshModel::RefineMesh() {
    std::vector<Quad*> all = quads;
    for (Quad* q : all)
        if (!q->isRefined) SplitQuad(*q);
}

bool CMeshModel::SplitSideQuad(Quad& q, int side) {
    if (side < 0 || side > 3 || q.isRefined || q.IsConcaveQuad()) return false;
    MeshVertex* a = q.corners[side];
    MeshVertex* b = q.corners[(side + 1) % 4];
    MeshVertex* c = q.corners[(side + 2) % 4];
    MeshVertex* d = q.corners[(side + 3) % 4];
    MeshVertex* m1 = NewVertex(CLine2D(a->point, b->point).GetMidpoint());
    MeshVertex* m2 = NewVertex(CLine2D(c->point, d->point).GetMidpoint());
    Quad* left = NewQuad(a, m1, m2, d);
    Quad* right = NewQuad(m1, b, c, m2);
    left->isRefined = right->isRefined = true;
    if (left->IsConcaveQuad() || right->IsConcaveQuad()) {
        DiscardQuad(left);
        DiscardQuad(right);
        DiscardVertex(m1);
        DiscardVertex(m2);
        return false;
    }
    vertices.push_back(m1);
    vertices.push_back(m2);
    quads.push_back(left);
    quads.push_back(right);
    RemoveQuad(&q);
    return true;
}

int CMeshModel::FixConcaveQuads() {
    nodesMoved();
    int fixed = 0;
    for (Quad* q : quads) {
        if (!q->IsConcaveQuad()) continue;
        for (int i = 0; i < 4 && q->IsConcaveQuad(); ++i) {
            MeshVertex* v = q->corners[i];
            if (!v || v->isFixed || v->isShapeBoundary) continue;
            CPoint2D old = v->point;
            v->point = q->NextCorner(v)->point + q->PrevCorner(v)->point -
                       q->NextCorner(q->NextCorner(v))->point;
            bool spoiled = q->IsConcaveQuad();
            for (const Quad* other : quads)
                spoiled = spoiled || (other != q && other->HasVertex(v) && other->IsConcaveQuad());
            if (spoiled) v->point = old;
        }
        if (!q->IsConcaveQuad()) ++fixed;
    }
    return fixed;
}

void CMeshModel::FreeAllFixedVertices() {
    for (MeshVertex* v : vertices)
        if (!v->isShapeBoundary) v->isFixed = false;
}

}  // namespace Paver
