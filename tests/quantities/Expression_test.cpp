#include "zevcore/quantities/Expression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace {

struct Evaluated {
    int parse;  // UpdateArbore's answer: -1 or the stop position
    int error;  // Value's answer
    double value;
};

Evaluated evaluate(const char* text, CValueMap* variables = nullptr) {
    CExpression expression(variables);
    Evaluated result{expression.ChangeExpression(text), -1, 0.0};
    result.error = expression.Value(result.value);
    return result;
}

struct ValueCase {
    const char* text;
    double expected;
};

class ExpressionValues : public testing::TestWithParam<ValueCase> {};

TEST_P(ExpressionValues, EvaluatesWithoutError) {
    const ValueCase& c = GetParam();
    Evaluated r = evaluate(c.text);
    EXPECT_EQ(r.parse, -1) << c.text;
    EXPECT_EQ(r.error, 0) << c.text;
    EXPECT_DOUBLE_EQ(r.value, c.expected) << c.text;
}

INSTANTIATE_TEST_SUITE_P(
    Grammar, ExpressionValues,
    testing::Values(ValueCase{"2*(3+4)", 14.0}, ValueCase{"1 + 2 * 3", 7.0},
                    ValueCase{"10-4-3", 3.0},  // left to right
                    ValueCase{"2^3^2", 64.0},  // "^" to the left as well
                    ValueCase{"-3+4", -7.0},   // unary minus takes the rest
                    ValueCase{"2*-3+4", -14.0}, ValueCase{"(-3)+4", 1.0}, ValueCase{"1e3", 1000.0},
                    ValueCase{"2.5E-2", 0.025}, ValueCase{"1.5e+2*2", 300.0},
                    ValueCase{"|-2|", 2.0}, ValueCase{"!0", 1.0}, ValueCase{"!5", 0.0},
                    ValueCase{"3>2", 1.0}, ValueCase{"3<2", 0.0},
                    ValueCase{"2^0.5<2", 2.0},  // 2^(0.5<2)
                    ValueCase{"sqrt(4)", 2.0}, ValueCase{"SqRt 4", 2.0}, ValueCase{"sin 0", 0.0},
                    ValueCase{"cos(0)*3", 3.0}, ValueCase{"exp(0)", 1.0}, ValueCase{"log(1)", 0.0},
                    ValueCase{"atan(1)*4", 3.141592653589793}, ValueCase{"tan(0)", 0.0},
                    ValueCase{"cotan(1)", 1.0 / std::tan(1.0)}, ValueCase{"asin 1", M_PI / 2},
                    ValueCase{"acos(1)", 0.0}, ValueCase{"1.2.3", 1.2},  // atof stops
                    ValueCase{"  7  ", 7.0}, ValueCase{".5", 0.5}));

struct FailCase {
    const char* text;
    int position;
};

class ExpressionParseFailures : public testing::TestWithParam<FailCase> {};

TEST_P(ExpressionParseFailures, StopAtPositionAndLeaveNoTree) {
    const FailCase& c = GetParam();
    CExpression expression;
    EXPECT_EQ(expression.ChangeExpression(c.text), c.position) << c.text;
    EXPECT_EQ(expression.GetArbore(), nullptr);
    double out = 42.0;
    EXPECT_EQ(expression.Value(out), -1);
    EXPECT_EQ(out, 42.0);  // untouched without a tree
}

INSTANTIATE_TEST_SUITE_P(Grammar, ExpressionParseFailures,
                         testing::Values(FailCase{"", 0}, FailCase{"1+", 2}, FailCase{"2(3)", 1},
                                         FailCase{"(1+2) * 3", 5},  // no blanks after ")"
                                         FailCase{"1e", 2},         // a name, unknown
                                         FailCase{"1 e3", 2}, FailCase{"|1", 2}, FailCase{"3x", 2},
                                         FailCase{"(1", 2}, FailCase{"x+1", 1}));

TEST(Expression, NeverParsedTextAnswersZeroAndKeepsState) {
    CExpression expression;
    EXPECT_EQ(expression.UpdateArbore(), 0);
    EXPECT_EQ(expression.GetArbore(), nullptr);
}

TEST(Expression, EvaluationErrors) {
    Evaluated r = evaluate("1/0");
    EXPECT_EQ(r.error, 1);
    EXPECT_DOUBLE_EQ(r.value, -1000.0);

    r = evaluate("sqrt(-1)");
    EXPECT_EQ(r.error, 4);
    EXPECT_EQ(r.value, 0.0);
    EXPECT_EQ(evaluate("log(0)").error, 4);

    // A function without operand parses and fails only when evaluated.
    r = evaluate("SIN");
    EXPECT_EQ(r.parse, -1);
    EXPECT_EQ(r.error, 10);
    EXPECT_EQ(r.value, 0.0);

    // Evaluation goes on after an error; the last one met stays.
    EXPECT_EQ(evaluate("1/0+sqrt(-1)").error, 4);
    EXPECT_EQ(evaluate("sqrt(-1)+1/0").error, 1);
}

TEST(Expression, VariablesAreReadAtEachEvaluation) {
    CNumericValue x;
    x.SetValue(2.0);
    CValueMap table;
    table.SetAt("x", &x);
    table.SetAt("3x", &x);

    CExpression expression(&table);
    ASSERT_EQ(expression.ChangeExpression("x*x + 3x"), -1);
    double value = 0;
    EXPECT_EQ(expression.Value(value), 0);
    EXPECT_EQ(value, 6.0);
    x.SetValue(5.0);
    EXPECT_EQ(expression.Value(value), 0);
    EXPECT_EQ(value, 30.0);

    // Replacing a value in the table, or the table itself, is seen by a parsed tree.
    CNumericValue z;
    z.SetValue(1.0);
    table.SetAt("x", &z);
    EXPECT_EQ(expression.Value(value), 0);
    EXPECT_EQ(value, 1.0 + 5.0);  // "3x" is a name of its own
    CValueMap other = table;
    CNumericValue w;
    w.SetValue(4.0);
    other.SetAt("3x", &w);
    expression.AtachVariables(&other);
    EXPECT_EQ(expression.Value(value), 0);
    EXPECT_EQ(value, 1.0 + 4.0);
    expression.AtachVariables(&table);
    table.SetAt("x", &x);

    // Names are case-sensitive.
    EXPECT_GE(expression.ChangeExpression("X"), 0);

    // A variable that left the table since parsing gives 3.
    ASSERT_EQ(expression.ChangeExpression("x+1"), -1);
    table.RemoveKey("x");
    EXPECT_EQ(expression.Value(value), 3);
    EXPECT_EQ(value, 1.0);
    expression.AtachVariables(nullptr);
    EXPECT_EQ(expression.Value(value), 3);
}

TEST(Expression, NumericValue) {
    CNumericValue v;
    EXPECT_EQ(v.GetValue(), 0.0);
    v.SetValue(1.5);
    CNumericValue copy = v;
    v.SetValue(2.5);
    EXPECT_EQ(copy.GetValue(), 1.5);
    EXPECT_EQ(v.GetValue(), 2.5);
    CValue base;
    EXPECT_EQ(base.GetValue(), 0.0);
}

TEST(Expression, CopiesShareTheTableAndOwnTheirTrees) {
    CNumericValue y;
    y.SetValue(3.0);
    CValueMap table;
    table.SetAt("y", &y);
    double value = 0;

    auto copy = std::make_unique<CExpression>();
    {
        CExpression original(&table);
        ASSERT_EQ(original.ChangeExpression("y*2+sin(y)"), -1);
        CExpression copied(original);
        *copy = copied;
        ASSERT_NE(copied.GetArbore(), original.GetArbore());
        ASSERT_EQ(original.ChangeExpression("y"), -1);  // replaces the original's tree
        EXPECT_EQ(copied.Value(value), 0);
        EXPECT_DOUBLE_EQ(value, 6.0 + std::sin(3.0));

        CExpression::nod* clone = original.CloneTree();
        ASSERT_NE(clone, nullptr);
        EXPECT_EQ(clone->operation, CExpression::kVariable);
        EXPECT_EQ(*clone->name, "y");
        EXPECT_NE(clone->name, original.GetArbore()->name);
        delete clone;
    }
    // Both the original and the first copy are gone; the second copy still stands on its
    // own names.
    y.SetValue(1.0);
    EXPECT_EQ(copy->Value(value), 0);
    EXPECT_DOUBLE_EQ(value, 2.0 + std::sin(1.0));

    CExpression& self = *copy;
    *copy = self;
    EXPECT_EQ(copy->Value(value), 0);
}

TEST(Expression, DeepEntriesAreRefusedNotOverflowed) {
    std::string brackets(CExpression::kMaxNesting + 1, '(');
    brackets += '1';
    brackets.append(CExpression::kMaxNesting + 1, ')');
    EXPECT_GE(evaluate(brackets.c_str()).parse, 0);

    std::string nested(CExpression::kMaxNesting - 1, '(');
    nested += '1';
    nested.append(CExpression::kMaxNesting - 1, ')');
    EXPECT_EQ(evaluate(nested.c_str()).value, 1.0);

    std::string chain = "1";
    for (int i = 0; i < CExpression::kMaxDepth + 10; ++i) chain += "+1";
    EXPECT_GE(evaluate(chain.c_str()).parse, 0);

    std::string shorter = "1";
    for (int i = 0; i < 1000; ++i) shorter += "+1";
    Evaluated r = evaluate(shorter.c_str());
    EXPECT_EQ(r.parse, -1);
    EXPECT_EQ(r.value, 1001.0);

    EXPECT_GE(evaluate(std::string(100000, '-').c_str()).parse, 0);
    EXPECT_GE(evaluate(std::string(100000, '!').c_str()).parse, 0);
}

TEST(Expression, TextPastAnEmbeddedNulIsNotRead) {
    CExpression expression;
    EXPECT_EQ(expression.ChangeExpression(CString("2\0+", 3)), -1);
    double value = 0;
    EXPECT_EQ(expression.Value(value), 0);
    EXPECT_EQ(value, 2.0);
}

// --- The flat form against the tree walk ------------------------------------------------------

std::uint64_t bitsOf(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Value() as a caller sees it after the first evaluation (which walks the tree), against
// TreeValue(): the same answer, the same bits. A NaN is only required to be a NaN: when both
// operands of "+" or "*" are NaN, the processor keeps the sign of whichever the compiler put
// first, and the language lets it put either.
void expectFlatFormMatchesTree(CExpression& expression, const std::string& text) {
    double walked = 0.0, flat = 0.0;
    const int walkedError = expression.TreeValue(walked);
    expression.Value(flat);  // the first evaluation walks
    const int flatError = expression.Value(flat);
    EXPECT_EQ(flatError, walkedError) << text;
    if (std::isnan(walked))
        EXPECT_TRUE(std::isnan(flat)) << text;
    else
        EXPECT_EQ(bitsOf(flat), bitsOf(walked)) << text << ": " << flat << " against " << walked;
}

// Random entries over the whole grammar, errors included: constants that fold, divisions by
// zero, domain errors, functions without operand, variables of every kind of value.
TEST(ExpressionFlatForm, MatchesTheTreeWalkBitForBit) {
    CNumericValue x, y, zero, huge, nan;
    zero.SetValue(0.0);
    huge.SetValue(1e308);
    nan.SetValue(std::nan(""));
    CValueMap table;
    table.SetAt("x", &x);
    table.SetAt("y", &y);
    table.SetAt("z", &zero);
    table.SetAt("h", &huge);
    table.SetAt("n", &nan);

    const std::vector<std::string> atoms = {"x",   "y",    "z",   "h",     "n",    "0",    "1",
                                            "2.5", "1e3",  "3",   "0.5",   "7.25", "1e-2", ".5",
                                            "SIN", "sqrt", "LOG", "cotan", "acos", "atan", "EXP"};
    const std::vector<std::string> operators = {"+", "-", "*", "/", "^", "<", ">"};
    std::mt19937 random(27);
    auto pick = [&](const std::vector<std::string>& from) {
        return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(random)];
    };
    // Pieces joined in a braced list are made left to right, so the expressions do not depend
    // on the order a compiler evaluates the operands of +.
    auto concat = [](std::initializer_list<std::string> pieces) {
        std::string text;
        for (const std::string& piece : pieces) text += piece;
        return text;
    };
    // An operand, possibly bracketed, negated, inverted or under a function.
    std::function<std::string(int)> operand = [&](int depth) -> std::string {
        const int kind = std::uniform_int_distribution<int>(0, 9)(random);
        if (depth > 0 && kind == 0)
            return concat({"(", operand(depth - 1), pick(operators), operand(depth - 1), ")"});
        if (depth > 0 && kind == 1)
            return concat({"|", operand(depth - 1), "-", operand(depth - 1), "|"});
        if (depth > 0 && kind == 2) return concat({"-", operand(depth - 1)});
        if (depth > 0 && kind == 3) return concat({"!", operand(depth - 1)});
        if (depth > 0 && kind == 4)
            return concat(
                {pick({"SIN", "COS", "TAN", "SQRT", "LOG", "ASIN"}), "(", operand(depth - 1), ")"});
        return pick(atoms);
    };

    int parsed = 0;
    std::vector<int> errors(11, 0);
    for (int i = 0; i < 4000; ++i) {
        std::string text = operand(3);
        const int terms = std::uniform_int_distribution<int>(0, 6)(random);
        for (int t = 0; t < terms; ++t) text += pick(operators) + operand(3);
        CExpression expression(&table);
        if (expression.ChangeExpression(text.c_str()) >= 0) continue;
        ++parsed;
        for (double value : {0.0, -1.5, 2.0, 1e-300}) {
            x.SetValue(value);
            y.SetValue(-value * 3.0);
            expectFlatFormMatchesTree(expression, text);
            double v = 0.0;
            ++errors[static_cast<std::size_t>(expression.Value(v))];
        }
    }
    // The run covers every error code, so the order in which errors are met was compared too.
    EXPECT_GT(parsed, 1000);
    for (int code : {0, 1, 4, 10}) EXPECT_GT(errors[static_cast<std::size_t>(code)], 0) << code;
}

// A variable read through a derived value that changes the table while it is read.
class RenamingValue : public CValue {
public:
    RenamingValue(CValueMap& table, CValue& other) : m_table(table), m_other(other) {}
    double GetValue() override {
        m_table.SetAt("b", &m_other);
        return 1.0;
    }

private:
    CValueMap& m_table;
    CValue& m_other;
};

// An evaluation that evaluates the same expression again from a GetValue.
class ReentrantValue : public CValue {
public:
    CExpression* expression = nullptr;
    int depth = 0;
    double GetValue() override {
        double inner = 0.0;
        if (depth++ < 2) expression->Value(inner);
        --depth;
        return inner + 1.0;
    }
};

TEST(ExpressionFlatForm, FollowsTheTableAndTheTreeAsTheWalkDoes) {
    CNumericValue b1, b2;
    b1.SetValue(10.0);
    b2.SetValue(20.0);
    CValueMap table;
    RenamingValue a(table, b2);
    table.SetAt("a", &a);
    table.SetAt("b", &b1);
    CExpression expression(&table);
    ASSERT_EQ(expression.ChangeExpression("a+b"), -1);
    double value = 0.0;
    for (int i = 0; i < 3; ++i) {
        table.SetAt("b", &b1);
        EXPECT_EQ(expression.Value(value), 0);
        EXPECT_EQ(value, 21.0) << "evaluation " << i;  // b looked up after a changed it
    }
    table.RemoveKey("b");
    EXPECT_EQ(expression.Value(value), 0);  // a puts b back before b is read
    table.RemoveKey("a");
    EXPECT_EQ(expression.Value(value), 3);

    // Whoever is handed the tree may change it; the next evaluation follows.
    CExpression plain;
    ASSERT_EQ(plain.ChangeExpression("2*3"), -1);
    EXPECT_EQ(plain.Value(value), 0);
    EXPECT_EQ(plain.Value(value), 0);
    EXPECT_EQ(value, 6.0);
    plain.GetArbore()->right->value = 4.0;
    for (int i = 0; i < 2; ++i) {  // the walk, then the flat form
        EXPECT_EQ(plain.Value(value), 0);
        EXPECT_EQ(value, 8.0);
    }
    plain.GetArbore()->operation = 0x7F;  // no such operation: both sides, then error 10
    for (int i = 0; i < 2; ++i) {
        value = 1.0;
        EXPECT_EQ(plain.Value(value), 10);
        EXPECT_EQ(value, 0.0);
    }

    ReentrantValue r;
    CValueMap own;
    own.SetAt("r", &r);
    CExpression again(&own);
    r.expression = &again;
    ASSERT_EQ(again.ChangeExpression("r*2"), -1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(again.Value(value), 0);
        EXPECT_EQ(value, 14.0);  // ((0+1)*2+1)*2+1)*2
    }
}

}  // namespace
