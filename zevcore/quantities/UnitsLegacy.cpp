// Unit settings and quantities of earlier file versions. Nothing in them means anything any
// longer: readers skip them, writers emit fixed empty forms so that file layouts stay put.

#include "zevcore/files/BinaryStream.h"
#include "zevcore/platform/Archive.h"
#include "zevcore/quantities/Units.h"

namespace Units {
namespace {

// The numbers after the text of an old quantity: three shorts, two doubles, two shorts.
template <typename Source>
void skipQuantityNumbers(Source& in) {
    short s = 0;
    double d = 0.0;
    in >> s >> s >> s >> d >> d >> s >> s;
}

}  // namespace

void writeOldUnits(obfstream& out) {
    const short fields[] = {1, 0, 1, 0, 0, 12, 3};
    for (short field : fields) out << field;
}

void readOldUnits(ibfstream& in) {
    short version = 0;
    in >> version;
    if (version != 1) return;
    short field = 0;
    for (int i = 0; i < 6; ++i) in >> field;
}

void WriteOldQuantitiesToStream(obfstream& out) {
    out << 3 << 0;
}

void ReadOldQuantitiesFromStream(ibfstream& in) {
    int version = 0, count = 0;
    in >> version >> count;
    // The count comes from the file; a failed stream reads nothing more, so the loop stops
    // there instead of spinning through a count that may be anything.
    for (int i = 0; i < count && !!in; ++i) {
        int ignored = 0;
        in >> ignored;
        ReadOldQuantity(in);
    }
}

void ReadOldQuantity(ibfstream& in) {
    short version = 0;
    in >> version;
    if (version != 1 && version != 2) return;
    char text[256];
    in.getline(text, 255, '\0');
    skipQuantityNumbers(in);
}

void ReadOldQuantitiesFromArchive(CArchive& ar) {
    int version = 0, count = 0;
    ar >> version >> count;
    for (int i = 0; i < count; ++i) {  // the archive throws at the end of its data
        int ignored = 0;
        ar >> ignored;
        ReadOldQuantityFromArchive(ar);
    }
}

void ReadOldQuantityFromArchive(CArchive& ar) {
    short version = 0;
    ar >> version;
    if (version != 1 && version != 2) return;
    CString text;
    ar.ReadString(text);
    skipQuantityNumbers(ar);
}

}  // namespace Units
