#ifndef CLOCK_H
#define CLOCK_H

#include <QDateTime>

#include <functional>

/// The desk's only source of the present, so that a unit test can move it. GUI thread, except secsUtc() and utc(), which
/// any thread may call as long as no test replaces the source meanwhile.
namespace Clock {

/// The present in UTC.
QDateTime utc();

/// The present in local time.
QDateTime local();

/// The present in whole seconds since the epoch, UTC.
qint64 secsUtc();

/// Replaces the source of the present; an empty function brings the system's clock back. For tests.
void setSource(std::function<QDateTime()> source);

} // namespace Clock

#endif // CLOCK_H
