// OpenGL views in Qt windows: the library's view draws into a QOpenGLWidget through the Qt
// platform, and surfaces without a window still go offscreen. Needs a display with OpenGL
// (Xvfb and Mesa in CI).

#include <GL/gl.h>

#include <QImage>
#include <QOpenGLWidget>

#include "QtTestMain.h"
#include "tools/studio/GLMeshView.h"
#include "tools/studio/StudioWindow.h"
#include "zevcore-qt/QtGLView.h"
#include "zevcore/graphics/GLEnabledView.h"

namespace {

class ClearView : public CGLEnabledView {
public:
    void OnCreateGL() override {
        CGLEnabledView::OnCreateGL();
        PrepareCharset2D("DejaVu Sans", 24, true, false);
    }
    void OnDrawGL() override {
        glClearColor(0.2f, 0.4f, 0.6f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        // A block of text in white at the lower left, through the Qt font's bitmap lists.
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glColor3f(1.0f, 1.0f, 1.0f);
        glRasterPos2f(-0.9f, -0.9f);
        Text2D("WWW");
        ++draws;
    }
    void OnSizeGL(int width, int height) override {
        CGLEnabledView::OnSizeGL(width, height);
        lastWidth = width;
    }
    int draws = 0;
    int lastWidth = 0;
};

}  // namespace

class TestGL : public QObject {
    Q_OBJECT
public:
    explicit TestGL(CZEVQtHost& host) : m_host(host) {}

private Q_SLOTS:
    void aViewDrawsIntoItsWidget() {
        ClearView view;
        {
            CZEVQtGLView widget(view, m_host.GL());
            widget.resize(160, 120);
            widget.show();
            QVERIFY(QTest::qWaitForWindowExposed(&widget));
            QTRY_VERIFY(view.draws > 0);
            QVERIFY(widget.Created());
            QVERIFY(view.GetRC() != nullptr);
            QCOMPARE(view.lastWidth, static_cast<int>(160 * widget.devicePixelRatioF()));
            const QImage frame = widget.grabFramebuffer();
            const QColor centre = frame.pixelColor(frame.width() / 2, frame.height() / 2);
            QVERIFY2(std::abs(centre.red() - 51) <= 2 && std::abs(centre.green() - 102) <= 2 &&
                         std::abs(centre.blue() - 153) <= 2,
                     qPrintable(centre.name()));
            // The text's glyphs were made and drawn: white pixels at the lower left only.
            QVERIFY(view.m_charsetDListBase != 0);
            int white = 0;
            for (int y = 0; y < frame.height(); ++y)
                for (int x = 0; x < frame.width(); ++x)
                    if (frame.pixelColor(x, y).lightness() > 240) {
                        ++white;
                        QVERIFY(x < frame.width() * 3 / 4 && y > frame.height() / 2);
                    }
            QVERIFY(white > 20);
            // Outside a paint the view's context is released again.
            QCOMPARE(ZEVGL().GetCurrentContext(), HGLRC(nullptr));
        }
        QCOMPARE(view.GetRC(), HGLRC(nullptr));  // the widget's end destroyed the view's GL
    }

    void surfacesWithoutAWindowGoOffscreenAndForeignHandlesAreRefused() {
        IZEVGLPlatform& gl = ZEVGL();
        const HDC dc = gl.GetDC(nullptr, 32, 16);
        QVERIFY(dc);
        int width = 0, height = 0;
        QVERIFY(gl.GetDCSize(dc, width, height));
        QCOMPARE(width, 32);
        QCOMPARE(height, 16);
        QVERIFY(gl.ReleaseDC(dc));
        QVERIFY(!gl.ReleaseDC(dc));
        QObject notAWidget;
        QCOMPARE(gl.GetDC(CZEVQtWindows::HandleOf(&notAWidget), 10, 10), HDC(nullptr));
        QCOMPARE(gl.GetLastError(), ZEV_ERROR_INVALID_HANDLE);
    }

    void theStudioDrawsTheMeshedSampleWithOpenGL() {
        studio::StudioWindow window(m_host);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(window.GLView());
        QVERIFY(window.ShowingGL());
        QVERIFY(window.OpenFile(QString(ZEV_SAMPLES_DIR) + "/plate_with_hole.txt"));
        QCOMPARE(window.MeshNow(), studio::StudioWindow::MeshOutcome::Meshed);
        studio::GLMeshView& view = *window.GLView();
        QTRY_VERIFY(view.Created());
        const QImage frame = view.grabFramebuffer();
        // The elements are drawn in their quality colours: green prevails over red and blue.
        int green = 0;
        for (int y = 0; y < frame.height(); y += 4)
            for (int x = 0; x < frame.width(); x += 4) {
                const QColor c = frame.pixelColor(x, y);
                if (c.green() > c.red() + 30 && c.green() > c.blue() + 30) ++green;
            }
        QVERIFY2(green > frame.width() * frame.height() / 16 / 10,
                 qPrintable(QString::number(green)));
        // The pointer snaps to the grid in this view too.
        QTest::mouseMove(&view, view.rect().center());
        QVERIFY(window.CoordinatesText().startsWith("x "));
        zevqttest::screenshot(&window, "studio-opengl-view.png");

        window.ShowGL(false);
        QVERIFY(!window.ShowingGL());
        window.ShowGL(true);
        QVERIFY(window.ShowingGL());
    }

private:
    CZEVQtHost& m_host;
};

ZEV_QTEST_MAIN(TestGL)
#include "QtGL_test.moc"
