// The Triangle path: the tool (`zevcore mesh --method triangle`, its checks included) and the
// library's mesh_it against the library's own two triangulate calls made directly, on a
// 100 by 60 plate with three square openings, at about 90,000 and 270,000 triangles.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "peers/Cases.h"
#include "zevcore/mesh/TriangleMesher.h"

// Triangle's header defines macros (REAL, VOID) and global types, so it comes last.
#include <triangle.h>

extern char** environ;

namespace peers {

namespace {

struct Plate {
    std::vector<double> boundary{0, 0, 100, 0, 100, 60, 0, 60};
    std::vector<double> holes;
    std::vector<int> holeSizes;
    std::vector<double> holeInside;

    Plate() {
        for (double x : {10.0, 45.0, 80.0}) {
            // Clockwise, as the tool orients holes.
            holes.insert(holes.end(), {x, 20, x, 30, x + 10, 30, x + 10, 20});
            holeSizes.push_back(4);
            holeInside.insert(holeInside.end(), {x + 5, 25});
        }
    }

    // The same plate as a boundary file for the tool.
    std::string write() const {
        const char* tmp = std::getenv("TMPDIR");
        const std::string path =
            std::string(tmp && *tmp ? tmp : "/tmp") + "/compare_peers_plate.txt";
        std::ofstream out(path);
        auto loop = [&](const double* p) {
            for (int i = 0; i <= 4; ++i) out << p[2 * (i % 4)] << ' ' << p[2 * (i % 4) + 1] << '\n';
            out << '\n';
        };
        loop(boundary.data());
        for (int h = 0; h < 3; ++h) loop(holes.data() + 8 * h);
        return path;
    }
};

// Triangle prints its statistics; both sides send them somewhere quiet.
void quietStdout() {
    static const bool done = [] {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        close(null);
        return true;
    }();
    (void)done;
}

std::function<void()> meshIt(double maxArea) {
    auto plate = std::make_shared<Plate>();
    auto mesher = std::make_shared<ZEVTriangleMesher>();
    return [plate, mesher, maxArea] {
        quietStdout();
        std::vector<int> sizes = plate->holeSizes;
        int n = mesher->mesh_it(plate->boundary.data(), 4, nullptr, 0, nullptr, 0, 3, sizes.data(),
                                plate->holes.data(), maxArea, false, nullptr);
        keep(n);
    };
}

std::function<void()> twoStep(double maxArea) {
    auto plate = std::make_shared<Plate>();
    return [plate, maxArea] {
        quietStdout();
        std::vector<double> points = plate->boundary;
        points.insert(points.end(), plate->holes.begin(), plate->holes.end());
        std::vector<int> markers{1, 1, 1, 1}, segments, segmentMarkers;
        auto outline = [&](int first, int marker) {
            for (int i = 0; i < 4; ++i) {
                segments.insert(segments.end(), {first + (i + 1) % 4, first + i});
                segmentMarkers.push_back(marker);
            }
        };
        outline(0, 1);
        for (int h = 0; h < 3; ++h) {
            markers.insert(markers.end(), 4, 2 + h);
            outline(4 + 4 * h, 2 + h);
        }
        char first[] = "pzevn";
        std::string second = "prqzPa" + std::to_string(maxArea);
        triangulateio in{}, mid{}, vor{}, out{};
        in.pointlist = points.data();
        in.pointmarkerlist = markers.data();
        in.numberofpoints = static_cast<int>(markers.size());
        in.segmentlist = segments.data();
        in.segmentmarkerlist = segmentMarkers.data();
        in.numberofsegments = static_cast<int>(segmentMarkers.size());
        in.holelist = plate->holeInside.data();
        in.numberofholes = 3;
        triangulate(first, &in, &mid, &vor);
        std::vector<double> areas(static_cast<std::size_t>(mid.numberoftriangles), 0.0);
        mid.trianglearealist = areas.data();
        triangulate(second.data(), &mid, &out, nullptr);
        keep(out.numberoftriangles);
        for (triangulateio* r : {&mid, &vor, &out}) {
            for (void* p :
                 {static_cast<void*>(r->pointlist), static_cast<void*>(r->pointattributelist),
                  static_cast<void*>(r->pointmarkerlist), static_cast<void*>(r->trianglelist),
                  static_cast<void*>(r->triangleattributelist), static_cast<void*>(r->neighborlist),
                  static_cast<void*>(r->segmentlist), static_cast<void*>(r->segmentmarkerlist),
                  static_cast<void*>(r->edgelist), static_cast<void*>(r->edgemarkerlist),
                  static_cast<void*>(r->normlist)})
                trifree(p);
        }
    };
}

std::string cliPath() {
    const char* set = std::getenv("ZEV_COMPARE_CLI");
    return set && *set ? set : "";
}

std::function<void()> cli(double maxArea) {
    const std::string tool = cliPath();
    if (tool.empty()) return {};
    const std::string file = Plate().write();
    const std::string area = std::to_string(maxArea);
    return [tool, file, area] {
        std::vector<std::string> args{tool,       "mesh",       file, "--method",
                                      "triangle", "--max-area", area, "-q"};
        std::vector<char*> argv;
        for (std::string& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        pid_t pid = 0;
        if (posix_spawn(&pid, tool.c_str(), &actions, nullptr, argv.data(), environ) == 0) {
            int status = 0;
            waitpid(pid, &status, 0);
        }
        posix_spawn_file_actions_destroy(&actions);
    };
}

struct Size {
    const char* name;
    double maxArea;
};
const Size kSizes[] = {{"90k", 0.098}, {"270k", 0.033}};

}  // namespace

std::vector<Case> meshCases() {
    std::vector<Case> cases;
    // A short run (bench/compare.py --short) only checks that every side works.
    const double scale = std::getenv("ZEV_COMPARE_SHORT") ? 100.0 : 1.0;
    for (const Size& size : kSizes) {
        const double area = size.maxArea * scale;
        static std::vector<std::string> names;  // the cases keep pointers to these
        names.push_back(std::string("triangle-cli-") + size.name);
        const char* cliWork = names.back().c_str();
        names.push_back(std::string("triangle-mesh_it-") + size.name);
        const char* meshItWork = names.back().c_str();
        cases.push_back({cliWork, "zevcore", [area] { return cli(area); }});
        cases.push_back({cliWork, "triangle-two-step", [area] { return twoStep(area); }});
        cases.push_back({meshItWork, "zevcore", [area] { return meshIt(area); }});
        cases.push_back({meshItWork, "triangle-two-step", [area] { return twoStep(area); }});
    }
    return cases;
}

}  // namespace peers
