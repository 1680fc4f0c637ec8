#pragma once

// Engineering units. Every physical number is held in one internal unit per category
// (inches, kips, radians, degrees Fahrenheit, seconds, or units built from these) and only
// shown in, or typed in, the unit that the current style selects. The namespace `Units` is
// one process-wide state, read from the settings store at first use; like all of the
// library's shared state it belongs to the interface thread.
//
// A `const char*` answered here points into static storage: a table, or one of a ring of ten
// result strings that every text formatter takes in turn, so a result stays valid for the
// next nine formatter calls.

#include <cstdint>

#include "zevcore/Export.h"
#include "zevcore/platform/Types.h"
#include "zevcore/platform/framework/String.h"

class CWinApp;
class ibfstream;
class obfstream;
class CArchive;

/// A unit category; the values are the rows of `Units::UnitArray` and are stored as plain
/// integers.
enum ETUnit : int {
    UNIT_ACCELERATION = 0,
    UNIT_ANGLE = 1,
    UNIT_AREA_SMALL = 2,
    UNIT_AREA_LARGE = 3,
    UNIT_DENSITY = 4,
    UNIT_FORCE = 5,
    UNIT_INERTIA = 6,
    UNIT_LENGTH_SMALL = 7,
    UNIT_LENGTH_LARGE = 8,
    UNIT_LINEAR_FORCE = 9,
    UNIT_LINEAR_MOMENT = 10,
    UNIT_MASS = 11,
    UNIT_MOMENT = 12,
    UNIT_PRESSURE = 13,
    UNIT_ROTATIONAL_MASS = 14,
    UNIT_ROTATIONAL_STIFFNESS = 15,
    UNIT_SECTION_MODULUS = 16,
    UNIT_STEEL_X2 = 17,
    UNIT_STRESS = 18,
    UNIT_TEMPERATURE = 19,
    UNIT_THERMAL_GRADIENT = 20,
    UNIT_THERMAL_COEFFICIENT = 21,
    UNIT_TIME = 22,
    UNIT_VELOCITY = 23,
    UNIT_VOLUME = 24,
    UNIT_WARPING_CONSTANT = 25,
    UNIT_UNITLESS = 26,  // one empty label; every conversion passes it through
    UNIT_LINEAR_ROT_STIFFNESS = 27,
};

/// A unit style: which unit each category is shown in. 10 is the user's own.
enum ETUnitStyle : int {
    UNIT_STYLE_USA = 0,
    UNIT_STYLE_AUSTRALIAN = 1,
    UNIT_STYLE_BRITISH = 2,
    UNIT_STYLE_CANADIAN = 3,
    UNIT_STYLE_KIPS_INCHES = 4,
    UNIT_STYLE_KIPS_FEET = 5,
    UNIT_STYLE_POUNDS_INCHES = 6,
    UNIT_STYLE_POUNDS_FEET = 7,
    UNIT_STYLE_NEWTONS_METERS = 8,
    UNIT_STYLE_KNEWTONS_METERS = 9,
    UNIT_STYLE_CUSTOM = 10,
};

enum ETUnitRange : int {
    UNIT_RANGE_ANY = 0,
    UNIT_RANGE_NONZERO = 1,
    UNIT_RANGE_NONNEGATIVE = 2,
    UNIT_RANGE_POSITIVE = 3,
    UNIT_RANGE_CUSTOM = 4,  // an edit field's own limits
};

enum ETUnitError : int {
    UNIT_OK = 0,
    UNIT_BAD_VALUE = 1,     // no number found
    UNIT_BAD_UNIT = 2,      // neither a number nor a unit of the category
    UNIT_OUT_OF_RANGE = 3,  // outside the limits
};

enum ETUnitFormat : int {
    UNIT_FORMAT_NICE = 0,        // compact, through Units::nice
    UNIT_FORMAT_FIXED = 1,       // "%.*lf"
    UNIT_FORMAT_SCIENTIFIC = 2,  // "%.*le"
};

enum ETShowUnit : int {
    UNIT_HIDE = 0,  // the number only
    UNIT_SHOW = 1,  // the number, a blank and the label
};

namespace Units {

inline constexpr int kCategoryCount = 28;
inline constexpr int kStyleCount = 11;
inline constexpr int kMaxUnits = 13;

/// One category: its units, in an order that stored style tables and the label matching of
/// the parser depend on ("mm" before "m", "kN" before "N").
struct SUnitType {
    std::int32_t count;          // units in use, 1 to 13
    char labels[kMaxUnits][20];  // unused ones empty
    double factors[kMaxUnits];   // shown value = internal value * factor
};

/// The 28 categories, indexed by ETUnit. Constant after load.
ZEVCORE_API extern const SUnitType UnitArray[kCategoryCount];
/// The categories' names ("Acceleration", ..., "Linear-Rot-Stiffness"), indexed by ETUnit.
ZEVCORE_API extern const CString CategoryName[kCategoryCount];
ZEVCORE_API extern const char UnitStyleName[kStyleCount][25];
ZEVCORE_API extern const char UnitStyleShortName[kStyleCount][10];

// ---- Styles and the current state ----------------------------------------------------------

/// Loads the style settings from "Software\ZEV\Units2010" once; later calls do nothing.
/// Stored values out of range are ignored one by one.
ZEVCORE_API void readStyles();
/// Puts every table and setting back to its built-in value and forgets that the settings
/// were read, so that the next use reads them again.
ZEVCORE_API void resetStyles();
/// Makes `s` current. With `save`, also stores "Style" and rebuilds the decimals from
/// precision slot 0. `s` is not checked: while a style outside 0 to 10 is current,
/// currentUnit answers -1 and values are shown and parsed in internal units, unlabelled.
ZEVCORE_API void setStyle(ETUnitStyle s, bool save);
ZEVCORE_API ETUnitStyle currentStyle();
/// The current style's name; "Bad Style" for a style outside 0 to 10.
ZEVCORE_API const char* currentStyleName();
/// The unit index that the current style selects for `u`; -1 for a category or a current
/// style out of range. A stored selection may be one past the category's last unit.
ZEVCORE_API int currentUnit(ETUnit u);
/// The unit index that style `s` selects for `u`, or -1 when either is out of range.
ZEVCORE_API int styleUnit(ETUnitStyle s, ETUnit u);
/// The category's unit count; 0 for a category out of range.
ZEVCORE_API int units(ETUnit u);
ZEVCORE_API int unitStyleCount();
/// "Bad Style" when `s`, taken as unsigned, is 11 or more.
ZEVCORE_API const char* unitStyleName(ETUnitStyle s);
/// The label of unit `unit` of `u`; "" for an index outside the category's units.
ZEVCORE_API const char* unitLabel(ETUnit u, int unit);
/// The label of the current unit of `u`.
ZEVCORE_API const char* showUnit(ETUnit u);

/// Decimal places (precision slot 0).
ZEVCORE_API int decimalPlaces();
/// Ignored unless 0 <= n <= 7. Stores n in precision slot 0 and rebuilds the decimals.
ZEVCORE_API void decimalPlaces(int n);
/// The precision of one style's slot (only slot 0 is used anywhere); -1 out of range.
ZEVCORE_API int precision(ETUnitStyle s);
/// Whether lengths are shown in feet, inches and sixteenths.
ZEVCORE_API bool feetInches16ths();
ZEVCORE_API double largestNumber();
/// Ignored unless v > 1.
ZEVCORE_API void largestNumber(double v);
ZEVCORE_API double smallestNumber();
/// Ignored unless 0 < v < 1.
ZEVCORE_API void smallestNumber(double v);

/// internal * factor of unit `unit` (-1: the current unit). Category 26, and a unit outside
/// the category's units, give the input unconverted. No offsets: "deg-C" is a difference.
ZEVCORE_API double displayValue(ETUnit u, double internal, int unit);
/// The inverse of displayValue.
ZEVCORE_API double internalValue(ETUnit u, double shown, int unit);

/// Runs the style dialog modally through the installed dialog runner (see UnitStyleDlg.h)
/// and answers its result (IDOK or IDCANCEL). The style defaults to the current one; a style
/// outside 0 to 10 opens on the current one.
ZEVCORE_API int customizeDialog();
ZEVCORE_API int customizeDialog(int style);
ZEVCORE_API int customizeDialog(int style, bool allowStyleChange);
/// Does nothing and answers 0 when `app` is null. The application object is the host's
/// affair: it is passed to the runner untouched.
ZEVCORE_API int customizeDialog(int style, bool allowStyleChange, CWinApp* app);

// ---- Parsing -------------------------------------------------------------------------------

/// Turns an entry such as "12.5 kN", "2*3 ft" or "5' 6 1/2\"" into an internal value of
/// category `u`. A trailing label of the category (case-blind) names the unit; without one
/// the entry is in the current unit, except feet-and-inches forms in the length categories,
/// which are inches. The result is only valid when lastParseError() is UNIT_OK; an entry
/// outside `lo` to `hi` (internal values) is returned all the same with UNIT_OUT_OF_RANGE.
/// The messages are for the user and are kept in lastParseMessage().
ZEVCORE_API double parseRange(ETUnit u, const CString& text, double lo, double hi);
ZEVCORE_API double parseRange_cli(ETUnit u, const char* text, double lo, double hi);
/// parseRange with the limits of `r`, and the range's own message for an entry outside it.
ZEVCORE_API double parse(ETUnit u, const CString& text, ETUnitRange r);
/// As above; the last error is also stored through `err` unless it is null.
ZEVCORE_API double parse(ETUnit u, const CString& text, ETUnitError* err, ETUnitRange r);
ZEVCORE_API double parse_cli(ETUnit u, const char* text, ETUnitError* err, ETUnitRange r);
ZEVCORE_API ETUnitError lastParseError();
ZEVCORE_API const char* lastParseMessage();
/// With true, a leading negative number is no longer bracketed before evaluation, so that
/// "-3+4" is -7 as the expression grammar reads it.
ZEVCORE_API void suppressLeadingNegativeFix(bool suppress);

/// True when `s` looks like a plain number ("-1.5e3", "12"), one that sscanf can read
/// rather than one that needs the evaluator ("1.5e-3", "2*3").
ZEVCORE_API bool isPlainNumber(const char* s);
/// Evaluates an entry through the evaluator: "PI" (also "pi", "Pi") stands for
/// 3.14159265359, and a leading negative number is bracketed unless that fix is suppressed.
/// False when the text does not parse or evaluates with the error 1, 2, 3 or 4; `err`
/// (unless null) receives the evaluator's code.
ZEVCORE_API bool evaluateEntry(const CString& s, double& value, int* err);
/// Feet and inches in the forms "5' 6 1/2\"", "5 ft 6 1/2 in", "5' 6.5\"", "5' 6",
/// "6 1/2\"", "1/2\"", "3/4''", "6\"" and "6''": the value in inches. A negative first number
/// negates the whole.
ZEVCORE_API bool parseFeetInches(const char* text, double& inches);

// ---- Formatting ----------------------------------------------------------------------------

/// showFormat(u, v, UNIT_FORMAT_NICE, decimalPlaces(), s).
ZEVCORE_API const char* show(ETUnit u, double v, ETShowUnit s);
/// An internal value in the current unit of `u`. `places` below 0 means decimalPlaces(),
/// above 7 means 7. Magnitudes beyond 1e+20 are shown as 1e+20.
ZEVCORE_API const char* showFormat(ETUnit u, double v, ETUnitFormat f, int places, ETShowUnit s);
/// reportFormat(u, v, width, UNIT_FORMAT_FIXED, places, s).
ZEVCORE_API const char* report(ETUnit u, double v, int width, int places, ETShowUnit s);
/// As showFormat, for report tables: beyond +-1e+20 the text is ">1.0E20" or "<-1.0E20",
/// left-aligned in `width` (at most 1,000) and without unit.
ZEVCORE_API const char* reportFormat(ETUnit u, double v, int width, ETUnitFormat f, int places,
                                     ETShowUnit s);
/// A compact number by the unit system's decimals: "0" at or below the zero threshold.
ZEVCORE_API const char* nice(double v);
/// Inches as feet, inches and sixteenths: "-1' 2 1/2\"". Not finite: "%g" and a closing
/// quote.
ZEVCORE_API const char* display_ft_in_16(double inches);

// ---- Legacy file records (read and thrown away; written as fixed empty forms) ---------------
// Failures show only in the stream's state; the archive forms throw as the archive does.

/// Seven shorts: 1, 0, 1, 0, 0, 12, 3.
ZEVCORE_API void writeOldUnits(obfstream& out);
/// A short version; for version 1, six more shorts. All discarded.
ZEVCORE_API void readOldUnits(ibfstream& in);
/// The ints 3 and 0: version and an empty list.
ZEVCORE_API void WriteOldQuantitiesToStream(obfstream& out);
/// An int version, an int count, then per item an int and one old quantity. Stops early once
/// the stream has failed.
ZEVCORE_API void ReadOldQuantitiesFromStream(ibfstream& in);
/// A short version; for versions 1 and 2, a NUL-ended text (at most 254 bytes are kept by
/// the line reader), three shorts, two doubles and two shorts. Other versions end there.
ZEVCORE_API void ReadOldQuantity(ibfstream& in);
/// The same two layouts through an archive; the quantity's text is read as a line.
ZEVCORE_API void ReadOldQuantitiesFromArchive(CArchive& ar);
ZEVCORE_API void ReadOldQuantityFromArchive(CArchive& ar);

}  // namespace Units
