// Seams and closure: fold a front where its angle has become too small, cut a front in two
// where it crosses itself, join two fronts that cross, and close fronts of six nodes or fewer.

#include <algorithm>
#include <cmath>

#include "zevcore/mesh/paver/MeshModel.h"

namespace Paver {

namespace {

bool low(const MeshVertex* v) {
    return v->nodeClass == kRightAngleNode || v->nodeClass == kEndNode;
}

// Steps along next from `from` to `to`; -1 when `to` is not met within `limit` steps.
long long stepsBetween(const MeshVertex* from, const MeshVertex* to, long long limit) {
    long long steps = 0;
    for (const MeshVertex* v = from; v != to; v = v->next) {
        if (!v || ++steps > limit) return -1;
    }
    return steps;
}

// The edges of one front filed in a uniform grid of cells about as large as two mean edges, each
// edge under every cell that its box, grown on every side by half the edge's length, touches.
// An edge that crosses another (even as the single-precision test decides it, which near
// parallel edges can misjudge by a small fraction of an edge) has a point in that grown box,
// so the cells of its own box find it.
class FrontGrid {
public:
    // False when the front is not a clean circle or has a coordinate that is not finite:
    // the caller then walks every pair.
    bool build(const MeshVertexList& list, long long limit) {
        m_nodes.clear();
        MeshVertex* v = list.head;
        if (!v) return false;
        do {
            if (!v->next || static_cast<long long>(m_nodes.size()) > limit) return false;
            m_nodes.push_back(v);
            v = v->next;
        } while (v != list.head);
        const size_t n = m_nodes.size();
        if (n < 8) return false;
        double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL, sum = 0.0;
        for (const MeshVertex* u : m_nodes) {
            const CPoint2D& p = u->point;
            if (!std::isfinite(p.x) || !std::isfinite(p.y)) return false;
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
            sum += std::max(std::fabs(u->next->point.x - p.x), std::fabs(u->next->point.y - p.y));
        }
        // About two mean edges, and never many more cells than edges.
        double extent = std::max(maxX - minX, maxY - minY);
        double cell = std::max(2.0 * sum / static_cast<double>(n), extent / std::sqrt(4.0 * n));
        if (!(cell > 0.0) || !std::isfinite(cell)) return false;
        m_perCell = 1.0 / cell;
        m_minX = minX;
        m_minY = minY;
        m_nx = static_cast<long long>((maxX - minX) / cell) + 1;
        m_ny = static_cast<long long>((maxY - minY) / cell) + 1;
        // Counting sort of the edges into their cells.
        m_start.assign(static_cast<size_t>(m_nx * m_ny) + 1, 0);
        m_boxes.resize(n);
        for (size_t j = 0; j < n; ++j) {
            const CPoint2D& a = m_nodes[j]->point;
            const CPoint2D& b = m_nodes[j]->next->point;
            Box& k = m_boxes[j];
            k = box(a, b, 0.5 * std::max(std::fabs(a.x - b.x), std::fabs(a.y - b.y)));
            for (long long y = k.y0; y <= k.y1; ++y)
                for (long long x = k.x0; x <= k.x1; ++x)
                    ++m_start[static_cast<size_t>(y * m_nx + x) + 1];
        }
        for (size_t c = 1; c < m_start.size(); ++c) m_start[c] += m_start[c - 1];
        m_items.resize(m_start.back());
        m_fill.assign(m_start.begin(), m_start.end() - 1);
        for (size_t j = 0; j < n; ++j) {
            const Box& k = m_boxes[j];
            for (long long y = k.y0; y <= k.y1; ++y)
                for (long long x = k.x0; x <= k.x1; ++x)
                    m_items[m_fill[static_cast<size_t>(y * m_nx + x)]++] = j;
        }
        m_seen.assign(n, 0);
        m_stamp = 0;
        return true;
    }

    const std::vector<MeshVertex*>& nodes() const { return m_nodes; }

    // The edges filed in the cells of the segment a-b, each once, in no particular order.
    void edgesNear(const CPoint2D& a, const CPoint2D& b, std::vector<size_t>& out) {
        out.clear();
        ++m_stamp;
        const Box k = box(a, b, 0.0);
        for (long long y = k.y0; y <= k.y1; ++y)
            for (long long x = k.x0; x <= k.x1; ++x) {
                size_t c = static_cast<size_t>(y * m_nx + x);
                for (size_t k = m_start[c]; k < m_start[c + 1]; ++k) {
                    size_t j = m_items[k];
                    if (m_seen[j] == m_stamp) continue;
                    m_seen[j] = m_stamp;
                    out.push_back(j);
                }
            }
    }

private:
    struct Box {
        long long x0, y0, x1, y1;
    };

    // The cells of the box of a-b grown by `grow` on every side.
    Box box(const CPoint2D& a, const CPoint2D& b, double grow) const {
        auto cellOf = [&](double value, double origin, long long count) {
            double c = std::floor((value - origin) * m_perCell);
            return static_cast<long long>(std::clamp(c, 0.0, static_cast<double>(count - 1)));
        };
        return {cellOf(std::min(a.x, b.x) - grow, m_minX, m_nx),
                cellOf(std::min(a.y, b.y) - grow, m_minY, m_ny),
                cellOf(std::max(a.x, b.x) + grow, m_minX, m_nx),
                cellOf(std::max(a.y, b.y) + grow, m_minY, m_ny)};
    }

    std::vector<MeshVertex*> m_nodes;
    std::vector<size_t> m_start, m_fill, m_items, m_seen;
    std::vector<Box> m_boxes;
    size_t m_stamp = 0;
    double m_perCell = 1.0, m_minX = 0.0, m_minY = 0.0;
    long long m_nx = 1, m_ny = 1;
};

// Walks the edges v->w of a front from its head, each with its line, skipping those that
// start on the shape boundary, until `visit` answers true.
template <class Visit>
void walkFreeEdges(const MeshVertexList& list, long long limit, Visit&& visit) {
    MeshVertex* v = list.head;
    long long steps = 0;
    do {
        MeshVertex* w = v->next;
        if (!v->isShapeBoundary && visit(v, w, CLine2D(v->point, w->point))) return;
        v = w;
    } while (v != list.head && ++steps < limit);
}

// Puts `to` in place of `from` in every element that has it. Every such element is filed under
// `from`; the first ReplaceVertex moves the whole list, so it is copied before.
void rehang(MeshVertex* from, MeshVertex* to) {
    std::vector<Quad*> held = from->quads;
    for (Quad* q : held)
        if (q->HasVertex(from)) q->ReplaceVertex(from, to);
}

// Makes x and y one node and answers the survivor: a boundary node stays where it is and
// survives; otherwise both meet half way and x survives. Every element holding the other one
// is rehung on the survivor.
MeshVertex* join(MeshVertex* x, MeshVertex* y) {
    MeshVertex* keep = x;
    MeshVertex* drop = y;
    if (y->isShapeBoundary) {
        keep = y;
        drop = x;
    } else if (!x->isShapeBoundary) {
        x->point = (x->point + y->point) * 0.5;
    }
    rehang(drop, keep);
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
            MeshVertex* keep = join(a, b);
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

    auto crossing = [&](MeshVertex* v, MeshVertex* w, const CLine2D& edge, MeshVertex* e) {
        MeshVertex* f = e->next;
        if (e->isShapeBoundary) return;
        if (e == w || f == v || f == w) return;
        if (!edge.Intersects(CLine2D(e->point, f->point))) return;
        consider(v, w, e, f);
        consider(v->prev, v, e, f);
        consider(w, w->next, e, f);
        consider(v, w, e->prev, e);
        consider(v, w, f, f->next);
    };

    FrontGrid grid;
    if (!m_referenceIntersection && grid.build(list, WalkLimit())) {
        // The same pairs in the same order as the walk below, from the edges near each edge.
        const std::vector<MeshVertex*>& nodes = grid.nodes();
        const size_t n = nodes.size();
        std::vector<size_t> near;
        for (size_t i = 0; i < n; ++i) {
            MeshVertex* v = nodes[i];
            if (v->isShapeBoundary) continue;
            MeshVertex* w = v->next;
            grid.edgesNear(v->point, w->point, near);
            // The walk meets e from three steps after v round to the node before v, and skips
            // boundary nodes; the few left are put in walk order.
            size_t kept = 0;
            for (size_t j : near) {
                size_t step = (j + n - i) % n;
                if (step < 3 || nodes[j]->isShapeBoundary) continue;
                size_t at = kept++;
                for (; at > 0 && near[at - 1] > step; --at) near[at] = near[at - 1];
                near[at] = step;
            }
            if (kept == 0) continue;
            CLine2D edge(v->point, w->point);
            for (size_t k = 0; k < kept; ++k) crossing(v, w, edge, nodes[(i + near[k]) % n]);
        }
    } else {
        const long long limit = WalkLimit();
        walkFreeEdges(list, limit, [&](MeshVertex* v, MeshVertex* w, const CLine2D& edge) {
            long long inner = 0;
            for (MeshVertex* e = w->next->next; e != v && ++inner < limit; e = e->next)
                crossing(v, w, edge, e);
            return false;
        });
    }

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
    MeshVertex* s1 = join(cut.p2, cut.q1);
    MeshVertex* s2 = join(cut.p1, cut.q2);
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

    // The first crossing pair, in walk order of this front and then of the other.
    auto crosses = [&](MeshVertex* v, MeshVertex* w, const CLine2D& edge, MeshVertex* p) {
        MeshVertex* q = p->next;
        bool shares = p == v || p == w || q == v || q == w;
        return !p->isShapeBoundary && !shares && edge.Intersects(CLine2D(p->point, q->point)) &&
               !w->isShapeBoundary && !q->isShapeBoundary;
    };
    MeshVertex* v = nullptr;
    MeshVertex* p = nullptr;
    const long long limit = WalkLimit();
    FrontGrid grid;
    if (!m_referenceIntersection && grid.build(*other, limit)) {
        const std::vector<MeshVertex*>& nodes = grid.nodes();
        std::vector<size_t> near;
        walkFreeEdges(list, limit, [&](MeshVertex* u, MeshVertex* w, const CLine2D& edge) {
            if (w->isShapeBoundary) return false;
            grid.edgesNear(u->point, w->point, near);
            std::sort(near.begin(), near.end());
            for (size_t j : near)
                if (crosses(u, w, edge, nodes[j])) {
                    v = u;
                    p = nodes[j];
                    return true;
                }
            return false;
        });
    } else {
        walkFreeEdges(list, limit, [&](MeshVertex* u, MeshVertex* w, const CLine2D& edge) {
            MeshVertex* r = other->head;
            long long inner = 0;
            do {
                if (crosses(u, w, edge, r)) {
                    v = u;
                    p = r;
                    return true;
                }
                r = r->next;
            } while (r != other->head && ++inner < limit);
            return false;
        });
    }
    if (!v) return false;

    MeshVertex* w = v->next;
    MeshVertex* q = p->next;
    // The two rehangings touch different lists, so their order is free.
    rehang(p, w);
    rehang(q, v);
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
    // The other front is now part of this one: its entry goes, and nothing of it is closed or
    // frozen on its own.
    fronts.erase(other);
    return true;
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
