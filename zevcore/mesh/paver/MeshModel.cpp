#include "zevcore/mesh/paver/MeshModel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <set>
#include <unordered_set>

#include "zevcore/frame/Math.h"
#include "zevcore/platform/services/Host.h"

namespace Paver {

// Every vertex and element a model makes lives here until the last model sharing the store
// lets go, so that copies of a model (which share pointers) can never free each other's
// objects, and elements taken out of `quads` are still freed in the end.
class CMeshStore {
public:
    std::vector<std::unique_ptr<MeshVertex>> vertices;
    std::vector<std::unique_ptr<Quad>> quads;
    unsigned long long nextSerial = 0;

    template <class T>
    static void discard(std::vector<std::unique_ptr<T>>& items, T* item) {
        for (auto it = items.rbegin(); it != items.rend(); ++it) {
            if (it->get() == item) {
                items.erase(std::next(it).base());
                return;
            }
        }
    }
};

// ---------------------------------------------------------------------------------------------
// Fronts and elements

int MeshVertexList::CountVertices(long long limit) const {
    if (!head) return 0;
    int count = 0;
    const MeshVertex* v = head;
    long long steps = 0;
    do {
        ++count;
        v = v->next;
    } while (v && v != head && ++steps < limit);
    return count;
}

bool MeshVertexList::MoreThanSixVertices() const {
    if (!head) return false;
    const MeshVertex* v = head;
    for (int count = 1; count <= 6; ++count) {
        v = v->next;
        if (!v || v == head) return false;
    }
    return true;
}

Quad::Quad(MeshVertex* c0, MeshVertex* c1, MeshVertex* c2, MeshVertex* c3)
    : corners{c0, c1, c2, c3} {
    for (MeshVertex* c : corners)
        if (c) {
            c->quads.push_back(this);
            ++c->quadsVersion;
        }
}

bool Quad::HasVertex(const MeshVertex* v) const {
    return corners[0] == v || corners[1] == v || corners[2] == v || corners[3] == v;
}

MeshVertex* Quad::NextCorner(const MeshVertex* v) const {
    for (int i = 0; i < 4; ++i)
        if (corners[i] == v) return corners[(i + 1) % 4];
    return nullptr;
}

MeshVertex* Quad::PrevCorner(const MeshVertex* v) const {
    for (int i = 0; i < 4; ++i)
        if (corners[i] == v) return corners[(i + 3) % 4];
    return nullptr;
}

void Quad::ReplaceVertex(MeshVertex* from, MeshVertex* to) {
    for (MeshVertex* c : corners)
        if (c) {
            c->smoothCount = 0;
            ++c->quadsVersion;
        }
    if (to) ++to->quadsVersion;
    for (MeshVertex*& c : corners) {
        if (c != from || !from || !to) continue;
        if (from != to) {
            to->quads.insert(to->quads.end(), from->quads.begin(), from->quads.end());
            from->quads.clear();
        }
        c = to;
    }
}

bool Quad::ContainsPoint(const CPoint2D& p) const {
    for (int i = 0; i < 4; ++i)
        if (!corners[i]) return false;
    // Each edge backwards: the side test counts the right-hand side as "left".
    for (int i = 0; i < 4; ++i) {
        CLine2D edge(corners[(i + 1) % 4]->point, corners[i]->point);
        if (!edge.IsPointLeftOfLine(p)) return false;
    }
    return true;
}

bool Quad::IsNearPoint(const CPoint2D& p, double f) const {
    for (int i = 0; i < 4; ++i)
        if (!corners[i]) return false;
    double s = corners[0]->point.dist(corners[2]->point) / f;
    for (MeshVertex* c : corners)
        if (c->point.dist(p) < s) return true;
    return false;
}

bool Quad::IsConcaveQuad() const {
    for (int i = 0; i < 4; ++i)
        if (!corners[i]) return true;
    return CMeshModel::IsConcave(corners[0]->point, corners[1]->point, corners[2]->point,
                                 corners[3]->point);
}

// ---------------------------------------------------------------------------------------------
// The model

CMeshModel::CMeshModel() : m_store(std::make_shared<CMeshStore>()) {
    ClearAll();
}

CMeshModel::CMeshModel(const CMeshModel&) = default;
CMeshModel& CMeshModel::operator=(const CMeshModel&) = default;

CMeshModel::~CMeshModel() {
    ClearAll();
}

void CMeshModel::AddBoundaryLine(CLine2D line) {
    currentBoundary.push_back(line);
}

void CMeshModel::AddBoundary() {
    boundaries.push_back(currentBoundary);
    currentBoundary.clear();
}

double CMeshModel::GetX(int i) const {
    return i >= 0 && i < NumVertices() ? vertices[i]->point.x : 0.0;
}

double CMeshModel::GetY(int i) const {
    return i >= 0 && i < NumVertices() ? vertices[i]->point.y : 0.0;
}

int CMeshModel::GetQuadVertIndex(int quad, int corner) const {
    if (quad < 0 || quad >= NumQuads() || corner < 0 || corner > 3) return -1;
    const MeshVertex* v = quads[quad]->corners[corner];
    return v ? v->index : -1;
}

void CMeshModel::ClearAll() {
    if (clearInputs) {
        boundaries.clear();
        interiorPoints.clear();
        shapePoints.clear();
        reservedPoints.clear();
    }
    fronts.clear();
    reservedLines.clear();
    vertices.clear();
    m_movable.clear();
    m_movableSeen = 0;
    m_frontCache.reset();
    wedgeLog.clear();
    tuckLog.clear();
    quads.clear();
    missedInteriorPoints = 0;
    if (!m_store || m_store.use_count() > 1)
        m_store = std::make_shared<CMeshStore>();  // the other copies keep the old objects
    else {
        m_store->quads.clear();
        m_store->vertices.clear();
    }
}

MeshVertex* CMeshModel::NewVertex(const CPoint2D& p) {
    m_store->vertices.push_back(std::make_unique<MeshVertex>(p));
    return m_store->vertices.back().get();
}

Quad* CMeshModel::NewQuad(MeshVertex* c0, MeshVertex* c1, MeshVertex* c2, MeshVertex* c3) {
    m_store->quads.push_back(std::make_unique<Quad>(c0, c1, c2, c3));
    m_store->quads.back()->serial = m_store->nextSerial++;
    return m_store->quads.back().get();
}

void CMeshModel::ElementsAt(const MeshVertex* v, std::vector<Quad*>& out) const {
    // A node's list can repeat elements many times over (ReplaceVertex appends whole lists,
    // and a node that seams keep joining gathers thousands), so it is sorted, not searched.
    out.clear();
    if (v->quads.size() > quads.size()) {  // a scan of all elements is then the cheaper way
        for (Quad* q : quads)
            if (q->HasVertex(v)) out.push_back(q);
        return;
    }
    for (Quad* q : v->quads)
        if (q->HasVertex(v)) out.push_back(q);
    std::sort(out.begin(), out.end(),
              [](const Quad* a, const Quad* b) { return a->serial < b->serial; });
    out.erase(std::unique(out.begin(), out.end()), out.end());
}

int CMeshModel::ElementCountAt(const MeshVertex* v) const {
    const auto& held = v->quads;
    if (held.size() <= 8) {
        int count = 0;
        for (size_t i = 0; i < held.size(); ++i) {
            if (!held[i]->HasVertex(v)) continue;
            bool repeated = false;
            for (size_t k = 0; k < i && !repeated; ++k) repeated = held[k] == held[i];
            count += repeated ? 0 : 1;
        }
        return count;
    }
    std::vector<Quad*> distinct;
    ElementsAt(v, distinct);
    return static_cast<int>(distinct.size());
}

void CMeshModel::DiscardQuad(Quad* q) {
    for (MeshVertex* c : q->corners)
        if (c) {
            std::erase(c->quads, q);
            ++c->quadsVersion;
        }
    CMeshStore::discard(m_store->quads, q);
}

void CMeshModel::nodesMoved() {
    // One counter for all models: a node shared by copies never sees the same value from two.
    static std::atomic<unsigned long long> s_moves{0};
    m_moves = ++s_moves;
}

void CMeshModel::DiscardVertex(MeshVertex* v) {
    CMeshStore::discard(m_store->vertices, v);
}

// ---------------------------------------------------------------------------------------------
// Progress lines

namespace {
char s_messageBuffers[10][1024];
int s_nextBuffer = 0;
}  // namespace

void CMeshModel::putUpMessage(const char* text) {
    if (!text) return;
    size_t length = std::strlen(text);
    if (length >= 1024) return;
    if (!messageWindow) messageWindow = ZEVWindows().MainWindow();
    char* buffer = s_messageBuffers[s_nextBuffer];
    s_nextBuffer = (s_nextBuffer + 1) % 10;
    std::memcpy(buffer, text, length + 1);
    if (messageWindow)
        ZEVWindows().SendMessage(messageWindow, static_cast<UINT>(messageID), 0,
                                 reinterpret_cast<LPARAM>(buffer));
    messages += text;
    messages += "\n";
}

void CMeshModel::clearMessages() {
    if (!messageWindow) messageWindow = ZEVWindows().MainWindow();
    if (messageWindow) ZEVWindows().PostMessage(messageWindow, static_cast<UINT>(messageID), 1, 0);
    messages.Empty();
}

// ---------------------------------------------------------------------------------------------
// Built-in shapes

void CMeshModel::addShapeLines(const std::vector<CPoint2D>& points) {
    ClearAll();
    for (size_t i = 0; i < points.size(); ++i)
        AddBoundaryLine(CLine2D(points[i], points[(i + 1) % points.size()]));
    AddBoundary();
}

bool CMeshModel::DrawShape(int n) {
    switch (n) {
        case 1:
            DrawShape1();
            return true;
        case 2:
            DrawShape2();
            return true;
        case 3:
            DrawShape3();
            return true;
        case 4:
            DrawShape4();
            return true;
        case 5:
            DrawShape5();
            return true;
        default:
            return false;
    }
}

void CMeshModel::DrawShape1() {
    addShapeLines({{0, -4}, {4, -4}, {8.0 / 3.0, 4}, {-4, 4}, {-4, 0}, {4.0 / 3.0, 4.0 / 3.0}});
}

void CMeshModel::DrawShape2() {
    const double t = 4.0 / 3.0;
    addShapeLines({{-4, -4},
                   {4, -4},
                   {4, -t},
                   {t, -t},
                   {t, t},
                   {4, t},
                   {4, 4},
                   {-4, 4},
                   {-4, t},
                   {-t, t},
                   {-t, -t},
                   {-4, -t}});
}

void CMeshModel::DrawShape3() {
    std::vector<CPoint2D> points;
    for (int k = 0; k < 8; ++k) {
        double a = 2.0 * M_PI * k / 8.0;
        points.emplace_back(4.0 * std::cos(a), 4.0 * std::sin(a));
    }
    addShapeLines(points);
}

void CMeshModel::DrawShape4() {
    addShapeLines({{-4, -4}, {4, -4}, {0, 0}});
}

void CMeshModel::DrawShape5() {
    addShapeLines({{-3, -3}, {3, -3}, {3, 1.8}, {1.8, 1.8}, {1.8, 3}, {-3, 3}});
}

// ---------------------------------------------------------------------------------------------
// Dividing the boundaries into fronts

namespace {

// Divisions of one line are capped so that a tiny size cannot exhaust memory or overflow the
// count; a NaN length gives the minimum of four.
constexpr double kMaxSegmentsPerLine = 100000.0;

int segmentCount(double length, double s) {
    double q = length / s;
    int n;
    if (std::isnan(q))
        n = 1;
    else if (q >= kMaxSegmentsPerLine)
        n = static_cast<int>(kMaxSegmentsPerLine) + 1;
    else
        n = static_cast<int>(q) + 1;
    if (n < 4) n = 4;
    if (n % 2 != 0) n += 1;
    return n;
}

}  // namespace

bool CMeshModel::PrepareShape(double size, int divisions, bool useDivisions) {
    if (!quads.empty()) return true;
    if (boundaries.empty()) DrawShape1();

    // Element size is at most a fifth of the gap between two boundaries.
    for (size_t i = 0; i < boundaries.size(); ++i) {
        for (size_t j = i + 1; j < boundaries.size(); ++j) {
            for (CLine2D& a : boundaries[i]) {
                for (CLine2D& b : boundaries[j]) {
                    double g = 0.2 * a.JL_Distance_to(b);
                    if (g < a.maxElementSize) a.maxElementSize = g;
                    if (g < b.maxElementSize) b.maxElementSize = g;
                }
            }
        }
    }

    for (const std::vector<CLine2D>& boundary : boundaries) {
        std::vector<CLine2D> lines = boundary;
        if (lines.empty()) break;
        const CPoint2D& open = lines.back().end;
        const CPoint2D& first = lines.front().start;
        // A gap along one axis only is left open on purpose.
        if (open.x != first.x && open.y != first.y) lines.emplace_back(open, first);

        auto makeVertex = [this](const CPoint2D& p) {
            MeshVertex* v = NewVertex(p);
            v->nodeClass = kUnclassified;
            v->interiorAngle = 0.0;
            v->isFixed = true;
            v->isShapeBoundary = true;
            vertices.push_back(v);
            shapePoints.push_back(p);
            return v;
        };

        std::vector<MeshVertex*> ring;
        for (const CLine2D& line : lines) {
            if (useDivisions && divisions > 0) size = line.start.dist(line.end) / divisions;
            double s = std::min(size, line.maxElementSize);
            int n = segmentCount(line.start.dist(line.end), s);
            for (int k = 0; k < n; ++k) {
                MeshVertex* v = makeVertex(
                    line.GetInterpolatedPoint2D(static_cast<float>(k) / static_cast<float>(n)));
                v->isLineStart = k == 0;
                ring.push_back(v);
            }
        }
        for (size_t i = 0; i < ring.size(); ++i) {
            ring[i]->next = ring[(i + 1) % ring.size()];
            ring[(i + 1) % ring.size()]->prev = ring[i];
        }

        // Boundary constraint points become front vertices. Each insertion splits a segment
        // strictly inside, so the walk ends; the cap only guards against pathological input.
        MeshVertex* head = ring.front();
        size_t inserted = 0;
        const size_t maxInserted = boundaryPoints.size() * (ring.size() + 1);
        MeshVertex* v = head;
        do {
            CLine2D segment(v->point, v->next->point);
            for (const CPoint2D& p : boundaryPoints) {
                if (inserted >= maxInserted) break;
                if (!segment.IsPointOnLine(p, 0.001f) || segment.PointType(p, 0.001f) != eNotAtEnds)
                    continue;
                MeshVertex* w = makeVertex(p);
                w->next = v->next;
                w->prev = v;
                v->next->prev = w;
                v->next = w;
                ++inserted;
            }
            v = v->next;
        } while (v != head);

        MeshVertexList list{head, head->prev};
        if (FrontSize(list) % 2 != 0) {
            MeshVertex* w = makeVertex(CLine2D(head->point, head->next->point).GetMidpoint());
            w->next = head->next;
            w->prev = head;
            head->next->prev = w;
            head->next = w;
        }
        fronts.push_back({head, head->prev});
    }

    CString line;
    line.Format("Mesh element size is ~%s", nice(size));
    putUpMessage(line);
    putUpMessage("Shape is ready for mesher");
    return true;
}

// ---------------------------------------------------------------------------------------------
// The driver

void CMeshModel::rowStep(MeshVertexList& list, BoundaryDefinition& def, int& rowCounter) {
    for (;;) {
        if (rowCounter++ >= m_rowCap) return;
        if (!FindRow(def, list)) return;
        AddRow(def, list);
        checkpoint("AddRow");
        if (!list.MoreThanSixVertices()) return;
        for (int twice = 0; twice < 2; ++twice) {
            if (Seam(list)) {
                while (list.MoreThanSixVertices() && Seam(list)) {
                }
                Smooth(list);
                checkpoint("Seam");
            }
            if (!list.MoreThanSixVertices()) return;
        }
        bool flag = SingleBoundaryIntersection(list, nullptr);
        checkpoint("SingleBoundaryIntersection");
        if (!list.MoreThanSixVertices()) return;
        if (flag) Smooth(list);
        flag = MultipleBoundaryIntersection(list);
        checkpoint("MultipleBoundaryIntersection");
        if (!list.MoreThanSixVertices()) return;
        if (flag) Smooth(list);
        if (rowAdjustPending) {
            ProcessBoundary(list);
            Smooth(list);
            AdjustRow(def, list);
            Smooth(list);
            rowAdjustPending = false;
            checkpoint("AdjustRow");
        }
        if (rowCounter % 5 == 0) putUpMessage(".");
        if (!list.MoreThanSixVertices()) return;
    }
}

bool CMeshModel::Mesh(int limit, double size, int divisions, bool reserved) {
    if (!(limit > 0 && limit < 10000 && size > 0.0 && !reserved)) return false;
    iterationLimit = limit;
    ZEVCursor().BeginWaitCursor();
    clearMessages();
    putUpMessage("Preparing shape for mesher...");
    m_firstInvalidStep.clear();
    m_meshedLoops.clear();
    if (m_extended) {
        const bool closed = meshExtended(size);
        checkpoint("meshExtended");
        return finishRun(closed);
    }
    const double pavedSize = size;
    PrepareShape(pavedSize, divisions, false);
    checkpoint("PrepareShape");
    putUpMessage("Meshing boundaries...");
    // The limit was only a range check: no loop below reads iterationLimit, so CancelMeshing
    // cannot stop a run.
    iterationLimit = 100;
    setCaps(pavedSize);
    m_movable.clear();
    m_movableSeen = 0;
    m_frontCache.reset();
    nodesMoved();
    // A progress window may stop the run by throwing: the memories are not trusted after.
    m_meshing = true;
    struct MeshingScope {
        CMeshModel& model;
        ~MeshingScope() {
            model.m_meshing = false;
            model.m_frontCache.reset();
        }
    } meshing{*this};

    int pass = 0;
    auto current = fronts.begin();
    while (!fronts.empty() && pass++ < m_passCap) {
        BoundaryDefinition def;
        int rowCounter = 0;
        MeshVertexList& list = *current;
        if (list.MoreThanSixVertices()) {
            rowStep(list, def, rowCounter);
            if (rowCounter >= 5) putUpMessage("  ");
        }
        if (fronts.empty()) break;
        MeshVertexList worked = list;
        auto following = std::next(current);
        if (FrontSize(worked) <= 6) {
            // RemoveBoundary erases by value; find the following entry again afterwards.
            bool atEnd = following == fronts.end();
            MeshVertexList followingValue = atEnd ? MeshVertexList{} : *following;
            RemoveBoundary(worked);
            checkpoint("RemoveBoundary");
            following =
                atEnd ? fronts.end() : std::find(fronts.begin(), fronts.end(), followingValue);
        }
        current = following;
        if (current == fronts.end()) {
            if (fronts.empty()) break;
            current = fronts.begin();
        }
    }

    m_meshing = false;
    m_frontCache.reset();

    putUpMessage("Smoothing the mesh...");
    SmoothInterior();
    SmoothInterior();
    checkpoint("SmoothInterior");
    putUpMessage("Refining the mesh...");
    InsertInteriorPoints();
    checkpoint("InsertInteriorPoints");
    putUpMessage("Cleaning up the mesh...");
    if (fronts.empty()) {
        CleanupMesh();
        checkpoint("CleanupMesh");
    }
    return finishRun(pass < m_passCap);
}

bool CMeshModel::finishRun(bool answer) {
    for (size_t i = 0; i < vertices.size(); ++i) vertices[i]->index = static_cast<int>(i);

    CString line;
    line.Format("Meshing complete: Created %i elements", NumQuads());
    putUpMessage(line);
    if (missedInteriorPoints > 0) {
        line.Format("\r\nWarning: %d of %d interior constraint-points were not meshed properly!",
                    missedInteriorPoints, static_cast<int>(interiorPoints.size()));
        putUpMessage(line);
        putUpMessage("(A coarser or finer mesh may avoid this issue.)\r\n");
    }
    ZEVCursor().EndWaitCursor();
    return answer;
}

}  // namespace Paver

// ---------------------------------------------------------------------------------------------
// Extended mode

namespace Paver {

void CMeshModel::setCaps(double) {
    m_rowCap = 100;
    m_passCap = 20;
}

}  // namespace Paver

// ---------------------------------------------------------------------------------------------
// Invariants

namespace Paver {

std::string CMeshModel::ValidityProblem() const {
    auto fmt = [](const char* what, size_t i) {
        return std::string(what) + " " + std::to_string(i);
    };
    std::unordered_set<const MeshVertex*> known;
    for (size_t i = 0; i < vertices.size(); ++i) {
        const MeshVertex* v = vertices[i];
        if (!v) return fmt("null vertex", i);
        if (!known.insert(v).second) return fmt("vertex listed twice:", i);
        if (!std::isfinite(v->point.x) || !std::isfinite(v->point.y))
            return fmt("vertex with a coordinate that is not finite:", i);
    }
    std::unordered_set<const MeshVertex*> onFront;
    size_t f = 0;
    for (const MeshVertexList& list : fronts) {
        if (!list.head) return fmt("front with no head:", f);
        if (list.tail != list.head->prev) return fmt("front whose tail is not head->prev:", f);
        const MeshVertex* v = list.head;
        size_t steps = 0;
        do {
            if (!known.count(v)) return fmt("front node not in the model's vertices, front", f);
            if (!v->next || v->next->prev != v) return fmt("front with a broken link:", f);
            if (!onFront.insert(v).second)
                return fmt("node on two fronts or twice on one, front", f);
            v = v->next;
            if (++steps > vertices.size()) return fmt("front that does not close:", f);
        } while (v != list.head);
        ++f;
    }
    std::unordered_set<const Quad*> seen;
    std::set<std::array<const MeshVertex*, 4>> cornerSets;
    for (size_t i = 0; i < quads.size(); ++i) {
        const Quad* q = quads[i];
        if (!q) return fmt("null element", i);
        if (!seen.insert(q).second) return fmt("element listed twice:", i);
        std::array<const MeshVertex*, 4> sorted{};
        for (int c = 0; c < 4; ++c) {
            const MeshVertex* v = q->corners[c];
            if (!v || !known.count(v)) return fmt("element with a corner not in the model:", i);
            if (std::find(v->quads.begin(), v->quads.end(), q) == v->quads.end())
                return fmt("element not filed under its corner:", i);
            sorted[c] = v;
        }
        std::sort(sorted.begin(), sorted.end());
        if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end())
            return fmt("element with a repeated corner:", i);
        if (!cornerSets.insert(sorted).second)
            return fmt("element with the corners of another:", i);
        // Measured from the first corner, so that a small element far from the origin keeps
        // its sign instead of losing it to the rounding of large products.
        const CPoint2D& o = q->corners[0]->point;
        auto cross = [&](const CPoint2D& a, const CPoint2D& b) {
            return (a.x - o.x) * (b.y - o.y) - (b.x - o.x) * (a.y - o.y);
        };
        const double twiceArea = cross(q->corners[1]->point, q->corners[2]->point) +
                                 cross(q->corners[2]->point, q->corners[3]->point);
        if (!(twiceArea > 0.0)) return fmt("element not counter-clockwise:", i);
    }
    return {};
}

void CMeshModel::checkpoint(const char* operation) {
    if (!m_checkInvariants || !m_firstInvalidStep.empty()) return;
    std::string problem = ValidityProblem();
    if (!problem.empty()) m_firstInvalidStep = std::string("after ") + operation + ": " + problem;
}

}  // namespace Paver
