// Pool dates: fixed "yyyy-MM-dd" text independent of the learner's locale, and stored instants.
#pragma once

#include <QDateTime>
#include <QString>

namespace Dates {

// Today's local calendar day as "yyyy-MM-dd".
QString today();
// True when the text is a real date written exactly as "yyyy-MM-dd" would write it.
bool validDate(const QString& text);

// Instants are stored as seconds since 2001-01-01 00:00:00 UTC.
using Instant = double;
Instant now();
QDateTime toDateTime(Instant instant);
Instant fromDateTime(const QDateTime& dateTime);

} // namespace Dates
