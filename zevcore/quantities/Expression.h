#pragma once

// Arithmetic entry: a text such as "2*(3+4)" becomes a tree of nodes that evaluates to one
// double, with optional named variables. The evaluator knows nothing of units.
//
// A parsed tree evaluated more than once is evaluated through a flat form of it: a postfix
// program made on the second evaluation after the tree changed (the first walks the tree), with
// constant subtrees worked out once and variables looked up once per change of the table. It calls
// every variable's GetValue and meets every error in the order the tree walk would, so both give
// the same results to the bit.
//
// The grammar, from the loosest binding to the tightest (every binary operator associates to
// the left, "^" included, so "2^3^2" is 64):
//
//   expression := term { ("+" | "-") term }
//   term       := power { ("*" | "/") power }
//   power      := compare { "^" compare }
//   compare    := unary { ("<" | ">") unary }
//   unary      := "!" unary | factor
//   factor     := "-" expression | "(" expression ")" | "|" expression "|" | identifier
//
// A unary minus takes a whole expression ("-3+4" is -7). Blanks are skipped before a factor
// and after a number, function or variable, but not after a closing bracket: "(1+2) * 3"
// stops at the blank and fails. "3x" is one name. Function names (SIN, COS, EXP, SQRT, LOG,
// TAN, COTAN, ASIN, ACOS, ATAN) are case-blind and take one factor: "SIN 1" works. Angles are
// radians.
//
// Everything here runs on the interface thread: the error of the last evaluation is one
// static shared by every CExpression.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "zevcore/Export.h"
#include "zevcore/platform/framework/String.h"

/// The value of a named variable. The base gives 0; an application derives its own.
class ZEVCORE_API CValue {
public:
    CValue() = default;
    virtual ~CValue();
    virtual double GetValue();
    /// Never called by the evaluator; a hook for the application's own refreshing.
    virtual void UpdateValue();
};

/// A variable holding one number, 0 until set.
class ZEVCORE_API CNumericValue : public CValue {
public:
    CNumericValue() = default;
    CNumericValue(const CNumericValue& other);
    CNumericValue& operator=(const CNumericValue& other);
    ~CNumericValue() override;

    void SetValue(double value);
    double GetValue() override;

private:
    std::unique_ptr<double> m_value;
};

/// The variable table: names, as typed and case-sensitive, to values. The caller owns the
/// table and the values; an expression only reads them.
class ZEVCORE_API CValueMap {
public:
    CValueMap();
    CValueMap(const CValueMap& other);
    CValueMap& operator=(const CValueMap& other);

    /// Replaces any value of the same name.
    void SetAt(const CString& name, CValue* value);
    /// False, with `value` untouched, when there is no such name.
    bool Lookup(const CString& name, CValue*& value) const;
    bool Lookup(const char* name, CValue*& value) const;
    bool RemoveKey(const CString& name);
    void RemoveAll();
    int GetCount() const { return static_cast<int>(m_values.size()); }
    /// Changes with every change of the table, and differs between tables: a number no other
    /// table and no earlier state of this one has had. Evaluators keep their lookups while it
    /// stays the same.
    std::uint64_t Version() const { return m_version; }

private:
    std::map<std::string, CValue*, std::less<>> m_values;
    std::uint64_t m_version;
};

class ZEVCORE_API CExpression {
public:
    /// Node codes. Operators are coded by their own character ('+', '-', '*', '/', '^', '<',
    /// '>', '!' and '|' for the absolute value).
    enum : std::uint8_t {
        kNumber = 0x40,    // '@'
        kVariable = 0x60,  // '`'
        kScaled = 0x95,    // left * 10^right, from an exponent such as "1e3"
        kSin = 0x96,
        kCos = 0x97,
        kExp = 0x98,
        kSqrt = 0x99,
        kLog = 0x9A,  // natural logarithm
        kTan = 0x9B,
        kCotan = 0x9C,
        kAsin = 0x9D,
        kAcos = 0x9E,
        kAtan = 0x9F,
    };

    /// One node of the tree. A node owns its children and, for a variable, its name: deleting
    /// the root frees the whole tree.
    struct ZEVCORE_API nod {
        nod* left = nullptr;   // left operand; the only operand of a function and of '|'
        nod* right = nullptr;  // right operand; the only operand of '!'
        std::uint8_t operation = 0;
        /// Height of the subtree, 1 for a leaf. Kept so that no tree grows deeper than the
        /// evaluator can walk.
        std::uint16_t depth = 1;
        union {
            double value;   // kNumber
            CString* name;  // kVariable, owned
        };
        /// A variable's last lookup, valid while the table and its version are the same.
        mutable const CValueMap* cachedTable = nullptr;
        mutable std::uint64_t cachedVersion = 0;
        mutable CValue* cachedValue = nullptr;

        nod() : value(0.0) {}
        nod(const nod&) = delete;
        nod& operator=(const nod&) = delete;
        ~nod();
    };

    /// Trees never get deeper than this, and brackets, unary signs and function operands
    /// never nest deeper than kMaxNesting; an entry that would is refused by the parser at
    /// the position where the limit was reached.
    static constexpr int kMaxDepth = 4000;
    static constexpr int kMaxNesting = 200;

    /// The error codes of Value(); the numbers are part of the interface.
    static constexpr int kNoError = 0;
    static constexpr int kDivisionByZero = 1;
    static constexpr int kUnknownVariable = 3;
    static constexpr int kOutsideDomain = 4;
    static constexpr int kMissingOperand = 10;
    /// A few words for an error code of Value(), as the front ends show it: "division by zero",
    /// "variable not found", "argument outside the function's domain", "missing operand", and
    /// "error" for any other code.
    static const char* ErrorText(int code);

    CExpression() = default;
    explicit CExpression(CValueMap* variables) : m_variables(variables) {}
    /// Copies take the text and the table pointer, start at position 0, and own a deep copy
    /// of the tree (names included), so each can be evaluated and destroyed on its own.
    CExpression(const CExpression& other);
    CExpression& operator=(const CExpression& other);
    virtual ~CExpression();

    /// Replaces the table pointer (null detaches it). The spelling is the interface's own.
    void AtachVariables(CValueMap* variables) { m_variables = variables; }

    /// Stores `text` and parses it: the result of UpdateArbore.
    int ChangeExpression(const CString& text);
    /// Parses the stored text again. -1 on success; otherwise the position (0 or more) where
    /// the parse stopped, and there is no tree. A text never set gives 0 and changes nothing.
    int UpdateArbore();
    /// Evaluates the tree. -1 when there is no tree (`result` untouched); otherwise `result`
    /// is set and the answer is the error code: 0 success, 1 division by zero (the value is
    /// then left / -0.001), 3 unknown variable, 4 argument outside a function's domain (SQRT
    /// of a negative, LOG of a non-positive number; the value is 0), 10 missing operand. The
    /// last error met wins. Overflow and the domain of ASIN and ACOS are not checked.
    int Value(double& result);

    /// The tree itself. Whoever holds it may change it, so the flat form is made again from
    /// the tree at the next evaluation.
    nod* GetArbore() const {
        m_evaluations = 0;
        return m_tree;
    }
    /// A deep copy of the tree, owned by the caller (delete it), or null.
    nod* CloneTree() const;
    /// Value() by walking the tree node by node: the reference the flat form is held to.
    int TreeValue(double& result);

private:
    nod* expresie();
    nod* termen();
    nod* putere();
    nod* logicalOp();
    nod* sgOp();
    nod* factor();
    nod* identificator();
    nod* binaryLevel(nod* (CExpression::*next)(), char op1, char op2);
    void SkipSpaces();
    char at(int position) const;
    nod* makeNode(std::uint8_t operation, nod* left, nod* right);
    nod* makeNumber(int first, int last);
    static nod* clone(const nod* node);
    static void elibmem(nod*& node);
    double vexp(const nod* node) const;

    // The flat form.
    struct Step {
        double number = 0.0;            // the constant operand
        CValue* value = nullptr;        // the variable operand, as last looked up
        const CString* name = nullptr;  // the variable's, in the tree
        std::uint8_t code = 0;
    };
    struct Operand;
    void compile();
    Operand emit(const nod* node);
    void materialize(const Operand& operand);
    void push(std::uint8_t code, double number = 0.0, const CString* name = nullptr);
    void bindVariables();
    double run();

    CValueMap* m_variables = nullptr;
    /// The expression followed by two NUL sentinels; empty until the first ChangeExpression.
    std::string m_text;
    std::int32_t m_position = 0;
    nod* m_tree = nullptr;
    int m_nesting = 0;
    bool m_tooDeep = false;

    std::vector<Step> m_program;
    std::vector<double> m_stack;
    int m_stackDepth = 0;
    int m_stackNeeded = 0;
    /// Evaluations of the tree as it is since it changed; the flat form is made at the second.
    mutable int m_evaluations = 0;
    bool m_running = false;
    /// The table, and its version, the variables were looked up in.
    const CValueMap* m_boundTable = nullptr;
    std::uint64_t m_boundVersion = 0;

    static int sError;
};
