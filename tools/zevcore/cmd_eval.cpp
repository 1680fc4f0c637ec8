// zevcore eval: an arithmetic entry through the library's expression evaluator.

#include <cctype>
#include <cstdlib>
#include <iostream>
#include <list>
#include <string>
#include <vector>

#include "Command.h"
#include "Numbers.h"
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
    "an evaluation error prints its code. Both exit with 1.\n"
    "\n"
    "Options:\n"
    "  --var <name>=<number>  a variable (names are case-sensitive); may be repeated\n"
    "  -h, --help             show this help and exit\n";

const char* meaning(int code) {
    switch (code) {
        case 1:
            return "division by zero";
        case 3:
            return "variable not found";
        case 4:
            return "argument outside the function's domain";
        case 10:
            return "missing operand";
        default:
            return "error";
    }
}

int run(const std::vector<std::string>& args) {
    if (wantsHelp(args)) {
        std::cout << kHelp;
        return kSuccess;
    }
    std::list<CNumericValue> values;  // stable addresses for the table
    CValueMap table;
    std::vector<std::string> positional;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--var") {
            if (i + 1 >= args.size()) return usageError("--var needs name=number", "eval");
            const std::string& assignment = args[++i];
            size_t eq = assignment.find('=');
            char* end = nullptr;
            double v =
                eq == std::string::npos ? 0.0 : std::strtod(assignment.c_str() + eq + 1, &end);
            if (eq == std::string::npos || eq == 0 || end == assignment.c_str() + eq + 1 ||
                *end != '\0')
                return usageError("--var needs name=number, not '" + assignment + "'", "eval");
            values.emplace_back().SetValue(v);
            table.SetAt(assignment.substr(0, eq).c_str(), &values.back());
        } else if (a.size() > 1 && a[0] == '-' &&
                   (a[1] == '-' || std::isalpha(static_cast<unsigned char>(a[1])))) {
            return usageError("unknown option '" + a + "'", "eval");
        } else {
            positional.push_back(a);
        }
    }
    if (positional.size() != 1) return usageError("give one expression", "eval");

    CExpression expression(&table);
    int stop = expression.ChangeExpression(positional[0].c_str());
    if (stop >= 0) {
        std::cerr << "parse error at position " << stop << "\n";
        return kFailure;
    }
    double value = 0.0;
    int error = expression.Value(value);
    if (error != 0) {
        std::cerr << "error " << error << " (" << meaning(error) << "), value "
                  << shortestNumber(value) << "\n";
        return kFailure;
    }
    std::cout << shortestNumber(value) << "\n";
    return kSuccess;
}

}  // namespace

ZEV_COMMAND("eval", "evaluate an arithmetic expression", run);

}  // namespace zevtool
