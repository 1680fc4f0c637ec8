#include "zevcore/quantities/Expression.h"
#include "zevcore/platform/Locale.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

int CExpression::sError = kNoError;

const char* CExpression::ErrorText(int code) {
    switch (code) {
        case kDivisionByZero:
            return "division by zero";
        case kUnknownVariable:
            return "variable not found";
        case kOutsideDomain:
            return "argument outside the function's domain";
        case kMissingOperand:
            return "missing operand";
        default:
            return "error";
    }
}

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
// ASCII only: the parser must not depend on the locale or on the sign of char.
bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isNumberChar(char c) {
    return isDigit(c) || c == '.';
}

// The parser's reads, here rather than through the exported members so that they inline.
// The sentinels end every stored text, so the parser never asks past them; the bound check
// keeps that a certainty rather than an assumption.
inline char charAt(const std::string& text, int position) {
    return position >= 0 && static_cast<std::size_t>(position) < text.size() ? text[position]
                                                                             : '\0';
}

inline int skipBlanks(const std::string& text, int position) {
    while (charAt(text, position) == ' ') ++position;
    return position;
}

struct FunctionName {
    const char* name;
    std::uint8_t code;
};

constexpr FunctionName kFunctions[] = {
    {"SIN", CExpression::kSin},     {"COS", CExpression::kCos},   {"EXP", CExpression::kExp},
    {"SQRT", CExpression::kSqrt},   {"LOG", CExpression::kLog},   {"TAN", CExpression::kTan},
    {"COTAN", CExpression::kCotan}, {"ASIN", CExpression::kAsin}, {"ACOS", CExpression::kAcos},
    {"ATAN", CExpression::kAtan},
};

// The number at the start of `text` as atof reads it: an optional sign, digits, and one
// decimal point; anything after (a second point) is ignored, and no digits at all give 0.
// Locale-blind, unlike atof.
double leadingNumber(const char* first, const char* last) {
    if (first != last && *first == '+') ++first;
    double value = 0.0;
    auto [end, error] = std::from_chars(first, last, value, std::chars_format::fixed);
    if (error == std::errc::result_out_of_range) {
        // from_chars leaves the value alone on overflow and underflow; atof gives the
        // infinity or the zero of the right sign, and so does strtod.
        std::string copy(first, end);
        value = ZEVStrtod(copy.c_str(), nullptr);
    } else if (error != std::errc()) {
        value = 0.0;
    }
    return value;
}

// The arithmetic of one node, shared by the tree walk, the flat form and the folding of
// constants, so that all three give the same bits. An error is written to `error` when met.
template <std::uint8_t Op>
inline double unary(double x, int& error) {
    if constexpr (Op == '!') return x == 0.0 ? 1.0 : 0.0;
    if constexpr (Op == '|') return std::fabs(x);
    if constexpr (Op == CExpression::kSin) return std::sin(x);
    if constexpr (Op == CExpression::kCos) return std::cos(x);
    if constexpr (Op == CExpression::kExp) return std::exp(x);
    if constexpr (Op == CExpression::kTan) return std::tan(x);
    if constexpr (Op == CExpression::kCotan) return 1.0 / std::tan(x);
    if constexpr (Op == CExpression::kAsin) return std::asin(x);
    if constexpr (Op == CExpression::kAcos) return std::acos(x);
    if constexpr (Op == CExpression::kAtan) return std::atan(x);
    if constexpr (Op == CExpression::kSqrt || Op == CExpression::kLog) {
        if (Op == CExpression::kSqrt ? x < 0.0 : x <= 0.0) {
            error = CExpression::kOutsideDomain;
            return 0.0;
        }
        return Op == CExpression::kSqrt ? std::sqrt(x) : std::log(x);
    }
}

template <std::uint8_t Op>
inline double binary(double left, double right, int& error) {
    if constexpr (Op == '+') return left + right;
    if constexpr (Op == '-') return left - right;
    if constexpr (Op == '*') return left * right;
    if constexpr (Op == '/') {
        if (right == 0.0) {
            error = CExpression::kDivisionByZero;
            return left / -0.001;
        }
        return left / right;
    }
    if constexpr (Op == '^') return std::pow(left, right);
    if constexpr (Op == '<') return left < right ? 1.0 : 0.0;
    if constexpr (Op == '>') return left > right ? 1.0 : 0.0;
    if constexpr (Op == CExpression::kScaled) return left * std::pow(10.0, right);
}

// The operators and functions in the order of their codes in the flat form. (Laid out by
// hand: clang-format gives these lists a different layout on every run.)
// clang-format off
#define ZEV_UNARY_OPERATIONS(X)                                           \
    X(0, '!') X(1, '|')                                                   \
    X(2, CExpression::kSin) X(3, CExpression::kCos)                       \
    X(4, CExpression::kExp) X(5, CExpression::kSqrt)                      \
    X(6, CExpression::kLog) X(7, CExpression::kTan)                       \
    X(8, CExpression::kCotan) X(9, CExpression::kAsin)                    \
    X(10, CExpression::kAcos) X(11, CExpression::kAtan)
#define ZEV_BINARY_OPERATIONS(X)                                          \
    X(0, '+') X(1, '-') X(2, '*') X(3, '/') X(4, '^') X(5, '<') X(6, '>') \
    X(7, CExpression::kScaled)
// clang-format on

// -1 for a code that is not a function or unary operator.
int unaryIndex(std::uint8_t op) {
#define ZEV_CASE(index, code) \
    case code:                \
        return index;
    switch (op) { ZEV_UNARY_OPERATIONS(ZEV_CASE) }
#undef ZEV_CASE
    return -1;
}

int binaryIndex(std::uint8_t op) {
#define ZEV_CASE(index, code) \
    case code:                \
        return index;
    switch (op) { ZEV_BINARY_OPERATIONS(ZEV_CASE) }
#undef ZEV_CASE
    return -1;
}

double unaryByCode(std::uint8_t op, double x, int& error) {
#define ZEV_CASE(index, code) \
    case code:                \
        return unary<code>(x, error);
    switch (op) { ZEV_UNARY_OPERATIONS(ZEV_CASE) }
#undef ZEV_CASE
    return 0.0;
}

double binaryByCode(std::uint8_t op, double left, double right, int& error) {
#define ZEV_CASE(index, code) \
    case code:                \
        return binary<code>(left, right, error);
    switch (op) { ZEV_BINARY_OPERATIONS(ZEV_CASE) }
#undef ZEV_CASE
    return 0.0;
}

// Codes of the flat form. Each binary operation comes in six forms, by where its operands
// are: both on the stack; the right one a number or a variable in the step; the left one a
// number in the step; or both in the step, a variable and a number or two variables (the
// second in the step after, which is not run), the result pushed.
enum Code : std::uint8_t {
    kEnd,
    kPushNumber,
    kPushVariable,
    kMissing,       // a missing operand: 0 and error 10
    kBadOperation,  // a node of no known code over its two operands: 0 and error 10
    kUnaryFirst,    // then one code a unary operation
    kBinaryFirst = kUnaryFirst + 12,
};
enum Form : std::uint8_t {
    kOnStack,
    kNumberRight,
    kVariableRight,
    kNumberLeft,
    kVariableNumber,
    kVariableVariable,
    kForms
};

constexpr std::uint8_t binaryCode(int index, Form form) {
    return static_cast<std::uint8_t>(kBinaryFirst + kForms * index + form);
}

}  // namespace

CValue::~CValue() = default;
double CValue::GetValue() {
    return 0.0;
}
void CValue::UpdateValue() {}

CNumericValue::CNumericValue(const CNumericValue& other)
    : CValue(other), m_value(other.m_value ? std::make_unique<double>(*other.m_value) : nullptr) {}

CNumericValue& CNumericValue::operator=(const CNumericValue& other) {
    if (this != &other)
        m_value = other.m_value ? std::make_unique<double>(*other.m_value) : nullptr;
    return *this;
}

CNumericValue::~CNumericValue() = default;

void CNumericValue::SetValue(double value) {
    m_value = std::make_unique<double>(value);
}

double CNumericValue::GetValue() {
    return m_value ? *m_value : 0.0;
}

namespace {
std::uint64_t nextTableVersion() {
    static std::uint64_t counter = 0;
    return ++counter;
}
}  // namespace

CValueMap::CValueMap() : m_version(nextTableVersion()) {}

CValueMap::CValueMap(const CValueMap& other)
    : m_values(other.m_values), m_version(nextTableVersion()) {}

CValueMap& CValueMap::operator=(const CValueMap& other) {
    m_values = other.m_values;
    m_version = nextTableVersion();
    return *this;
}

void CValueMap::SetAt(const CString& name, CValue* value) {
    m_values[name.str()] = value;
    m_version = nextTableVersion();
}

bool CValueMap::RemoveKey(const CString& name) {
    m_version = nextTableVersion();
    return m_values.erase(name.str()) > 0;
}

void CValueMap::RemoveAll() {
    m_values.clear();
    m_version = nextTableVersion();
}

bool CValueMap::Lookup(const CString& name, CValue*& value) const {
    return Lookup(name.GetString(), value);
}

bool CValueMap::Lookup(const char* name, CValue*& value) const {
    auto found = m_values.find(std::string_view(name ? name : ""));
    if (found == m_values.end()) return false;
    value = found->second;
    return true;
}

CExpression::nod::~nod() {
    delete left;
    delete right;
    if (operation == kVariable) delete name;
}

CExpression::CExpression(const CExpression& other)
    : m_variables(other.m_variables), m_text(other.m_text), m_tree(clone(other.m_tree)) {}

CExpression& CExpression::operator=(const CExpression& other) {
    if (this == &other) return *this;
    nod* copy = clone(other.m_tree);
    elibmem(m_tree);
    m_tree = copy;
    m_evaluations = 0;
    m_variables = other.m_variables;
    m_text = other.m_text;
    m_position = 0;
    return *this;
}

CExpression::~CExpression() {
    elibmem(m_tree);
}

int CExpression::ChangeExpression(const CString& text) {
    m_text.assign(text.str());
    m_text.append(2, '\0');
    return UpdateArbore();
}

int CExpression::UpdateArbore() {
    if (m_text.empty()) return 0;
    elibmem(m_tree);
    m_position = 0;
    m_nesting = 0;
    m_tooDeep = false;
    m_tree = expresie();
    if (charAt(m_text, m_position) != '\0') elibmem(m_tree);
    m_evaluations = 0;
    return m_tree ? -1 : m_position;
}

int CExpression::Value(double& result) {
    sError = kNoError;
    if (!m_tree) return -1;
    // A GetValue that evaluates this same expression again walks the tree: the flat form's
    // stack is in use.
    if (m_running) {
        result = vexp(m_tree);
        return sError;
    }
    // A tree evaluated once is walked: the flat form pays only from the second evaluation.
    if (m_evaluations < 2 && ++m_evaluations == 1) {
        result = vexp(m_tree);
        return sError;
    }
    if (m_evaluations == 2) {
        compile();
        m_evaluations = 3;
    }
    m_running = true;
    result = run();
    m_running = false;
    return sError;
}

int CExpression::TreeValue(double& result) {
    sError = kNoError;
    if (!m_tree) return -1;
    result = vexp(m_tree);
    return sError;
}

CExpression::nod* CExpression::CloneTree() const {
    return clone(m_tree);
}

char CExpression::at(int position) const {
    return charAt(m_text, position);
}

void CExpression::SkipSpaces() {
    m_position = skipBlanks(m_text, m_position);
}

CExpression::nod* CExpression::makeNode(std::uint8_t operation, nod* left, nod* right) {
    int depth = 1 + std::max(left ? left->depth : 0, right ? right->depth : 0);
    if (depth > kMaxDepth) {
        m_tooDeep = true;
        elibmem(left);
        elibmem(right);
        return nullptr;
    }
    nod* node = new nod;
    node->operation = operation;
    node->left = left;
    node->right = right;
    node->depth = static_cast<std::uint16_t>(depth);
    return node;
}

CExpression::nod* CExpression::makeNumber(int first, int last) {
    nod* node = new nod;
    node->operation = kNumber;
    node->value = leadingNumber(m_text.data() + first, m_text.data() + last);
    return node;
}

// The four binary levels share one shape: a loop of left-associative operators over the
// next tighter level.
CExpression::nod* CExpression::binaryLevel(nod* (CExpression::*next)(), char op1, char op2) {
    nod* tree = (this->*next)();
    while (tree) {
        char c = charAt(m_text, m_position);
        if (c != op1 && c != op2) break;
        ++m_position;
        nod* right = (this->*next)();
        if (!right) {
            elibmem(tree);
            break;
        }
        tree = makeNode(static_cast<std::uint8_t>(c), tree, right);
    }
    return tree;
}

CExpression::nod* CExpression::expresie() {
    return binaryLevel(&CExpression::termen, '+', '-');
}
CExpression::nod* CExpression::termen() {
    return binaryLevel(&CExpression::putere, '*', '/');
}
CExpression::nod* CExpression::putere() {
    return binaryLevel(&CExpression::logicalOp, '^', '^');
}
CExpression::nod* CExpression::logicalOp() {
    return binaryLevel(&CExpression::sgOp, '<', '>');
}

CExpression::nod* CExpression::sgOp() {
    if (charAt(m_text, m_position) != '!') return factor();
    if (++m_nesting > kMaxNesting) {
        m_tooDeep = true;
        return nullptr;
    }
    ++m_position;
    nod* operand = sgOp();
    --m_nesting;
    return operand ? makeNode('!', nullptr, operand) : nullptr;
}

CExpression::nod* CExpression::factor() {
    m_position = skipBlanks(m_text, m_position);
    char c = charAt(m_text, m_position);
    if (c != '-' && c != '(' && c != '|') return identificator();
    if (++m_nesting > kMaxNesting) {
        m_tooDeep = true;
        return nullptr;
    }
    ++m_position;
    nod* inner = expresie();
    --m_nesting;
    if (!inner) return nullptr;
    if (c == '-') {
        nod* minusOne = new nod;
        minusOne->operation = kNumber;
        minusOne->value = -1.0;
        return makeNode('*', minusOne, inner);
    }
    if (charAt(m_text, m_position) != (c == '(' ? ')' : '|')) {
        elibmem(inner);
        return nullptr;
    }
    ++m_position;
    return c == '(' ? inner : makeNode('|', inner, nullptr);
}

CExpression::nod* CExpression::identificator() {
    m_position = skipBlanks(m_text, m_position);
    const int start = m_position;
    nod* number = nullptr;
    if (isNumberChar(charAt(m_text, m_position))) {
        while (isNumberChar(charAt(m_text, m_position))) ++m_position;
        number = makeNumber(start, m_position);
    }
    char c = charAt(m_text, m_position);
    if (!isLetter(c)) {
        m_position = skipBlanks(m_text, m_position);
        return number;
    }
    char next = charAt(m_text, m_position + 1);
    if (number && (c == 'e' || c == 'E') && (isDigit(next) || next == '-' || next == '+')) {
        ++m_position;
        const int exponentStart = m_position;
        if (next == '-' || next == '+') ++m_position;
        while (isNumberChar(charAt(m_text, m_position))) ++m_position;
        return makeNode(kScaled, number, makeNumber(exponentStart, m_position));
    }
    elibmem(number);  // digits before letters belong to the name ("3x")
    while (isLetter(charAt(m_text, m_position)) || isDigit(charAt(m_text, m_position)))
        ++m_position;
    std::string_view name(m_text.data() + start, static_cast<std::size_t>(m_position - start));

    char upper[8] = {};
    // Function names have three to five letters.
    if (name.size() >= 3 && name.size() <= 5) {
        std::transform(name.begin(), name.end(), upper,
                       [](char ch) { return ch >= 'a' && ch <= 'z' ? char(ch - 'a' + 'A') : ch; });
        for (const FunctionName& function : kFunctions) {
            if (std::strcmp(upper, function.name) != 0) continue;
            if (++m_nesting > kMaxNesting) {
                m_tooDeep = true;
                return nullptr;
            }
            // A missing operand is accepted here; it fails only when evaluated.
            nod* operand = factor();
            --m_nesting;
            if (m_tooDeep) {
                elibmem(operand);
                return nullptr;
            }
            nod* node = makeNode(function.code, operand, nullptr);
            m_position = skipBlanks(m_text, m_position);
            return node;
        }
    }

    CValue* value = nullptr;
    std::string text(name);
    if (!m_variables || !m_variables->Lookup(text.c_str(), value)) return nullptr;
    nod* node = new nod;
    node->operation = kVariable;
    node->name = new CString(text);
    m_position = skipBlanks(m_text, m_position);
    return node;
}

CExpression::nod* CExpression::clone(const nod* node) {
    if (!node) return nullptr;
    // Each copy owns its own name, so trees and their clones are freed independently.
    nod* copy = new nod;
    copy->operation = node->operation;
    copy->depth = node->depth;
    if (node->operation == kVariable)
        copy->name = new CString(node->name ? *node->name : CString());
    else
        copy->value = node->value;
    copy->left = clone(node->left);
    copy->right = clone(node->right);
    return copy;
}

void CExpression::elibmem(nod*& node) {
    delete node;
    node = nullptr;
}

double CExpression::vexp(const nod* node) const {
    if (!node || node->operation == 0) {
        sError = kMissingOperand;
        return 0.0;
    }
    if (node->operation == kNumber) return node->value;
    if (node->operation == kVariable) {
        // The name is looked up again only when the table or its contents changed.
        if (node->cachedTable != m_variables ||
            (m_variables && node->cachedVersion != m_variables->Version())) {
            CValue* value = nullptr;
            if (!m_variables || !node->name || !m_variables->Lookup(*node->name, value))
                value = nullptr;
            node->cachedTable = m_variables;
            node->cachedVersion = m_variables ? m_variables->Version() : 0;
            node->cachedValue = value;
        }
        if (node->cachedValue) return node->cachedValue->GetValue();
        sError = kUnknownVariable;
        return 0.0;
    }
    if (node->operation == '!') return unaryByCode('!', vexp(node->right), sError);
    if (unaryIndex(node->operation) >= 0)
        return unaryByCode(node->operation, vexp(node->left), sError);
    // Both sides are evaluated, left first, before any check, so that the error of the
    // right side is the one that stays.
    double left = vexp(node->left);
    double right = vexp(node->right);
    if (binaryIndex(node->operation) >= 0)
        return binaryByCode(node->operation, left, right, sError);
    sError = kMissingOperand;
    return 0.0;
}

// --- The flat form -----------------------------------------------------------------------------

// What a subtree left behind: code that pushes its value, or a number or a variable not yet
// pushed, so that the operation above can take it from its own step.
struct CExpression::Operand {
    enum Kind { kCode, kConstant, kVariable } kind = kCode;
    double number = 0.0;
    const CString* name = nullptr;
};

void CExpression::push(std::uint8_t code, double number, const CString* name) {
    Step step;
    step.number = number;
    step.value = nullptr;
    step.name = name;
    step.code = code;
    m_program.push_back(step);
    if (code == kPushNumber || code == kPushVariable || code == kMissing) {
        m_stackDepth += 1;
    } else if (code == kBadOperation ||
               (code >= kBinaryFirst && (code - kBinaryFirst) % kForms == kOnStack)) {
        m_stackDepth -= 1;
    } else if (code >= kBinaryFirst && (code - kBinaryFirst) % kForms >= kVariableNumber) {
        m_stackDepth += 1;
    }
    m_stackNeeded = std::max(m_stackNeeded, m_stackDepth);
}

void CExpression::materialize(const Operand& operand) {
    if (operand.kind == Operand::kConstant) push(kPushNumber, operand.number);
    if (operand.kind == Operand::kVariable) push(kPushVariable, 0.0, operand.name);
}

CExpression::Operand CExpression::emit(const nod* node) {
    if (!node || node->operation == 0) {
        push(kMissing);
        return {};
    }
    const std::uint8_t op = node->operation;
    if (op == kNumber) return {Operand::kConstant, node->value, nullptr};
    if (op == kVariable) return {Operand::kVariable, 0.0, node->name};
    if (const int index = unaryIndex(op); index >= 0) {
        const Operand operand = emit(op == '!' ? node->right : node->left);
        if (operand.kind == Operand::kConstant) {
            // Worked out now unless it meets an error, which must be met at its turn.
            int error = kNoError;
            const double value = unaryByCode(op, operand.number, error);
            if (error == kNoError) return {Operand::kConstant, value, nullptr};
        }
        materialize(operand);
        push(static_cast<std::uint8_t>(kUnaryFirst + index));
        return {};
    }
    const int index = binaryIndex(op);
    Operand left = emit(node->left);
    // A variable's GetValue is called before anything on its right is evaluated, so it waits
    // for the operation only when the right side is a plain number or variable.
    const nod* r = node->right;
    const bool leafRight = r && (r->operation == kNumber || r->operation == kVariable);
    if (left.kind == Operand::kVariable && index >= 0 && leafRight) {
        if (r->operation == kNumber) {
            push(binaryCode(index, kVariableNumber), r->value, left.name);
        } else {
            push(binaryCode(index, kVariableVariable), 0.0, left.name);
            push(kEnd, 0.0, r->name);  // only carries the second variable
        }
        return {};
    }
    if (left.kind == Operand::kVariable || index < 0) {
        materialize(left);
        left = {};
    }
    const Operand right = emit(node->right);
    if (index < 0) {
        materialize(right);
        push(kBadOperation);
        return {};
    }
    if (left.kind == Operand::kConstant) {
        if (right.kind == Operand::kConstant) {
            int error = kNoError;
            const double value = binaryByCode(op, left.number, right.number, error);
            if (error == kNoError) return {Operand::kConstant, value, nullptr};
        }
        if (right.kind == Operand::kCode) {
            push(binaryCode(index, kNumberLeft), left.number);
            return {};
        }
        materialize(left);
    }
    if (right.kind == Operand::kConstant)
        push(binaryCode(index, kNumberRight), right.number);
    else if (right.kind == Operand::kVariable)
        push(binaryCode(index, kVariableRight), 0.0, right.name);
    else
        push(binaryCode(index, kOnStack));
    return {};
}

void CExpression::compile() {
    m_program.clear();
    m_stackDepth = 0;
    m_stackNeeded = 0;
    if (m_tree) {
        materialize(emit(m_tree));
        push(kEnd);
    }
    m_stack.resize(static_cast<std::size_t>(m_stackNeeded) + 1);
    bindVariables();
}

void CExpression::bindVariables() {
    for (Step& step : m_program) {
        if (!step.name) continue;
        step.value = nullptr;
        if (!m_variables || !step.name || !m_variables->Lookup(*step.name, step.value))
            step.value = nullptr;
    }
    m_boundTable = m_variables;
    m_boundVersion = m_variables ? m_variables->Version() : 0;
}

double CExpression::run() {
    // A variable's value, its lookup checked at every use as the tree walk does: a GetValue
    // may change the table.
    auto variable = [this](const Step* step) {
        if (m_variables != m_boundTable ||
            (m_variables && m_variables->Version() != m_boundVersion))
            bindVariables();
        if (CValue* value = step->value) return value->GetValue();
        sError = kUnknownVariable;
        return 0.0;
    };
    const Step* step = m_program.data();
    double* below = m_stack.data();  // the stack under the value on top
    double top = 0.0;
    for (;; ++step) {
        switch (step->code) {
            case kEnd:
                return top;
            case kPushNumber:
                *++below = top;
                top = step->number;
                break;
            case kPushVariable: {
                const double value = variable(step);
                *++below = top;
                top = value;
                break;
            }
            case kMissing:
                *++below = top;
                top = 0.0;
                sError = kMissingOperand;
                break;
            case kBadOperation:
                --below;
                top = 0.0;
                sError = kMissingOperand;
                break;
#define ZEV_CASE(index, code)           \
    case kUnaryFirst + index:           \
        top = unary<code>(top, sError); \
        break;
                ZEV_UNARY_OPERATIONS(ZEV_CASE)
#undef ZEV_CASE
#define ZEV_CASE(index, code)                           \
    case binaryCode(index, kOnStack):                   \
        top = binary<code>(*below--, top, sError);      \
        break;                                          \
    case binaryCode(index, kNumberRight):               \
        top = binary<code>(top, step->number, sError);  \
        break;                                          \
    case binaryCode(index, kVariableRight): {           \
        const double right = variable(step);            \
        top = binary<code>(top, right, sError);         \
        break;                                          \
    }                                                   \
    case binaryCode(index, kNumberLeft):                \
        top = binary<code>(step->number, top, sError);  \
        break;                                          \
    case binaryCode(index, kVariableNumber): {          \
        const double left = variable(step);             \
        *++below = top;                                 \
        top = binary<code>(left, step->number, sError); \
        break;                                          \
    }                                                   \
    case binaryCode(index, kVariableVariable): {        \
        const double left = variable(step);             \
        const double right = variable(++step);          \
        *++below = top;                                 \
        top = binary<code>(left, right, sError);        \
        break;                                          \
    }
                ZEV_BINARY_OPERATIONS(ZEV_CASE)
#undef ZEV_CASE
            default:
                // Every code the compiler makes has its case.
                __builtin_unreachable();
        }
    }
}
