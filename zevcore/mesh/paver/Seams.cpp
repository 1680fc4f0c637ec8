// Seams and closure: fold a front where its angle has become too small, cut a front in two
// where it crosses itself, join two fronts that cross, and close fronts of six nodes or fewer.

#include <algorithm>
#include <cmath>

#include "zevcore/mesh/paver/MeshModel.h"

namespace Paver {

namespace {

bool low(const MeshVertex* v) {
    return v->nodeClass == 0 || v->nodeClass == 1;
}

// Steps along next from `from` to `to`; -1 when `to` is not met within `limit` steps.
long long stepsBetween(const MeshVertex* from, const MeshVertex* to, long long limit) {
    long long steps = 0;
    for (const MeshVertex* v = from; v != to; v = v->next) {
        if (!v || ++steps > limit) return -1;
    }
    return steps;
}

// Makes x and y one node and answers the survivor: a boundary node stays where it is and
// survives; otherwise both meet half way and x survives. Every element holding the other one
// is rehung on the survivor.
MeshVertex* join(std::vector<Quad*>& quads, MeshVertex* x, MeshVertex* y) {
    MeshVertex* keep = x;
    MeshVertex* drop = y;
    if (y->isShapeBoundary) {
        keep = y;
        drop = x;
    } else if (!x->isShapeBoundary) {
        x->point = (x->point + y->point) * 0.5;
    }
    for (Quad* q : quads)
        if (q->HasVertex(drop)) q->ReplaceVertex(drop, keep);
    return keep;
}

}  // namespace

bool CMeshModel::Seam(MeshVertexList& list) {
    if (!list.MoreThanSixVertices()) return false;
    MeshVertex* v = list.head;
    const long long limit = WalkLimit();
    long long steps = 0;
    do {
        MeshVertex* a = v->prev;
        MeshVertex* b = v->next;
        bool qualifies = (IsSmallInteriorAngle(v) || IsNegativeInteriorAngle(a, v, b, list)) &&
                         !v->isShapeBoundary && !(a->isShapeBoundary && b->isShapeBoundary);
        if (qualifies) {
            IsTransitionSeamRequired(a, v, b);  // asked, and the seam is made whatever it says
            MeshVertex* keep = join(quads, a, b);
            MeshVertex* drop = keep == a ? b : a;
            for (MeshVertex* gone : {v, drop}) {
                gone->prev->next = gone->next;
                gone->next->prev = gone->prev;
            }
            if (list.head == v || list.head == drop) list.head = keep;
            list.tail = list.head->prev;
            SmoothBoundary(list, nullptr, nullptr);
            return true;
        }
        v = v->next;
    } while (v != list.head && ++steps < limit);
    return false;
}

bool CMeshModel::MergedBoundariesAreEven(MeshVertexList& list, MeshVertex* a, MeshVertex* b,
                                         MeshVertex* c, MeshVertex* d) const {
    (void)list;
    long long first = stepsBetween(b, c, WalkLimit());
    long long second = stepsBetween(d, a, WalkLimit());
    return first >= 0 && second >= 0 && first % 2 == 0 && second % 2 == 0;
}

bool CMeshModel::SingleBoundaryIntersection(MeshVertexList& list, MeshVertex* ignored) {
    (void)ignored;
    if (!list.MoreThanSixVertices()) return false;

    // A candidate cuts the front between the edges p1->p2 and q1->q2, joining p2 with q1 and
    // q2 with p1.
    struct Candidate {
        MeshVertex *p1, *p2, *q1, *q2;
        bool even;
        float dot;
        double longest;
    };
    std::vector<Candidate> candidates;
    auto consider = [&](MeshVertex* p1, MeshVertex* p2, MeshVertex* q1, MeshVertex* q2) {
        MeshVertex* all[4] = {p1, p2, q1, q2};
        for (int i = 0; i < 4; ++i)
            for (int j = i + 1; j < 4; ++j)
                if (all[i] == all[j]) return;
        // Two boundary nodes cannot become one.
        if ((p2->isShapeBoundary && q1->isShapeBoundary) ||
            (q2->isShapeBoundary && p1->isShapeBoundary))
            return;
        Candidate c{p1, p2, q1, q2, MergedBoundariesAreEven(list, p1, p2, q1, q2), 0.0f, 0.0};
        c.dot = CVector2D(p1->point, p2->point)
                    .GetNormalized()
                    .Dot(CVector2D(q1->point, q2->point).GetNormalized());
        c.longest = std::max({p1->point.dist(p2->point), p2->point.dist(q1->point),
                              q1->point.dist(q2->point), q2->point.dist(p1->point)});
        candidates.push_back(c);
    };

    const long long limit = WalkLimit();
    MeshVertex* v = list.head;
    long long outer = 0;
    do {
        MeshVertex* w = v->next;
        if (!v->isShapeBoundary) {
            CLine2D edge(v->point, w->point);
            long long inner = 0;
            for (MeshVertex* e = w->next->next; e != v && ++inner < limit; e = e->next) {
                MeshVertex* f = e->next;
                if (e->isShapeBoundary) continue;
                if (e == w || f == v || f == w) continue;
                if (!edge.Intersects(CLine2D(e->point, f->point))) continue;
                consider(v, w, e, f);
                consider(v->prev, v, e, f);
                consider(w, w->next, e, f);
                consider(v, w, e->prev, e);
                consider(v, w, f, f->next);
            }
        }
        v = w;
    } while (v != list.head && ++outer < limit);

    // Only an even cut is made: an odd one would leave two fronts that cannot close in
    // quadrilaterals.
    const Candidate* best = nullptr;
    for (const Candidate& c : candidates)
        if (c.even && (!best || std::fabs(c.dot) > std::fabs(best->dot))) best = &c;
    if (!best) return false;
    Candidate cut = *best;

    MeshVertex* p2n = cut.p2->next;
    MeshVertex* q1p = cut.q1->prev;
    MeshVertex* q2n = cut.q2->next;
    MeshVertex* p1p = cut.p1->prev;
    MeshVertex* s1 = join(quads, cut.p2, cut.q1);
    MeshVertex* s2 = join(quads, cut.p1, cut.q2);
    s1->next = p2n;
    p2n->prev = s1;
    s1->prev = q1p;
    q1p->next = s1;
    s2->next = q2n;
    q2n->prev = s2;
    s2->prev = p1p;
    p1p->next = s2;

    MeshVertexList split{s1, s1->prev};
    list.head = s2;
    list.tail = s2->prev;
    SmoothBoundary(split, nullptr, nullptr);
    SmoothBoundary(list, nullptr, nullptr);
    while (split.MoreThanSixVertices() && Seam(split)) {
    }
    while (list.MoreThanSixVertices() && Seam(list)) {
    }
    fronts.push_back(split);
    return true;
}

bool CMeshModel::MultipleBoundaryIntersection(MeshVertexList& list) {
    if (fronts.size() < 2 || !list.MoreThanSixVertices()) return false;
    auto other = std::find_if(fronts.begin(), fronts.end(),
                              [&](const MeshVertexList& f) { return !(f == list); });
    if (other == fronts.end() || !other->head) return false;

    const long long limit = WalkLimit();
    MeshVertex* v = list.head;
    long long outer = 0;
    do {
        MeshVertex* w = v->next;
        if (!v->isShapeBoundary) {
            CLine2D edge(v->point, w->point);
            MeshVertex* p = other->head;
            long long inner = 0;
            do {
                MeshVertex* q = p->next;
                bool shares = p == v || p == w || q == v || q == w;
                if (!p->isShapeBoundary && !shares &&
                    edge.Intersects(CLine2D(p->point, q->point)) && !w->isShapeBoundary &&
                    !q->isShapeBoundary) {
                    for (Quad* quad : quads) {
                        if (quad->HasVertex(p)) quad->ReplaceVertex(p, w);
                        if (quad->HasVertex(q)) quad->ReplaceVertex(q, v);
                    }
                    MeshVertex* qn = q->next;
                    MeshVertex* pp = p->prev;
                    v->next = qn;
                    qn->prev = v;
                    w->prev = pp;
                    pp->next = w;

                    MeshVertexList at{w, w->prev};
                    while (at.MoreThanSixVertices() && Seam(at)) {
                    }
                    list = at;
                    SmoothBoundary(list, nullptr, nullptr);
                    while (list.MoreThanSixVertices() && Seam(list)) {
                    }
                    // The other front is now part of this one: its entry goes, and nothing
                    // of it is closed or frozen on its own.
                    fronts.erase(other);
                    return true;
                }
                p = q;
            } while (p != other->head && ++inner < limit);
        }
        v = w;
    } while (v != list.head && ++outer < limit);
    return false;
}

void CMeshModel::RemoveBoundary(MeshVertexList list) {
    const MeshVertexList entry = list;
    if (list.head) {
        Smooth(list);
        MeshVertex* h = list.head;
        switch (FrontSize(list)) {
            case 2:
                h->point = list.tail->point;
                list.head = list.tail;
                list.tail = list.head->prev;
                break;
            case 4:
                quads.push_back(NewQuad(h, h->next, h->next->next, h->next->next->next));
                break;
            case 6: {
                MeshVertex* v = h;
                MeshVertex* corner = nullptr;
                for (int i = 0; i < 6 && !corner; ++i, v = v->next)
                    if (low(v) && low(v->next)) corner = v;
                // Split across the corner pair, from the node before it to the node two after
                // it; otherwise split the hexagon as counted from the head.
                MeshVertex* s = corner ? corner->prev : h;
                MeshVertex* s3 = s->next->next->next;
                quads.push_back(NewQuad(s, s->next, s->next->next, s3));
                quads.push_back(NewQuad(s3, s3->next, s3->next->next, s));
                break;
            }
            default: {
                MeshVertex* u = h;
                long long steps = 0;
                do {
                    u->isFixed = true;
                    u = u->next;
                } while (u && u != h && ++steps < WalkLimit());
                break;
            }
        }
    }
    fronts.remove(entry);
}

}  // namespace Paver
