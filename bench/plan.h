// Which requests serve a list of typed devices: neighbours of one area go into one request, long
// runs are cut to what the driver takes at once, and the data are given back to the devices. It
// opens and sends nothing.
#ifndef BENCH_PLAN_H
#define BENCH_PLAN_H

#include "bench/devices.h"

#include "drivers/communicatorcommand.h"

#include <QByteArray>

#include <climits>
#include <optional>
#include <vector>

namespace bench
{

/// The most units that a driver takes in one request.
struct BlockSizes {
    int values; ///< bytes, words or double words
    int bits;
};

/// Where one of the devices lies in a request's data.
struct Part {
    std::size_t index; ///< the device's place in the list
    int offset;        ///< its first byte
};

struct ReadRequest {
    CommunicatorCommand command;
    int bytes = 0; ///< that a complete answer has
    std::vector<Part> parts;
};

struct WriteRequest {
    CommunicatorCommand command;
    QByteArray data;
    std::vector<std::size_t> indices; ///< the places of its devices in the list
};

/// The outcome of reading one device: one of the two, or neither before it was read.
struct Reading {
    std::optional<Value> value;
    std::optional<Failure> failure;
};

/// Two devices of a list of writes that share bytes.
struct WrittenTwice : Failure {
    WrittenTwice(const Failure& failure, std::size_t firstPlace, std::size_t secondPlace)
        : Failure(failure)
        , first(firstPlace)
        , second(secondPlace)
    {
    }

    std::size_t first; ///< their places in the list, the lower one first
    std::size_t second;
};

/// The fewest requests that read all devices, in any mix and order; a device that is named
/// twice is read once. Only devices that were asked for are read. Areas come in the order in which
/// they were first named. No value is torn: each is read whole in one request.
///
/// Without described areas only the values of one run share a request.
///
/// mostUnits  that several values share in one request, for smaller steps than the driver's blocks;
///            it does not hold for the runs of a driver without areas, which can't be cut
///
/// Throws a Failure (WrongUsage) for a device that can't be read in its type, and for a value that
/// is longer than a block.
std::vector<ReadRequest> planReads(const std::vector<TypedDevice>& devices,
                                   const BlockSizes& blocks, int mostUnits = INT_MAX);

/// The requests for the first and for the second half of a request's devices, for finding out which
/// of them the controller refused.
std::vector<ReadRequest> halves(const ReadRequest& request, const std::vector<TypedDevice>& devices,
                                const BlockSizes& blocks);

/// Puts the answer to a request into the readings, which are parallel to the devices. An answer
/// that has not request.bytes bytes is an invalid reply for all of them; a number that does not fit
/// a device's type is a failure of that device.
void takeAnswer(const ReadRequest& request, const QByteArray& answer,
                const std::vector<TypedDevice>& devices, std::vector<Reading>& readings);

/// Puts a request's failure into the readings.
void takeFailure(const ReadRequest& request, const Failure& failure,
                 std::vector<Reading>& readings);

/// The requests that write all values, in the order given: only neighbours that follow each other
/// in the list share a request.
///
/// values  parallel to devices, each of its device's type
/// Throws a Failure (WrongUsage) before anything could be sent: for a device that can't be written
/// in its type, for devices written twice (WrittenTwice), and where the rest of a device would be
/// cleared.
std::vector<WriteRequest> planWrites(const std::vector<TypedDevice>& devices,
                                     const std::vector<Value>& values, const BlockSizes& blocks);

} // namespace bench

#endif
