#include "tools/zevcore/RenderIo.h"

#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <memory>
#include <unordered_map>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/MeshDxf.h"
#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/platform/Locale.h"

namespace zevtool::render {

using meshio::InputError;
using meshio::Mesh;

namespace {

constexpr long long kMaxItems = 10000000;

// One line at a time, with its number, split into words.
class Lines {
public:
    explicit Lines(const std::string& text) : m_text(text) {}
    bool next() {
        if (m_at >= m_text.size()) return false;
        size_t end = m_text.find('\n', m_at);
        if (end == std::string::npos) end = m_text.size();
        m_line.assign(m_text, m_at, end - m_at);
        if (!m_line.empty() && m_line.back() == '\r') m_line.pop_back();
        m_at = end + 1;
        ++m_number;
        m_words.clear();
        size_t i = 0;
        while (i < m_line.size()) {
            while (i < m_line.size() && (m_line[i] == ' ' || m_line[i] == '\t')) ++i;
            size_t j = i;
            while (j < m_line.size() && m_line[j] != ' ' && m_line[j] != '\t') ++j;
            if (j > i) m_words.emplace_back(m_line, i, j - i);
            i = j;
        }
        return true;
    }
    const std::string& line() const { return m_line; }
    const std::vector<std::string>& words() const { return m_words; }
    int number() const { return m_number; }
    [[noreturn]] void fail(const std::string& what) const { throw InputError(m_number, what); }
    void expect(const char* keyword) {
        if (!next()) throw InputError(m_number, std::string("missing ") + keyword);
        if (words().size() != 1 || words()[0] != keyword) fail(std::string("expected ") + keyword);
    }
    long long count() {
        if (!next() || words().size() != 1) fail("expected a count");
        std::optional<long long> n = parseWhole(words()[0]);
        if (!n || *n < 0 || *n > kMaxItems)
            fail("the count must be a whole number from 0 to 10000000");
        return *n;
    }
    long long whole(size_t i) const {
        std::optional<long long> n = i < m_words.size() ? parseWhole(m_words[i]) : std::nullopt;
        if (!n) fail("expected a whole number");
        return *n;
    }
    double number(size_t i) const {
        std::optional<double> v = i < m_words.size() ? parseNumber(m_words[i]) : std::nullopt;
        if (!v) fail("expected a number");
        return *v;
    }

private:
    const std::string& m_text;
    size_t m_at = 0;
    int m_number = 0;
    std::string m_line;
    std::vector<std::string> m_words;
};

}  // namespace

Mesh parseMshText(const std::string& text) {
    Lines in(text);
    in.expect("$MeshFormat");
    if (!in.next() || in.words().size() != 3 || in.words()[0] != "2.2" || in.words()[1] != "0")
        in.fail("only Gmsh MSH 2.2 ASCII files are read");
    in.expect("$EndMeshFormat");
    // Sections other than nodes and elements are skipped.
    Mesh mesh;
    std::unordered_map<long long, int> nodeAt;
    bool haveNodes = false, haveElements = false;
    while (in.next()) {
        if (in.words().empty()) continue;
        const std::string section = in.words()[0];
        if (section == "$Nodes" && !haveNodes) {
            haveNodes = true;
            const long long n = in.count();
            for (long long k = 0; k < n; ++k) {
                if (!in.next()) in.fail("the file ends inside $Nodes");
                if (in.words().size() != 4) in.fail("expected a node: number x y z");
                const long long id = in.whole(0);
                const double x = in.number(1), y = in.number(2);
                in.number(3);
                if (!nodeAt.emplace(id, static_cast<int>(mesh.nodes.size())).second)
                    in.fail("node " + in.words()[0] + " appears twice");
                mesh.nodes.push_back({x, y});
            }
            in.expect("$EndNodes");
        } else if (section == "$Elements" && !haveElements) {
            haveElements = true;
            const long long n = in.count();
            for (long long k = 0; k < n; ++k) {
                if (!in.next()) in.fail("the file ends inside $Elements");
                const long long type = in.whole(1), tags = in.whole(2);
                if (tags < 0 || tags > 100) in.fail("the tag count must be from 0 to 100");
                const int corners = type == 2 ? 3 : type == 3 ? 4 : 0;
                if (corners == 0) continue;
                if (in.words().size() != static_cast<size_t>(3 + tags + corners))
                    in.fail("wrong number of node numbers for the element type");
                meshio::Element e;
                e.count = corners;
                for (int c = 0; c < corners; ++c) {
                    auto found = nodeAt.find(in.whole(static_cast<size_t>(3 + tags + c)));
                    if (found == nodeAt.end())
                        in.fail("the element names a node that is not defined");
                    e.v[static_cast<size_t>(c)] = found->second;
                }
                mesh.elements.push_back(e);
            }
            in.expect("$EndElements");
        } else if (section.size() > 1 && section[0] == '$' && section.rfind("$End", 0) != 0) {
            const std::string end = "$End" + section.substr(1);
            while (in.next())
                if (in.words().size() == 1 && in.words()[0] == end) break;
        } else {
            in.fail("unexpected line '" + in.line().substr(0, 40) + "'");
        }
    }
    if (!haveNodes) throw InputError(0, "the file has no $Nodes section");
    return mesh;
}

Mesh readMshFile(const std::string& path) {
    return parseMshText(meshio::readInputFile(path));
}

bool parseSize(const std::string& text, int& width, int& height) {
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos) return false;
    std::optional<long long> w = parseWhole(std::string_view(text).substr(0, x));
    std::optional<long long> h = parseWhole(std::string_view(text).substr(x + 1));
    if (!w || !h || *w < 16 || *w > 8192 || *h < 16 || *h > 8192) return false;
    width = static_cast<int>(*w);
    height = static_cast<int>(*h);
    return true;
}

namespace {

void appendPng(png_structp png, png_bytep data, png_size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char*>(data), length);
}

void quiet(png_structp, png_const_charp) {}

// libpng reports a failure by a long jump back here, so nothing between the setjmp and the
// library's calls may need destroying.
bool writePng(png_structp png, png_infop info, int width, int height, const unsigned char* rgba) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_set_filler(png, 0, PNG_FILLER_AFTER);  // the rows are RGBA; the file is RGB
    for (int row = 0; row < height; ++row)
        png_write_row(png, rgba + 4 * static_cast<size_t>(width) * static_cast<size_t>(row));
    png_write_end(png, nullptr);
    return true;
}

}  // namespace

std::string pngBytes(int width, int height, const std::vector<unsigned char>& rgba) {
    if (width < 1 || height < 1 ||
        rgba.size() != 4 * static_cast<size_t>(width) * static_cast<size_t>(height))
        throw std::runtime_error("PNG: the pixels do not fill the picture");
    std::string bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, quiet);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    bool written = false;
    if (png && info) {
        png_set_write_fn(png, &bytes, appendPng, nullptr);
        written = writePng(png, info, width, height, rgba.data());
    }
    png_destroy_write_struct(&png, &info);
    if (!written) throw std::runtime_error("PNG: the picture could not be encoded");
    return bytes;
}

Drawing readDxfDrawing(const std::string& path, const std::vector<std::string>& layers) {
    {
        std::ifstream probe(path);
        if (!probe) throw InputError(0, "cannot read the file");
    }
    const meshio::Drawing source = meshio::readDrawing(path, true);
    auto chosen = [&](const std::string& layer) {
        if (layers.empty()) return true;
        for (const std::string& l : layers)
            if (meshio::sameLayerName(l, layer)) return true;
        return false;
    };
    // Curves in sides too short to see: a ten-thousandth of the drawing's extent from the
    // curve at most.
    double extent = 0.0;
    for (const meshio::Shape& shape : source.shapes)
        for (const meshio::Piece& p : shape.pieces)
            for (const meshio::Point& q : {p.start(), p.end(), p.c})
                if (std::isfinite(q.x) && std::isfinite(q.y))
                    extent = std::max({extent, std::fabs(q.x), std::fabs(q.y)});
    const double size = extent > 0.0 ? extent / 100.0 : 1.0;
    Drawing drawing;
    for (const meshio::Shape& shape : source.shapes) {
        if (!chosen(shape.layer)) continue;
        for (const meshio::Piece& piece : shape.pieces) {
            std::vector<meshio::Point> points;
            meshio::appendPiece(points, piece, size);
            points.push_back(piece.end());
            for (size_t k = 0; k + 1 < points.size(); ++k) {
                const meshio::Point &a = points[k], &b = points[k + 1];
                if (std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(b.x) &&
                    std::isfinite(b.y))
                    drawing.lines.push_back({a, b});
            }
            if (drawing.lines.size() > 10'000'000)
                throw InputError(0, "the drawing has more than 10,000,000 lines");
        }
    }
    if (drawing.lines.empty())
        throw InputError(0, "the drawing has no lines, arcs, circles or polylines");
    return drawing;
}

}  // namespace zevtool::render
