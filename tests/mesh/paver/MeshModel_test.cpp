#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <set>
#include <string>

#include "Regions.h"
#include "TestModel.h"
#include "zevcore/platform/services/Host.h"

using namespace paver_test;

namespace {

constexpr UINT kProgress = 0x8400;
HWND fakeWindow() {
    return reinterpret_cast<HWND>(std::uintptr_t{0x1234});
}

// Records the progress lines sent to the fake window while installed.
class RecordingWindows {
public:
    RecordingWindows() : m_before(ZEVInstallWindows(&m_windows)) {
        m_windows.CopyTextOf(kProgress);
    }
    ~RecordingWindows() { ZEVInstallWindows(m_before); }
    const std::vector<ZEVRecordedMessage>& recorded() const { return m_windows.Recorded(); }

private:
    CZEVHeadlessWindows m_windows;
    IZEVWindowService* m_before;
};

void expectSoundMesh(const Paver::CMeshModel& model) {
    std::set<const MeshVertex*> known(model.vertices.begin(), model.vertices.end());
    for (size_t i = 0; i < model.vertices.size(); ++i)
        EXPECT_EQ(model.vertices[i]->index, static_cast<int>(i));
    for (const Quad* q : model.quads) {
        for (const MeshVertex* c : q->corners) ASSERT_TRUE(known.count(c));
        EXPECT_GT(signedArea(q), 0.0) << "every element runs counter-clockwise";
    }
}

}  // namespace

TEST(PaverModel, MeshRefusesBadArgumentsAndPutsUpNothing) {
    struct Case {
        int limit;
        double size;
        bool reserved;
    } cases[] = {{0, 1.0, false}, {10000, 1.0, false}, {-1, 1.0, false},
                 {1, 0.0, false}, {1, -1.0, false},    {1, 1.0, true}};
    for (const Case& c : cases) {
        TestModel model;
        EXPECT_FALSE(model.Mesh(c.limit, c.size, 0, c.reserved));
        EXPECT_TRUE(model.messages.IsEmpty());
        EXPECT_EQ(model.NumVertices(), 0);
        EXPECT_TRUE(model.boundaries.empty());
    }
}

TEST(PaverModel, MeshOfAnEmptyModelPavesTheFirstShape) {
    TestModel model;
    EXPECT_TRUE(model.Mesh(9999, 1.0, 0, false));
    ASSERT_EQ(model.boundaries.size(), 1u);
    EXPECT_EQ(model.boundaries[0].size(), 6u);
    EXPECT_GT(model.NumQuads(), 0);
    EXPECT_TRUE(model.fronts.empty());
}

TEST(PaverModel, PrepareShapeGivesEveryLineAnEvenCountOfAtLeastFour) {
    TestModel model;
    addLoop(model, {{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    model.PrepareShape(10.0, 0, false);
    ASSERT_EQ(model.fronts.size(), 1u);
    EXPECT_EQ(model.NumVertices(), 16);
    EXPECT_EQ(model.frontSize(model.fronts.front()), 16);
    for (const MeshVertex* v : model.vertices) {
        EXPECT_TRUE(v->isFixed && v->isShapeBoundary);
        EXPECT_EQ(v->nodeClass, 5);
    }
    EXPECT_EQ(model.shapePoints.size(), 16u);
    EXPECT_EQ(model.vertices[4]->point, CPoint2D(1, 0));
    EXPECT_TRUE(model.vertices[4]->isLineStart);
    EXPECT_FALSE(model.vertices[5]->isLineStart);
    // 3.3 / 1 gives 3 + 1 = 4 segments; 4.5 gives 5 + 1 = 6.
    TestModel finer;
    addLoop(finer, {{0, 0}, {4.5, 0}, {4.5, 3.3}, {0, 3.3}});
    finer.PrepareShape(1.0, 0, false);
    EXPECT_EQ(finer.NumVertices(), 6 + 4 + 6 + 4);
}

TEST(PaverModel, AGapAlongOneAxisStaysOpenButTheFrontIsCircular) {
    TestModel model;
    model.AddBoundaryLine(CLine2D({0, 0}, {1, 0}));
    model.AddBoundaryLine(CLine2D({1, 0}, {1, 1}));
    model.AddBoundaryLine(CLine2D({1, 1}, {0, 1}));
    model.AddBoundary();
    model.PrepareShape(10.0, 0, false);
    EXPECT_EQ(model.NumVertices(), 12);
    const MeshVertexList& front = model.fronts.front();
    EXPECT_EQ(front.tail->next, front.head);
    EXPECT_EQ(front.tail->point, model.vertices[11]->point);
}

TEST(PaverModel, BoundaryPointsJoinTheFrontAndTheCountIsMadeEven) {
    TestModel model;
    addLoop(model, {{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    model.boundaryPoints = {{0.6, 0.0}, {5, 5}};
    model.PrepareShape(10.0, 0, false);
    // 16 division nodes, one constraint point, one more to make the count even.
    EXPECT_EQ(model.frontSize(model.fronts.front()), 18);
    const MeshVertex* head = model.fronts.front().head;
    EXPECT_EQ(head->next->point, CPoint2D(0.125, 0.0));  // the evening node, half way
    bool found = false;
    for (const MeshVertex* v : model.vertices) found = found || v->point == CPoint2D(0.6, 0.0);
    EXPECT_TRUE(found);
}

TEST(PaverModel, HolesLowerTheElementSizeToAFifthOfTheGap) {
    TestModel model;
    addLoop(model, {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    addLoop(model, {{4, 4}, {4, 6}, {6, 6}, {6, 4}});
    model.PrepareShape(100.0, 0, false);
    ASSERT_EQ(model.fronts.size(), 2u);
    // The hole's sides are 2 long, their gap to the outer square is 4: size 0.8 gives
    // 2 / 0.8 = 2.5, so 3 segments, made 4.
    EXPECT_EQ(model.frontSize(model.fronts.back()), 16);
    // The outer sides are 10 long and 4 away from the hole: 10 / 0.8 gives 13, made 14.
    EXPECT_EQ(model.frontSize(model.fronts.front()), 56);
}

TEST(PaverModel, ReadersAnswerDefaultsOutOfRange) {
    TestModel model;
    model.DrawShape4();
    model.Mesh(1, 1.0, 0, false);
    EXPECT_EQ(model.GetX(model.NumVertices()), 0.0);
    EXPECT_EQ(model.GetY(-1), 0.0);
    EXPECT_EQ(model.GetQuadVertIndex(0, 4), -1);
    EXPECT_EQ(model.GetQuadVertIndex(0, -1), -1);
    EXPECT_EQ(model.GetQuadVertIndex(model.NumQuads(), 0), -1);
    EXPECT_GE(model.GetQuadVertIndex(0, 3), 0);
}

TEST(PaverModel, ProgressLinesGoToTheWindowAndTheLog) {
    RecordingWindows windows;
    TestModel model;
    model.SetHWND(fakeWindow());
    model.SetMessageIDs(static_cast<int>(kProgress));
    model.putUpMessage("first");
    model.putUpMessage(std::string(1024, 'x').c_str());  // too long: dropped
    model.putUpMessage(std::string(1023, 'y').c_str());
    EXPECT_EQ(model.messages.str(), "first\n" + std::string(1023, 'y') + "\n");
    ASSERT_EQ(windows.recorded().size(), 2u);
    EXPECT_EQ(windows.recorded()[0].text, "first");
    EXPECT_EQ(windows.recorded()[0].wParam, 0u);
    EXPECT_FALSE(windows.recorded()[0].posted);
    model.clearMessages();
    EXPECT_TRUE(model.messages.IsEmpty());
    ASSERT_EQ(windows.recorded().size(), 3u);
    EXPECT_TRUE(windows.recorded()[2].posted);
    EXPECT_EQ(windows.recorded()[2].wParam, 1u);
}

TEST(PaverModel, MeshReportsItsStages) {
    TestModel model;
    model.DrawShape4();
    model.interiorPoints = {{50, 50}};
    model.Mesh(1, 1.0, 0, false);
    std::string log = model.messages.str();
    for (const char* line :
         {"Preparing shape for mesher...\n", "Mesh element size is ~1\n",
          "Shape is ready for mesher\n", "Meshing boundaries...\n", "Smoothing the mesh...\n",
          "Refining the mesh...\n", "Cleaning up the mesh...\n"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
    char done[80];
    std::snprintf(done, sizeof done, "Meshing complete: Created %i elements\n", model.NumQuads());
    EXPECT_NE(log.find(done), std::string::npos);
    // A point outside every element is not counted as missed.
    EXPECT_EQ(log.find("constraint-points"), std::string::npos);
}

namespace {
// Cancels the model it watches at the first progress line.
class CancellingWindows : public IZEVWindowService {
public:
    Paver::CMeshModel* model = nullptr;
    LRESULT SendMessage(HWND, UINT, WPARAM, LPARAM) override {
        if (model) model->CancelMeshing();
        return 0;
    }
    bool PostMessage(HWND, UINT, WPARAM, LPARAM) override { return true; }
    HWND MainWindow() override { return fakeWindow(); }
    void PumpMessages() override {}
};
}  // namespace

TEST(PaverModel, CancellingDuringARunDoesNotStopIt) {
    TestModel plain;
    plain.DrawShape5();
    plain.Mesh(1, 0.6, 0, false);

    CancellingWindows windows;
    IZEVWindowService* before = ZEVInstallWindows(&windows);
    TestModel model;
    windows.model = &model;
    model.DrawShape5();
    EXPECT_TRUE(model.Mesh(1, 0.6, 0, false));
    ZEVInstallWindows(before);
    EXPECT_EQ(model.iterationLimit, 0);
    EXPECT_EQ(model.NumQuads(), plain.NumQuads());
}

TEST(PaverModel, ClearAllKeepsWhatItIsMeantToKeep) {
    TestModel model;
    model.DrawShape4();
    model.boundaryPoints = {{1, 1}};
    model.interiorPoints = {{0, -1}};
    model.AddBoundaryLine(CLine2D({0, 0}, {1, 0}));
    model.Mesh(1, 1.0, 0, false);
    model.ClearAll();
    EXPECT_TRUE(model.boundaries.empty());
    EXPECT_TRUE(model.interiorPoints.empty());
    EXPECT_TRUE(model.shapePoints.empty());
    EXPECT_EQ(model.NumVertices(), 0);
    EXPECT_EQ(model.NumQuads(), 0);
    EXPECT_EQ(model.boundaryPoints.size(), 1u);
    EXPECT_EQ(model.currentBoundary.size(), 1u);
    EXPECT_FALSE(model.messages.IsEmpty());

    model.clearInputs = false;
    model.DrawShape4();  // clears (keeping nothing old), then adds the triangle
    model.Mesh(1, 1.0, 0, false);
    model.ClearAll();
    EXPECT_EQ(model.boundaries.size(), 1u);
}

TEST(PaverModel, CopiesShareTheMeshAndMayOutliveTheirSource) {
    auto source = std::make_unique<TestModel>();
    source->DrawShape5();
    source->Mesh(1, 1.0, 0, false);
    Paver::CMeshModel copy(*source);
    ASSERT_EQ(copy.vertices, source->vertices);
    source.reset();  // the copy's elements must survive this
    double sum = 0.0;
    for (int i = 0; i < copy.NumQuads(); ++i)
        for (int c = 0; c < 4; ++c) sum += copy.GetX(copy.GetQuadVertIndex(i, c));
    EXPECT_TRUE(std::isfinite(sum));

    Paver::CMeshModel other;
    other = copy;
    copy.ClearAll();  // lets go of the shared mesh; `other` still holds it
    EXPECT_EQ(copy.NumQuads(), 0);
    ASSERT_GT(other.NumQuads(), 0);
    EXPECT_GE(other.quads.front()->corners[0]->index, 0);
}

class BuiltInShape : public ::testing::TestWithParam<int> {};

// Whether a run covers its region is the business of PaverModes, which lists the stated
// mode's gaps by name: closed fronts alone do not make a covered mesh (shape 4 leaves one).
TEST_P(BuiltInShape, ClosesItsFrontsTheSameEveryTime) {
    auto run = [](TestModel& model) {
        model.DrawShape(GetParam());
        return model.Mesh(1, 0.5, 0, false);
    };
    TestModel a, b;
    EXPECT_TRUE(run(a));
    EXPECT_TRUE(run(b));
    EXPECT_TRUE(a.fronts.empty());
    EXPECT_GT(a.NumQuads(), 50);
    expectSoundMesh(a);
    ASSERT_EQ(a.NumVertices(), b.NumVertices());
    ASSERT_EQ(a.NumQuads(), b.NumQuads());
    for (int i = 0; i < a.NumVertices(); ++i) {
        EXPECT_EQ(a.GetX(i), b.GetX(i));
        EXPECT_EQ(a.GetY(i), b.GetY(i));
    }
    for (int q = 0; q < a.NumQuads(); ++q)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(a.GetQuadVertIndex(q, c), b.GetQuadVertIndex(q, c));
}

INSTANTIATE_TEST_SUITE_P(Shapes, BuiltInShape, ::testing::Values(1, 2, 3, 4, 5));

TEST(PaverModel, PavesASquareWithAHole) {
    TestModel model;
    addLoop(model, {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
    addLoop(model, {{4, 4}, {4, 6}, {6, 6}, {6, 4}});  // clockwise
    model.Mesh(1, 1.0, 0, false);
    expectSoundMesh(model);
    EXPECT_GT(model.NumQuads(), 50);
    // No element covers the hole's centre.
    for (const Quad* q : model.quads) EXPECT_FALSE(q->ContainsPoint({5, 5}));
}

namespace paver_test {
namespace {

// Each broken invariant is named; a model that keeps them all is valid.
TEST(PaverModel, IsValidNamesTheFirstBrokenInvariant) {
    struct Breakage {
        const char* expected;
        std::function<void(TestModel&, std::vector<MeshVertex*>&, MeshVertexList&)> breakIt;
    };
    const std::vector<Breakage> table = {
        {"", [](TestModel&, std::vector<MeshVertex*>&, MeshVertexList&) {}},
        {"front with a broken link: 0",
         [](TestModel&, std::vector<MeshVertex*>& g, MeshVertexList&) { g[3]->prev = g[0]; }},
        {"front whose tail is not head->prev: 0",
         [](TestModel&, std::vector<MeshVertex*>& g, MeshVertexList& f) { f.tail = g[1]; }},
        {"vertex with a coordinate that is not finite: 4",
         [](TestModel&, std::vector<MeshVertex*>& g, MeshVertexList&) {
             g[4]->point.x = std::nan("");
         }},
        {"element not filed under its corner: 0",
         [](TestModel&, std::vector<MeshVertex*>& g, MeshVertexList&) { g[0]->quads.clear(); }},
        {"element not counter-clockwise: 4",
         [](TestModel& m, std::vector<MeshVertex*>& g, MeshVertexList&) {
             m.quad(g[0], g[6], g[8], g[2]);
         }},
        {"element with the corners of another: 4",
         [](TestModel& m, std::vector<MeshVertex*>& g, MeshVertexList&) {
             m.quad(g[1], g[2], g[5], g[4]);
         }},
        {"element with a repeated corner: 4",
         [](TestModel& m, std::vector<MeshVertex*>& g, MeshVertexList&) {
             m.quad(g[0], g[1], g[4], g[0]);
         }},
    };
    for (const Breakage& b : table) {
        TestModel model;
        std::vector<MeshVertex*> g = model.grid(2, 2);  // nodes 0..8, row by row
        MeshVertexList& front = model.ring({g[0], g[1], g[2], g[5], g[8], g[7], g[6], g[3]});
        EXPECT_TRUE(model.IsValid());
        b.breakIt(model, g, front);
        EXPECT_EQ(model.ValidityProblem(), b.expected);
    }
}

// A region beyond single precision: the stated mode's geometry turns infinite, and the run
// ends all the same, in either mode, with an answer rather than an exception.
TEST(PaverModel, ARegionBeyondSinglePrecisionEndsWithAnAnswer) {
    for (bool extended : {false, true}) {
        Paver::CMeshModel model;
        addLoops(model, {{{0, 0}, {1e307, 0}, {1e307, 1e307}, {0, 1e307}}});
        model.SetExtended(extended);
        bool answered = false;
        EXPECT_NO_THROW(answered = model.Mesh(1, 6e305, 0, false)) << extended;
        // Extended mode works in coordinates scaled to the region, so it can close it.
        if (answered && extended) {
            EXPECT_EQ(model.ValidityProblem(), "");
        }
    }
}

// A micrometre element at 1e8: the products of a shoelace sum from the origin round away its
// area; measured from a corner it keeps its sign either way round.
TEST(PaverModel, IsValidTellsTheTurnOfASmallElementFarOut) {
    for (bool reversed : {false, true}) {
        TestModel model;
        MeshVertex* a = model.vertex(1e8, 1e8);
        MeshVertex* b = model.vertex(1e8 + 1e-6, 1e8);
        MeshVertex* c = model.vertex(1e8 + 1e-6, 1e8 + 1e-6);
        MeshVertex* d = model.vertex(1e8, 1e8 + 1e-6);
        reversed ? model.quad(a, d, c, b) : model.quad(a, b, c, d);
        EXPECT_EQ(model.ValidityProblem(), reversed ? "element not counter-clockwise: 0" : "");
    }
}

// With the debug switch, every operation of a run is checked.
TEST(PaverModel, TheDebugSwitchChecksEveryStepOfARun) {
    Paver::CMeshModel model;
    model.DrawShape2();
    model.SetCheckInvariants(true);
    ASSERT_TRUE(model.Mesh(1, 0.5, 0, false));
    EXPECT_EQ(model.FirstInvalidStep(), "");
    EXPECT_TRUE(model.IsValid());
}

}  // namespace
}  // namespace paver_test
