#pragma once

// The paving quadrilateral mesher: closed planar boundaries in, an all-quadrilateral mesh
// out. Rows of elements are laid inward from every boundary, and the advancing fronts are
// folded, split, joined and closed until none is left.
//
// Typical use, on the interface thread:
//
//     Paver::CMeshModel model;
//     model.SetHWND(window);            // optional: progress lines go to this window
//     model.SetMessageIDs(WM_APP + 1);  // under this message number
//     for (each line of the outer boundary, counter-clockwise) model.AddBoundaryLine(line);
//     model.AddBoundary();
//     ... holes, clockwise ...
//     model.Mesh(1, size, 0, false);
//     for (int i = 0; i < model.NumQuads(); ++i) model.GetQuadVertIndex(i, 0..3) ...
//
// Ownership: the model owns every vertex and quadrilateral it makes until ClearAll or its
// destruction. Copies share those objects (the pointers in vertices, quads and fronts stay the
// same); the objects live until the last model sharing them lets go, so any copy may outlive
// its source safely. Changes made through one copy are seen by the others.
//
// Invariants (IsValid checks them; a test or the debug switch of Mesh calls it after every
// operation):
//   - every front in `fronts` is a closed circle: from its head, `next` comes back to the head
//     within the vertex count, `next->prev` is the node itself at every step, `tail` is
//     `head->prev`, and no node lies on two fronts or twice on one;
//   - every element in `quads` has four distinct, non-null corners in counter-clockwise order
//     (a positive signed area), and is filed in the `quads` of each of its corners;
//   - no element appears twice in `quads`, and no two elements have the same four corners;
//     no vertex appears twice in `vertices`;
//   - every coordinate of every vertex is finite.
// The per-node lists may hold elements that no longer have that node as a corner (see
// MeshVertex::quads); readers filter with Quad::HasVertex.

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/mesh/paver/Geometry.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

namespace Paver {

struct Quad;

/// Angle classes of a front node (MeshVertex::nodeClass), by its interior angle.
enum NodeClass : int {
    kRightAngleNode = 0,  ///< exactly 90 degrees
    kEndNode = 1,         ///< up to 108 degrees: a row ends here
    kSideNode = 2,        ///< up to 198 degrees: the row runs on
    kCornerNode = 3,      ///< up to 288 degrees: the row turns round the node
    kReversalNode = 4,    ///< up to 360 degrees: the row turns back
    kUnclassified = 5,    ///< beyond, and a new node
};

/// Where FindRow lays the next row (BoundaryDefinition::kind).
enum RowKind : int {
    kRowAtRightAngle = 0,        ///< at the one right-angled node
    kRowBetweenRightAngles = 1,  ///< from the first right-angled node to the second
    kRowBetweenEnds = 2,         ///< from the first end (or right-angled) node to the second
    kRowAtEnd = 3,               ///< at the one end node
    kRowAtSharpestSide = 4,      ///< no ends nor corners: across the sharpest node
    kRowAtSmallestAngle = 5,     ///< at the smallest angle that is no corner or reversal
    kNoRow = 6,                  ///< nothing found
};

/// One mesh node, and at the same time a link of a circular front.
struct ZEVCORE_API MeshVertex {
    MeshVertex* next = nullptr;
    MeshVertex* prev = nullptr;
    CPoint2D point;
    /// Angle class (NodeClass); kUnclassified until the node is classified.
    int nodeClass = kUnclassified;
    /// Interior angle in radians, measured counter-clockwise from the edge to next to the
    /// edge to prev.
    double interiorAngle = 0.0;
    CVector2D rowVectors[5];
    /// Positions proposed for the next row.
    CPoint2D rowPoints[5];
    bool isSpare = false;
    /// The smoothers leave this node where it is.
    bool isFixed = false;
    bool isLineStart = false;
    /// The node lies on the input boundary.
    bool isShapeBoundary = false;
    /// Moves by SmoothInterior since the last reset.
    int smoothCount = 0;
    /// Quadrilaterals filed under this node. ReplaceVertex moves whole lists, so this can
    /// hold elements that no longer have the node as a corner; test with Quad::HasVertex.
    std::vector<Quad*> quads;
    /// Output number; -1 until Mesh numbers the vertices.
    int index = -1;
    /// What SetupNode last saw and gave: its answer depends on these three positions only,
    /// so a node whose neighbourhood has not moved keeps its angle, class and proposals.
    struct SetupMemo {
        CPoint2D at, prev, next;
        double interiorAngle = 0.0;
        int nodeClass = -1;
        /// While Mesh runs: the neighbours it saw, and the model's move count then (no node
        /// has moved while that is unchanged).
        const MeshVertex *prevNode = nullptr, *nextNode = nullptr;
        unsigned long long moves = 0;
    } setupMemo;
    /// Bumped whenever `quads` changes or an element filed here changes a corner, so that a
    /// remembered answer about this node's elements can tell that it is still good.
    unsigned long long quadsVersion = 0;
    /// What Seam last decided for this node, and what the decision rested on (the model's
    /// bookkeeping while Mesh runs).
    struct SeamMemo {
        unsigned long long moves = 0;
        const MeshVertex *prev = nullptr, *next = nullptr;
        unsigned long long version = 0, prevVersion = 0;
        double interiorAngle = 0.0;
        bool qualifies = false;
    } seamMemo;
    /// The edge from this node in the model's last crossing-free front: which filing, and
    /// where in it.
    struct FrontSlot {
        unsigned long long filing = 0;
        size_t slot = 0;
    } frontSlot;

    MeshVertex() = default;
    explicit MeshVertex(const CPoint2D& p) : point(p) {}
};

/// One circular front, named by its head; tail is head->prev.
struct ZEVCORE_API MeshVertexList {
    MeshVertex* head = nullptr;
    MeshVertex* tail = nullptr;

    /// Vertices on the circle from head; stops at a null link, and after `limit` steps (a
    /// well-formed circle is never longer than the model's vertex count).
    int CountVertices(long long limit = 1000000000LL) const;
    /// True at the seventh vertex, without walking further.
    bool MoreThanSixVertices() const;
    bool operator==(const MeshVertexList& o) const { return head == o.head && tail == o.tail; }
};

/// A quadrilateral element; corners run counter-clockwise.
struct ZEVCORE_API Quad {
    MeshVertex* corners[4] = {nullptr, nullptr, nullptr, nullptr};
    /// Made by a split rather than by a row.
    bool isRefined = false;
    /// Creation number within the model; `quads` holds its elements in this order, so a
    /// node's own list, sorted by it, gives what a scan of `quads` would.
    unsigned long long serial = 0;

    /// Files the new element under each of its corners.
    Quad(MeshVertex* c0, MeshVertex* c1, MeshVertex* c2, MeshVertex* c3);
    Quad(const Quad&) = delete;
    Quad& operator=(const Quad&) = delete;

    bool HasVertex(const MeshVertex* v) const;
    /// The corner after or before v; null when v is no corner.
    MeshVertex* NextCorner(const MeshVertex* v) const;
    MeshVertex* PrevCorner(const MeshVertex* v) const;
    /// Puts `to` in place of `from`, moving all of from's filed elements to `to`, and resets
    /// the smoothing count of all four corners.
    void ReplaceVertex(MeshVertex* from, MeshVertex* to);
    /// Inside by the mesher's side test on the four edges taken backwards.
    bool ContainsPoint(const CPoint2D& p) const;
    /// p is closer to a corner than the first diagonal's length divided by f.
    bool IsNearPoint(const CPoint2D& p, double f) const;
    bool IsConcaveQuad() const;
};

/// Where the next row goes.
struct ZEVCORE_API BoundaryDefinition {
    MeshVertex* first = nullptr;
    MeshVertex* last = nullptr;
    /// A RowKind.
    int kind = kNoRow;
};

class CMeshStore;
struct FrontCache;

class ZEVCORE_API CMeshModel {
public:
    std::vector<std::vector<CLine2D>> boundaries;
    std::vector<CLine2D> currentBoundary;
    std::list<MeshVertexList> fronts;
    std::vector<void*> wedgeLog;
    std::vector<void*> tuckLog;
    std::vector<Quad*> quads;
    std::vector<CPoint2D> reservedPoints;
    std::vector<CPoint2D> shapePoints;
    /// Constraint points inside the shape, filled by the application.
    std::vector<CPoint2D> interiorPoints;
    /// Constraint points on the boundary, filled by the application.
    std::vector<CPoint2D> boundaryPoints;
    std::vector<CLine2D> reservedLines;
    std::vector<MeshVertex*> vertices;
    int iterationLimit = 1;
    bool clearInputs = true;
    bool rowAdjustPending = false;
    HWND messageWindow = nullptr;
    /// Every progress line put up, each followed by "\n".
    CString messages;
    int messageID = -1;
    int missedInteriorPoints = 0;

    CMeshModel();
    CMeshModel(const CMeshModel&);
    CMeshModel& operator=(const CMeshModel&);
    virtual ~CMeshModel();

    void AddBoundaryLine(CLine2D line);
    void AddBoundary();
    /// Meshes the boundaries entered (DrawShape1 when there are none). Answers false, with
    /// nothing changed, unless 0 < limit < 10000, size > 0 and reserved is false; answers
    /// false too when the twenty passes over the fronts ran out, with what was made kept.
    /// `divisions` has no effect.
    bool Mesh(int limit, double size, int divisions, bool reserved);
    int NumVertices() const { return static_cast<int>(vertices.size()); }
    int NumQuads() const { return static_cast<int>(quads.size()); }
    /// 0 for an index out of range.
    double GetX(int i) const;
    double GetY(int i) const;
    /// The output number of a corner (0 to 3); -1 for any index out of range.
    int GetQuadVertIndex(int quad, int corner) const;
    int MissedInteriorPoints() const { return missedInteriorPoints; }
    /// Sets iterationLimit to 0. A running Mesh does not read it and runs on to the end.
    void CancelMeshing() { iterationLimit = 0; }
    void ClearAll();
    void SetHWND(HWND window) { messageWindow = window; }
    void SetMessageIDs(int id) { messageID = id; }
    void clearMessages();
    /// Shows a line in the message window (wparam 0, lparam the text) and logs it in
    /// `messages`; a text of 1024 characters or more is dropped.
    void putUpMessage(const char* text);

    void DrawShape1();
    void DrawShape2();
    void DrawShape3();
    void DrawShape4();
    void DrawShape5();
    /// Draws built-in shape `n` (1 to 5); false, with nothing drawn, for any other number.
    bool DrawShape(int n);

    /// The quadrilateral test of the mesher: the corners a, b, c, d in order, as a cycle,
    /// each with a strictly positive turn. Straight, degenerate and clockwise count as
    /// concave.
    static bool IsConcave(CPoint2D a, CPoint2D b, CPoint2D c, CPoint2D d);

    /// Extended mode, off by default: the outline is divided by a size that follows the
    /// region (smaller at narrow gaps, short sides and tight curves, graded back up; a
    /// polyline drawn for a curve is divided as a curve), the region is triangulated on it at
    /// twice the size, the triangles are paired into quadrilaterals and every element is split
    /// once, to an all-quadrilateral mesh at the size asked. Mesh then answers whether the
    /// region was closed. Off, Mesh runs exactly as stated.
    void SetExtended(bool on) { m_extended = on; }
    bool IsExtended() const { return m_extended; }
    /// The loops extended mode meshed, in order, each as the nodes of the mesh on it: every
    /// one lies on the input outline, and where a curve was divided afresh they stand for it.
    /// The elements cover exactly the region these loops bound. Empty in the stated mode and
    /// after a run that could not close the region.
    const std::vector<std::vector<CPoint2D>>& MeshedLoops() const { return m_meshedLoops; }

    /// True when the invariants at the top of this header hold.
    bool IsValid() const { return ValidityProblem().empty(); }
    /// The first invariant found broken, in words; empty when all hold.
    std::string ValidityProblem() const;
    /// Debug switch: Mesh checks the invariants after every operation and keeps the first
    /// failure, with the operation's name, in FirstInvalidStep(). Off by default.
    void SetCheckInvariants(bool on) { m_checkInvariants = on; }
    const std::string& FirstInvalidStep() const { return m_firstInvalidStep; }

    /// Boundary smoothing normally finds each node's elements through the node's own list;
    /// the reference path scans every element per node instead. Both give the same mesh to
    /// the bit.
    void SetReferenceBoundarySmoothing(bool on) { m_referenceSmoothing = on; }
    /// The search for a front crossing itself normally looks only at nearby edges, through a
    /// grid, and after a search that found no crossing only at the edges that changed since;
    /// the reference path tries every pair of edges every time. Both give the same mesh to
    /// the bit.
    void SetReferenceIntersection(bool on) { m_referenceIntersection = on; }
    /// While Mesh runs, Seam normally reuses what it decided for a node whose neighbours,
    /// elements and positions have not changed since; the reference path decides afresh for
    /// every node. Both give the same mesh to the bit.
    void SetReferenceSeams(bool on) { m_referenceSeams = on; }

protected:
    // The stages of Mesh, and the repairs it does not reach; protected so that an application
    // (or a test) can drive them one at a time from a derived class.
    bool PrepareShape(double size, int divisions, bool useDivisions);

    // Rows.
    void SetupNode(MeshVertex* v, MeshVertex* prev, MeshVertex* next);
    void SetNodeClassification(MeshVertex* v);
    void ProcessBoundary(MeshVertexList& list);
    bool FindRow(BoundaryDefinition& def, MeshVertexList list);
    void AddRow(BoundaryDefinition& def, MeshVertexList& list);
    void AddRowPortion(MeshVertex* v, MeshVertex* a, MeshVertex* b, MeshVertexList& list);
    void AdjustRow(BoundaryDefinition& def, MeshVertexList& list);
    bool IsSmallInteriorAngle(MeshVertex* v) const;
    bool IsNegativeInteriorAngle(MeshVertex* a, MeshVertex* v, MeshVertex* b,
                                 MeshVertexList& list) const;
    bool IsTransitionSeamRequired(MeshVertex* a, MeshVertex* v, MeshVertex* b) const;
    void CheckForWedgeInsertion(MeshVertexList& list);
    void CheckForTuckInsertion(BoundaryDefinition& def, MeshVertexList& list);
    void InsertTucks(std::vector<MeshVertex*>& run, double angleSum, MeshVertexList& list);
    bool InsertTuck(MeshVertex* v, MeshVertexList& list);
    bool InsertExpansionWedge(MeshVertex* v, MeshVertexList& list);
    bool InsertTransitionWedge(MeshVertex* a, MeshVertex* v, MeshVertex* b, MeshVertexList& list);

    // Seams and closure.
    bool Seam(MeshVertexList& list);
    bool MergedBoundariesAreEven(MeshVertexList& list, MeshVertex* a, MeshVertex* b, MeshVertex* c,
                                 MeshVertex* d) const;
    bool SingleBoundaryIntersection(MeshVertexList& list, MeshVertex* ignored);
    bool MultipleBoundaryIntersection(MeshVertexList& list);
    void RemoveBoundary(MeshVertexList list);

    // Smoothing and clean-up.
    void Smooth(MeshVertexList& list);
    void SmoothBoundary(MeshVertexList& list, MeshVertex* first, MeshVertex* last);
    void SmoothInterior();
    void CleanupMesh();
    bool SplitQuad(Quad& q);
    void RemoveQuad(Quad* q);
    void RefineMesh();
    bool SplitSideQuad(Quad& q, int side);
    int FixConcaveQuads();
    void FreeAllFixedVertices();

    // Interior points.
    void InsertInteriorPoints();
    int FitMeshToInteriorPoints();
    void SplitQuadsAtInteriorPoints(bool near);
    MeshVertex* MoveQuadVertexToPoint(Quad& q, const CPoint2D& p);
    MeshVertex* FindClosestMutableVertex(Quad& q, const CPoint2D& p);
    bool IsPointOnBoundary(const CPoint2D& p) const;

    // Making and unmaking nodes and elements in the model's store.
    MeshVertex* NewVertex(const CPoint2D& p);
    Quad* NewQuad(MeshVertex* c0, MeshVertex* c1, MeshVertex* c2, MeshVertex* c3);
    /// Frees an element made by NewQuad that never entered `quads`.
    void DiscardQuad(Quad* q);
    /// Frees a vertex made by NewVertex that never entered `vertices`.
    void DiscardVertex(MeshVertex* v);
    /// The longest walk a well-formed front can need.
    long long WalkLimit() const { return static_cast<long long>(vertices.size()) + 2; }
    int FrontSize(const MeshVertexList& list) const { return list.CountVertices(WalkLimit()); }
    /// The distinct elements that have v as a corner, in the order of `quads`: the answer of
    /// a scan over all elements, from v's own list.
    void ElementsAt(const MeshVertex* v, std::vector<Quad*>& out) const;
    int ElementCountAt(const MeshVertex* v) const;

private:
    void addShapeLines(const std::vector<CPoint2D>& points);
    void rowStep(MeshVertexList& list, BoundaryDefinition& def, int& rowCounter);
    void smoothBoundaryNode(MeshVertex* v, const std::vector<Quad*>& found);

    /// With the debug switch on, records the first broken invariant after `operation`.
    void checkpoint(const char* operation);

    std::shared_ptr<CMeshStore> m_store;
    bool m_referenceSmoothing = false;
    bool m_referenceIntersection = false;
    bool m_referenceSeams = false;
    /// Remembered answers are only trusted while Mesh drives the model: nothing else moves
    /// nodes behind its back then.
    bool m_meshing = false;
    /// Changes whenever a node may have moved; remembered answers carry the value they saw.
    unsigned long long m_moves = 0;
    void nodesMoved();
    /// The last front found free of crossings, filed for the next search.
    std::shared_ptr<FrontCache> m_frontCache;
    /// Searches of a front for crossings of itself so far.
    unsigned long long m_intersectionChecks = 0;
    /// Whether node v qualifies for a seam, as Seam's walk decides it.
    bool seamQualifies(MeshVertex* v, MeshVertexList& list);
    bool m_checkInvariants = false;
    bool m_extended = false;
    int m_rowCap = 100;
    int m_passCap = 20;
    /// Extended mode: interior nodes that may still move, in the order of `vertices`, and
    /// how much of `vertices` has been looked at for them.
    std::vector<MeshVertex*> m_movable;
    size_t m_movableSeen = 0;
    void setCaps(double size);
    /// Extended mode's run, in place of paving: false, with no elements, when the region
    /// could not be closed.
    bool meshExtended(double size);
    /// The end of every run: numbers the vertices, reports, and answers `answer`.
    bool finishRun(bool answer);
    std::vector<std::vector<CPoint2D>> m_meshedLoops;
    std::string m_firstInvalidStep;
};

}  // namespace Paver
