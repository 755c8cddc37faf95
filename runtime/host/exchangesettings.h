// How long an exchange with a controller may take and how often it is tried.
#ifndef HOST_EXCHANGESETTINGS_H
#define HOST_EXCHANGESETTINGS_H

#include "drivers/driversetting.h"

#include <QtGlobal>

namespace host
{

struct ExchangeSettings {
    int timeoutMs = 500; ///< the longest wait for a reply
    int retry = 3;       ///< repeats after a failed attempt
    int delayMs = 0;     ///< pause before every attempt
};

inline ExchangeSettings exchangeSettingsFrom(const DriverSetting& setting)
{
    return {setting.timeout, setting.retry, setting.delay};
}

/// The time-out that a line with such replies needs: twice the longest one, as a controller
/// answers later under load; at least 100 ms for adapters and a busy computer; in steps of 50 ms.
inline qint64 sufficientTimeoutMs(qint64 longestReplyMs)
{
    constexpr qint64 StepMs = 50;
    return qMax<qint64>(100, (2 * longestReplyMs + StepMs - 1) / StepMs * StepMs);
}

} // namespace host

#endif
