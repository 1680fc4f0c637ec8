#include "tools/zevcore/PrefsTree.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/zevcore/Args.h"
#include "zevcore/quantities/Units.h"
#include "zevcore/settings/PreferenceItem.h"
#include "zevcore/settings/PropertyGrid.h"

namespace zevtool {

std::unique_ptr<CPreferenceManager> makeStudioPreferences(const char* key) {
    auto m = std::make_unique<CPreferenceManager>(0, key);
    const int units = m->AddCategory("Units", 0);
    const int mesh = m->AddCategory("Mesh", 0);
    const int display = m->AddCategory("Display", 0);
    const int files = m->AddCategory("Files", 0);

    const int style = m->AddGroup("Style", 0, units);
    CStringArray styles;
    for (int s = 0; s < Units::unitStyleCount(); ++s)
        styles.Add(Units::unitStyleName(static_cast<ETUnitStyle>(s)));
    m->AddPreference(kPrefUnitStyle, new CListPreference("Unit style", 0, styles, 0), style);
    m->AddPreference(kPrefDecimals, new CIntPreference("Decimal places", 0, 2, 7, 0), style);

    const int elements = m->AddGroup("Elements", 0, mesh);
    m->AddPreference(
        kPrefElementSize,
        new CQuantityPreference("Element size", 0, UNIT_LENGTH_SMALL, 6.0, 1.0, 0.001, 1e6),
        elements);
    CStringArray methods;
    methods.Add("paver");
    methods.Add("triangle");
    m->AddPreference(kPrefMethod, new CListPreference("Method", 0, methods, 0), elements);
    m->AddPreference(
        kPrefMaxArea,
        new CQuantityPreference("Maximum area", 0, UNIT_AREA_SMALL, 0.0, 1.0, 0.0, 1e12), elements);
    const int structure = m->AddGroup("Structure", 0, mesh);
    m->AddPreference(kPrefSpan,
                     new CQuantityPreference("Span", 0, UNIT_LENGTH_SMALL, 240.0, 12.0, 0.0, 1e6),
                     structure);
    m->AddPreference(kPrefDivisions, new CIntPreference("Divisions", 0, 4, 1000, 1), structure);
    m->AddPreference(kPrefQuadsOnly, new CBoolPreference("Quads only", 0, 1), structure);

    const int colours = m->AddGroup("Colours", 0, display);
    m->AddPreference(kPrefBackground, new CColorPreference("Background", 0, RGB(255, 255, 255)),
                     colours);
    m->AddPreference(kPrefMeshLines, new CColorPreference("Mesh lines", 0, RGB(0, 0, 128)),
                     colours);
    const int text = m->AddGroup("Text", 0, display);
    LOGFONTA font{};
    font.lfHeight = -12;
    font.lfWeight = 400;
    std::strcpy(font.lfFaceName, "Sans");
    m->AddPreference(kPrefLabelFont, new CFontPreference("Labels", 0, &font), text);
    m->AddPreference(kPrefShowGrid, new CBoolPreference("Show grid", 0, 1), text);

    const int places = m->AddGroup("Locations", 0, files);
    m->AddPreference(kPrefProjectFolder, new CFolderPreference("Project folder", 0, ""), places);
    m->AddPreference(kPrefLastFile, new CFilePreference("Last file", 0, ""), places);
    m->AddPreference(kPrefUserName, new CStringPreference("User name", 0, ""), places);
    return m;
}

std::string preferenceKind(const CPreferenceItem& item) {
    struct Kind {
        const CRuntimeClass* type;
        const char* name;
    };
    const Kind kinds[] = {{RUNTIME_CLASS(CBoolPreference), "bool"},
                          {RUNTIME_CLASS(CColorPreference), "colour"},
                          {RUNTIME_CLASS(CDoublePreference), "double"},
                          {RUNTIME_CLASS(CFilePreference), "file"},
                          {RUNTIME_CLASS(CFolderPreference), "folder"},
                          {RUNTIME_CLASS(CFontPreference), "font"},
                          {RUNTIME_CLASS(CIntPreference), "int"},
                          {RUNTIME_CLASS(CListPreference), "list"},
                          {RUNTIME_CLASS(CQuantityPreference), "quantity"},
                          {RUNTIME_CLASS(CStringPreference), "string"}};
    for (const Kind& k : kinds) {
        if (item.GetRuntimeClass() == k.type) return k.name;
    }
    return "unknown";
}

std::string showPreference(const CPreferenceItem& constItem) {
    // The embedded property words the value as the grid would; it is the edit copy, so it
    // is filled from the committed value first.
    auto& item = const_cast<CPreferenceItem&>(constItem);
    item.PutValueInPropGridItem();
    CBaseProperty* p = item.GetProperty();
    if (!p) return "";
    p->clear_dirty_flag();
    if (auto* q = dynamic_cast<CPhysicalProperty*>(p)) return q->shown_value().GetString();
    if (auto* list = dynamic_cast<CListProperty*>(p))
        return list->get_item_text(list->selected_index()).GetString();
    if (auto* box = dynamic_cast<CCheckBoxProperty*>(p))
        return box->state() == CHECK_ON ? "on" : "off";
    if (auto* i = dynamic_cast<CIntegerProperty*>(p)) return std::to_string(i->value());
    if (auto* d = dynamic_cast<CDoubleProperty*>(p)) {
        CString s;
        s.Format("%.17g", d->value());
        return s.GetString();
    }
    if (auto* font = dynamic_cast<CFontProperty*>(p)) {
        std::string s = font->text().GetString();
        if (font->is_bold()) s += ", bold";
        if (font->is_italic()) s += ", italic";
        return s;
    }
    if (auto* file = dynamic_cast<CFileProperty*>(p)) return file->file_name().GetString();
    if (auto* folder = dynamic_cast<CFolderProperty*>(p)) return folder->folder_name().GetString();
    return p->text().GetString();
}

namespace {

std::optional<int> parseSwitch(const std::string& text) {
    for (const char* on : {"on", "yes", "true", "1"})
        if (strcasecmp(text.c_str(), on) == 0) return 1;
    for (const char* off : {"off", "no", "false", "0"})
        if (strcasecmp(text.c_str(), off) == 0) return 0;
    return std::nullopt;
}

std::optional<COLORREF> parseColour(const std::string& text) {
    unsigned r = 0, g = 0, b = 0;
    char tail = 0;
    if (text.size() == 7 && text[0] == '#' &&
        std::sscanf(text.c_str() + 1, "%2x%2x%2x%c", &r, &g, &b, &tail) == 3)
        return RGB(static_cast<BYTE>(r), static_cast<BYTE>(g), static_cast<BYTE>(b));
    if ((std::sscanf(text.c_str(), "R:%u G:%u B:%u%c", &r, &g, &b, &tail) == 3 ||
         std::sscanf(text.c_str(), "%u,%u,%u%c", &r, &g, &b, &tail) == 3) &&
        r < 256 && g < 256 && b < 256)
        return RGB(static_cast<BYTE>(r), static_cast<BYTE>(g), static_cast<BYTE>(b));
    return std::nullopt;
}

std::optional<LOGFONTA> parseFont(const std::string& text, LOGFONTA font) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = text.find(',', start);
        std::string part =
            text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        while (!part.empty() && part.front() == ' ') part.erase(part.begin());
        while (!part.empty() && part.back() == ' ') part.pop_back();
        parts.push_back(part);
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (parts.size() < 2 || parts[0].empty() || parts[0].size() >= LF_FACESIZE) return std::nullopt;
    std::string size = parts[1];
    if (size.size() > 3 && size.compare(size.size() - 3, 3, " pt") == 0)
        size.resize(size.size() - 3);
    const std::optional<long long> points = parseWhole(size);
    if (!points || *points < 1 || *points > 1000) return std::nullopt;
    std::memset(font.lfFaceName, 0, sizeof font.lfFaceName);
    std::memcpy(font.lfFaceName, parts[0].data(), parts[0].size());
    font.lfHeight = -static_cast<LONG>(*points);
    font.lfWeight = 400;
    font.lfItalic = 0;
    for (std::size_t i = 2; i < parts.size(); ++i) {
        if (strcasecmp(parts[i].c_str(), "bold") == 0)
            font.lfWeight = 700;
        else if (strcasecmp(parts[i].c_str(), "italic") == 0)
            font.lfItalic = 1;
        else
            return std::nullopt;
    }
    return font;
}

}  // namespace

std::string setPreference(CPreferenceItem& item, const std::string& text) {
    item.PutValueInPropGridItem();
    CBaseProperty* p = item.GetProperty();
    if (!p) return "the item has no property to check the value";
    const std::string kind = preferenceKind(item);
    std::string refused;
    if (kind == "bool") {
        const auto state = parseSwitch(text);
        if (!state) return "'" + text + "' is not on or off";
        static_cast<CCheckBoxProperty*>(p)->state(static_cast<ETCheckState>(*state));
    } else if (kind == "colour") {
        const auto colour = parseColour(text);
        if (!colour) return "'" + text + "' is not a colour (R:r G:g B:b, r,g,b or #rrggbb)";
        static_cast<CColorProperty*>(p)->color(*colour);
    } else if (kind == "font") {
        auto* font = static_cast<CFontProperty*>(p);
        const auto parsed = parseFont(text, font->font());
        if (!parsed) return "'" + text + "' is not a font (FACE, SIZE pt[, bold][, italic])";
        font->font(*parsed);
    } else if (kind == "file") {
        static_cast<CFileProperty*>(p)->file_name(text.c_str());
        p->text(text.c_str());
    } else if (kind == "folder") {
        static_cast<CFolderProperty*>(p)->folder_name(text.c_str());
        p->text(text.c_str());
    } else {
        // The grid's integer entry reads like atoi, so "1.5" would be stored as 1: the tool
        // takes a whole number only, then lets the property check its limits.
        if (kind == "int" && !parseWhole(text)) return "'" + text + "' is not a whole number";
        // Typed entries go through the property's own check, as in the grid.
        CPropertyGrid grid;
        grid.CreateGrid();
        CEdit* edit = nullptr;
        p->setup_edit(grid, &edit);
        if (edit) edit->SetWindowText(text.c_str());
        const char* message =
            p->change_notice(grid, 1, 0, CN_EDIT_FINISH, reinterpret_cast<long>(text.c_str()));
        if (message) return message;
    }
    item.GetValueFromPropGridItem();
    return refused;
}

}  // namespace zevtool
