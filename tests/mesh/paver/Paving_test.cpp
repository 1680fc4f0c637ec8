#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "TestModel.h"

using namespace paver_test;

namespace {

int countOf(const std::string& text, const std::string& part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

std::vector<CPoint2D> regularPolygon(int n, double r) {
    std::vector<CPoint2D> points;
    for (int k = 0; k < n; ++k)
        points.emplace_back(r * std::cos(2 * M_PI * k / n), r * std::sin(2 * M_PI * k / n));
    return points;
}

}  // namespace

TEST(PaverRows, NodeClassesByAngle) {
    const double deg = M_PI / 180.0;
    struct Case {
        double angle;
        int nodeClass;
    } cases[] = {{90 * deg, 0},     {90.0001 * deg, 0}, {60 * deg, 1},     {107.99 * deg, 1},
                 {108.01 * deg, 2}, {180 * deg, 2},     {197.99 * deg, 2}, {198.01 * deg, 3},
                 {270 * deg, 3},    {288.01 * deg, 4},  {2 * M_PI, 4},     {2 * M_PI + 0.01, 5}};
    TestModel model;
    MeshVertex* v = model.vertex(0, 0);
    for (const Case& c : cases) {
        v->interiorAngle = c.angle;
        model.SetNodeClassification(v);
        EXPECT_EQ(v->nodeClass, c.nodeClass) << c.angle / deg;
    }
}

TEST(PaverRows, SetupNodeMeasuresCounterClockwiseAndProposesInward) {
    TestModel model;
    MeshVertex* prev = model.vertex(-1, 0);
    MeshVertex* v = model.vertex(0, 0);
    MeshVertex* next = model.vertex(2, 0);
    model.SetupNode(v, prev, next);  // a straight front running along +x
    EXPECT_NEAR(v->interiorAngle, M_PI, 1e-6);
    EXPECT_EQ(v->nodeClass, 2);
    // The row goes to the left of the front, at the mean edge length 1.5.
    EXPECT_NEAR(v->rowPoints[0].x, 0.0, 1e-6);
    EXPECT_NEAR(v->rowPoints[0].y, 1.5, 1e-6);

    MeshVertex* up = model.vertex(0, 1);
    model.SetupNode(v, up, next);  // square corner: 90 degrees, class 0, no proposal
    EXPECT_NEAR(v->interiorAngle, M_PI / 2, 1e-6);
    EXPECT_EQ(v->nodeClass, 0);

    MeshVertex* down = model.vertex(0, -1);
    model.SetupNode(v, down, next);  // the reflex corner: 270 degrees, three proposals
    EXPECT_NEAR(v->interiorAngle, 1.5 * M_PI, 1e-6);
    EXPECT_EQ(v->nodeClass, 3);
    const double l = 1.5, d = std::sqrt(2.0) * l;  // sin(90 degrees) = 1
    EXPECT_NEAR(v->rowPoints[0].x, -l, 1e-5);
    EXPECT_NEAR(v->rowPoints[0].y, 0.0, 1e-5);
    EXPECT_NEAR(v->rowPoints[1].x, -d / std::sqrt(2.0), 1e-5);
    EXPECT_NEAR(v->rowPoints[1].y, d / std::sqrt(2.0), 1e-5);
    EXPECT_NEAR(v->rowPoints[2].x, 0.0, 1e-5);
    EXPECT_NEAR(v->rowPoints[2].y, l, 1e-5);
}

TEST(PaverRows, AFrontOfRightAnglesRowsFromTheFirstPair) {
    TestModel model;
    MeshVertexList& list = model.ringAt({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    Paver::BoundaryDefinition def;
    EXPECT_TRUE(model.FindRow(def, list));
    EXPECT_EQ(def.first, list.head);
    EXPECT_EQ(def.last, list.head->next);
    EXPECT_EQ(def.kind, 6);  // left as it was
}

TEST(PaverRows, ACircleRowsAtItsSharpestNode) {
    TestModel model;
    std::vector<CPoint2D> points = regularPolygon(12, 5.0);
    points[3] = CPoint2D(0.0, 4.6);  // pulled in: a sharper node elsewhere, at points[4]
    MeshVertexList& list = model.ringAt(points);
    Paver::BoundaryDefinition def;
    EXPECT_TRUE(model.FindRow(def, list));
    EXPECT_EQ(def.kind, 4);
    MeshVertex* sharpest = list.head;
    for (MeshVertex* v = list.head->next; v != list.head; v = v->next)
        if (v->interiorAngle < sharpest->interiorAngle) sharpest = v;
    EXPECT_EQ(def.first, sharpest->next);
    EXPECT_EQ(def.last, sharpest->prev);
}

TEST(PaverRows, AddRowLaysOneElementAtACorner) {
    // The bottom left corner of a square 4 by 4, divided in unit steps.
    TestModel model;
    std::vector<CPoint2D> pts;
    for (int i = 0; i < 4; ++i) pts.emplace_back(i, 0);
    for (int i = 0; i < 4; ++i) pts.emplace_back(4, i);
    for (int i = 4; i > 0; --i) pts.emplace_back(i, 4);
    for (int i = 4; i > 0; --i) pts.emplace_back(0, i);
    MeshVertexList& list = model.ringAt(pts);
    Paver::BoundaryDefinition def;
    ASSERT_TRUE(model.FindRow(def, list));
    EXPECT_EQ(def.kind, 1);
    model.AddRow(def, list);
    ASSERT_EQ(model.NumQuads(), 1);
    const Quad* q = model.quads[0];
    EXPECT_EQ(q->corners[1]->point, CPoint2D(0, 0));
    EXPECT_NEAR(q->corners[3]->point.x, 1.0, 1e-6);
    EXPECT_NEAR(q->corners[3]->point.y, 1.0, 1e-6);
    EXPECT_GT(signedArea(q), 0.0);
    EXPECT_EQ(model.frontSize(list), 16);  // the corner went, the new node came
}

TEST(PaverRows, TransitionSeamTest) {
    TestModel model;
    MeshVertex* v = model.vertex(0, 0);
    MeshVertex* a = model.vertex(3, 0);
    MeshVertex* b = model.vertex(0, 1);
    MeshVertex* c = model.vertex(0, 2);
    EXPECT_TRUE(model.IsTransitionSeamRequired(a, v, b));   // 3 : 1
    EXPECT_FALSE(model.IsTransitionSeamRequired(a, v, c));  // 3 : 2
    EXPECT_FALSE(model.IsTransitionSeamRequired(v, v, c));  // zero length
}

TEST(PaverRows, SmallAngleLimitDependsOnTheElementsHeld) {
    TestModel model;
    MeshVertex* v = model.vertex(0, 0);
    v->interiorAngle = 0.2 * M_PI;
    EXPECT_TRUE(model.IsSmallInteriorAngle(v));
    for (int i = 0; i < 5; ++i)
        model.quad(v, model.vertex(1, i), model.vertex(2, i), model.vertex(3, i));
    EXPECT_FALSE(model.IsSmallInteriorAngle(v));  // five elements: 9 degrees
    v->interiorAngle = 2 * M_PI;
    EXPECT_TRUE(model.IsSmallInteriorAngle(v));
}

TEST(PaverSeams, ASmallAngleIsFoldedShut) {
    // A long thin spike: the node at its tip has a small angle and its two neighbours become
    // one, half way between them.
    TestModel model;
    MeshVertexList& list =
        model.ringAt({{0, 0}, {4, 0}, {8, 0}, {8, 4}, {4, 4}, {0.2, 6}, {10, 12}, {0, 8}});
    model.ProcessBoundary(list);
    MeshVertex* tip = list.head->next->next->next->next->next->next;  // (10, 12)
    ASSERT_TRUE(model.IsSmallInteriorAngle(tip));
    EXPECT_TRUE(model.Seam(list));
    EXPECT_EQ(model.frontSize(list), 6);
    for (MeshVertex* v = list.head->next; v != list.head; v = v->next) EXPECT_NE(v, tip);
    EXPECT_FALSE(model.Seam(list));  // six nodes: never seamed
}

TEST(PaverSeams, EvenSplitCounts) {
    TestModel model;
    MeshVertexList& list = model.ringAt(regularPolygon(8, 1.0));
    MeshVertex* v[8];
    v[0] = list.head;
    for (int i = 1; i < 8; ++i) v[i] = v[i - 1]->next;
    EXPECT_TRUE(model.MergedBoundariesAreEven(list, v[0], v[1], v[3], v[4]));
    EXPECT_FALSE(model.MergedBoundariesAreEven(list, v[0], v[1], v[4], v[5]));
}

TEST(PaverSeams, ASelfCrossingFrontIsCutInTwo) {
    // A figure-of-eight front: the edge (2,2)-(4,-2) crosses (4,2)-(2,-2)... built as a
    // bow tie of twelve nodes, off the shape boundary.
    TestModel model;
    MeshVertexList& list = model.ringAt({{0, 0},
                                         {1, -1},
                                         {2, -1},
                                         {3, -0.5},
                                         {5, 0.5},
                                         {6, 1},
                                         {7, 0},
                                         {6, -1},
                                         {5, -0.5},
                                         {3, 0.5},
                                         {2, 1},
                                         {1, 1}});
    EXPECT_TRUE(model.SingleBoundaryIntersection(list, nullptr));
    ASSERT_EQ(model.fronts.size(), 2u);
    int total = model.frontSize(model.fronts.front()) + model.frontSize(model.fronts.back());
    EXPECT_EQ(total, 10);  // two pairs merged
    EXPECT_EQ(model.frontSize(model.fronts.front()) % 2, 0);
}

TEST(PaverSeams, SmallFrontsCloseOrStayOpen) {
    struct Case {
        int nodes;
        int quads;
        bool fixed;
    } cases[] = {{3, 0, true}, {4, 1, false}, {5, 0, true}, {6, 2, false}};
    for (const Case& c : cases) {
        TestModel model;
        MeshVertexList& list = model.ringAt(regularPolygon(c.nodes, 1.0));
        model.ProcessBoundary(list);
        model.RemoveBoundary(list);
        EXPECT_EQ(model.NumQuads(), c.quads) << c.nodes;
        EXPECT_TRUE(model.fronts.empty());
        for (const MeshVertex* v : model.vertices) EXPECT_EQ(v->isFixed, c.fixed);
        for (const Quad* q : model.quads) EXPECT_GT(signedArea(q), 0.0);
    }
}

TEST(PaverSeams, TwoNodeFrontCollapses) {
    TestModel model;
    MeshVertexList list = model.ringAt({{0, 0}, {1, 0}});
    MeshVertex* head = list.head;
    model.RemoveBoundary(list);
    EXPECT_EQ(head->point, CPoint2D(1, 0));
    EXPECT_TRUE(model.fronts.empty());
}

TEST(PaverSmoothing, ConcaveTest) {
    struct Case {
        std::vector<CPoint2D> p;
        bool concave;
    } cases[] = {
        {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}, false},         // counter-clockwise square
        {{{0, 0}, {0, 1}, {1, 1}, {1, 0}}, true},          // clockwise
        {{{0, 0}, {1, 0}, {2, 0}, {1, 1}}, true},          // straight corner
        {{{0, 0}, {2, 0}, {0.5, 0.5}, {0, 2}}, true},      // dart
        {{{0, 0}, {1, 0}, {1, 0}, {0, 1}}, true},          // repeated corner
        {{{0, 0}, {3, 0.2}, {2.5, 2}, {-0.5, 1}}, false},  // convex, irregular
    };
    for (const Case& c : cases)
        EXPECT_EQ(Paver::CMeshModel::IsConcave(c.p[0], c.p[1], c.p[2], c.p[3]), c.concave);
}

TEST(PaverSmoothing, SplitQuadMakesFiveRefinedElementsOnce) {
    TestModel model;
    std::vector<MeshVertex*> nodes = model.grid(1, 1);
    Quad* q = model.quads[0];
    ASSERT_TRUE(model.SplitQuad(*q));
    EXPECT_EQ(model.NumQuads(), 5);
    EXPECT_EQ(model.NumVertices(), 8);
    for (Quad* made : model.quads) {
        EXPECT_TRUE(made->isRefined);
        EXPECT_FALSE(made->IsConcaveQuad());
    }
    // The centre element has its corners a quarter of the way along the diagonals.
    const Quad* centre = model.quads[4];
    EXPECT_NEAR(centre->corners[0]->point.x, 0.25, 1e-7);
    EXPECT_NEAR(centre->corners[2]->point.y, 0.75, 1e-7);
    EXPECT_FALSE(model.SplitQuad(*model.quads[0]));
    EXPECT_TRUE(nodes[0]->quads.size() == 2u);  // two ring elements, the old one gone
}

TEST(PaverSmoothing, SplitQuadRefusesAConcaveElement) {
    TestModel model;
    Quad* q =
        model.quad(model.vertex(0, 0), model.vertex(0, 1), model.vertex(1, 1), model.vertex(1, 0));
    EXPECT_FALSE(model.SplitQuad(*q));
    EXPECT_EQ(model.NumQuads(), 1);
    EXPECT_EQ(model.NumVertices(), 4);
}

TEST(PaverSmoothing, RemoveQuadIgnoresAForeignElement) {
    TestModel model, other;
    model.grid(1, 1);
    other.grid(1, 1);
    model.RemoveQuad(other.quads[0]);
    EXPECT_EQ(model.NumQuads(), 1);
    EXPECT_EQ(other.quads[0]->corners[0]->quads.size(), 1u);
    model.RemoveQuad(model.quads[0]);
    EXPECT_EQ(model.NumQuads(), 0);
    EXPECT_TRUE(model.vertices[0]->quads.empty());
}

TEST(PaverSmoothing, InteriorSmoothingStopsAfterFiftyOneMoves) {
    TestModel model;
    std::vector<MeshVertex*> nodes = model.grid(2, 2);
    for (MeshVertex* v : nodes) v->isFixed = true;
    MeshVertex* centre = nodes[4];
    centre->isFixed = false;
    centre->point = CPoint2D(1.5, 1.0);
    model.SmoothInterior();
    // Edges to (0,1), (1,0), (2,1), (1,2): lengths 1.5, sqrt(1.25) twice, 0.5. The length-
    // weighted mean of e*|e| over the sum of lengths moves the centre back toward x = 1.
    double l1 = 1.5, l2 = std::sqrt(1.25), l3 = 0.5;
    double tx = (-1.5 * l1 + 2 * (-0.5 * l2) + 0.5 * l3) / (l1 + 2 * l2 + l3);
    EXPECT_NEAR(centre->point.x, 1.5 + tx, 1e-6);
    EXPECT_NEAR(centre->point.y, 1.0, 1e-6);
    EXPECT_EQ(centre->smoothCount, 1);

    centre->smoothCount = 51;
    centre->point = CPoint2D(1.5, 1.0);
    model.SmoothInterior();
    EXPECT_EQ(centre->point, CPoint2D(1.5, 1.0));
    EXPECT_EQ(centre->smoothCount, 52);
}

TEST(PaverSmoothing, InteriorSmoothingLeavesFrontsAlone) {
    TestModel model;
    std::vector<MeshVertex*> nodes = model.grid(2, 2);
    MeshVertex* centre = nodes[4];
    centre->point = CPoint2D(1.5, 1.0);
    // A front through the centre freezes it for the pass, and its flag comes back.
    model.ring({nodes[1], nodes[5], centre, nodes[3]});
    model.SmoothInterior();
    EXPECT_EQ(centre->point, CPoint2D(1.5, 1.0));
    EXPECT_FALSE(centre->isFixed);
}

TEST(PaverSmoothing, BoundarySmoothingSkipsNeighboursOfReflexNodes) {
    TestModel model;
    std::vector<MeshVertex*> nodes = model.grid(2, 1);
    MeshVertexList& list = model.ring({nodes[3], nodes[4], nodes[5], nodes[2], nodes[1], nodes[0]});
    nodes[4]->point = CPoint2D(1.3, 1.2);
    nodes[3]->nodeClass = 3;
    model.SmoothBoundary(list, nodes[4], nodes[5]);
    EXPECT_EQ(nodes[4]->point, CPoint2D(1.3, 1.2));
    nodes[3]->nodeClass = 2;
    model.SmoothBoundary(list, nodes[4], nodes[5]);
    EXPECT_NE(nodes[4]->point, CPoint2D(1.3, 1.2));
}

TEST(PaverSmoothing, CleanupRemovesOnlyTheFirstConcaveElement) {
    TestModel model;
    Quad* first =
        model.quad(model.vertex(0, 0), model.vertex(0, 1), model.vertex(1, 1), model.vertex(1, 0));
    Quad* second =
        model.quad(model.vertex(5, 0), model.vertex(5, 1), model.vertex(6, 1), model.vertex(6, 0));
    model.CleanupMesh();
    ASSERT_EQ(model.NumQuads(), 1);
    EXPECT_EQ(model.quads[0], second);
    EXPECT_NE(model.quads[0], first);
    EXPECT_EQ(countOf(model.messages.str(), "Warning: Concave element removed.\n"), 100);
}

TEST(PaverSmoothing, CleanupDissolvesOneFlatTwoElementNode) {
    // Two elements meet at v = (1, 0), which is a straight corner of both.
    TestModel model;
    MeshVertex* a = model.vertex(0, 0);
    MeshVertex* v = model.vertex(1, 0);
    MeshVertex* c = model.vertex(2, 0);
    MeshVertex* top = model.vertex(1, 1);
    MeshVertex* bottom = model.vertex(1, -1);
    Quad* upper = model.quad(a, v, c, top);
    Quad* lower = model.quad(a, bottom, c, v);
    model.CleanupMesh();
    ASSERT_EQ(model.NumQuads(), 1);
    EXPECT_EQ(model.quads[0], upper);
    EXPECT_FALSE(upper->HasVertex(v));
    EXPECT_TRUE(upper->HasVertex(bottom));  // the corner opposite v in the other element
    EXPECT_FALSE(upper->IsConcaveQuad());
    EXPECT_EQ(model.wedgeLog.size(), 1u);
    EXPECT_EQ(model.NumVertices(), 5);  // v stays, with no element
    (void)lower;
}

TEST(PaverSmoothing, CleanupLeavesAFlatNodeWithThreeElements) {
    // v = (1, -0.04) is a nearly straight (175 degree) convex corner of the upper element, and
    // two more elements hold it.
    TestModel model;
    MeshVertex* a = model.vertex(0, 0);
    MeshVertex* v = model.vertex(1, -0.04);
    MeshVertex* c = model.vertex(2, 0);
    Quad* upper = model.quad(a, v, c, model.vertex(1, 1));
    model.quad(a, model.vertex(0, -1), model.vertex(1, -1), v);
    model.quad(v, model.quads[1]->corners[2], model.vertex(2, -1), c);
    for (const Quad* q : model.quads) ASSERT_FALSE(q->IsConcaveQuad());
    model.CleanupMesh();
    EXPECT_EQ(model.NumQuads(), 3);
    EXPECT_TRUE(upper->HasVertex(v));
    EXPECT_TRUE(model.messages.IsEmpty());
}

TEST(PaverInterior, NoPointsMeansNothingMissed) {
    TestModel model;
    model.grid(2, 2);
    EXPECT_EQ(model.FitMeshToInteriorPoints(), 0);
    model.interiorPoints = {{10, 10}};  // outside every element: not counted
    EXPECT_EQ(model.FitMeshToInteriorPoints(), 0);
}

TEST(PaverInterior, TheNearestFreeCornerMovesOntoThePoint) {
    TestModel model;
    std::vector<MeshVertex*> nodes = model.grid(2, 2);
    for (MeshVertex* v : nodes) v->isShapeBoundary = true;
    nodes[4]->isShapeBoundary = false;
    model.interiorPoints = {{0.8, 0.9}};
    EXPECT_EQ(model.FitMeshToInteriorPoints(), 0);
    EXPECT_EQ(nodes[4]->point, CPoint2D(0.8, 0.9));
    EXPECT_TRUE(nodes[4]->isFixed);
    // A point equal to a boundary constraint point is left out.
    model.boundaryPoints = {{1.5, 1.5}};
    model.interiorPoints = {{1.5, 1.5}};
    EXPECT_TRUE(model.IsPointOnBoundary({1.5, 1.5}));
    EXPECT_EQ(model.FitMeshToInteriorPoints(), 0);
}

TEST(PaverInterior, AMoveThatSpoilsANeighbourIsUndone) {
    // v is the one free node. On (0.9, 0.95) it keeps the right element convex but puts a
    // reflex corner into the left one, above its diagonal.
    TestModel model;
    MeshVertex* v = model.vertex(1, 0);
    MeshVertex* b = model.vertex(1, 1);
    model.quad(model.vertex(0, 0), v, b, model.vertex(0, 1));
    Quad* right = model.quad(v, model.vertex(3, 0), model.vertex(3, 1), b);
    for (MeshVertex* n : model.vertices) n->isShapeBoundary = n != v;
    EXPECT_EQ(model.FindClosestMutableVertex(*right, {0.9, 0.95}), v);
    EXPECT_EQ(model.MoveQuadVertexToPoint(*right, {0.9, 0.95}), nullptr);
    EXPECT_EQ(v->point, CPoint2D(1, 0));
    EXPECT_FALSE(v->isFixed);
    EXPECT_EQ(model.MoveQuadVertexToPoint(*right, {1.2, 0.1}), v);
    EXPECT_EQ(v->point, CPoint2D(1.2, 0.1));
    EXPECT_TRUE(v->isFixed);
}

TEST(PaverInterior, AnElementOfBoundaryCornersTakesAPointAfterASplit) {
    TestModel model;
    std::vector<MeshVertex*> nodes = model.grid(1, 1);
    for (MeshVertex* v : nodes) v->isShapeBoundary = true;
    model.interiorPoints = {{0.3, 0.35}};
    EXPECT_EQ(model.FitMeshToInteriorPoints(), 1);
    model.InsertInteriorPoints();
    EXPECT_EQ(model.MissedInteriorPoints(), 0);
    bool met = false;
    for (const MeshVertex* v : model.vertices) met = met || v->point == CPoint2D(0.3, 0.35);
    EXPECT_TRUE(met);
}

TEST(PaverInterior, MeshHonoursConstraintPoints) {
    TestModel model;
    addLoop(model, {{0, 0}, {6, 0}, {6, 6}, {0, 6}});
    model.interiorPoints = {{2.2, 3.1}, {4.4, 1.3}};
    model.Mesh(1, 0.75, 0, false);
    int met = 0;
    for (const CPoint2D& p : model.interiorPoints)
        for (const MeshVertex* v : model.vertices)
            if (v->point == p && !v->quads.empty()) {
                ++met;
                break;
            }
    EXPECT_EQ(met + model.MissedInteriorPoints(), 2);
    EXPECT_EQ(model.MissedInteriorPoints(), 0);
}

TEST(PaverRepairs, UnreachedOperationsKeepTheMeshValid) {
    TestModel model;
    model.grid(3, 3);
    model.RefineMesh();
    EXPECT_EQ(model.NumQuads(), 45);
    for (const Quad* q : model.quads) EXPECT_GT(signedArea(q), 0.0);

    TestModel sides;
    sides.grid(1, 1);
    EXPECT_FALSE(sides.SplitSideQuad(*sides.quads[0], 4));
    EXPECT_TRUE(sides.SplitSideQuad(*sides.quads[0], 0));
    ASSERT_EQ(sides.NumQuads(), 2);
    EXPECT_NEAR(signedArea(sides.quads[0]) + signedArea(sides.quads[1]), 1.0, 1e-12);
    EXPECT_FALSE(sides.SplitSideQuad(*sides.quads[0], 1));  // already refined

    TestModel fix;
    std::vector<MeshVertex*> nodes = fix.grid(2, 2);
    for (MeshVertex* v : nodes) v->isFixed = true;
    nodes[4]->isFixed = false;
    nodes[4]->point = CPoint2D(0.1, 0.1);  // dents the elements round it
    EXPECT_GT(fix.FixConcaveQuads(), 0);
    for (const Quad* q : fix.quads) EXPECT_FALSE(q->IsConcaveQuad());
    fix.FreeAllFixedVertices();
    EXPECT_FALSE(nodes[0]->isFixed);
}

TEST(PaverRepairs, WedgeAndTuckNeedTheirElements) {
    TestModel model;
    MeshVertexList& list = model.ringAt(regularPolygon(8, 3.0));
    EXPECT_FALSE(model.InsertExpansionWedge(list.head, list));
    EXPECT_FALSE(model.InsertTuck(list.head, list));

    // One row of two elements under a straight front: the middle node can be split.
    TestModel row;
    std::vector<MeshVertex*> n = row.grid(2, 1);
    MeshVertexList& front = row.ring({n[3], n[4], n[5], row.vertex(2, 3), row.vertex(0, 3)});
    row.ProcessBoundary(front);
    EXPECT_TRUE(row.InsertExpansionWedge(n[4], front));
    EXPECT_EQ(row.NumQuads(), 3);
    EXPECT_EQ(row.frontSize(front), 7);
    for (const Quad* q : row.quads) EXPECT_GT(signedArea(q), 0.0);
}

// Two edges 2.6 apart on almost the same line: the single-precision crossing test finds them
// crossing by rounding alone, and the search through nearby edges must find them as the walk
// over every pair does.
TEST(PaverSeams, FarApartEdgesOnOneLineAreFoundAsTheFullWalkFindsThem) {
    const CPoint2D p1(-0.166695466, -0.500028779), p2(-0.333362115, -0.666695444);
    const CPoint2D q1(-2.00000011, -2.33333336), q2(-2.1666666, -2.49999988);
    ASSERT_TRUE(CLine2D(p1, p2).Intersects(CLine2D(q1, q2)));
    auto cut = [&](bool reference) {
        TestModel model;
        model.SetReferenceIntersection(reference);
        MeshVertexList& list =
            model.ringAt({p1, p2, {-1, 0.5}, {-2.2, -1.5}, q1, q2, {-1, -3}, {1, -1}});
        const bool made = model.SingleBoundaryIntersection(list, nullptr);
        std::vector<std::vector<double>> fronts{{made ? 1.0 : 0.0}};
        for (const MeshVertexList& front : model.fronts) {
            fronts.emplace_back();
            const MeshVertex* v = front.head;
            do {
                fronts.back().insert(fronts.back().end(), {v->point.x, v->point.y});
                v = v->next;
            } while (v != front.head);
        }
        return fronts;
    };
    const auto reference = cut(true);
    EXPECT_EQ(reference[0][0], 1.0);  // an even cut was made
    EXPECT_EQ(cut(false), reference);
}

TEST(PaverSmoothing, FastPathsMatchTheReferenceScansToTheBit) {
    auto run = [](int shape, bool reference, double size) {
        auto model = std::make_unique<TestModel>();
        model->SetReferenceBoundarySmoothing(reference);
        model->SetReferenceIntersection(reference);
        model->SetReferenceSeams(reference);
        switch (shape) {
            case 1:
                model->DrawShape1();
                break;
            case 2:
                model->DrawShape2();
                break;
            case 3:
                model->DrawShape3();
                break;
            case 4:
                model->DrawShape4();
                break;
            case 5:
                model->DrawShape5();
                break;
            default:
                addLoop(*model, {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
                addLoop(*model, {{3, 3}, {3, 7}, {7, 7}, {7, 3}});
                model->interiorPoints = {{1.3, 1.7}};
        }
        model->Mesh(1, size, 0, false);
        return model;
    };
    for (int shape = 1; shape <= 6; ++shape) {
        for (double size : {0.6, 1.1}) {
            auto fast = run(shape, false, size);
            auto reference = run(shape, true, size);
            ASSERT_EQ(fast->NumVertices(), reference->NumVertices()) << shape;
            ASSERT_EQ(fast->NumQuads(), reference->NumQuads()) << shape;
            for (int i = 0; i < fast->NumVertices(); ++i) {
                ASSERT_EQ(fast->GetX(i), reference->GetX(i)) << shape << " node " << i;
                ASSERT_EQ(fast->GetY(i), reference->GetY(i)) << shape << " node " << i;
            }
        }
    }
}
