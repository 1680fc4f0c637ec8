// A host that sets a decimal-comma locale changes nothing the library writes or reads.

#include "zevcore/platform/Locale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <vector>

#include "support/TestEnv.h"
#include "zevcore/files/TextFile.h"
#include "zevcore/files/Xml.h"
#include "zevcore/frame/Math.h"
#include "zevcore/mesh/TriangleMesher.h"
#include "zevcore/platform/framework/String.h"
#include "zevcore/quantities/Units.h"

namespace {

int triangleCount(double maxArea) {
    std::vector<double> square{0, 0, 3, 0, 3, 3, 0, 3};
    ZEVTriangleMesher mesher;
    return mesher.mesh_it(square.data(), 4, nullptr, 0, nullptr, 0, 0, nullptr, nullptr, maxArea,
                          false, nullptr);
}

TEST(Locale, ADecimalCommaHostChangesNoNumberInOrOut) {
    const int trianglesInC = triangleCount(0.3);
    zevtest::TempDir dir;
    zevtest::writeFile(dir.file("t.tab"), "a\tb\n12.5\t-0.25\n");

    zevtest::ScopedDecimalCommaLocale comma;
    if (!comma.active()) GTEST_SKIP() << "no decimal-comma locale can be had here";
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 0.5);
    ASSERT_STREQ(probe, "0,5") << "the host's locale is not in effect";

    CString text;
    text.Format("%.2f", 12.5);
    EXPECT_STREQ(text, "12.50");
    EXPECT_STREQ(nice(2.25), "2.250");
    {
        CZEVClassicLocaleScope classic;
        std::snprintf(probe, sizeof probe, "%.1f", 0.5);
        EXPECT_STREQ(probe, "0.5");
    }
    std::snprintf(probe, sizeof probe, "%.1f", 0.5);
    EXPECT_STREQ(probe, "0,5") << "the scope gives the host's locale back";

    // Triangle reads its maximum area back from the switches: 0,300000 would be read as 0.
    EXPECT_EQ(triangleCount(0.3), trianglesInC);

    {
        xmlwriter xml(dir.file("v.xml"));
        xml.Createtag("root");
        xml.CreateChild("value", 12.5);
        xml.CloseAlltags();
    }
    EXPECT_NE(zevtest::readFile(dir.file("v.xml")).find("<value>12.5</value>"), std::string::npos);

    CTabbedTextFile table;
    ASSERT_EQ(table.Read(dir.file("t.tab").c_str()), nullptr);
    EXPECT_EQ(table.DoubleData(0, 0), 12.5);
    EXPECT_EQ(table.DoubleData(0, 1), -0.25);

    ETUnitError error = UNIT_OK;
    const char* shown = Units::show(UNIT_LENGTH_SMALL, 12.5, UNIT_SHOW);
    EXPECT_EQ(std::string(shown).find(','), std::string::npos) << shown;
    EXPECT_EQ(Units::parse(UNIT_LENGTH_SMALL, shown, &error, UNIT_RANGE_ANY), 12.5);
    EXPECT_EQ(error, UNIT_OK);
}

}  // namespace
