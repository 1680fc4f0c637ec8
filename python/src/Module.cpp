// The zevcore Python package's native part: meshing, units, expressions and DXF files over
// the library, with arrays handed over as numpy arrays and no Python object per element.

#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "zevcore/files/dxf/Drawing.h"
#include "zevcore/files/dxf/Dxf.h"
#include "zevcore/files/dxf/DxfOutlines.h"
#include "zevcore/mesh/Mesher.h"
#include "zevcore/quantities/Expression.h"
#include "zevcore/quantities/Units.h"

namespace py = pybind11;
namespace zm = zev::mesh;

namespace {

// The library keeps its state process-wide for one thread at a time; while a mesh runs with
// the interpreter lock released, other Python threads wait here. Waiting is done without the
// interpreter lock, so that the meshing thread can take it for its progress callback.
std::mutex& libraryLock() {
    static std::mutex lock;
    return lock;
}

template <class F>
auto locked(F&& work) {
    py::gil_scoped_release release;
    std::lock_guard<std::mutex> guard(libraryLock());
    return work();
}

// What the Python side of a progress call left: an exception set in the interpreter (Ctrl+C
// or the callback's own), to be raised once the mesher is out.
struct PythonRaised {};

py::object stoppedType;

// A str, bytes or path-like object as a file name.
std::string pathOf(const py::handle& path) {
    return py::str(py::module_::import("os").attr("fsdecode")(path)).cast<std::string>();
}

// ---- Regions -----------------------------------------------------------------------------

std::vector<zm::Point> pointsOf(const py::handle& given, const char* what) {
    py::array_t<double, py::array::c_style | py::array::forcecast> a =
        py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(given);
    if (!a) throw py::value_error(std::string(what) + " must be a sequence of (x, y) pairs");
    if (a.size() == 0) return {};
    if (a.ndim() != 2 || a.shape(1) != 2)
        throw py::value_error(std::string(what) + " must be a sequence of (x, y) pairs");
    std::vector<zm::Point> points(static_cast<size_t>(a.shape(0)));
    const double* xy = a.data();
    for (zm::Point& p : points) p = {xy[0], xy[1]}, xy += 2;
    return points;
}

zm::Region regionOf(const py::handle& outer, const py::iterable& holes, const py::handle& points) {
    std::vector<std::vector<zm::Point>> loops{pointsOf(outer, "outer")};
    for (const py::handle hole : holes) loops.push_back(pointsOf(hole, "each hole"));
    try {
        return zm::regionFromLoops(loops, pointsOf(points, "points"));
    } catch (const zm::InputError& e) {
        throw py::value_error(e.what());
    }
}

// ---- Meshing -----------------------------------------------------------------------------

py::dict meshOf(zm::Result&& result, bool conforming) {
    const std::string summary = zm::summaryText(result, conforming);
    static_assert(sizeof(zm::Point) == 2 * sizeof(double), "nodes are handed over as pairs");
    // The nodes are handed over without a copy: the array owns the vector.
    auto* nodes = new std::vector<zm::Point>(std::move(result.mesh.nodes));
    py::capsule owner(nodes, [](void* p) { delete static_cast<std::vector<zm::Point>*>(p); });
    py::array_t<double> nodeArray({static_cast<py::ssize_t>(nodes->size()), py::ssize_t{2}},
                                  reinterpret_cast<const double*>(nodes->data()), owner);

    // The elements too: their corner numbers are packed in place to the front of the
    // vector's own storage, which the array then owns. Element k's corners go to
    // [corners * k, corners * (k + 1)), never past its own place, so packing in order
    // overwrites nothing still to be read; memory the mesher already touched is reused.
    static_assert(sizeof(zm::Element) == 5 * sizeof(std::int32_t) && sizeof(int) == 4,
                  "an element is its count and four corner numbers");
    const bool triangles = result.method == zm::Method::Triangle;
    const size_t corners = triangles ? 3 : 4;
    auto* elements = new std::vector<zm::Element>(std::move(result.mesh.elements));
    py::capsule elementOwner(elements,
                             [](void* p) { delete static_cast<std::vector<zm::Element>*>(p); });
    auto* packed = reinterpret_cast<unsigned char*>(elements->data());
    for (size_t k = 0; k < elements->size(); ++k) {
        const std::array<int, 4> v = (*elements)[k].v;
        std::memcpy(packed + k * corners * sizeof(int), v.data(), corners * sizeof(int));
    }
    py::array_t<std::int32_t> elementArray(
        {static_cast<py::ssize_t>(elements->size()), static_cast<py::ssize_t>(corners)},
        reinterpret_cast<const std::int32_t*>(packed), elementOwner);

    const zm::Quality& q = result.quality;
    const zm::Coverage& c = result.coverage;
    py::dict quality;
    quality["min_angle"] = q.minAngle;
    quality["max_angle"] = q.maxAngle;
    quality["concave"] = q.concave;
    quality["degenerate"] = q.degenerate;
    quality["max_aspect"] = q.maxAspect;
    quality["mean_aspect"] = q.meanAspect;
    quality["joined"] = c.joined();
    quality["covered"] = c.covered();
    quality["folded"] = c.folded;
    quality["misjoined"] = c.misjoined;
    quality["open_length"] = c.openLength;
    quality["outline_length"] = c.outlineLength;
    quality["element_area"] = c.elementArea;
    quality["region_area"] = c.regionArea;
    quality["missed_interior_points"] = result.missedInteriorPoints;
    quality["interior_points"] = result.interiorPoints;
    quality["complete"] = result.complete;

    py::dict mesh;
    mesh["nodes"] = nodeArray;
    mesh[triangles ? "triangles" : "quads"] = elementArray;
    mesh["quality"] = quality;
    mesh["method"] = zm::methodName(result.method);
    mesh["size"] = result.size;
    mesh["failure"] = result.failure.empty() ? py::object(py::none()) : py::str(result.failure);
    mesh["summary"] = summary;
    mesh["messages"] = result.messages;
    return mesh;
}

py::dict runMesh(const zm::Region& region, const std::string& method, double size, int limit,
                 double maxArea, bool conforming, const py::object& progress) {
    zm::Options options;
    if (!zm::methodOfName(method, options.method))
        throw py::value_error("unknown method '" + method +
                              "' (available: paver, stated, extended, triangle)");
    options.size = size;
    options.limit = limit;
    options.maxArea = maxArea;
    options.conforming = conforming;
    std::atomic<bool> stop{false};
    options.stop = &stop;
    // Each progress line comes here with the interpreter lock released: it is taken to look
    // for Ctrl+C and to call the Python callback, whose False or exception stops the paver.
    options.progress = [&](const std::string& line) {
        py::gil_scoped_acquire acquire;
        if (PyErr_CheckSignals() != 0) throw PythonRaised();
        if (progress.is_none()) return;
        PyObject* answer = PyObject_CallOneArg(progress.ptr(), py::str(line).ptr());
        if (!answer) throw PythonRaised();
        if (answer == Py_False) stop = true;
        Py_DECREF(answer);
    };
    std::optional<zm::Result> result;
    double seconds = 0.0;
    bool raised = false, stopped = false;
    std::string error;
    {
        py::gil_scoped_release release;
        std::lock_guard<std::mutex> guard(libraryLock());
        try {
            const auto start = std::chrono::steady_clock::now();
            result = zm::meshRegion(region, options);
            seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        } catch (const PythonRaised&) {
            raised = true;
        } catch (const zm::Stopped&) {
            stopped = true;
        }
    }
    if (raised) throw py::error_already_set();
    if (stopped) {
        PyErr_SetString(stoppedType.ptr(), "meshing was stopped");
        throw py::error_already_set();
    }
    py::dict mesh = meshOf(std::move(*result), conforming);
    mesh["mesher_seconds"] = seconds;
    return mesh;
}

// ---- Units -------------------------------------------------------------------------------

std::string lowerCase(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// A category by the library's name ("Length (small)") or its short key ("length_small",
// "length" for the small one), blind to case.
ETUnit categoryOf(const std::string& name);

// A style by number, name or short name, blind to case.
ETUnitStyle styleOf(const py::object& style) {
    if (py::isinstance<py::int_>(style)) {
        const int s = style.cast<int>();
        if (s >= 0 && s < Units::kStyleCount) return static_cast<ETUnitStyle>(s);
    } else if (py::isinstance<py::str>(style)) {
        const std::string text = lowerCase(style.cast<std::string>());
        for (int s = 0; s < Units::kStyleCount; ++s)
            if (text == lowerCase(Units::UnitStyleName[s]) ||
                text == lowerCase(Units::UnitStyleShortName[s]))
                return static_cast<ETUnitStyle>(s);
    }
    throw py::value_error("unknown unit style " + py::repr(style).cast<std::string>());
}

// Runs `work` with `style` current (the stored one when None), putting the style before back.
template <class F>
auto inStyle(const py::object& style, F&& work) {
    std::optional<ETUnitStyle> wanted;
    if (!style.is_none()) wanted = styleOf(style);
    return locked([&] {
        Units::readStyles();
        const ETUnitStyle before = Units::currentStyle();
        if (wanted) Units::setStyle(*wanted, false);
        struct Restore {
            ETUnitStyle style;
            ~Restore() { Units::setStyle(style, false); }
        } restore{before};
        return work();
    });
}

const char* const kCategoryKeys[Units::kCategoryCount] = {
    "acceleration",
    "angle",
    "area_small",
    "area_large",
    "density",
    "force",
    "inertia",
    "length_small",
    "length_large",
    "linear_force",
    "linear_moment",
    "mass",
    "moment",
    "pressure",
    "rotational_mass",
    "rotational_stiffness",
    "section_modulus",
    "steel_x2",
    "stress",
    "temperature",
    "thermal_gradient",
    "thermal_coefficient",
    "time",
    "velocity",
    "volume",
    "warping_constant",
    "unitless",
    "linear_rot_stiffness",
};

ETUnit categoryOf(const std::string& name) {
    std::string key = lowerCase(name);
    if (key == "length") key = "length_small";
    if (key == "area") key = "area_small";
    for (int c = 0; c < Units::kCategoryCount; ++c)
        if (key == kCategoryKeys[c] || key == lowerCase(Units::CategoryName[c].GetString()))
            return static_cast<ETUnit>(c);
    throw py::value_error("unknown category '" + name + "'");
}

ETUnitRange rangeOf(const std::string& range) {
    const char* names[] = {"any", "nonzero", "nonnegative", "positive"};
    for (int r = 0; r < 4; ++r)
        if (range == names[r]) return static_cast<ETUnitRange>(r);
    throw py::value_error("unknown range '" + range +
                          "' (available: any, nonzero, nonnegative, positive)");
}

double parseQuantity(const std::string& text, const std::string& category, const py::object& style,
                     const std::string& range) {
    const ETUnit u = categoryOf(category);
    const ETUnitRange r = rangeOf(range);
    std::string message;
    const double value = inStyle(style, [&] {
        ETUnitError error = UNIT_OK;
        double v = Units::parse(u, text.c_str(), &error, r);
        // An entry without a digit ("", ".", "-") is read as a blank field, 0; as an answer
        // to "what is this entry" it is no number, the library's own first refusal.
        if (error == UNIT_OK && text.find_first_of("0123456789") == std::string::npos)
            message = "No value found, please enter a number.";
        else if (error != UNIT_OK)
            message = Units::lastParseMessage();
        return v;
    });
    if (!message.empty()) throw py::value_error(message);
    return value;
}

std::string formatQuantity(double value, const std::string& category, const py::object& style,
                           bool unit) {
    const ETUnit u = categoryOf(category);
    return inStyle(
        style, [&] { return std::string(Units::show(u, value, unit ? UNIT_SHOW : UNIT_HIDE)); });
}

// ---- Expressions -------------------------------------------------------------------------

// The parser takes a name only when the table knows it; every run of letters, digits and
// points holding a letter could be one, so each gets a stand-in for the parse.
std::vector<std::string> possibleNames(const std::string& text) {
    std::vector<std::string> names;
    auto part = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '.';
    };
    for (size_t i = 0; i < text.size();) {
        size_t j = i;
        bool letter = false;
        while (j < text.size() && part(text[j])) {
            letter = letter || std::isalpha(static_cast<unsigned char>(text[j]));
            ++j;
        }
        if (letter) names.push_back(text.substr(i, j - i));
        i = j > i ? j : i + 1;
    }
    return names;
}

void collectNames(const CExpression::nod* node, std::set<std::string>& names) {
    if (!node) return;
    if (node->operation == CExpression::kVariable) {
        names.insert(node->name->GetString());
        return;
    }
    collectNames(node->left, names);
    collectNames(node->right, names);
}

// An expression parsed once and evaluated with any variables.
class Expression {
public:
    explicit Expression(const std::string& text) : m_text(text), m_expression(&m_table) {
        const int stop = locked([&] {
            std::list<CNumericValue> standIns;
            for (const std::string& name : possibleNames(text))
                m_table.SetAt(name.c_str(), &standIns.emplace_back());
            const int at = m_expression.ChangeExpression(text.c_str());
            m_table = CValueMap();
            std::set<std::string> names;
            collectNames(m_expression.GetArbore(), names);
            m_variables.assign(names.begin(), names.end());
            return at;
        });
        if (stop >= 0)
            throw py::value_error("parse error at position " + std::to_string(stop) + " of '" +
                                  text + "'");
    }
    double evaluate(const py::kwargs& given) {
        std::vector<double> values;
        for (const std::string& name : m_variables) {
            if (!given.contains(name.c_str()))
                throw py::value_error("variable not found: " + name + " in '" + m_text + "'");
            values.push_back(given[name.c_str()].cast<double>());
        }
        double result = 0.0;
        const int error = locked([&] {
            std::vector<CNumericValue> slots(values.size());
            for (size_t i = 0; i < values.size(); ++i) {
                slots[i].SetValue(values[i]);
                m_table.SetAt(m_variables[i].c_str(), &slots[i]);
            }
            const int code = m_expression.Value(result);
            m_table = CValueMap();
            return code;
        });
        if (error == CExpression::kDivisionByZero) {
            PyErr_SetString(PyExc_ZeroDivisionError, "division by zero");
            throw py::error_already_set();
        }
        if (error != CExpression::kNoError)
            throw py::value_error(std::string(CExpression::ErrorText(error)) + " in '" + m_text +
                                  "'");
        return result;
    }
    const std::string& text() const { return m_text; }
    const std::vector<std::string>& variables() const { return m_variables; }

private:
    std::string m_text;
    CValueMap m_table;
    CExpression m_expression;
    std::vector<std::string> m_variables;
};

// ---- DXF ---------------------------------------------------------------------------------

// An entity as read, kept as plain values until the library's lock is let go.
struct Entity {
    const char* type = "UNKNOWN";
    std::string layer;
    std::vector<std::array<double, 2>> points;
    std::vector<double> bulges;
    std::vector<std::pair<const char*, double>> numbers;
    std::string text, block;
    bool closed = false;
};

Entity entityOf(int type, const tag_DXFENTITYHEADER& header, const DXFENTITYDATA& data) {
    Entity e;
    e.layer = header.LayerName;
    auto add = [&](std::initializer_list<tag_REALPOINT> points) {
        for (const tag_REALPOINT& p : points) e.points.push_back({p.x, p.y});
    };
    switch (type) {
        case ENT_LINE:
            e.type = "LINE";
            add({data.Line.Point0, data.Line.Point1});
            break;
        case ENT_POINT:
            e.type = "POINT";
            add({data.Point.Point0});
            break;
        case ENT_CIRCLE:
            e.type = "CIRCLE";
            add({data.Circle.Point0});
            e.numbers = {{"radius", data.Circle.Radius}};
            break;
        case ENT_ARC:
            e.type = "ARC";
            add({data.Arc.Point0});
            e.numbers = {{"radius", data.Arc.Radius},
                         {"start_angle", data.Arc.StartAngle},
                         {"end_angle", data.Arc.EndAngle}};
            break;
        case ENT_ELLIPSE:
            e.type = "ELLIPSE";
            add({data.Ellipse.CenterPoint, data.Ellipse.MajorAxisEndPoint});
            e.numbers = {{"ratio", data.Ellipse.MinorToMajorRatio},
                         {"start_param", data.Ellipse.StartParam},
                         {"end_param", data.Ellipse.EndParam}};
            break;
        case ENT_TEXT:
            e.type = "TEXT";
            add({data.Text.Text.Point0});
            e.text = data.Text.Text.strText;
            e.numbers = {{"height", data.Text.Text.Height},
                         {"rotation", data.Text.Text.RotationAngle}};
            break;
        case ENT_SOLID:
        case ENT_FACE3D:
            e.type = type == ENT_SOLID ? "SOLID" : "3DFACE";
            add({data.Solid.Point0, data.Solid.Point1, data.Solid.Point2, data.Solid.Point3});
            break;
        case ENT_INSERT:
            e.type = "INSERT";
            add({data.Insert.Insert.Point0});
            e.block = data.Insert.BlockName;
            break;
        case ENT_POLYLINE:
            e.type = "POLYLINE";
            for (DWORD i = 0; i < data.PolyLine.nVertex; ++i) {
                const tag_ENTVERTEX& v = data.PolyLine.pVertex[i];
                e.points.push_back({v.Point.x, v.Point.y});
                e.bulges.push_back(v.Bulge);
            }
            e.closed = (data.PolyLine.Flag & 1) != 0;
            break;
        case ENT_DIMENSION:
            e.type = "DIMENSION";
            add({data.Dimension.Dimension.DefPoint1, data.Dimension.Dimension.DefPoint2,
                 data.Dimension.Dimension.DimLinePoint});
            break;
        default:
            break;
    }
    return e;
}

py::dict entityDict(const Entity& e) {
    py::dict d;
    d["type"] = e.type;
    d["layer"] = py::bytes(e.layer).attr("decode")("latin-1");
    py::list points;
    for (const auto& p : e.points) points.append(py::make_tuple(p[0], p[1]));
    d["points"] = points;
    for (const auto& [name, value] : e.numbers) d[name] = value;
    if (std::strcmp(e.type, "POLYLINE") == 0) {
        d["bulges"] = e.bulges;
        d["closed"] = e.closed;
    }
    if (std::strcmp(e.type, "TEXT") == 0) d["text"] = py::bytes(e.text).attr("decode")("latin-1");
    if (std::strcmp(e.type, "INSERT") == 0) d["block"] = e.block;
    return d;
}

py::list readEntities(const py::handle& file) {
    const std::string path = pathOf(file);
    std::string failure;
    std::vector<Entity> entities;
    locked([&] {
        std::error_code error;
        if (std::filesystem::is_directory(path, error)) {
            failure = "cannot read '" + path + "': it is a folder";
            return 0;
        }
        HDXF h = dxfOpenFile(path.c_str());
        if (!h) {
            failure = "cannot read '" + path + "'";
            return 0;
        }
        bool anySection = false;
        tag_DXFENTITYHEADER header{};
        auto data = std::make_unique<DXFENTITYDATA>();
        while (unsigned long section = dxfFindNextSection(h)) {
            anySection = true;
            if (section != SEC_ENTITIES) continue;
            while (int type = dxfReadEntityData(h, &header, data.get())) {
                entities.push_back(entityOf(type, header, *data));
                dxfFreeEntityData(&header, data.get());
            }
        }
        dxfCloseFile(h);
        if (!anySection) failure = "'" + path + "' holds no DXF sections";
        return 0;
    });
    if (!failure.empty()) throw py::value_error(failure);
    py::list out;
    for (const Entity& e : entities) out.append(entityDict(e));
    return out;
}

// A drawing being built, saved through the library's DXF writer.
class Drawing {
public:
    Drawing() {
        const bool made = locked([&] {
            if (!m_drawing.Create()) return false;
            tag_LTYPE continuous{};
            std::snprintf(continuous.Name, sizeof continuous.Name, "CONTINUOUS");
            std::snprintf(continuous.DescriptiveText, sizeof continuous.DescriptiveText,
                          "Solid line");
            m_continuous = m_drawing.AddLinetype(&continuous);
            layer("0");
            return true;
        });
        if (!made) throw std::runtime_error("out of memory");
    }
    void line(double x1, double y1, double x2, double y2, const std::string& layerName) {
        checkLayer(layerName);
        locked([&] {
            layer(layerName);
            return m_drawing.Line(x1, y1, x2, y2);
        });
    }
    void polyline(const py::handle& points, bool closed, const std::string& layerName) {
        const std::vector<zm::Point> given = pointsOf(points, "points");
        if (given.size() < 2) throw py::value_error("a polyline needs at least two points");
        std::vector<tag_ENTVERTEX> v(given.size());
        for (size_t i = 0; i < given.size(); ++i) v[i].Point = {given[i].x, given[i].y, 0.0};
        checkLayer(layerName);
        locked([&] {
            layer(layerName);
            return m_drawing.PolyLine(v.data(), static_cast<int>(v.size()), closed ? 1 : 0);
        });
    }
    void circle(double cx, double cy, double radius, const std::string& layerName) {
        if (!(radius > 0.0)) throw py::value_error("a circle's radius must be above 0");
        checkLayer(layerName);
        locked([&] {
            layer(layerName);
            return m_drawing.Circle(cx, cy, radius);
        });
    }
    void arc(double cx, double cy, double radius, double start, double end,
             const std::string& layerName) {
        if (!(radius > 0.0)) throw py::value_error("an arc's radius must be above 0");
        checkLayer(layerName);
        locked([&] {
            layer(layerName);
            return m_drawing.Arc(cx, cy, radius, start, end);
        });
    }
    void text(const std::string& text, double x, double y, double height,
              const std::string& layerName) {
        if (!(height > 0.0)) throw py::value_error("a text's height must be above 0");
        if (text.size() >= 1024) throw py::value_error("a text holds at most 1023 characters");
        checkLayer(layerName);
        locked([&] {
            layer(layerName);
            return m_drawing.Text(text.c_str(), x, y, height);
        });
    }
    // Written next to the target and moved over it, so that a failed save leaves no file.
    void save(const py::handle& file) {
        const std::string path = pathOf(file);
        const std::string part = path + ".part";
        const bool saved = locked([&] { return m_drawing.SaveDXFFile(part.c_str()); });
        if (!saved || std::rename(part.c_str(), path.c_str()) != 0) {
            std::remove(part.c_str());
            throw py::value_error("cannot write '" + path + "'");
        }
    }

private:
    static void checkLayer(const std::string& name) {
        if (name.empty() || name.size() >= 512)
            throw py::value_error("a layer's name must have 1 to 511 characters");
    }
    // Under the library's lock, with the layer name checked beforehand.
    void layer(const std::string& name) {
        if (m_layers.insert(lowerCase(name)).second) {
            tag_LAYER layer{};
            std::snprintf(layer.Name, sizeof layer.Name, "%s", name.c_str());
            layer.Color = 7;
            layer.LineTypeObjhandle = static_cast<DWORD>(m_continuous);
            m_drawing.AddLayer(&layer);
        }
        m_drawing.SetLayer(name.c_str());
    }
    CDrawing m_drawing;
    unsigned long m_continuous = 0;
    std::set<std::string> m_layers;
};

}  // namespace

PYBIND11_MODULE(_zevcore, m) {
    m.doc() = "ZEVCore's native part; use the zevcore package.";
    stoppedType = py::reinterpret_borrow<py::object>(
        PyErr_NewException("zevcore.MeshStopped", PyExc_RuntimeError, nullptr));
    m.attr("MeshStopped") = stoppedType;

    m.def(
        "mesh_points",
        [](const py::handle& outer, const py::iterable& holes, const py::handle& points,
           double size, const std::string& method, int limit, double maxArea, bool conforming,
           const py::object& progress) {
            return runMesh(regionOf(outer, holes, points), method, size, limit, maxArea, conforming,
                           progress);
        },
        py::arg("outer"), py::arg("holes"), py::arg("points"), py::arg("size"), py::arg("method"),
        py::arg("limit"), py::arg("max_area"), py::arg("conforming"), py::arg("progress"));
    m.def(
        "mesh_dxf",
        [](const py::handle& file, const std::optional<std::vector<std::string>>& layers,
           double size, const std::string& method, int limit, double maxArea, bool conforming,
           const py::object& progress) {
            const std::string path = pathOf(file);
            zm::Region region;
            {
                std::string failure;
                locked([&] {
                    try {
                        const zev::dxf::Outlines o = zev::dxf::readDxfOutlines(
                            path, layers.value_or(std::vector<std::string>()));
                        std::vector<std::vector<zm::Point>> loops;
                        for (const auto& loop : o.loops) {
                            loops.emplace_back();
                            for (const auto& p : loop) loops.back().push_back({p.x, p.y});
                        }
                        std::vector<zm::Point> points;
                        for (const auto& p : o.points) points.push_back({p.x, p.y});
                        region = zm::regionFromLoops(loops, points);
                    } catch (const std::exception& e) {
                        failure = path + ": " + e.what();
                    }
                    return 0;
                });
                if (!failure.empty()) throw py::value_error(failure);
            }
            return runMesh(region, method, size, limit, maxArea, conforming, progress);
        },
        py::arg("path"), py::arg("layers"), py::arg("size"), py::arg("method"), py::arg("limit"),
        py::arg("max_area"), py::arg("conforming"), py::arg("progress"));

    m.def("parse", &parseQuantity, py::arg("text"), py::arg("category"), py::arg("style"),
          py::arg("range"));
    m.def("format", &formatQuantity, py::arg("value"), py::arg("category"), py::arg("style"),
          py::arg("unit"));
    m.def("style_names", [] {
        std::vector<std::string> names;
        for (int s = 0; s < Units::kStyleCount; ++s) names.emplace_back(Units::UnitStyleName[s]);
        return names;
    });
    m.def("category_names", [] {
        std::vector<std::pair<std::string, std::string>> names;
        for (int c = 0; c < Units::kCategoryCount; ++c)
            names.emplace_back(kCategoryKeys[c], Units::CategoryName[c].GetString());
        return names;
    });
    m.def("current_style", [] {
        return locked([] {
            Units::readStyles();
            return std::string(Units::UnitStyleName[Units::currentStyle()]);
        });
    });
    m.def(
        "unit_label",
        [](const std::string& category, const py::object& style) {
            const ETUnit u = categoryOf(category);
            return inStyle(style, [&] {
                const int unit = Units::currentUnit(u);
                const Units::SUnitType& type = Units::UnitArray[u];
                return unit >= 0 && unit < type.count ? std::string(type.labels[unit])
                                                      : std::string();
            });
        },
        py::arg("category"), py::arg("style"));

    py::class_<Expression>(m, "Expression",
                           "An arithmetic expression parsed once; call it with its variables "
                           "as keywords.")
        .def(py::init<const std::string&>(), py::arg("text"))
        .def("__call__", &Expression::evaluate)
        .def_property_readonly("text", &Expression::text)
        .def_property_readonly("variables", &Expression::variables);

    m.def("read_entities", &readEntities, py::arg("path"));
    py::class_<Drawing>(m, "Drawing", R"(A drawing being built: line, polyline, circle, arc and
text, each on a layer (made on first use, "0" by default), then save(path). Coordinates in the
drawing's unit, angles in degrees counter-clockwise from the x axis.

A save writes the whole file or nothing, and raises ValueError when it cannot ("cannot write
'x.dxf'"). Bad entities are refused with ValueError: a radius or height not above 0, a
polyline of fewer than two points, a layer name of no or more than 511 characters.)")
        .def(py::init<>())
        .def("line", &Drawing::line, py::arg("x1"), py::arg("y1"), py::arg("x2"), py::arg("y2"),
             py::arg("layer") = "0")
        .def("polyline", &Drawing::polyline, py::arg("points"), py::arg("closed") = false,
             py::arg("layer") = "0")
        .def("circle", &Drawing::circle, py::arg("cx"), py::arg("cy"), py::arg("radius"),
             py::arg("layer") = "0")
        .def("arc", &Drawing::arc, py::arg("cx"), py::arg("cy"), py::arg("radius"),
             py::arg("start_angle"), py::arg("end_angle"), py::arg("layer") = "0")
        .def("text", &Drawing::text, py::arg("text"), py::arg("x"), py::arg("y"), py::arg("height"),
             py::arg("layer") = "0")
        .def("save", &Drawing::save, py::arg("path"));
}
