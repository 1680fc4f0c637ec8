#include "zevcore/quantities/Expression.h"
#include "zevcore/platform/Locale.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

int CExpression::sError = kNoError;

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
    if (at(m_position) != '\0') elibmem(m_tree);
    return m_tree ? -1 : m_position;
}

int CExpression::Value(double& result) {
    sError = kNoError;
    if (!m_tree) return -1;
    result = vexp(m_tree);
    return sError;
}

CExpression::nod* CExpression::CloneTree() const {
    return clone(m_tree);
}

char CExpression::at(int position) const {
    // The sentinels end every stored text, so the parser never asks past them; the bound
    // check keeps that a certainty rather than an assumption.
    return position >= 0 && static_cast<std::size_t>(position) < m_text.size() ? m_text[position]
                                                                               : '\0';
}

void CExpression::SkipSpaces() {
    while (at(m_position) == ' ') ++m_position;
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
        char c = at(m_position);
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
    if (at(m_position) != '!') return factor();
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
    SkipSpaces();
    char c = at(m_position);
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
    if (at(m_position) != (c == '(' ? ')' : '|')) {
        elibmem(inner);
        return nullptr;
    }
    ++m_position;
    return c == '(' ? inner : makeNode('|', inner, nullptr);
}

CExpression::nod* CExpression::identificator() {
    SkipSpaces();
    const int start = m_position;
    nod* number = nullptr;
    if (isNumberChar(at(m_position))) {
        while (isNumberChar(at(m_position))) ++m_position;
        number = makeNumber(start, m_position);
    }
    char c = at(m_position);
    if (!isLetter(c)) {
        SkipSpaces();
        return number;
    }
    char next = at(m_position + 1);
    if (number && (c == 'e' || c == 'E') && (isDigit(next) || next == '-' || next == '+')) {
        ++m_position;
        const int exponentStart = m_position;
        if (next == '-' || next == '+') ++m_position;
        while (isNumberChar(at(m_position))) ++m_position;
        return makeNode(kScaled, number, makeNumber(exponentStart, m_position));
    }
    elibmem(number);  // digits before letters belong to the name ("3x")
    while (isLetter(at(m_position)) || isDigit(at(m_position))) ++m_position;
    std::string_view name(m_text.data() + start, static_cast<std::size_t>(m_position - start));

    char upper[8] = {};
    if (name.size() < sizeof upper) {
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
            SkipSpaces();
            return node;
        }
    }

    CValue* value = nullptr;
    std::string text(name);
    if (!m_variables || !m_variables->Lookup(text.c_str(), value)) return nullptr;
    nod* node = new nod;
    node->operation = kVariable;
    node->name = new CString(text);
    SkipSpaces();
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
    switch (node->operation) {
        case kNumber:
            return node->value;
        case kVariable: {
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
        case '!':
            return vexp(node->right) == 0.0 ? 1.0 : 0.0;
        case '|':
            return std::fabs(vexp(node->left));
        case kSin:
            return std::sin(vexp(node->left));
        case kCos:
            return std::cos(vexp(node->left));
        case kExp:
            return std::exp(vexp(node->left));
        case kTan:
            return std::tan(vexp(node->left));
        case kCotan:
            return 1.0 / std::tan(vexp(node->left));
        case kAsin:
            return std::asin(vexp(node->left));
        case kAcos:
            return std::acos(vexp(node->left));
        case kAtan:
            return std::atan(vexp(node->left));
        case kSqrt:
        case kLog: {
            double x = vexp(node->left);
            if (node->operation == kSqrt ? x < 0.0 : x <= 0.0) {
                sError = kOutsideDomain;
                return 0.0;
            }
            return node->operation == kSqrt ? std::sqrt(x) : std::log(x);
        }
        default:
            break;
    }
    // Both sides are evaluated, left first, before any check, so that the error of the
    // right side is the one that stays.
    double left = vexp(node->left);
    double right = vexp(node->right);
    switch (node->operation) {
        case '+':
            return left + right;
        case '-':
            return left - right;
        case '*':
            return left * right;
        case '/':
            if (right == 0.0) {
                sError = kDivisionByZero;
                return left / -0.001;
            }
            return left / right;
        case '^':
            return std::pow(left, right);
        case '<':
            return left < right ? 1.0 : 0.0;
        case '>':
            return left > right ? 1.0 : 0.0;
        case kScaled:
            return left * std::pow(10.0, right);
        default:
            sError = kMissingOperand;
            return 0.0;
    }
}
