// Pool dates and stored instants.
#include "Dates.h"

#include <QLocale>

namespace Dates {
namespace {

const QString format = QStringLiteral("yyyy-MM-dd");
// 2001-01-01 00:00:00 UTC in milliseconds since 1970-01-01 UTC.
constexpr qint64 referenceMs = 978307200000LL;

} // namespace

QString today()
{
    return QLocale::c().toString(QDate::currentDate(), format);
}

bool validDate(const QString& text)
{
    const QDate date = QLocale::c().toDate(text, format);
    return date.isValid() && QLocale::c().toString(date, format) == text;
}

Instant now()
{
    return fromDateTime(QDateTime::currentDateTimeUtc());
}

QDateTime toDateTime(Instant instant)
{
    return QDateTime::fromMSecsSinceEpoch(referenceMs + qRound64(instant * 1000.0), Qt::UTC);
}

Instant fromDateTime(const QDateTime& dateTime)
{
    return double(dateTime.toMSecsSinceEpoch() - referenceMs) / 1000.0;
}

} // namespace Dates
