#include "zevcore/quantities/Expression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

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

}  // namespace
