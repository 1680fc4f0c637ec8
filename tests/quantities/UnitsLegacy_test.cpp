#include <gtest/gtest.h>

#include "support/ExpectMessage.h"

#include <string>

#include "support/TestEnv.h"
#include "zevcore/files/BinaryStream.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/quantities/Units.h"

namespace {

std::string bytes(std::initializer_list<int> values) {
    std::string out;
    for (int v : values) out += static_cast<char>(v);
    return out;
}

// An old quantity record of version `version`: text, three shorts, two doubles, two shorts.
std::string oldQuantity(int version, const std::string& text) {
    std::string out = bytes({version, 0}) + text + std::string(1, '\0');
    out += std::string(6, '\x01') + std::string(16, '\x02') + std::string(4, '\x03');
    return out;
}

const std::string kMarker = bytes({77, 0, 0, 0});

int readMarker(ibfstream& in) {
    int marker = 0;
    in >> marker;
    return !in ? -1 : marker;
}

class UnitsLegacy : public testing::Test {
protected:
    zevtest::TempDir dir;
    std::string path = dir.file("old.bin");
};

TEST_F(UnitsLegacy, WritersEmitTheFixedEmptyForms) {
    {
        obfstream out(path.c_str(), 0);
        Units::writeOldUnits(out);
        Units::WriteOldQuantitiesToStream(out);
    }
    EXPECT_EQ(zevtest::readFile(path), bytes({1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 12, 0, 3, 0,  //
                                              3, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(UnitsLegacy, ReadersSkipExactlyTheirRecords) {
    zevtest::writeFile(path, bytes({1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 12, 0, 3, 0}) + kMarker +
                                 bytes({2, 0}) + kMarker +          // other version
                                 bytes({3, 0, 0, 0, 3, 0, 0, 0}) +  // three items
                                 bytes({9, 0, 0, 0}) + oldQuantity(1, "length") +
                                 bytes({9, 0, 0, 0}) + oldQuantity(2, "") + bytes({9, 0, 0, 0}) +
                                 bytes({3, 0}) +  // ends at version
                                 kMarker);
    ibfstream in(path.c_str(), 0);
    Units::readOldUnits(in);
    EXPECT_EQ(readMarker(in), 77);
    Units::readOldUnits(in);
    EXPECT_EQ(readMarker(in), 77);
    Units::ReadOldQuantitiesFromStream(in);
    EXPECT_EQ(readMarker(in), 77);
}

TEST_F(UnitsLegacy, AHugeCountOnAShortFileEndsAtOnce) {
    zevtest::writeFile(path, bytes({3, 0, 0, 0, 0xff, 0xff, 0xff, 0x7f}) + bytes({9, 0, 0, 0}) +
                                 oldQuantity(1, "x"));
    ibfstream in(path.c_str(), 0);
    Units::ReadOldQuantitiesFromStream(in);
    EXPECT_TRUE(!in);
}

TEST_F(UnitsLegacy, ArchiveFormsReadTheTextAsALine) {
    std::string record = bytes({3, 0, 0, 0, 2, 0, 0, 0}) + bytes({9, 0, 0, 0}) + bytes({1, 0}) +
                         "axial force\n" + std::string(26, '\x05') + bytes({9, 0, 0, 0}) +
                         bytes({4, 0}) + kMarker;
    CMemFile file(record.data(), record.size());
    CArchive ar(&file, CArchive::load);
    Units::ReadOldQuantitiesFromArchive(ar);
    int marker = 0;
    ar >> marker;
    EXPECT_EQ(marker, 77);

    CMemFile truncated(record.data(), 20);
    CArchive short_(&truncated, CArchive::load);
    EXPECT_THROW_MSG(Units::ReadOldQuantitiesFromArchive(short_), CArchiveException,
                     "An unexpected end of file was found while reading the archive.");
}

}  // namespace
