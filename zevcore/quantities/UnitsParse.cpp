#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zevcore/frame/Math.h"
#include "zevcore/platform/Locale.h"
#include "zevcore/quantities/Expression.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/quantities/UnitsInternal.hpp"

namespace Units {
namespace {

ETUnitError gLastError = UNIT_OK;
CString gLastMessage;
bool gSuppressNegativeFix = false;

constexpr const char* kNoValue = "No value found, please enter a number.";
constexpr const char* kDivideByZero = "Divide by zero error in expression, please check.";
constexpr const char* kUnrecognized = "Unrecognized expression or value, please check.";

bool isBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// A scanf-style reader for the few formats of feet and inches: white space (any amount,
// also none), literal characters, %d, %lf and %c. It answers how many fields were stored,
// as sscanf does. Unlike sscanf, a %d beyond the range of int saturates instead of being
// undefined.
int scanText(const char* in, const char* format, void* const* fields) {
    int stored = 0;
    for (const char* f = format; *f; ++f) {
        if (isBlank(*f)) {
            while (isBlank(*in)) ++in;
        } else if (*f != '%') {
            if (*in != *f) return stored;
            ++in;
        } else if (*++f == 'c') {
            if (!*in) return stored;
            *static_cast<char*>(fields[stored++]) = *in++;
        } else {
            while (isBlank(*in)) ++in;
            char* end = nullptr;
            if (*f == 'd') {
                errno = 0;
                long long v = std::strtoll(in, &end, 10);
                if (end == in) return stored;
                *static_cast<int*>(fields[stored++]) = static_cast<int>(v < INT_MIN   ? INT_MIN
                                                                        : v > INT_MAX ? INT_MAX
                                                                                      : v);
            } else {  // "lf"
                ++f;
                // Decimal numbers only: no "inf", "nan" or hexadecimal, which sscanf would
                // take and no length or force can be.
                const char* digits = in + (*in == '+' || *in == '-');
                if (!(std::isdigit(static_cast<unsigned char>(*digits)) || *digits == '.') ||
                    (digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')))
                    return stored;
                double v = ZEVStrtod(in, &end);
                if (end == in) return stored;
                *static_cast<double*>(fields[stored++]) = v;
            }
            in = end;
        }
    }
    return stored;
}

// sscanf(text, "%lf", &value): the value is left alone when there is no number.
void scanNumber(const char* text, double& value) {
    void* fields[] = {&value};
    scanText(text, "%lf", fields);
}

// Feet (possibly negative, standing for the sign of the whole) and a positive rest.
double signedSum(int first, double rest, double scale) {
    double whole = std::fabs(static_cast<double>(first)) * scale + rest;
    return first < 0 ? -whole : whole;
}

bool endsWithNoCase(const CString& text, const char* label) {
    int n = static_cast<int>(std::strlen(label));
    return n <= text.GetLength() && text.Right(n).CompareNoCase(label) == 0;
}

double fail(ETUnitError error, const CString& message, double value) {
    gLastError = error;
    gLastMessage = message;
    return value;
}

}  // namespace

bool isPlainNumber(const char* s) {
    if (!s) return false;
    if (std::strpbrk(s, "abcdfghijklmnopqrstuvwxyzABCDFGHIJKLMNOPQRSTUVWXYZ,?!@#$%`;:,<>*/"))
        return false;
    const char* plus = std::strchr(s, '+');
    const char* minus = std::strchr(s, '-');
    if ((plus && plus != s) || (minus && minus != s)) return false;
    int signs = 0;
    for (const char* p = s; *p; ++p) signs += (*p == '+' || *p == '-');
    return signs <= 1;
}

bool evaluateEntry(const CString& s, double& value, int* err) {
    static CExpression expression;
    CString entry = s;
    entry.Trim();
    static const CString pi = [] {
        CString text;
        text.Format("%14.11f", M_PI);
        return text;
    }();
    entry.Replace("PI", pi);
    entry.Replace("pi", pi);
    entry.Replace("Pi", pi);
    // The grammar's unary minus takes the whole rest of the expression, so "-3+4" would be
    // -7; bracketing the leading number makes it -3 + 4, as a user means it.
    if (!gSuppressNegativeFix && entry.GetLength() > 1 && entry[0] == '-') {
        int end = entry.Mid(1).FindOneOf(" +-/*");
        if (end > 0) {
            entry.Insert(1 + end, ")");
            entry.Insert(0, "(");
        }
    }
    if (expression.ChangeExpression(entry) >= 0) return false;
    int error = expression.Value(value);
    if (err) *err = error;
    return error < 1 || error > 4;
}

bool parseFeetInches(const char* text, double& inches) {
    if (!text) return false;
    int a = 0, b = 0, c = 0, d = 0;
    double x = 0.0;
    char c1 = 0, c2 = 0;
    void* const intsAndFraction[] = {&a, &b, &c, &d};
    void* const intAndDouble[] = {&a, &x, &c1};
    void* const fraction[] = {&a, &b, &c1, &c2};
    void* const number[] = {&x, &c1, &c2};
    auto scan = [&](const char* format, void* const* fields) {
        return scanText(text, format, fields);
    };

    if (scan("%d ft %d %d/%d in", intsAndFraction) == 4 ||
        scan("%d ' %d %d/%d \"", intsAndFraction) == 4) {
        if (d <= 0) return false;
        inches = signedSum(a, b + static_cast<double>(c) / d, 12.0);
        return true;
    }
    if (scan("%d ft %lf in", intAndDouble) == 2 ||
        (scan("%d ' %lf %c", intAndDouble) == 3 && c1 == '"') ||
        scan("%d ' %lf", intAndDouble) == 2) {
        inches = signedSum(a, x, 12.0);
        return true;
    }
    if (scan("%d %d/%d in", intsAndFraction) == 3 || scan("%d %d/%d \"", intsAndFraction) == 3) {
        if (c <= 0) return false;
        inches = signedSum(a, static_cast<double>(b) / c, 1.0);
        return true;
    }
    if (scan("%d/%d in", fraction) == 2 || (scan("%d/%d %c", fraction) == 3 && c1 == '"') ||
        (scan("%d/%d %c%c", fraction) == 4 && c1 == '\'' && c2 == '\'')) {
        if (b < 1) return false;
        inches = static_cast<double>(a) / b;
        return true;
    }
    int n = scan("%lf %c%c", number);
    if (n != 3) n = scan("%lf %c", number);
    bool inchMark = n == 3 ? (c1 == '\'' && c2 == '\'') || c1 == '"' : n == 2 && c1 == '"';
    if (!inchMark) return false;
    inches = x;
    return true;
}

double parseRange(ETUnit u, const CString& text, double lo, double hi) {
    double value = 0.0;
    int unit = -1;
    bool isNumber = false;
    bool exprOk = false;
    int exprError = 1;
    gLastError = UNIT_OK;
    gLastMessage.Empty();

    CString work;
    auto examine = [&] {
        isNumber = isPlainNumber(work);
        if (!isNumber) exprOk = evaluateEntry(work, value, &exprError);
        return !work.IsEmpty() && (isNumber || exprOk);
    };
    if (u == UNIT_UNITLESS) {
        work = text;
        unit = 0;
        if (!examine()) return fail(UNIT_BAD_VALUE, kNoValue, value);
    } else if (static_cast<unsigned>(u) < kCategoryCount) {
        const SUnitType& row = UnitArray[u];
        for (int i = 0; i < row.count; ++i) {
            if (!endsWithNoCase(text, row.labels[i])) continue;
            unit = i;
            work = text.Left(text.GetLength() - static_cast<int>(std::strlen(row.labels[i])));
            work.Trim();
            if (!examine()) return fail(UNIT_BAD_VALUE, kNoValue, value);
            break;
        }
    }

    bool inInches = false;
    if (!exprOk && (u == UNIT_LENGTH_SMALL || u == UNIT_LENGTH_LARGE)) {
        inInches = parseFeetInches(text, value);
        if (!inInches) gLastError = UNIT_OK;
    }
    if (!inInches) {
        if (unit == -1) {
            // No label: the whole entry is a number or an expression in the current unit.
            exprOk = evaluateEntry(text, value, &exprError);
            if (!exprOk) {
                if (!isPlainNumber(text)) {
                    CString message = "Please use one of these units: { ";
                    for (int i = 0; i < units(u); ++i) {
                        if (i > 0) message += ", ";
                        message += UnitArray[u].labels[i];
                    }
                    return fail(UNIT_BAD_UNIT, message + " }", value);
                }
                scanNumber(text, value);
            }
            unit = currentUnit(u);
        } else if (!exprOk) {
            if (!isNumber)
                return fail(
                    UNIT_BAD_VALUE,
                    exprError == CExpression::kDivisionByZero ? kDivideByZero : kUnrecognized,
                    value);
            scanNumber(work, value);
        }
        value = internalValue(u, value, unit);
    }

    // NaN (from "asin(2)", say) is no value at all and fails every range.
    if (std::isnan(value) || value < lo || value > hi) {
        // A feet-and-inches entry has no unit of its own; its limits are shown in the
        // current unit, with that unit's label.
        int shownUnit = unit == -1 ? currentUnit(u) : unit;
        gLastError = UNIT_OUT_OF_RANGE;
        gLastMessage.Format("Please enter a value within (%g to %g %s).", displayValue(u, lo, unit),
                            displayValue(u, hi, unit), unitLabel(u, shownUnit));
    }
    return value;
}

double parseRange_cli(ETUnit u, const char* text, double lo, double hi) {
    return parseRange(u, CString(text ? text : ""), lo, hi);
}

double parse(ETUnit u, const CString& text, ETUnitRange r) {
    gLastError = UNIT_OK;
    gLastMessage.Empty();
    double value;
    switch (r) {
        case UNIT_RANGE_NONZERO:
            value = parseRange(u, text, -BIG, BIG);
            if (gLastError == UNIT_OK && zero(value, TOLERANCE))
                fail(UNIT_OUT_OF_RANGE, "Please enter a non-zero value.", value);
            break;
        case UNIT_RANGE_NONNEGATIVE:
            value = parseRange(u, text, 0.0, BIG);
            if (gLastError == UNIT_OUT_OF_RANGE)
                gLastMessage = "Please enter a non-negative value.";
            break;
        case UNIT_RANGE_POSITIVE:
            value = parseRange(u, text, 1.0 / BIG, BIG);
            if (gLastError == UNIT_OUT_OF_RANGE) gLastMessage = "Please enter a positive value.";
            break;
        default:
            value = parseRange(u, text, -BIG, BIG);
            break;
    }
    return value;
}

double parse(ETUnit u, const CString& text, ETUnitError* err, ETUnitRange r) {
    double value = parse(u, text, r);
    if (err) *err = gLastError;
    return value;
}

double parse_cli(ETUnit u, const char* text, ETUnitError* err, ETUnitRange r) {
    return parse(u, CString(text ? text : ""), err, r);
}

ETUnitError lastParseError() {
    return gLastError;
}

const char* lastParseMessage() {
    return gLastMessage.GetString();
}

void suppressLeadingNegativeFix(bool suppress) {
    gSuppressNegativeFix = suppress;
}

}  // namespace Units
