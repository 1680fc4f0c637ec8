// zevcore units: the unit tables, and entries parsed and shown as the library does.

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "tools/zevcore/Args.h"
#include "tools/zevcore/Command.h"
#include "tools/zevcore/Numbers.h"
#include "zevcore/quantities/Units.h"

namespace zevtool {
namespace {

constexpr const char* kHelp =
    "Usage: zevcore units parse <entry> --category <category> [--style <style>] [--range <range>]\n"
    "       zevcore units list [--style <style>]\n"
    "\n"
    "parse  reads <entry> as a value of <category>, as a typed entry is read, and prints its\n"
    "       internal value and the value shown in the style; on a refused entry it prints the\n"
    "       message for the user and exits with 1.\n"
    "list   prints the styles and, for every category, its units and factors (shown value =\n"
    "       internal value * factor), the unit of the style in brackets.\n"
    "\n"
    "Options:\n"
    "  --category <c>  a category number (0 to 27) or name, such as \"Length (large)\"\n"
    "  --style <s>     a style number (0 to 10), name or short name, for this run only;\n"
    "                  without it, the style stored in the settings\n"
    "  --range <r>     any (default), nonzero, nonnegative or positive\n"
    "  -h, --help      show this help and exit\n";

// A number 0 to count-1, or a name matched blind to case; -1 when neither.
int pick(const std::string& text, int count, const char* (*nameOf)(int),
         const char* (*otherName)(int)) {
    if (std::optional<long long> n = parseWhole(text))
        return *n >= 0 && *n < count ? static_cast<int>(*n) : -1;
    for (int i = 0; i < count; ++i) {
        if (CString(nameOf(i)).CompareNoCase(text.c_str()) == 0) return i;
        if (otherName && CString(otherName(i)).CompareNoCase(text.c_str()) == 0) return i;
    }
    return -1;
}

const char* categoryName(int c) {
    return Units::CategoryName[c];
}
const char* styleName(int s) {
    return Units::UnitStyleName[s];
}
const char* styleShortName(int s) {
    return Units::UnitStyleShortName[s];
}

void printList() {
    ETUnitStyle current = Units::currentStyle();
    std::printf("Styles:\n");
    for (int s = 0; s < Units::kStyleCount; ++s)
        std::printf("  %c %2d %-18s %s\n", s == current ? '*' : ' ', s, Units::UnitStyleName[s],
                    Units::UnitStyleShortName[s]);
    std::printf("\nCategories (internal unit has factor 1; [unit] of the style):\n");
    for (int c = 0; c < Units::kCategoryCount; ++c) {
        const Units::SUnitType& type = Units::UnitArray[c];
        int selected = Units::currentUnit(static_cast<ETUnit>(c));
        std::printf("  %2d %s\n     ", c, Units::CategoryName[c].GetString());
        for (int i = 0; i < type.count; ++i) {
            std::string label = type.labels[i][0] ? type.labels[i] : "(none)";
            if (i == selected) label = "[" + label + "]";
            std::printf(" %s=%s", label.c_str(), shortestNumber(type.factors[i]).c_str());
        }
        std::printf("\n");
    }
}

int run(const std::vector<std::string>& args) {
    std::string category, style, range = "any";
    std::vector<std::string> positional = ArgReader(args)
                                              .text("--category", category)
                                              .text("--style", style)
                                              .text("--range", range)
                                              .parse(2);
    if (positional.empty()) throw UsageError("no action given (parse or list)");

    Units::readStyles();
    if (!style.empty()) {
        int s = pick(style, Units::kStyleCount, styleName, styleShortName);
        if (s < 0) throw UsageError("unknown style '" + style + "'");
        Units::setStyle(static_cast<ETUnitStyle>(s), false);
    }

    const std::string& action = positional[0];
    if (action == "list") {
        if (positional.size() != 1) throw UsageError("list takes no entry");
        printList();
        return kSuccess;
    }
    if (action != "parse") throw UsageError("unknown action '" + action + "'");
    if (positional.size() != 2) throw UsageError("parse takes one entry");
    if (category.empty()) throw UsageError("parse needs --category");
    int c = pick(category, Units::kCategoryCount, categoryName, nullptr);
    if (c < 0) throw UsageError("unknown category '" + category + "'");
    const char* ranges[] = {"any", "nonzero", "nonnegative", "positive"};
    int r = -1;
    for (int i = 0; i < 4; ++i)
        if (range == ranges[i]) r = i;
    if (r < 0) throw UsageError("unknown range '" + range + "'");

    // The library reads an entry without a digit ("", ".", "-") as 0 with no error, as a
    // field left blank would be; as an answer to "what is this entry", that is no number.
    if (positional[1].find_first_of("0123456789") == std::string::npos)
        throw std::runtime_error("'" + positional[1] + "' holds no number");
    ETUnit u = static_cast<ETUnit>(c);
    ETUnitError error = UNIT_OK;
    double value = Units::parse(u, positional[1].c_str(), &error, static_cast<ETUnitRange>(r));
    if (error != UNIT_OK)
        throw std::runtime_error("error " + std::to_string(error) + ": " +
                                 Units::lastParseMessage());
    std::cout << "internal: " << shortestNumber(value) << "\n"
              << "shown: " << Units::show(u, value, UNIT_SHOW) << "\n";
    return kSuccess;
}

}  // namespace

ZEV_COMMAND("units", "parse entries with units, and list the unit tables", kHelp, run);

}  // namespace zevtool
