#pragma once

// An offscreen context for tests that draw and read the pixels back. Only a machine where no
// EGL display can be had skips; any other failure to make the context fails the test.

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "zevcore/platform/gl/GLPlatform.h"

namespace zevtest {

using Pixel = std::array<int, 3>;

class GLTest : public ::testing::Test {
protected:
    static constexpr int kSize = 64;

    void SetUp() override {
        auto* egl = dynamic_cast<CZEVEGLPlatform*>(&ZEVGL());
        if (egl && !egl->Available()) GTEST_SKIP() << "no EGL display: " << egl->DisplayError();
        m_gl = std::make_unique<CZEVOffscreenGL>(kSize, kSize);
        ASSERT_TRUE(m_gl->ok()) << m_gl->error();
        // Model units are pixels: x and y from 0 to kSize, and z from -1 (near) to 1 (far).
        glViewport(0, 0, kSize, kSize);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(0, kSize, 0, kSize, 1, -1);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }

    void TearDown() override { m_gl.reset(); }

    /// The pixel at column x, row y counted from the bottom.
    static Pixel pixel(int x, int y) {
        unsigned char rgba[4] = {0, 0, 0, 0};
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
        return {rgba[0], rgba[1], rgba[2]};
    }
    static bool lit(int x, int y) { return pixel(x, y) != Pixel{0, 0, 0}; }
    /// Lit pixels in the whole surface.
    static int litCount() {
        std::vector<unsigned char> rgba(4 * kSize * kSize);
        glReadPixels(0, 0, kSize, kSize, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        int n = 0;
        for (size_t i = 0; i < rgba.size(); i += 4) n += (rgba[i] | rgba[i + 1] | rgba[i + 2]) != 0;
        return n;
    }

    std::unique_ptr<CZEVOffscreenGL> m_gl;
};

}  // namespace zevtest

namespace zevtest {

/// What a drawing sends to the rasteriser, counted by kind through OpenGL's feedback mode,
/// with the window-space box of every vertex.
struct Feedback {
    int points = 0, lines = 0, polygons = 0;
    float low[3] = {1e30f, 1e30f, 1e30f}, high[3] = {-1e30f, -1e30f, -1e30f};
};

template <typename Draw>
Feedback feedbackOf(Draw draw) {
    std::vector<GLfloat> buffer(1 << 16);
    glFeedbackBuffer(static_cast<GLsizei>(buffer.size()), GL_3D, buffer.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    const GLint n = glRenderMode(GL_RENDER);
    Feedback f;
    auto vertices = [&](GLint& at, int count) {
        for (int v = 0; v < count; ++v, at += 3)
            for (int k = 0; k < 3; ++k) {
                f.low[k] = std::min(f.low[k], buffer[static_cast<size_t>(at + k)]);
                f.high[k] = std::max(f.high[k], buffer[static_cast<size_t>(at + k)]);
            }
    };
    for (GLint at = 0; at < n;) {
        const auto token = static_cast<GLint>(buffer[static_cast<size_t>(at++)]);
        if (token == GL_POINT_TOKEN) {
            ++f.points;
            vertices(at, 1);
        } else if (token == GL_LINE_TOKEN || token == GL_LINE_RESET_TOKEN) {
            ++f.lines;
            vertices(at, 2);
        } else if (token == GL_POLYGON_TOKEN) {
            ++f.polygons;
            const auto count = static_cast<int>(buffer[static_cast<size_t>(at++)]);
            vertices(at, count);
        } else {
            at += token == GL_PASS_THROUGH_TOKEN ? 1 : 3;
        }
    }
    return f;
}

}  // namespace zevtest
