#include "common/clock.h"

namespace {

std::function<QDateTime()> &source()
{
    static std::function<QDateTime()> function;
    return function;
}

} // namespace

QDateTime Clock::utc()
{
    return source() ? source()().toUTC() : QDateTime::currentDateTimeUtc();
}

QDateTime Clock::local()
{
    return source() ? source()().toLocalTime() : QDateTime::currentDateTime();
}

qint64 Clock::secsUtc()
{
    return utc().toSecsSinceEpoch();
}

void Clock::setSource(std::function<QDateTime()> newSource)
{
    source() = std::move(newSource);
}
