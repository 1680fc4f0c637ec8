// The pieces of zevcore render that do not draw: mesh files, the picture size, PNG.

#include <gtest/gtest.h>
#include <png.h>

#include "support/ExpectMessage.h"
#include "support/TestEnv.h"
#include "tools/zevcore/RenderIo.h"

using namespace zevtool;
using meshio::InputError;

namespace {

#define EXPECT_INPUT_ERROR(text, lineNumber, message)     \
    do {                                                  \
        try {                                             \
            render::parseMshText(text);                   \
            ADD_FAILURE() << "no error for:\n" << (text); \
        } catch (const InputError& e) {                   \
            EXPECT_EQ(e.line(), lineNumber) << (text);    \
            EXPECT_STREQ(e.what(), message) << (text);    \
        }                                                 \
    } while (false)

TEST(RenderIo, MshFileGivesTrianglesAndQuadsOverAnyNodeNumbers) {
    const meshio::Mesh mesh = render::readMshFile(ZEV_TOOL_TEST_DATA "/render/two_elements.msh");
    ASSERT_EQ(mesh.nodes.size(), 5u);
    EXPECT_EQ(mesh.nodes[4].x, 3.0);
    EXPECT_EQ(mesh.nodes[4].y, 0.5);
    ASSERT_EQ(mesh.elements.size(), 2u);  // the line element is skipped
    EXPECT_EQ(mesh.elements[0].count, 4);
    EXPECT_EQ(mesh.elements[0].v, (std::array<int, 4>{0, 1, 2, 3}));
    EXPECT_EQ(mesh.elements[1].count, 3);
    EXPECT_EQ(mesh.elements[1].v[1], 4);
}

TEST(RenderIo, MalformedMshFilesSayWhereAndWhy) {
    const std::string head = "$MeshFormat\n2.2 0 8\n$EndMeshFormat\n";
    EXPECT_INPUT_ERROR("", 0, "missing $MeshFormat");
    EXPECT_INPUT_ERROR("$MeshFormat\n4.1 0 8\n", 2, "only Gmsh MSH 2.2 ASCII files are read");
    EXPECT_INPUT_ERROR(head, 0, "the file has no $Nodes section");
    EXPECT_INPUT_ERROR(head + "$Nodes\n99999999999\n", 5,
                       "the count must be a whole number from 0 to 10000000");
    EXPECT_INPUT_ERROR(head + "$Nodes\n2\n1 0 0 0\n", 6, "the file ends inside $Nodes");
    EXPECT_INPUT_ERROR(head + "$Nodes\n1\n1 0 x 0\n$EndNodes\n", 6, "expected a number");
    EXPECT_INPUT_ERROR(head + "$Nodes\n1\n1 0 nan 0\n$EndNodes\n", 6, "expected a number");
    EXPECT_INPUT_ERROR(head + "$Nodes\n2\n1 0 0 0\n1 1 0 0\n$EndNodes\n", 7,
                       "node 1 appears twice");
    const std::string nodes = head + "$Nodes\n3\n1 0 0 0\n2 1 0 0\n3 0 1 0\n$EndNodes\n";
    EXPECT_INPUT_ERROR(nodes + "$Elements\n1\n1 2 0 1 2 9\n$EndElements\n", 12,
                       "the element names a node that is not defined");
    EXPECT_INPUT_ERROR(nodes + "$Elements\n1\n1 2 0 1 2\n$EndElements\n", 12,
                       "wrong number of node numbers for the element type");
    EXPECT_INPUT_ERROR(nodes + "$Elements\n1\n1 2 -1 1 2 3\n$EndElements\n", 12,
                       "the tag count must be from 0 to 100");
    EXPECT_INPUT_ERROR(nodes + "garbage\n", 10, "unexpected line 'garbage'");
    EXPECT_NO_THROW(render::parseMshText(nodes + "$Elements\n1\r\n1 2 0 1 2 3\r\n$EndElements\n"));
}

TEST(RenderIo, PictureSizeIsWidthByHeightWithinBounds) {
    int w = 0, h = 0;
    EXPECT_TRUE(render::parseSize("800x600", w, h));
    EXPECT_EQ(w, 800);
    EXPECT_EQ(h, 600);
    EXPECT_TRUE(render::parseSize("16X8192", w, h));
    for (const char* bad : {"800", "15x20", "20x8193", "x", "-20x20", "20x20x20", "2e2x300", ""})
        EXPECT_FALSE(render::parseSize(bad, w, h)) << bad;
}

TEST(RenderIo, PngHoldsThePixelsTopRowFirst) {
    std::vector<unsigned char> rgba(4 * 3 * 2, 0);
    rgba[0] = 255;                  // top left red
    rgba[4 * 3 * 2 - 4 + 2] = 200;  // bottom right blue
    const std::string png = render::pngBytes(3, 2, rgba);
    ASSERT_EQ(png.compare(0, 8, "\x89PNG\r\n\x1a\n"), 0);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_memory(&image, png.data(), png.size()));
    EXPECT_EQ(image.width, 3u);
    EXPECT_EQ(image.height, 2u);
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> rgb(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr));
    EXPECT_EQ(rgb[0], 255);
    EXPECT_EQ(rgb[1], 0);
    EXPECT_EQ(rgb[rgb.size() - 1], 200);
    EXPECT_THROW_MSG(render::pngBytes(3, 3, rgba), std::runtime_error,
                     "PNG: the pixels do not fill the picture");
}

TEST(RenderIo, DxfDrawingsBecomeLines) {
    // The plate: a closed polyline of 4 sides and a hole of 4 lines.
    const render::Drawing plate = render::readDxfDrawing(ZEV_TOOL_TEST_DATA "/dxf/plate.dxf");
    EXPECT_EQ(plate.lines.size(), 8u);
    // Curves in sides too short to see.
    const render::Drawing rounded = render::readDxfDrawing(ZEV_TOOL_TEST_DATA "/dxf/rounded.dxf");
    EXPECT_GT(rounded.lines.size(), 36u);
    // Blocks placed: a bay of four members (a rectangle and an arc each), three times.
    const render::Drawing frame =
        render::readDxfDrawing(ZEV_TOOL_TEST_DATA "/dxf/frame_blocks.dxf");
    EXPECT_GT(frame.lines.size(), 3u * 4u * 5u);
    EXPECT_EQ(
        render::readDxfDrawing(ZEV_TOOL_TEST_DATA "/dxf/plate_mm.dxf", {"center"}).lines.size(),
        4u);
    const struct {
        const char* file;
        std::vector<std::string> layers;
        const char* message;
    } bad[] = {
        {"plan.dxf", {}, "cannot read the file"},
        {ZEV_TOOL_TEST_DATA "/dxf/not_a_drawing.dxf", {}, "the file holds no DXF sections"},
        {ZEV_TOOL_TEST_DATA "/dxf/plate.dxf",
         {"NOPE"},
         "the drawing has no lines, arcs, circles or polylines"},
    };
    for (const auto& b : bad) {
        try {
            render::readDxfDrawing(b.file, b.layers);
            ADD_FAILURE() << b.file << ": no error";
        } catch (const InputError& e) {
            EXPECT_STREQ(e.what(), b.message);
        }
    }
}

}  // namespace

namespace {

// Mesh files come from outside: every mutation of a valid one either reads or is refused
// with an InputError (the sanitizers watch the rest).
TEST(RenderIo, MutatedMshFilesReadOrAreRefused) {
    const std::string valid = zevtest::readFile(ZEV_TOOL_TEST_DATA "/render/two_elements.msh");
    std::uint32_t seed = 12345;
    auto next = [&seed] { return seed = seed * 1664525u + 1013904223u; };
    const char alphabet[] = "0123456789 -.e$\n\rxEndNodes\t";
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string text = valid;
        for (int edits = 1 + next() % 4; edits > 0; --edits) {
            const size_t at = next() % (text.size() + 1);
            switch (next() % 3) {
                case 0:
                    text.insert(at, 1, alphabet[next() % (sizeof alphabet - 1)]);
                    break;
                case 1:
                    if (at < text.size()) text.erase(at, 1 + next() % 8);
                    break;
                default:
                    if (at < text.size()) text[at] = static_cast<char>(next() & 0xff);
                    break;
            }
        }
        try {
            render::parseMshText(text);
        } catch (const InputError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 100);
}

}  // namespace
