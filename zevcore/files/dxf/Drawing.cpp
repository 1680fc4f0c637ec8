#include "zevcore/files/dxf/Drawing.h"

#include "zevcore/files/dxf/DrawingStore.hpp"

using namespace Drawing::detail;

CDrawing::CDrawing() {
    syncTemplate();
}

CDrawing::~CDrawing() {
    Destroy();
}

void CDrawing::syncTemplate() {
    m_EntityHeader.LayerObjhandle = LayerObjhandle;
    m_EntityHeader.LTypeObjhandle = LTypeObjhandle;
    m_EntityHeader.Color = Color;
    m_EntityHeader.Thickness = Thickness;
    m_EntityHeader.LineTypeScale = 1.0;
    m_EntityHeader.ExtrusionDirection[0] = m_EntityHeader.ExtrusionDirection[1] = 0.0;
    m_EntityHeader.ExtrusionDirection[2] = 1.0;
}

bool CDrawing::Create() {
    if (m_hDrawing) return false;
    m_hDrawing = drwCreate();
    LayerObjhandle = LTypeObjhandle = StyleObjhandle = DimStyleObjhandle = 0;
    Color = 256;
    Thickness = 0.0;
    m_ActiveBlock = 0;
    syncTemplate();
    return m_hDrawing != nullptr;
}

bool CDrawing::Destroy() {
    if (!m_hDrawing) return false;
    drwDestroy(m_hDrawing);
    m_hDrawing = nullptr;
    return true;
}

unsigned long CDrawing::AddBlock(tag_BLOCKHEADER* blockHeader, const char* fileName) {
    const unsigned long block = drwAddBlock(m_hDrawing, blockHeader);
    if (!block || !fileName) return block;
    return drwLoadDXFFile(m_hDrawing, fileName, block) ? block : 0;
}

bool CDrawing::SetActiveBlock(const char* name) {
    if (!m_hDrawing) return false;
    if (!name) {
        m_ActiveBlock = 0;
        return true;
    }
    tag_BLOCKHEADER* b = blockByName(m_hDrawing, name);
    if (!b) return false;
    m_ActiveBlock = b->Objhandle;
    return true;
}

bool CDrawing::SetLayer(const char* name) {
    const DWORD handle = m_hDrawing ? handleOf(m_hDrawing, TAB_LAYER, name) : 0;
    if (!handle) return false;
    LayerObjhandle = handle;
    LTypeObjhandle = 0;
    syncTemplate();
    return true;
}

bool CDrawing::SetLineType(const char* name) {
    if (!m_hDrawing) return false;
    const DWORD handle = name ? handleOf(m_hDrawing, TAB_LTYPE, name) : 0;
    if (name && !handle) return false;
    LTypeObjhandle = handle;
    syncTemplate();
    return true;
}

bool CDrawing::SetTextStyle(const char* name) {
    const DWORD handle = m_hDrawing ? handleOf(m_hDrawing, TAB_STYLE, name) : 0;
    if (!handle) return false;
    StyleObjhandle = handle;
    return true;
}

bool CDrawing::SetDimStyle(const char* name) {
    const DWORD handle = m_hDrawing ? handleOf(m_hDrawing, TAB_DIMSTYLE, name) : 0;
    if (!handle) return false;
    DimStyleObjhandle = handle;
    return true;
}

bool CDrawing::SetColor(short color) {
    Color = color;
    syncTemplate();
    return true;
}

bool CDrawing::SetThickness(double thickness) {
    Thickness = thickness;
    syncTemplate();
    return true;
}

unsigned long CDrawing::make(WORD type, void* data) {
    m_EntityHeader.EntityType = type;
    return AddEntity(m_ActiveBlock, &m_EntityHeader, data);
}

unsigned long CDrawing::Line(double x1, double y1, double x2, double y2) {
    tag_ENTLINE l{{x1, y1, 0}, {x2, y2, 0}};
    return make(ENT_LINE, &l);
}

unsigned long CDrawing::Point(double x, double y) {
    tag_ENTPOINT p{{x, y, 0}};
    return make(ENT_POINT, &p);
}

unsigned long CDrawing::Circle(double cx, double cy, double radius) {
    tag_ENTCIRCLE c{{cx, cy, 0}, radius};
    return make(ENT_CIRCLE, &c);
}

unsigned long CDrawing::Arc(double cx, double cy, double radius, double startAngle,
                            double endAngle) {
    tag_ENTARC a{};
    a.Point0 = {cx, cy, 0};
    a.Radius = radius, a.StartAngle = startAngle, a.EndAngle = endAngle;
    return make(ENT_ARC, &a);
}

unsigned long CDrawing::Text(const char* text, double x, double y, double height) {
    return Text(text, x, y, x, y, height, 0.0, 0, 0.0);
}

unsigned long CDrawing::Text(const char* text, double x1, double y1, double x2, double y2,
                             double height, double rotation, DWORD justification,
                             double widthFactor) {
    if (!text) return 0;
    auto* t = new tag_ENTTEXT{};
    t->Point0 = {x1, y1, 0};
    t->SecondAlignmentPoint = {x2, y2, 0};
    t->Height = height, t->RotationAngle = rotation, t->WidthFactor = widthFactor;
    t->Justification = justification;
    t->TextStyleObjhandle = StyleObjhandle;
    copyName(t->strText, text);
    const unsigned long result = make(ENT_TEXT, t);
    delete t;
    return result;
}

unsigned long CDrawing::Solid(const tag_REALPOINT& p0, const tag_REALPOINT& p1,
                              const tag_REALPOINT& p2, const tag_REALPOINT& p3) {
    tag_ENTSOLID s{p0, p1, p2, p3};
    return make(ENT_SOLID, &s);
}

unsigned long CDrawing::Face3D(const tag_REALPOINT& p0, const tag_REALPOINT& p1,
                               const tag_REALPOINT& p2, const tag_REALPOINT& p3) {
    tag_ENT3DFACE s{p0, p1, p2, p3};
    return make(ENT_FACE3D, &s);
}

unsigned long CDrawing::InsertBlock(const char* blockName, double x, double y, double xScale,
                                    double yScale, double rotation) {
    tag_BLOCKHEADER* b = m_hDrawing && blockName ? blockByName(m_hDrawing, blockName) : nullptr;
    if (!b) return 0;
    auto* in = new tag_ENTINSERT{};
    in->Point0 = {x, y, 0};
    in->XScale = xScale, in->YScale = yScale, in->RotationAngle = rotation;
    in->BlockHeaderObjhandle = b->Objhandle;
    const unsigned long result = make(ENT_INSERT, in);
    delete in;
    return result;
}

unsigned long CDrawing::PolyLine(const tag_ENTVERTEX* vertices, int count, unsigned flags) {
    if (count < 0 || (count > 0 && !vertices)) return 0;
    tag_ENTPOLYLINE p{const_cast<tag_ENTVERTEX*>(vertices), static_cast<DWORD>(count), flags};
    return make(ENT_POLYLINE, &p);
}

unsigned long CDrawing::DimLinear(double x1, double y1, double x2, double y2, double x3, double y3,
                                  double angle, const char* text) {
    if (!text) return 0;
    auto* dim = new tag_ENTDIMENSION{};
    dim->DefPoint1 = {x1, y1, 0};
    dim->DefPoint2 = {x2, y2, 0};
    dim->DimLinePoint = {x3, y3, 0};
    dim->DimLineAngle = angle;
    dim->DimStyleObjhandle = DimStyleObjhandle;
    copyName(dim->strText, text);
    const unsigned long result = make(ENT_DIMENSION, dim);
    delete dim;
    return result;
}
