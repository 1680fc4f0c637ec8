// zevcore eval: an arithmetic entry through the library's expression evaluator.

#include <cmath>
#include <iostream>
#include <list>
#include <string>
#include <vector>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/Numbers.h"
#include "zevcore/quantities/Expression.h"

namespace zevtool {
namespace {

constexpr const char* kHelp =
    "Usage: zevcore eval <expression> [--var <name>=<number>]...\n"
    "\n"
    "Evaluates <expression> (+ - * / ^, < > giving 1 or 0, ! for not, |x| for the absolute\n"
    "value, SIN COS TAN COTAN ASIN ACOS ATAN EXP LOG SQRT, angles in radians) and prints the\n"
    "value. A unary minus takes the whole rest of the expression, and no blank may follow a\n"
    "closing bracket. A text that does not parse prints the position where parsing stopped;\n"
    "an evaluation error prints its code, and so does a result that is not a finite number.\n"
    "All three exit with 1.\n"
    "\n"
    "Options:\n"
    "  --var <name>=<number>  a variable (names are case-sensitive); may be repeated\n"
    "  -h, --help             show this help and exit\n";

int run(const std::vector<std::string>& args) {
    std::vector<std::string> assignments;
    std::vector<std::string> positional = ArgReader(args).texts("--var", assignments).parse(1);
    if (positional.empty()) throw UsageError("give one expression");

    std::list<CNumericValue> values;  // stable addresses for the table
    CValueMap table;
    for (const std::string& assignment : assignments) {
        size_t eq = assignment.find('=');
        std::optional<double> v = eq == std::string::npos || eq == 0
                                      ? std::nullopt
                                      : parseNumber(std::string_view(assignment).substr(eq + 1));
        if (!v) throw UsageError("--var needs name=number, not '" + assignment + "'");
        values.emplace_back().SetValue(*v);
        table.SetAt(assignment.substr(0, eq).c_str(), &values.back());
    }

    CExpression expression(&table);
    int stop = expression.ChangeExpression(positional[0].c_str());
    if (stop >= 0) throw std::runtime_error("parse error at position " + std::to_string(stop));
    double value = 0.0;
    int error = expression.Value(value);
    if (error != CExpression::kNoError)
        throw std::runtime_error("error " + std::to_string(error) + " (" +
                                 CExpression::ErrorText(error) + "), value " +
                                 shortestNumber(value));
    // The evaluator does not check overflow; a number that is no number is not an answer.
    if (!std::isfinite(value))
        throw std::runtime_error("the result is not a finite number (" + shortestNumber(value) +
                                 ")");
    std::cout << shortestNumber(value) << "\n";
    return kSuccess;
}

}  // namespace

ZEV_COMMAND("eval", "evaluate an arithmetic expression", kHelp, run);

}  // namespace zevtool
