// How long an exchange with a controller may take and how often it is tried.
#ifndef HOST_EXCHANGESETTINGS_H
#define HOST_EXCHANGESETTINGS_H

#include "drivers/driversetting.h"

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

} // namespace host

#endif
