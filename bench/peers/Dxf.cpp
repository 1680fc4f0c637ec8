// DXF: a million LINEs written and read by ZEVCore, by the plainest C that does the same work
// (the floors: fprintf writing the same text, fgets with atoi and strtod reading it), by
// dxflib and by ezdxf (Debian's python3-ezdxf, run as a program). The stated limits: the writer
// within 1.5 times its floor, the reader within 2 times its.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "peers/Cases.h"
#include "zevcore/files/dxf/Dxf.h"

#ifdef ZEV_HAVE_DXFLIB
#include <dl_creationadapter.h>
#include <dl_dxf.h>
#endif

extern char** environ;

namespace peers {

namespace {

int lineCount() {
    // A short run (bench/compare.py --short) only checks that every side works.
    return std::getenv("ZEV_COMPARE_SHORT") ? 1000 : 1000000;
}

double coordinate(int i, int k) {
    return (i % 100000) * 0.731 + k * 17.125 - 250.5;
}

struct Scratch {
    std::string path;
    explicit Scratch(const char* name) {
        const char* tmp = std::getenv("TMPDIR");
        path = std::string(tmp && *tmp ? tmp : "/tmp") + "/compare_peers_" +
               std::to_string(getpid()) + "_" + name;
    }
    ~Scratch() { std::remove(path.c_str()); }
};

void zevWrite(const std::string& path, int lines) {
    HDXF h = dxfCreateFile(path.c_str());
    dxfSectionBegin(h, SEC_ENTITIES);
    for (int i = 0; i < lines; ++i)
        dxfLine(h, coordinate(i, 0), coordinate(i, 1), coordinate(i, 2), coordinate(i, 3));
    dxfSectionEnd(h);
    dxfCloseFile(h);
}

std::function<void()> zevWriting() {
    auto file = std::make_shared<Scratch>("zev.dxf");
    const int lines = lineCount();
    return [file, lines] { zevWrite(file->path, lines); };
}

std::function<void()> fprintfWriting() {
    auto file = std::make_shared<Scratch>("floor.dxf");
    const int lines = lineCount();
    return [file, lines] {
        std::FILE* f = std::fopen(file->path.c_str(), "w");
        std::fprintf(f, "%d\n%s\n%d\n%s\n", 0, "SECTION", 2, "ENTITIES");
        for (int i = 0; i < lines; ++i) {
            std::fprintf(f, "%d\n%s\n", 0, "LINE");
            std::fprintf(f, "%d\n%s\n", 8, "0");
            std::fprintf(f, "%d\n%f\n", 10, coordinate(i, 0));
            std::fprintf(f, "%d\n%f\n", 20, coordinate(i, 1));
            std::fprintf(f, "%d\n%f\n", 30, 0.0);
            std::fprintf(f, "%d\n%f\n", 11, coordinate(i, 2));
            std::fprintf(f, "%d\n%f\n", 21, coordinate(i, 3));
            std::fprintf(f, "%d\n%f\n", 31, 0.0);
        }
        std::fprintf(f, "%d\n%s\n%d\n%s\n", 0, "ENDSEC", 0, "EOF");
        std::fclose(f);
    };
}

// The file every reader reads: ZEVCore's.
std::shared_ptr<Scratch> written() {
    auto file = std::make_shared<Scratch>("read.dxf");
    zevWrite(file->path, lineCount());
    return file;
}

std::function<void()> zevReading() {
    auto file = written();
    return [file] {
        tag_DXFENTITYHEADER header;
        DXFENTITYDATA data;
        HDXF h = dxfOpenFile(file->path.c_str());
        double sum = 0.0;
        while (unsigned long section = dxfFindNextSection(h)) {
            if (section != SEC_ENTITIES) continue;
            while (dxfReadEntityData(h, &header, &data)) sum += data.Line.Point1.y;
        }
        dxfCloseFile(h);
        keep(sum);
    };
}

std::function<void()> fgetsReading() {
    auto file = written();
    return [file] {
        std::FILE* f = std::fopen(file->path.c_str(), "r");
        char code[64], value[512];
        double sum = 0.0;
        long groups = 0;
        while (std::fgets(code, sizeof code, f) && std::fgets(value, sizeof value, f)) {
            groups += std::atoi(code);
            sum += std::strtod(value, nullptr);
        }
        std::fclose(f);
        keep(sum);
        keep(groups);
    };
}

#ifdef ZEV_HAVE_DXFLIB
class LineSum : public DL_CreationAdapter {
public:
    double sum = 0.0;
    void addLine(const DL_LineData& line) override { sum += line.y1; }
};

std::function<void()> dxflibWriting() {
    auto file = std::make_shared<Scratch>("dxflib.dxf");
    const int lines = lineCount();
    return [file, lines] {
        DL_Dxf dxf;
        std::unique_ptr<DL_WriterA> w(dxf.out(file->path.c_str(), DL_Codes::AC1009));
        w->sectionEntities();
        const DL_Attributes attributes("0", 256, -1, "BYLAYER", 1.0);
        for (int i = 0; i < lines; ++i)
            dxf.writeLine(*w,
                          DL_LineData(coordinate(i, 0), coordinate(i, 1), 0.0, coordinate(i, 2),
                                      coordinate(i, 3), 0.0),
                          attributes);
        w->sectionEnd();
        w->dxfEOF();
        w->close();
    };
}

std::function<void()> dxflibReading() {
    auto file = written();
    return [file] {
        LineSum lines;
        DL_Dxf dxf;
        dxf.in(file->path, &lines);
        keep(lines.sum);
    };
}
#endif

// ezdxf is Python: it runs as a program of its own, timed with its start-up left out by the
// script's own clock.
std::function<void()> ezdxf(bool write) {
    auto file = write ? std::make_shared<Scratch>("ezdxf.dxf") : written();
    const std::string lines = std::to_string(lineCount());
    const std::string script =
        write ? "import sys, ezdxf\n"
                "doc = ezdxf.new('R12'); msp = doc.modelspace(); n = int(sys.argv[2])\n"
                "c = lambda i, k: (i % 100000) * 0.731 + k * 17.125 - 250.5\n"
                "for i in range(n): msp.add_line((c(i, 0), c(i, 1)), (c(i, 2), c(i, 3)))\n"
                "doc.saveas(sys.argv[1])\n"
              : "import sys, ezdxf\n"
                "from ezdxf import recover\n"
                "doc, auditor = recover.readfile(sys.argv[1])\n"
                "print(sum(e.dxf.start.y for e in doc.modelspace().query('LINE')))\n";
    return [file, lines, script] {
        std::string python = "/usr/bin/python3", c = "-c", s = script, path = file->path,
                    count = lines;
        char* argv[] = {python.data(), c.data(), s.data(), path.data(), count.data(), nullptr};
        pid_t pid = 0;
        if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv, environ) == 0) {
            int status = 0;
            waitpid(pid, &status, 0);
        }
    };
}

// Where Debian's python3-ezdxf puts the module; looked for without starting Python.
bool haveEzdxf() {
    return access("/usr/lib/python3/dist-packages/ezdxf/__init__.py", R_OK) == 0;
}

}  // namespace

std::vector<Case> dxfCases() {
    std::vector<Case> cases{
        {"dxf-write", "zevcore", zevWriting},
        {"dxf-write", "fprintf-floor", fprintfWriting},
        {"dxf-read", "zevcore", zevReading},
        {"dxf-read", "fgets-floor", fgetsReading},
    };
#ifdef ZEV_HAVE_DXFLIB
    cases.push_back({"dxf-write", "dxflib", dxflibWriting});
    cases.push_back({"dxf-read", "dxflib", dxflibReading});
#endif
    if (haveEzdxf()) {
        cases.push_back({"dxf-write", "ezdxf", [] { return ezdxf(true); }});
        cases.push_back({"dxf-read", "ezdxf", [] { return ezdxf(false); }});
    }
    return cases;
}

}  // namespace peers
