// The DXF reader on arbitrary bytes, walked as a caller walks a file and loaded into a drawing,
// which is then checked, painted and written out: no crash, leak or hang, and the drawing's
// invariants hold.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "FuzzFile.h"
#include "zevcore/files/dxf/Drawing.h"

namespace {

// Counts instead of keeping, so that a painted drawing costs no memory.
class CountingPainter : public IZEVPainter {
public:
    long calls = 0;
    void FillRect(HDC, int, int, int, int, COLORREF) override { ++calls; }
    void SetClip(HDC, int, int, int, int) override { ++calls; }
    void Line(HDC, double, double, double, double, COLORREF) override { ++calls; }
    void Polyline(HDC, const ZEVPaintPoint*, int, bool, COLORREF) override { ++calls; }
    void Arc(HDC, double, double, double, double, double, COLORREF) override { ++calls; }
    void Text(HDC, double, double, double, double, const char* text, COLORREF) override {
        if (std::strlen(text) >= 2056) std::abort();
        ++calls;
    }
};

void walk(const char* path, std::size_t size) {
    HDXF h = dxfOpenFile(path);
    if (!h) return;
    auto record = std::make_unique<DXFTABLERECORD>();
    auto data = std::make_unique<DXFENTITYDATA>();
    tag_DXFENTITYHEADER header;
    tag_DXFBLOCKHEADER block;
    auto entities = [&]() {
        while (int type = dxfReadEntityData(h, &header, data.get())) {
            if (type == ENT_POLYLINE && data->PolyLine.nVertex > size) std::abort();
            if (std::strlen(header.LayerName) >= sizeof header.LayerName) std::abort();
            dxfFreeEntityData(&header, data.get());
        }
    };
    while (unsigned long section = dxfFindNextSection(h)) {
        if (section == SEC_TABLES)
            while (dxfReadTableType(h, record.get())) {
            }
        else if (section == SEC_BLOCKS)
            while (dxfFindBlockHeader(h, &block)) entities();
        else if (section == SEC_ENTITIES)
            entities();
        if (dxfGetReadPosition(h) > size + 2) std::abort();
    }
    dxfCloseFile(h);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (!writeFuzzFile(bytes, size)) return 0;
    const std::string& path = fuzzFilePath();
    dxfSetPaperSpace(0);
    walk(path.c_str(), size);

    CDrawing drawing;
    if (!drawing.Create()) return 0;
    drawing.LoadDXFFile(path.c_str());
    if (!drwIsValid(drawing.Handle())) std::abort();
    CountingPainter painter;
    IZEVPainter* before = ZEVInstallPainter(&painter);
    drawing.InitView(0, 0, 640, 480);
    drawing.Paint(nullptr);
    ZEVInstallPainter(before);
    const std::string out = path + ".out.dxf";
    drawing.SaveDXFFile(out.c_str());
    std::remove(out.c_str());
    return 0;
}
