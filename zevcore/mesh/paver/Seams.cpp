// Seams and closure: fold a front where its angle has become too small, cut a front in two
// where it crosses itself, join two fronts that cross, and close fronts of six nodes or fewer.

#include <algorithm>
#include <atomic>
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

// The edges of one front, filed so that every edge that the crossing test (CLine2D::Intersects,
// in single precision) can find crossing a given segment is among the edges near it:
//   - in a uniform grid of cells about as large as two mean edges, each edge under every cell
//     that its box touches, grown on every side by half the edge's length and a small margin.
//     Two edges at an angle of more than half a direction bucket (below) that the test finds
//     crossing truly cross within that margin, so the cells of one's box find the other;
//   - by direction and line: the test decides nearly parallel edges by rounding alone, and can
//     find two of them crossing although they lie far apart on almost the same line. Such
//     pairs lie in neighbouring direction buckets, at nearly the same distance of their line
//     from the middle of the front, and are found there;
//   - edges too short for their direction to be known in single precision are near every edge.
class FrontGrid {
public:
    // False when the front is not a clean circle or has a coordinate that is not finite (or
    // so large that its extent is not): the caller then walks every pair. `otherLength` and
    // `otherFar` are the longest edge that will be looked up and the largest coordinate of
    // one, when larger than this front's own.
    bool build(const MeshVertexList& list, long long limit, double otherLength = 0.0,
               double otherFar = 0.0) {
        m_nodes.clear();
        m_at.clear();
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
        double longest = otherLength, far = otherFar;
        for (const MeshVertex* u : m_nodes) {
            const CPoint2D& p = u->point;
            if (!std::isfinite(p.x) || !std::isfinite(p.y)) return false;
            minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
            sum += std::max(std::fabs(u->next->point.x - p.x), std::fabs(u->next->point.y - p.y));
            longest = std::max(longest, p.dist(u->next->point));
            far = std::max({far, std::fabs(p.x), std::fabs(p.y)});
        }
        m_far = far;
        m_longest = longest;
        m_middle = CPoint2D(0.5 * (minX + maxX), 0.5 * (minY + maxY));
        m_reach = 0.0;
        for (const MeshVertex* u : m_nodes) m_reach = std::max(m_reach, u->point.dist(m_middle));
        if (!std::isfinite(m_reach) || !std::isfinite(longest)) return false;
        // About two mean edges, and never many more cells than edges.
        double extent = std::max(maxX - minX, maxY - minY);
        double cell = std::max(2.0 * sum / static_cast<double>(n), extent / std::sqrt(4.0 * n));
        if (!(cell > 0.0) || !std::isfinite(cell)) return false;
        m_perCell = 1.0 / cell;
        m_minX = minX;
        m_minY = minY;
        m_nx = static_cast<long long>((maxX - minX) / cell) + 1;
        m_ny = static_cast<long long>((maxY - minY) / cell) + 1;
        // Far more than the rounding of a crossing at an angle of half a bucket can move it.
        const double margin = 0.02 * longest + 16.0 * kFloatEpsilon * far;
        // Counting sort of the edges into their cells.
        m_start.assign(static_cast<size_t>(m_nx * m_ny) + 1, 0);
        m_boxes.resize(n);
        for (size_t j = 0; j < n; ++j) {
            const CPoint2D& a = m_nodes[j]->point;
            const CPoint2D& b = m_nodes[j]->next->point;
            Box& k = m_boxes[j];
            k = box(a, b, 0.5 * std::max(std::fabs(a.x - b.x), std::fabs(a.y - b.y)) + margin);
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
        // The lines, by direction bucket and then by distance from the middle.
        m_lines.clear();
        m_anywhere.clear();
        m_described.resize(n);
        for (size_t j = 0; j < n; ++j) {
            Described& d = m_described[j];
            d.kind = describe(m_nodes[j]->point, m_nodes[j]->next->point, far, d.line);
            d.line.edge = j;
            if (d.kind == kAnywhere) m_anywhere.push_back(j);
            if (d.kind == kKnown) m_lines.push_back(d.line);
        }
        std::sort(m_lines.begin(), m_lines.end(), [](const Line& x, const Line& y) {
            return x.bucket != y.bucket ? x.bucket < y.bucket : x.offset < y.offset;
        });
        m_bucketStart.assign(kBuckets + 1, 0);
        for (const Line& line : m_lines) ++m_bucketStart[static_cast<size_t>(line.bucket) + 1];
        for (size_t b = 1; b < m_bucketStart.size(); ++b) m_bucketStart[b] += m_bucketStart[b - 1];
        m_seen.assign(n, 0);
        m_stamp = 0;
        return true;
    }

    const std::vector<MeshVertex*>& nodes() const { return m_nodes; }

    // Whether the filing's margins hold for looking up the segment a-b: no longer than the
    // edges it was made for, nor farther out.
    bool covers(const CPoint2D& a, const CPoint2D& b) const {
        return a.dist(b) <= m_longest &&
               std::max({std::fabs(a.x), std::fabs(a.y), std::fabs(b.x), std::fabs(b.y)}) <= m_far;
    }

    // Keeps the positions the nodes have now, so that a later walk can tell which edges are
    // still as filed; with a filing number, files every node under it too.
    void remember(unsigned long long filing = 0) {
        m_at.resize(m_nodes.size());
        for (size_t j = 0; j < m_nodes.size(); ++j) {
            m_at[j] = m_nodes[j]->point;
            if (filing) m_nodes[j]->frontSlot = {filing, j};
        }
    }

    // Whether the front from `head` is still the circle filed, node for node and position for
    // position.
    bool stillAsFiled(const MeshVertex* head) const {
        const size_t n = m_nodes.size();
        if (n == 0 || m_at.size() != n || head != m_nodes[0]) return false;
        for (size_t j = 0; j < n; ++j)
            if (m_nodes[j]->next != m_nodes[j + 1 == n ? 0 : j + 1] || m_nodes[j]->point != m_at[j])
                return false;
        return true;
    }

    // Whether the edge from v is one filed under `filing` and has not changed since; its slot
    // in `slot`.
    bool unchanged(const MeshVertex* v, unsigned long long filing, size_t& slot) const {
        if (v->frontSlot.filing != filing) return false;
        slot = v->frontSlot.slot;
        size_t after = slot + 1 == m_nodes.size() ? 0 : slot + 1;
        return slot < m_at.size() && m_nodes[slot] == v && v->next == m_nodes[after] &&
               v->point == m_at[slot] && v->next->point == m_at[after];
    }

    // The edges that the crossing test could find crossing the segment a-b, each once, in no
    // particular order (and some that it will not).
    void edgesNear(const CPoint2D& a, const CPoint2D& b, std::vector<size_t>& out) {
        const double far =
            std::max({m_far, std::fabs(a.x), std::fabs(a.y), std::fabs(b.x), std::fabs(b.y)});
        Line line;
        const Kind kind = describe(a, b, far, line);
        near(a, b, kind, line, far, out);
    }

    // The same for the filed edge j.
    void edgesNear(size_t j, std::vector<size_t>& out) {
        near(m_nodes[j]->point, m_nodes[j]->next->point, m_described[j].kind, m_described[j].line,
             m_far, out);
    }

private:
    struct Box {
        long long x0, y0, x1, y1;
    };
    struct Line {
        int bucket = 0;
        double offset = 0.0;
        size_t edge = 0;
    };
    enum Kind { kNever, kAnywhere, kKnown };
    struct Described {
        Kind kind = kNever;
        Line line;
    };

    void near(const CPoint2D& a, const CPoint2D& b, Kind kind, const Line& line, double far,
              std::vector<size_t>& out) {
        out.clear();
        ++m_stamp;
        auto add = [&](size_t j) {
            if (m_seen[j] == m_stamp) return;
            m_seen[j] = m_stamp;
            out.push_back(j);
        };
        if (kind == kNever) return;
        if (kind == kAnywhere) {
            for (size_t j = 0; j < m_nodes.size(); ++j) add(j);
            return;
        }
        const Box k = box(a, b, 0.0);
        for (long long y = k.y0; y <= k.y1; ++y)
            for (long long x = k.x0; x <= k.x1; ++x) {
                size_t c = static_cast<size_t>(y * m_nx + x);
                for (size_t i = m_start[c]; i < m_start[c + 1]; ++i) add(m_items[i]);
            }
        for (size_t j : m_anywhere) add(j);

        // Nearly parallel edges that the test could take for crossing a-b lie within `window`
        // of its line's distance from the middle: the rounding of the test, of the coordinates
        // to single precision, and the turn of the normal across a bucket, each bounded
        // generously.
        const double length = std::max(m_longest, a.dist(b));
        const double reach = std::max({m_reach, a.dist(m_middle), b.dist(m_middle)});
        const double window = 2.0 * (length * kBucket + kBucket * reach +
                                     8.0 * kFloatEpsilon * (length + 2.0 * reach + far));
        for (int step = -1; step <= 1; ++step) {
            int bucket = line.bucket + step;
            // Across the end of the range the direction turns by half a circle, and the
            // distance changes sign with it.
            double offset = line.offset;
            if (bucket < 0 || bucket >= kBuckets) {
                bucket = (bucket + kBuckets) % kBuckets;
                offset = -offset;
            }
            auto first = m_lines.begin() + static_cast<std::ptrdiff_t>(m_bucketStart[bucket]);
            auto last = m_lines.begin() + static_cast<std::ptrdiff_t>(m_bucketStart[bucket + 1]);
            auto from = std::lower_bound(first, last, offset - window,
                                         [](const Line& x, double o) { return x.offset < o; });
            for (; from != last && from->offset <= offset + window; ++from) add(from->edge);
        }
    }

    // The relative rounding of single precision.
    static constexpr double kFloatEpsilon = 5.9604644775390625e-8;
    static constexpr int kBuckets = 3142;
    static constexpr double kBucket = M_PI / kBuckets;

    // The direction bucket of the line through a-b and its signed distance from the middle.
    // kNever for a segment of no length (the test never finds it crossing anything), kAnywhere
    // when rounding to single precision can turn it by more than a quarter bucket.
    Kind describe(const CPoint2D& a, const CPoint2D& b, double far, Line& line) const {
        const double dx = b.x - a.x, dy = b.y - a.y;
        const double length = std::hypot(dx, dy);
        if (!std::isfinite(length)) return kAnywhere;
        if (length == 0.0) return kNever;
        if (8.0 * kFloatEpsilon * far / length > 0.25 * kBucket) return kAnywhere;
        double angle = std::atan2(dy, dx);
        if (angle < 0.0) angle += M_PI;
        int bucket = static_cast<int>(angle / kBucket);
        if (bucket >= kBuckets) bucket = kBuckets - 1;
        if (bucket < 0) bucket = 0;
        line.bucket = bucket;
        // The normal of the bucketed direction: the same for both senses of the segment.
        const double nx = -std::sin(angle), ny = std::cos(angle);
        line.offset = nx * (a.x - m_middle.x) + ny * (a.y - m_middle.y);
        return std::isfinite(line.offset) ? kKnown : kAnywhere;
    }

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
    std::vector<CPoint2D> m_at;
    std::vector<size_t> m_start, m_fill, m_items, m_seen;
    std::vector<Box> m_boxes;
    std::vector<Line> m_lines;
    std::vector<Described> m_described;
    std::vector<size_t> m_bucketStart, m_anywhere;
    size_t m_stamp = 0;
    double m_perCell = 1.0, m_minX = 0.0, m_minY = 0.0;
    double m_far = 0.0, m_longest = 0.0, m_reach = 0.0;
    CPoint2D m_middle;
    long long m_nx = 1, m_ny = 1;
};

}  // namespace

// The last front that SingleBoundaryIntersection searched and found free of crossings, filed in
// its grid. Crossings that are not there can only involve an edge that changed since: a search
// that looks at those few edges answers as the whole search would, for a fraction of its cost.
//
// MultipleBoundaryIntersection, which follows it in every row step, keeps the other front filed
// likewise: while that front stands still and the search of this front last filed it afresh,
// only the edges of this front that changed since can cross the other.
struct FrontCache {
    FrontGrid grid;
    unsigned long long filing = 0;
    bool crossingFree = false;
    std::vector<size_t> alive;
    size_t round = 0;
    std::vector<MeshVertex*> changed;
    std::vector<size_t> near;
    /// The search that last found the front free of crossings (a count of searches), and
    /// whether it filed the front afresh.
    unsigned long long checked = 0;
    bool filedAfresh = false;

    struct Other {
        FrontGrid grid;
        /// The filing of this front under which no edge of it crossed the other front.
        unsigned long long apartUnder = 0;
    } other;

    void keep() {
        static std::atomic<unsigned long long> s_filings{0};
        filing = ++s_filings;
        grid.remember(filing);
        alive.assign(grid.nodes().size(), 0);
        round = 0;
        changed.clear();
        crossingFree = true;
    }

    // True when no edge of this front crosses the other front from `head` (as the search of
    // every pair would find); false when that cannot be told cheaply. `checks` is the count of
    // searches of this front, which must have just found it free of crossings.
    bool stillApart(const MeshVertex* head, unsigned long long checks) {
        if (checked != checks || other.apartUnder != filing || !other.grid.stillAsFiled(head))
            return false;
        const std::vector<MeshVertex*>& nodes = other.grid.nodes();
        for (const MeshVertex* a : changed) {
            const MeshVertex* b = a->next;
            if (!other.grid.covers(a->point, b->point)) return false;
            const CLine2D edge(a->point, b->point);
            other.grid.edgesNear(a->point, b->point, near);
            for (size_t j : near) {
                const MeshVertex* e = nodes[j];
                const MeshVertex* f = e->next;
                if (e->isShapeBoundary || e == a || e == b || f == a || f == b) continue;
                if (edge.Intersects(CLine2D(e->point, f->point))) return false;
            }
        }
        return true;
    }

    // True when the front still has no two free edges that cross and share no node, as the
    // search over every pair would find; false when that cannot be told cheaply.
    bool stillCrossingFree(const MeshVertexList& list, long long limit) {
        if (!crossingFree || !list.head) return false;
        ++round;
        changed.clear();
        long long count = 0;
        MeshVertex* v = list.head;
        do {
            if (!v->next || ++count > limit) return false;
            size_t slot = 0;
            if (grid.unchanged(v, filing, slot))
                alive[slot] = round;
            else if (!v->isShapeBoundary)
                changed.push_back(v);
            v = v->next;
        } while (v != list.head);
        // Many changes (a smoothing moved the whole front): the full search files afresh.
        const size_t most = std::clamp<size_t>(static_cast<size_t>(count) / 8, 8, 64);
        if (changed.size() > most) return false;

        const std::vector<MeshVertex*>& nodes = grid.nodes();
        for (size_t i = 0; i < changed.size(); ++i) {
            MeshVertex* a = changed[i];
            MeshVertex* b = a->next;
            if (!grid.covers(a->point, b->point)) return false;
            const CLine2D edge(a->point, b->point);
            auto crosses = [&](const MeshVertex* e) {
                const MeshVertex* f = e->next;
                if (e == a || e == b || f == a || f == b) return false;
                return edge.Intersects(CLine2D(e->point, f->point));
            };
            // The crossing test gives the same answer either way round, so each pair is
            // tried once.
            grid.edgesNear(a->point, b->point, near);
            for (size_t j : near)
                if (alive[j] == round && !nodes[j]->isShapeBoundary && crosses(nodes[j]))
                    return false;
            for (size_t k = i + 1; k < changed.size(); ++k)
                if (crosses(changed[k])) return false;
        }
        return true;
    }
};

namespace {

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
        if (seamQualifies(v, list)) {
            IsTransitionSeamRequired(a, v, b);  // asked, and the seam is made whatever it says
            nodesMoved();
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

bool CMeshModel::seamQualifies(MeshVertex* v, MeshVertexList& list) {
    MeshVertex* a = v->prev;
    MeshVertex* b = v->next;
    // The decision rests on the positions (unchanged while m_moves is), on the two neighbours,
    // on the elements filed under v and a (their versions), and on v's angle.
    MeshVertex::SeamMemo& memo = v->seamMemo;
    const bool remembered = m_meshing && !m_referenceSeams;
    if (remembered && memo.moves == m_moves && memo.prev == a && memo.next == b &&
        memo.version == v->quadsVersion && memo.prevVersion == a->quadsVersion &&
        memo.interiorAngle == v->interiorAngle)
        return memo.qualifies;
    bool qualifies = (IsSmallInteriorAngle(v) || IsNegativeInteriorAngle(a, v, b, list)) &&
                     !v->isShapeBoundary && !(a->isShapeBoundary && b->isShapeBoundary);
    if (remembered)
        memo = {m_moves, a, b, v->quadsVersion, a->quadsVersion, v->interiorAngle, qualifies};
    return qualifies;
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
    const bool cached = m_meshing && !m_referenceIntersection;
    ++m_intersectionChecks;
    if (cached && m_frontCache && m_frontCache->stillCrossingFree(list, WalkLimit())) {
        m_frontCache->checked = m_intersectionChecks;
        m_frontCache->filedAfresh = false;
        return false;
    }

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

    bool crossed = false;
    auto crossing = [&](MeshVertex* v, MeshVertex* w, const CLine2D& edge, MeshVertex* e) {
        MeshVertex* f = e->next;
        if (e->isShapeBoundary) return;
        if (e == w || f == v || f == w) return;
        if (!edge.Intersects(CLine2D(e->point, f->point))) return;
        crossed = true;
        consider(v, w, e, f);
        consider(v->prev, v, e, f);
        consider(w, w->next, e, f);
        consider(v, w, e->prev, e);
        consider(v, w, f, f->next);
    };

    if (cached && !m_frontCache) m_frontCache = std::make_shared<FrontCache>();
    FrontGrid local;
    FrontGrid& grid = cached ? m_frontCache->grid : local;
    if (cached) m_frontCache->crossingFree = false;
    bool filed = false;
    if (!m_referenceIntersection && (filed = grid.build(list, WalkLimit()))) {
        // The same pairs in the same order as the walk below, from the edges near each edge.
        const std::vector<MeshVertex*>& nodes = grid.nodes();
        const size_t n = nodes.size();
        std::vector<size_t> near;
        for (size_t i = 0; i < n; ++i) {
            MeshVertex* v = nodes[i];
            if (v->isShapeBoundary) continue;
            MeshVertex* w = v->next;
            grid.edgesNear(i, near);
            // The walk meets e from three steps after v round to the node before v, and skips
            // boundary nodes; the few left are put in walk order.
            size_t kept = 0;
            for (size_t j : near) {
                size_t step = (j + n - i) % n;
                if (step >= 3 && !nodes[j]->isShapeBoundary) near[kept++] = step;
            }
            if (kept == 0) continue;
            std::sort(near.begin(), near.begin() + static_cast<std::ptrdiff_t>(kept));
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

    if (cached && filed && !crossed) {
        m_frontCache->keep();
        m_frontCache->checked = m_intersectionChecks;
        m_frontCache->filedAfresh = true;
    }

    // Only an even cut is made: an odd one would leave two fronts that cannot close in
    // quadrilaterals.
    const Candidate* best = nullptr;
    for (const Candidate& c : candidates)
        if (c.even && (!best || std::fabs(c.dot) > std::fabs(best->dot))) best = &c;
    if (!best) return false;
    Candidate cut = *best;
    nodesMoved();

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
    // In a row step this search follows SingleBoundaryIntersection at once, with nothing
    // changed between: what that search just found holds.
    const bool cached = m_meshing && !m_referenceIntersection && m_frontCache;
    if (cached && m_frontCache->stillApart(other->head, m_intersectionChecks)) return false;

    MeshVertex* v = nullptr;
    MeshVertex* p = nullptr;
    const long long limit = WalkLimit();
    FrontGrid local;
    FrontGrid& grid = cached ? m_frontCache->other.grid : local;
    if (cached) m_frontCache->other.apartUnder = 0;
    bool filed = false;
    // The longest edge of this front and its farthest coordinate, for the margins of the
    // other front's filing.
    double longest = 0.0, far = 0.0;
    walkFreeEdges(list, limit, [&](MeshVertex* u, MeshVertex* w, const CLine2D&) {
        longest = std::max(longest, u->point.dist(w->point));
        far = std::max({far, std::fabs(u->point.x), std::fabs(u->point.y), std::fabs(w->point.x),
                        std::fabs(w->point.y)});
        return false;
    });
    if (!m_referenceIntersection && std::isfinite(longest) && std::isfinite(far) &&
        (filed = grid.build(*other, limit, longest, far))) {
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
    if (!v) {
        // Every edge of this front was searched: if the search of this front has just filed
        // it, later searches need only look at the edges that change.
        FrontCache* c = cached ? m_frontCache.get() : nullptr;
        if (c && filed && c->checked == m_intersectionChecks && c->filedAfresh) {
            c->other.grid.remember();
            c->other.apartUnder = c->filing;
        }
        return false;
    }

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
                nodesMoved();
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
