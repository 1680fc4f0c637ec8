// Expressions and typed entries: ZEVCore's evaluator and Units against muparser, and against
// muparser with UDUNITS-2 for the conversion of an entry with a unit.

#include <memory>
#include <string>

#include "peers/Cases.h"
#include "zevcore/quantities/Expression.h"
#include "zevcore/quantities/Units.h"

#ifdef ZEV_HAVE_MUPARSER
#include <muParser.h>
#endif
#ifdef ZEV_HAVE_UDUNITS
#include <udunits2.h>
#endif

namespace peers {

namespace {

// About 200 characters over two variables, in the grammar both sides read alike (no unary
// minus, no "^").
const char kChain[] =
    "x*1.5+y*2.25-x/3+y*y-4.75*x+y/8-x*y*0.5+(x+y)*(x-y)/2+x*x*x-y*3.5+x/9-y*y*y/27+6.125*x-"
    "y/11+(x-1)*(y+2)-x*y/13+y*0.75-x*2.5+y*x/17+19-x/(y+23)+y*4-x*x/29+y/31+x*y*y/37-x/41+"
    "y*43.5-x*y/47+x/53-y*59.5";

// A variable the application keeps in a double of its own, as muparser's are.
class BoundValue : public CValue {
public:
    explicit BoundValue(const double* at) : m_at(at) {}
    double GetValue() override { return *m_at; }

private:
    const double* m_at;
};

struct ZevChain {
    double x = 1.25, y = 0.5;
    BoundValue xv{&x}, yv{&y};
    CValueMap table;
    CExpression expression{&table};
    double result = 0.0;
    ZevChain() {
        table.SetAt("x", &xv);
        table.SetAt("y", &yv);
    }
};

std::function<void()> zevEvaluate() {
    auto s = std::make_shared<ZevChain>();
    if (s->expression.ChangeExpression(kChain) >= 0) return {};
    return [s] {
        s->x += 0.25;
        s->y = 1.0 - s->y;
        s->expression.Value(s->result);
        keep(s->result);
    };
}

std::function<void()> zevParseEvaluate() {
    auto s = std::make_shared<ZevChain>();
    const CString text = kChain;
    return [s, text] {
        s->expression.ChangeExpression(text);
        s->expression.Value(s->result);
        keep(s->result);
    };
}

std::function<void()> zevEntry(ETUnit unit, const char* entry) {
    Units::readStyles();
    const CString text = entry;
    return [unit, text] {
        double value = Units::parse(unit, text, UNIT_RANGE_ANY);
        keep(value);
    };
}

#ifdef ZEV_HAVE_MUPARSER
struct MuChain {
    double x = 1.25, y = 0.5;
    mu::Parser parser;
    explicit MuChain(bool optimize) {
        parser.DefineVar("x", &x);
        parser.DefineVar("y", &y);
        parser.EnableOptimizer(optimize);
        parser.SetExpr(kChain);
    }
};

std::function<void()> muEvaluate(bool optimize) {
    auto s = std::make_shared<MuChain>(optimize);
    s->parser.Eval();  // the first evaluation parses
    return [s] {
        s->x += 0.25;
        s->y = 1.0 - s->y;
        double value = s->parser.Eval();
        keep(value);
    };
}

std::function<void()> muParseEvaluate() {
    auto s = std::make_shared<MuChain>(true);
    return [s] {
        s->parser.SetExpr(kChain);
        double value = s->parser.Eval();
        keep(value);
    };
}
#endif

#if defined(ZEV_HAVE_MUPARSER) && defined(ZEV_HAVE_UDUNITS)
// The peer's road for an entry: the number part through muparser, the label through UDUNITS-2
// and a conversion to the internal unit.
struct MuUnits {
    ut_system* system = nullptr;
    ut_unit* target = nullptr;
    mu::Parser parser;
    MuUnits() {
        ut_set_error_message_handler(ut_ignore);
        system = ut_read_xml(nullptr);
    }
    ~MuUnits() {
        ut_free(target);
        ut_free_system(system);
    }
};

std::function<void()> muEntry(std::string number, std::string label, const char* target) {
    auto s = std::make_shared<MuUnits>();
    if (!s->system) return {};
    s->target = ut_parse(s->system, target, UT_ASCII);
    if (!s->target) return {};
    return [s, number, label] {
        s->parser.SetExpr(number);
        double value = s->parser.Eval();
        ut_unit* unit = ut_parse(s->system, label.c_str(), UT_ASCII);
        cv_converter* converter = unit ? ut_get_converter(unit, s->target) : nullptr;
        if (converter) value = cv_convert_double(converter, value);
        cv_free(converter);
        ut_free(unit);
        keep(value);
    };
}
#endif

}  // namespace

std::vector<Case> expressionCases() {
    std::vector<Case> cases{
        {"expression-eval", "zevcore", zevEvaluate},
        {"expression-parse-eval", "zevcore", zevParseEvaluate},
        {"entry-kN", "zevcore", [] { return zevEntry(UNIT_FORCE, "12.5 kN"); }},
        {"entry-feet-inches", "zevcore", [] { return zevEntry(UNIT_LENGTH_LARGE, "5' 6 1/2\""); }},
    };
#ifdef ZEV_HAVE_MUPARSER
    cases.push_back({"expression-eval", "muparser", [] { return muEvaluate(true); }});
    cases.push_back({"expression-eval", "muparser-unoptimized", [] { return muEvaluate(false); }});
    cases.push_back({"expression-parse-eval", "muparser", muParseEvaluate});
#endif
#if defined(ZEV_HAVE_MUPARSER) && defined(ZEV_HAVE_UDUNITS)
    cases.push_back({"entry-kN", "muparser+udunits", [] { return muEntry("12.5", "kN", "lbf"); }});
    cases.push_back({"entry-feet-inches", "muparser+udunits",
                     [] { return muEntry("5*12+6+1/2", "in", "ft"); }});
#endif
    return cases;
}

}  // namespace peers
