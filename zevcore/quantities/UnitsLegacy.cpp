// Unit settings and quantities of earlier file versions. Nothing in them means anything any
// longer: readers skip them, writers emit fixed empty forms so that file layouts stay put.

#include "zevcore/files/BinaryStream.h"
#include "zevcore/platform/framework/Archive.h"
#include "zevcore/quantities/Units.h"

namespace Units {
namespace {

// An old quantity: a short version; for versions 1 and 2, a text, three shorts, two doubles
// and two shorts.
template <typename Source, typename ReadText>
void skipOldQuantity(Source& in, ReadText readText) {
    short version = 0;
    in >> version;
    if (version != 1 && version != 2) return;
    readText();
    short s = 0;
    double d = 0.0;
    in >> s >> s >> s >> d >> d >> s >> s;
}

// An int version, an int count, then per item an int and an old quantity, for as long as
// `more` allows.
template <typename Source, typename More>
void skipOldQuantities(Source& in, void (*readQuantity)(Source&), More more) {
    int version = 0, count = 0;
    in >> version >> count;
    for (int i = 0; i < count && more(); ++i) {
        int ignored = 0;
        in >> ignored;
        readQuantity(in);
    }
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
    // The count comes from the file; a failed stream reads nothing more, so the loop stops
    // there instead of spinning through a count that may be anything.
    skipOldQuantities(in, &ReadOldQuantity, [&in] { return !!in; });
}

void ReadOldQuantity(ibfstream& in) {
    skipOldQuantity(in, [&in] {
        char text[256];
        in.getline(text, 255, '\0');
    });
}

void ReadOldQuantitiesFromArchive(CArchive& ar) {
    // The archive throws at the end of its data.
    skipOldQuantities(ar, &ReadOldQuantityFromArchive, [] { return true; });
}

void ReadOldQuantityFromArchive(CArchive& ar) {
    skipOldQuantity(ar, [&ar] {
        CString text;
        ar.ReadString(text);
    });
}

}  // namespace Units
