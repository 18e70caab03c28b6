#include "store/local/schema.h"

namespace tf::store::local::schema {

namespace {
// splitmix64's finaliser: a bijection on 64 bits, so distinct counters give distinct ids.
quint64 mix(quint64 x) {
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}
}  // namespace

QString storeIdFor(const QString& uid) {
    return QStringLiteral("0000000038A1BB1005E5101AA1BB08002B2A56C20000746964792E646C6C00") + uid;
}

QString entryIdFor(const QString& uid, bool folder, quint64 counter) {
    return QStringLiteral("00000000") + uid +
           (folder ? QStringLiteral("01000000") : QStringLiteral("07000000")) +
           QStringLiteral("%1").arg(mix(counter), 16, 16, QLatin1Char('0')).toUpper();
}

}  // namespace tf::store::local::schema
