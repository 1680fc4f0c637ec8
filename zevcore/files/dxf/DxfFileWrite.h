#pragma once

// A thin class over the DXF writer (Dxf.h): each call forwards to the free function of the
// same purpose on the one handle, and answers what it answers.

#include "zevcore/Export.h"
#include "zevcore/files/dxf/Dxf.h"
#include "zevcore/platform/framework/String.h"

class ZEVCORE_API CDxfFileWrite {
public:
    CDxfFileWrite() = default;
    /// Closes the file if still open.
    ~CDxfFileWrite();
    CDxfFileWrite(const CDxfFileWrite&) = delete;
    CDxfFileWrite& operator=(const CDxfFileWrite&) = delete;

    /// Creates the file (closing one already open); the flag is not used.
    bool Create(const char* fileName, bool unused = false);
    bool Create(const CString& fileName, bool unused = false);
    bool Close();
    bool IsOpen() const { return m_hDxf != nullptr; }

    bool BeginSection(unsigned long section) { return dxfSectionBegin(m_hDxf, section) != 0; }
    bool EndSection() { return dxfSectionEnd(m_hDxf) != 0; }
    bool BeginTableType(unsigned long table) { return dxfTableTypeBegin(m_hDxf, table) != 0; }
    bool EndTableType() { return dxfTableTypeEnd(m_hDxf) != 0; }

    bool AddLayer(const char* name, int color, const char* lineType) {
        return dxfAddLayer(m_hDxf, name, color, lineType) != 0;
    }
    bool AddLinetype(const tag_DXFLTYPE* lineType) { return dxfAddLinetype(m_hDxf, lineType) != 0; }
    bool AddTextStyle(const tag_DXFSTYLE* style) { return dxfAddTextStyle(m_hDxf, style) != 0; }
    bool AddDimStyle(const tag_DXFDIMSTYLE* style) { return dxfAddDimStyle(m_hDxf, style) != 0; }

    bool SetCurrentLayer(const char* layer, const char* lineType = nullptr) {
        return dxfSetCurrentLayer(m_hDxf, layer, lineType) != 0;
    }
    bool SetCurrentLinetype(const char* lineType) {
        return dxfSetCurrentLinetype(m_hDxf, lineType) != 0;
    }
    bool SetCurrentTextStyle(const char* style) {
        return dxfSetCurrentTextStyle(m_hDxf, style) != 0;
    }
    bool SetCurrentDimStyle(const char* style) { return dxfSetCurrentDimStyle(m_hDxf, style) != 0; }
    bool SetCurrentColor(int color) { return dxfSetCurrentColor(m_hDxf, color) != 0; }
    bool SetScale(double widthScale, double heightScale) {
        return dxfSetScale(m_hDxf, widthScale, heightScale) != 0;
    }
    double GetHeightScale() const { return dxfGetHeightScale(m_hDxf); }
    double GetWidthScale() const { return dxfGetWidthScale(m_hDxf); }

    bool BlockBegin(const char* name, const char* layer, double x, double y, char flags = 0) {
        return dxfBlockBegin(m_hDxf, name, layer, x, y, flags) != 0;
    }
    bool BlockEnd() { return dxfBlockEnd(m_hDxf) != 0; }
    bool InsertBlock(const char* name, double x, double y, double xScale = 1.0, double yScale = 1.0,
                     double rotation = 0.0) {
        return dxfInsertBlock(m_hDxf, name, x, y, xScale, yScale, rotation) != 0;
    }

    bool Line(double x1, double y1, double x2, double y2) {
        return dxfLine(m_hDxf, x1, y1, x2, y2) != 0;
    }
    bool Point(double x, double y) { return dxfPoint(m_hDxf, x, y) != 0; }
    bool Circle(double cx, double cy, double radius) {
        return dxfCircle(m_hDxf, cx, cy, radius) != 0;
    }
    bool Arc(double cx, double cy, double radius, double startAngle, double endAngle,
             double thickness = 0.0) {
        return dxfArc(m_hDxf, cx, cy, radius, startAngle, endAngle, thickness) != 0;
    }
    /// A left-aligned text at (x, y) in the current text style.
    bool Text(const char* text, double x, double y, double height, double rotation = 0.0) {
        return dxfText(m_hDxf, text, x, y, x, y, height, rotation, 0, 0.0, nullptr) != 0;
    }
    bool Text(const char* text, double x1, double y1, double x2, double y2, double height,
              double rotation, DWORD justification, double widthFactor, const char* style) {
        return dxfText(m_hDxf, text, x1, y1, x2, y2, height, rotation, justification, widthFactor,
                       style) != 0;
    }
    bool Solid(int corners, const tag_REALPOINT* points) {
        return dxfSolid(m_hDxf, corners, points) != 0;
    }
    bool Face3D(const tag_REALPOINT* corners) { return dxf3DFace(m_hDxf, corners) != 0; }
    bool PolyLine(int count, const tag_DXFENTVERTEX* vertices, unsigned flags = 0) {
        return dxfPolyLine(m_hDxf, vertices, count, flags) != 0;
    }
    bool DimLinear(double x1, double y1, double x2, double y2, double x3, double y3, double angle,
                   const char* text) {
        return dxfDimLinear(m_hDxf, x1, y1, x2, y2, x3, y3, angle, text) != 0;
    }

    /// In the HEADER section: a variable with one integer group (as $INSUNITS 70).
    bool HeaderInteger(const char* name, int code, int value) {
        return dxfHeaderInteger(m_hDxf, name, code, value) != 0;
    }
    bool WriteParameter(int code, int value) {
        return dxfWriteParamInteger(m_hDxf, code, value) != 0;
    }
    bool WriteParameter(int code, double value) {
        return dxfWriteParamDouble(m_hDxf, code, value) != 0;
    }
    bool WriteParameter(int code, const char* value) {
        return dxfWriteParamString(m_hDxf, code, value) != 0;
    }

private:
    HDXF m_hDxf = nullptr;
};
