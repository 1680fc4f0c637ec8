// Arbitrary text through the expression evaluator: parse, evaluate, copy and clone, with two
// variables attached. Nothing may crash, hang, leak or read out of bounds, and the flat form
// must answer as the tree walk does.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zevcore/quantities/Expression.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CNumericValue x, y;
    static CValueMap table;
    static bool ready = false;
    if (!ready) {
        x.SetValue(2.5);
        y.SetValue(-0.0);
        table.SetAt("x", &x);
        table.SetAt("y3", &y);
        ready = true;
    }
    CExpression expression(size % 2 ? &table : nullptr);
    CString text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    if (expression.ChangeExpression(text) < 0) {
        double value = 0.0, walked = 0.0;
        expression.Value(value);
        const int walkedError = expression.TreeValue(walked);
        const int error = expression.Value(value);  // the second evaluation: the flat form
        if (error != walkedError ||
            (std::isnan(walked) ? !std::isnan(value) : std::memcmp(&value, &walked, sizeof value)))
            std::abort();
        CExpression copy(expression);
        copy.Value(value);
        delete copy.CloneTree();
    }
    return 0;
}
