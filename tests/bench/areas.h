// The device areas of a made-up driver, and what a refused text says.
#ifndef TESTS_BENCH_AREAS_H
#define TESTS_BENCH_AREAS_H

#include "bench/devices.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace tests
{

inline std::optional<host::DriverDescription> describe(const char* json, QString* error)
{
    return host::driverDescriptionFromJson(QJsonDocument::fromJson(json).object(), error);
}

/// Words, relays in channels, a timer, a counter whose value can't be written, and registers with
/// stations in front.
inline const host::DriverDescription& areas()
{
    static const host::DriverDescription description = [] {
        QString error;
        const auto read = describe(R"({
            "protocol": "made-up", "stationPrefix": {"first": 1, "last": 9},
            "devices": [
                {"letters": "DM", "name": "data", "numbers": "decimal", "digits": 5,
                 "holds": "word", "type": "uint",
                 "read": ["word"], "write": ["word"]},
                {"letters": "MR", "name": "relay", "numbers": "channel", "digits": 5,
                 "holds": "bit", "type": "bool", "read": ["bit"], "write": ["bit"]},
                {"letters": "T", "name": "timer", "numbers": "decimal", "holds": "counter",
                 "type": "udint", "read": ["bit", "byte", "word", "dword"],
                 "write": ["bit", "byte", "word", "dword"], "first": 1, "last": 400,
                 "block": 3},
                {"letters": "CTC", "name": "counter", "numbers": "decimal", "holds": "counter",
                 "type": "udint", "read": ["bit", "dword"], "write": ["bit"],
                 "note": "Its set value is PCTC."}
            ],
            "errors": {"2": "there is no such device"}})",
                                   &error);
        EXPECT_TRUE(read) << qPrintable(error);
        return read.value_or(host::DriverDescription());
    }();
    return description;
}

/// A driver that does not describe its devices.
inline const host::DriverDescription& noAreas()
{
    static const host::DriverDescription description;
    return description;
}

/// Text and advice of the failure that `action` ends with; empty when it ends with none.
template <typename Action>
std::string refusal(Action action)
{
    try {
        action();
    } catch (const bench::Failure& failure) {
        return std::string(failure.what()) + ". " + failure.advice();
    }
    return std::string();
}

} // namespace tests

#endif
