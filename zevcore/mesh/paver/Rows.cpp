// Row generation: classify the nodes of a front by angle, choose where the next row goes and
// lay it. One AddRow lays one portion at one place; Mesh repeats it.

#include <cmath>
#include <functional>

#include "zevcore/frame/Math.h"
#include "zevcore/mesh/paver/MeshModel.h"

namespace Paver {

namespace {

// The step above a right angle, a straight line and three right angles at which a node
// changes class.
constexpr double kClassStep = 0.1 * M_PI;

void unlink(MeshVertex* v) {
    v->prev->next = v->next;
    v->next->prev = v->prev;
}

void insertAfter(MeshVertex* at, MeshVertex* v) {
    v->prev = at;
    v->next = at->next;
    at->next->prev = v;
    at->next = v;
}

void setHead(MeshVertexList& list, MeshVertex* head) {
    list.head = head;
    list.tail = head ? head->prev : nullptr;
}

}  // namespace

void CMeshModel::SetNodeClassification(MeshVertex* v) {
    double t = v->interiorAngle;
    if (equal(t, M_PI / 2.0))
        v->nodeClass = kRightAngleNode;
    else if (t <= M_PI / 2.0 + kClassStep)
        v->nodeClass = kEndNode;
    else if (t <= M_PI + kClassStep)
        v->nodeClass = kSideNode;
    else if (t <= 1.5 * M_PI + kClassStep)
        v->nodeClass = kCornerNode;
    else if (t <= 2.0 * M_PI)
        v->nodeClass = kReversalNode;
    else
        v->nodeClass = kUnclassified;
}

void CMeshModel::SetupNode(MeshVertex* v, MeshVertex* prev, MeshVertex* next) {
    MeshVertex::SetupMemo& memo = v->setupMemo;
    if (m_meshing && memo.moves == m_moves && memo.prevNode == prev && memo.nextNode == next &&
        memo.nodeClass >= 0 && memo.nodeClass == v->nodeClass)
        return;
    if (memo.nodeClass >= 0 && memo.nodeClass == v->nodeClass &&
        memo.interiorAngle == v->interiorAngle && memo.at == v->point && memo.prev == prev->point &&
        memo.next == next->point) {
        if (m_meshing) {
            memo.prevNode = prev;
            memo.nextNode = next;
            memo.moves = m_moves;
        }
        return;
    }
    double L = (v->point.dist(prev->point) + v->point.dist(next->point)) * 0.5;
    CVector2D A = CVector2D(v->point, next->point).GetNormalized();
    CVector2D B = CVector2D(v->point, prev->point).GetNormalized();
    float c = A.Cross(B);
    float t = A.Dot(B);
    if (t < -1.0f) t = -1.0f;
    if (t > 1.0f) t = 1.0f;
    double theta = std::acos(static_cast<double>(t));
    if (c < 0.0f) theta = 2.0 * M_PI - theta;
    v->interiorAngle = theta;
    SetNodeClassification(v);

    auto propose = [&](int slot, double angle, double length) {
        CVector2D d = A;
        d.RotateBy(static_cast<float>(angle));
        v->rowPoints[slot] = CPoint2D(v->point.x + static_cast<double>(d.x) * length,
                                      v->point.y + static_cast<double>(d.y) * length);
    };
    auto scaled = [&](double k) { return zero(theta, TOLERANCE) ? L : L / std::sin(theta / k); };
    switch (v->nodeClass) {
        case kEndNode:
            propose(0, theta, L);
            break;
        case kSideNode:
            propose(0, theta / 2.0, scaled(2.0));
            break;
        case kCornerNode: {
            double l = scaled(3.0), d = std::sqrt(2.0) * l;
            propose(0, 2.0 * theta / 3.0, l);
            propose(1, theta / 2.0, d);
            propose(2, theta / 3.0, l);
            break;
        }
        case kReversalNode: {
            double l = scaled(4.0), d = std::sqrt(2.0) * l;
            propose(0, 3.0 * theta / 4.0, l);
            propose(1, 5.0 * theta / 8.0, d);
            propose(2, theta / 2.0, l);
            propose(3, 3.0 * theta / 8.0, d);
            propose(4, theta / 4.0, l);
            break;
        }
        default:
            break;
    }
    memo = {v->point,     prev->point, next->point, v->interiorAngle,
            v->nodeClass, prev,        next,        m_meshing ? m_moves : 0};
}

void CMeshModel::ProcessBoundary(MeshVertexList& list) {
    MeshVertex* v = list.head;
    if (!v) return;
    long long steps = 0;
    const long long limit = WalkLimit();
    do {
        if (v->prev && v->next) SetupNode(v, v->prev, v->next);
        v = v->next;
    } while (v && v != list.head && ++steps < limit);
}

bool CMeshModel::FindRow(BoundaryDefinition& def, MeshVertexList list) {
    ProcessBoundary(list);
    def.first = def.last = nullptr;
    if (!list.head) return false;
    const long long limit = WalkLimit();

    auto walk = [&](auto&& visit) {
        MeshVertex* v = list.head;
        long long steps = 0;
        do {
            if (visit(v)) return;
            v = v->next;
        } while (v && v != list.head && ++steps < limit);
    };

    bool restricted = false;
    walk([&](MeshVertex* v) { return restricted = v->isShapeBoundary; });

    auto low = [](const MeshVertex* v) {
        return v && (v->nodeClass == kRightAngleNode || v->nodeClass == kEndNode);
    };
    int zeros = 0, lows = 0, highs = 0;
    bool pairFound = false;
    walk([&](MeshVertex* v) {
        if (restricted && !v->isShapeBoundary) return false;
        if (v->nodeClass == kRightAngleNode) ++zeros;
        if (low(v)) ++lows;
        if (v->nodeClass == kCornerNode || v->nodeClass == kReversalNode) ++highs;
        if (low(v) && low(v->next)) {
            def.first = v;
            def.last = v->next;
            pairFound = true;
            return true;
        }
        return false;
    });
    if (pairFound) return true;

    if (zeros >= 2)
        def.kind = kRowBetweenRightAngles;
    else if (zeros == 1)
        def.kind = kRowAtRightAngle;
    else if (lows >= 2)
        def.kind = kRowBetweenEnds;
    else if (lows == 1)
        def.kind = kRowAtEnd;
    else if (highs >= 1)
        def.kind = kRowAtSmallestAngle;
    else if (lows == 0 && highs == 0)
        def.kind = kRowAtSharpestSide;
    else
        def.kind = kNoRow;

    // Eligibility for the choice is by isFixed, not by isShapeBoundary as above.
    auto eligible = [&](const MeshVertex* v) { return !restricted || v->isFixed; };
    MeshVertex* found = nullptr;
    MeshVertex* second = nullptr;
    switch (def.kind) {
        case kRowAtRightAngle:
        case kRowAtEnd: {
            int wanted = def.kind == kRowAtRightAngle ? kRightAngleNode : kEndNode;
            walk([&](MeshVertex* v) {
                if (eligible(v) && v->nodeClass == wanted) found = v;
                return found != nullptr;
            });
            if (!found) return false;
            def.first = found;
            def.last = found->prev;
            return true;
        }
        case kRowBetweenRightAngles:
        case kRowBetweenEnds: {
            walk([&](MeshVertex* v) {
                bool match =
                    def.kind == kRowBetweenRightAngles ? v->nodeClass == kRightAngleNode : low(v);
                if (!eligible(v) || !match) return false;
                if (!found)
                    found = v;
                else
                    second = v;
                return second != nullptr;
            });
            if (!second) return false;
            def.first = found;
            def.last = second;
            return true;
        }
        case kRowAtSharpestSide:
        case kRowAtSmallestAngle: {
            double best = def.kind == kRowAtSharpestSide ? 100.0 : 0.0;
            bool any = false;
            walk([&](MeshVertex* v) {
                if (!eligible(v)) return false;
                if (def.kind == kRowAtSmallestAngle &&
                    (v->nodeClass == kCornerNode || v->nodeClass == kReversalNode))
                    return false;
                if (def.kind == kRowAtSharpestSide ? v->interiorAngle < best
                                                   : (!any || v->interiorAngle < best)) {
                    best = v->interiorAngle;
                    found = v;
                    any = true;
                }
                return false;
            });
            if (def.kind == kRowAtSharpestSide) {
                if (!found) return false;
                def.first = found->next;
                def.last = found->prev;
            } else if (found) {
                def.first = found;
                def.last = found->prev;
            } else {
                def.first = list.head;
                def.last = list.head->prev;
            }
            return true;
        }
        default:
            def.first = def.last = list.head;
            return false;
    }
}

void CMeshModel::AddRow(BoundaryDefinition& def, MeshVertexList& list) {
    if (!def.first || !def.last) return;
    MeshVertex* C = def.first->next;
    MeshVertex* B = C->prev;
    MeshVertex* A = B->prev;
    auto low = [](const MeshVertex* v) {
        return v->nodeClass == kRightAngleNode || v->nodeClass == kEndNode;
    };

    if (def.kind == kRowAtSharpestSide || def.kind == kRowAtSmallestAngle) {
        MeshVertex* P = NewVertex(B->rowPoints[0]);
        MeshVertex* Q = NewVertex(C->rowPoints[0]);
        vertices.push_back(P);
        vertices.push_back(Q);
        quads.push_back(NewQuad(B, C, Q, P));
        insertAfter(B, P);
        insertAfter(P, Q);
        setHead(list, C);
    } else if (C->nodeClass == kCornerNode && low(B) && A->nodeClass == kSideNode) {
        MeshVertex* P = NewVertex(A->rowPoints[0]);
        vertices.push_back(P);
        quads.push_back(NewQuad(A, B, C, P));
        insertAfter(A, P);
        unlink(B);
        setHead(list, C->next);
    } else if (A->nodeClass == kEndNode && B->nodeClass == kEndNode &&
               A->prev->point.dist(C->point) <= 1.1 * A->point.dist(B->point)) {
        quads.push_back(NewQuad(A->prev, A, B, C));
        unlink(A);
        unlink(B);
        setHead(list, C);
    } else if (C == def.last) {
        // The row has collapsed onto its own end: close the corner at C.
        MeshVertex* N = C->next;
        quads.push_back(NewQuad(A, B, C, N));
        unlink(B);
        unlink(C);
        setHead(list, N);
        ProcessBoundary(list);
        rowAdjustPending = true;
        return;
    } else {
        AddRowPortion(C, A, B, list);
        setHead(list, C);
    }
    ProcessBoundary(list);
}

void CMeshModel::AddRowPortion(MeshVertex* v, MeshVertex* a, MeshVertex* b, MeshVertexList& list) {
    (void)list;
    int fan = 0;  // elements laid round v
    switch (v->nodeClass) {
        case kEndNode:
        case kSideNode:
            fan = 1;
            break;
        case kCornerNode:
            fan = 2;
            break;
        case kReversalNode:
            fan = 3;
            break;
        default:
            return;
    }
    // The new nodes P0..P(2*fan-2) fan round v from the side of a to the side of v.next; the
    // first element takes the old node b, the others two new nodes each.
    int count = 2 * fan - 1;
    MeshVertex* made[5] = {};
    for (int i = 0; i < count; ++i) {
        made[i] = NewVertex(v->rowPoints[i]);
        vertices.push_back(made[i]);
    }
    quads.push_back(NewQuad(a, b, v, made[0]));
    for (int k = 1; k < fan; ++k)
        quads.push_back(NewQuad(made[2 * k - 2], v, made[2 * k], made[2 * k - 1]));
    unlink(b);
    MeshVertex* at = a;
    for (int i = 0; i < count; ++i) {
        insertAfter(at, made[i]);
        at = made[i];
    }
    for (int i = 0; i < count; ++i) SetupNode(made[i], made[i]->prev, made[i]->next);
    SetupNode(v, v->prev, v->next);
}

void CMeshModel::AdjustRow(BoundaryDefinition& def, MeshVertexList& list) {
    (void)def;
    for (MeshVertex* v : vertices) v->smoothCount = 0;
    Smooth(list);
}

bool CMeshModel::IsSmallInteriorAngle(MeshVertex* v) const {
    const int held = ElementCountAt(v);
    double limit = held <= 4 ? 0.25 * M_PI : 0.05 * M_PI;
    return v->interiorAngle <= limit || v->interiorAngle >= 2.0 * M_PI;
}

bool CMeshModel::IsNegativeInteriorAngle(MeshVertex* a, MeshVertex* v, MeshVertex* b,
                                         MeshVertexList& list) const {
    (void)list;
    // An element with both a and v as corners is filed under both, so the shorter list
    // answers (or all elements, should both have grown longer than that).
    const std::vector<Quad*>* held = a->quads.size() < v->quads.size() ? &a->quads : &v->quads;
    if (held->size() > quads.size()) held = &quads;
    for (const Quad* q : *held) {
        if (!q->HasVertex(a) || !q->HasVertex(v)) continue;
        MeshVertex* c = q->PrevCorner(v);
        if (!c) continue;
        CLine2D l1(c->point, v->point);
        CLine2D l2(a->point, v->point);
        if (!l1.IsPointLeftOfLine(b->point) && l2.IsPointLeftOfLine(b->point)) return true;
    }
    return false;
}

bool CMeshModel::IsTransitionSeamRequired(MeshVertex* a, MeshVertex* v, MeshVertex* b) const {
    double p = v->point.dist(a->point);
    double q = v->point.dist(b->point);
    return p > 0.0 && q > 0.0 && (p / q > 2.5 || q / p > 2.5);
}

}  // namespace Paver

// ---------------------------------------------------------------------------------------------
// Wedges and tucks: ready for use, and not called by Mesh, whose mesh quality is that of rows,
// seams and closures alone.

namespace Paver {

namespace {

bool onFront(const MeshVertex* v) {
    return v && v->prev && v->next && v->prev->next == v;
}

Quad* quadWith(const std::vector<Quad*>& quads, const MeshVertex* a, const MeshVertex* b) {
    for (Quad* q : quads)
        if (q->HasVertex(a) && q->HasVertex(b)) return q;
    return nullptr;
}

int heldBy(const std::vector<Quad*>& quads, const MeshVertex* v) {
    int n = 0;
    for (const Quad* q : quads) n += q->HasVertex(v) ? 1 : 0;
    return n;
}

}  // namespace

void CMeshModel::CheckForWedgeInsertion(MeshVertexList& list) {
    std::vector<MeshVertex*> wanted;
    MeshVertex* v = list.head;
    if (!v) return;
    long long steps = 0;
    do {
        bool offBoundary =
            !v->isShapeBoundary && !v->prev->isShapeBoundary && !v->next->isShapeBoundary;
        bool longEdge = 2.0 * v->point.dist(v->prev->point) > 1.25 ||
                        2.0 * v->point.dist(v->next->point) > 1.25;
        if (v->nodeClass == kSideNode && offBoundary && longEdge &&
            v->interiorAngle > 183.0 * M_PI / 180.0)
            wanted.push_back(v);
        v = v->next;
    } while (v != list.head && ++steps < WalkLimit());
    for (MeshVertex* w : wanted)
        if (onFront(w)) InsertExpansionWedge(w, list);
}

void CMeshModel::CheckForTuckInsertion(BoundaryDefinition& def, MeshVertexList& list) {
    (void)def;
    std::vector<std::vector<MeshVertex*>> runs;
    std::vector<double> sums;
    std::vector<MeshVertex*> run;
    double sum = 0.0;
    auto close = [&]() {
        if (run.size() >= 3) {
            runs.push_back(run);
            sums.push_back(sum);
        }
        run.clear();
        sum = 0.0;
    };
    MeshVertex* v = list.head;
    if (!v) return;
    long long steps = 0;
    do {
        bool member =
            v->nodeClass == kSideNode && !v->isShapeBoundary &&
            (2.0 * v->point.dist(v->next->point) < 0.9 || v->interiorAngle < 177.0 * M_PI / 180.0);
        if (member) {
            run.push_back(v);
            sum += M_PI - v->interiorAngle;
        } else {
            close();
        }
        v = v->next;
    } while (v != list.head && ++steps < WalkLimit());
    close();
    for (size_t i = 0; i < runs.size(); ++i) InsertTucks(runs[i], sums[i], list);
}

void CMeshModel::InsertTucks(std::vector<MeshVertex*>& run, double angleSum, MeshVertexList& list) {
    if (run.empty()) return;
    auto tuck = [&](MeshVertex* v) {
        if (onFront(v)) InsertTuck(v, list);
    };
    if (run.size() == 1) {
        tuck(run.front());
    } else if (static_cast<long long>(std::fabs(angleSum)) > 1) {
        tuck(run.front());
        double acc = 0.0;
        for (size_t i = 1; i < run.size(); ++i) {
            acc += M_PI / 2.0 - run[i]->interiorAngle;
            if (std::fabs(acc) >= M_PI / 2.0) {
                tuck(run[i]);
                acc = 0.0;
            }
        }
    } else {
        tuck(run[run.size() / 2]);
    }
}

bool CMeshModel::InsertTuck(MeshVertex* v, MeshVertexList& list) {
    nodesMoved();
    MeshVertex* n = v->next;
    if (!n || n == v || heldBy(quads, v) != 2 || heldBy(quads, n) != 2) return false;
    std::vector<Quad*> involved;
    for (Quad* q : quads)
        if (q->HasVertex(v) || q->HasVertex(n)) involved.push_back(q);
    for (const Quad* q : involved)
        for (const MeshVertex* c : q->corners)
            if (!c || c->isShapeBoundary) return false;
    Quad* shared = quadWith(quads, v, n);
    if (!shared) return false;

    // n merges into v, half way between them; the element on their edge goes.
    v->point = (v->point + n->point) * 0.5;
    n->prev->next = n->next;
    n->next->prev = n->prev;
    for (Quad* q : involved)
        if (q->HasVertex(n)) q->ReplaceVertex(n, v);
    for (Quad* q : involved)
        if (q->HasVertex(v)) tuckLog.push_back(q);
    RemoveQuad(shared);
    if (list.head == n) list.head = v;
    list.tail = list.head->prev;
    ProcessBoundary(list);
    SmoothBoundary(list, nullptr, nullptr);
    return true;
}

namespace {

struct WedgeSplit {
    double towardPrev;  // where v goes, as a fraction of the way to its front neighbour
    double towardNext;  // where the new node of the next side goes
};

}  // namespace

// Splits front node v between its two row elements: v moves toward prev, a new node toward
// next takes over the element on that side, and a new element with a new front node fills
// the gap. The front grows by two nodes, so it stays even.
static bool splitForWedge(
    CMeshModel& model, std::vector<Quad*>& quads, std::vector<MeshVertex*>& vertices, MeshVertex* v,
    WedgeSplit at, const std::function<MeshVertex*(const CPoint2D&)>& make,
    const std::function<Quad*(MeshVertex*, MeshVertex*, MeshVertex*, MeshVertex*)>& makeQuad) {
    (void)model;
    Quad* qa = quadWith(quads, v, v->prev);
    Quad* qb = quadWith(quads, v, v->next);
    if (!qa || !qb || qa == qb) return false;
    MeshVertex* j = nullptr;
    for (MeshVertex* c : qa->corners)
        if (c != v && c != v->prev && qb->HasVertex(c)) j = c;
    if (!j) return false;
    CPoint2D old = v->point;
    CPoint2D ahead = v->rowPoints[0];
    MeshVertex* n1 = make(old + (v->next->point - old) * at.towardNext);
    MeshVertex* m = make(old + (ahead - old) * (1.0 / 3.0));
    v->point = old + (v->prev->point - old) * at.towardPrev;
    vertices.push_back(n1);
    vertices.push_back(m);
    qb->ReplaceVertex(v, n1);
    quads.push_back(makeQuad(j, n1, m, v));
    m->next = n1;
    n1->prev = m;
    n1->next = v->next;
    v->next->prev = n1;
    v->next = m;
    m->prev = v;
    return true;
}

bool CMeshModel::InsertExpansionWedge(MeshVertex* v, MeshVertexList& list) {
    nodesMoved();
    SetupNode(v, v->prev, v->next);
    bool done = splitForWedge(
        *this, quads, vertices, v, {1.0 / 3.0, 1.0 / 3.0},
        [this](const CPoint2D& p) { return NewVertex(p); },
        [this](MeshVertex* a, MeshVertex* b, MeshVertex* c, MeshVertex* d) {
            return NewQuad(a, b, c, d);
        });
    if (!done) return false;
    wedgeLog.push_back(v);
    SmoothBoundary(list, nullptr, nullptr);
    return true;
}

bool CMeshModel::InsertTransitionWedge(MeshVertex* a, MeshVertex* v, MeshVertex* b,
                                       MeshVertexList& list) {
    nodesMoved();
    if (v->prev != a || v->next != b) return false;
    SetupNode(v, a, b);
    bool done = splitForWedge(
        *this, quads, vertices, v, {1.0 / 3.0, 2.0 / 3.0},
        [this](const CPoint2D& p) { return NewVertex(p); },
        [this](MeshVertex* c0, MeshVertex* c1, MeshVertex* c2, MeshVertex* c3) {
            return NewQuad(c0, c1, c2, c3);
        });
    if (!done) return false;
    wedgeLog.push_back(v);
    SmoothBoundary(list, nullptr, nullptr);
    return true;
}

}  // namespace Paver
