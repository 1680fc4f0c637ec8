// Typed entries: the expression evaluator alone (parse, evaluate, both) and the whole road of
// a typed value through Units::parse (label, feet and inches, evaluation, conversion).
// Items per second are operations per second.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "zevcore/quantities/Expression.h"
#include "zevcore/quantities/Units.h"

namespace {

// A settings store of the benchmark's own, so that no user's styles are read.
const bool kPrivateStore = [] {
    const char* tmp = std::getenv("TMPDIR");
    std::string store = std::string(tmp && *tmp ? tmp : "/tmp") + "/quantities_bench.db";
    return setenv("ZEV_REGISTRY", store.c_str(), 1) == 0;
}();

const char* const kExpressions[] = {
    "2*(3+4)",
    "a*x^2 + b*x + c",
    "1+2*3-4/5+6*7-8/9+10*11-12/13+14*15-16/17+18*19-20/21+22*23-24/25+26",
};

struct Variables {
    CNumericValue a, b, c, x;
    CValueMap table;
    Variables() {
        a.SetValue(1.5);
        b.SetValue(-2.0);
        c.SetValue(0.25);
        x.SetValue(3.0);
        table.SetAt("a", &a);
        table.SetAt("b", &b);
        table.SetAt("c", &c);
        table.SetAt("x", &x);
    }
};

void ExpressionParse(benchmark::State& state) {
    Variables v;
    CExpression expression(&v.table);
    CString text = kExpressions[state.range(0)];
    for (auto _ : state) benchmark::DoNotOptimize(expression.ChangeExpression(text));
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(text.GetString());
}

void ExpressionEvaluate(benchmark::State& state) {
    Variables v;
    CExpression expression(&v.table);
    CString text = kExpressions[state.range(0)];
    if (expression.ChangeExpression(text) >= 0) state.SkipWithError("does not parse");
    double value = 0.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(expression.Value(value));
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(text.GetString());
}

void ExpressionParseEvaluate(benchmark::State& state) {
    Variables v;
    CExpression expression(&v.table);
    CString text = kExpressions[state.range(0)];
    double value = 0.0;
    for (auto _ : state) {
        expression.ChangeExpression(text);
        benchmark::DoNotOptimize(expression.Value(value));
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(text.GetString());
}

struct TypedEntry {
    ETUnit category;
    const char* text;
};

const TypedEntry kEntries[] = {
    {UNIT_UNITLESS, "2*(3+4)"},
    {UNIT_FORCE, "12.5 kN"},
    {UNIT_LENGTH_LARGE, "5' 6 1/2\""},
    {UNIT_LENGTH_LARGE, "12"},
    {UNIT_UNITLESS, "1+2*3-4/5+6*7-8/9+10*11-12/13+14*15-16/17+18*19-20/21+22*23-24/25+26"},
};

void UnitsParse(benchmark::State& state) {
    const TypedEntry& entry = kEntries[state.range(0)];
    Units::readStyles();
    CString text = entry.text;
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::parse(entry.category, text, UNIT_RANGE_ANY));
    if (Units::lastParseError() != UNIT_OK) state.SkipWithError(Units::lastParseMessage());
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(entry.text);
}

void UnitsShow(benchmark::State& state) {
    Units::readStyles();
    for (auto _ : state)
        benchmark::DoNotOptimize(Units::show(UNIT_FORCE, 2.8101117857522575, UNIT_SHOW));
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(ExpressionParse)->DenseRange(0, 2);
BENCHMARK(ExpressionEvaluate)->DenseRange(0, 2);
BENCHMARK(ExpressionParseEvaluate)->DenseRange(0, 2);
BENCHMARK(UnitsParse)->DenseRange(0, 4);
BENCHMARK(UnitsShow);
