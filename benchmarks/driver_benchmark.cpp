// What one request costs the driver itself, over a port that answers at once.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

extern "C" DriverInterface* CreateDriver();

namespace
{

/// Acknowledges every command, and answers reads by one prepared reply.
class PromptPort : public AbstractDeviceInterface
{
public:
    explicit PromptPort(int words)
    {
        for (int i = 0; i < words; ++i)
            m_words += i == 0 ? "12345" : " 12345";
        m_words += "\r\n";
    }

    int read(char* buffer, int maxLength) override
    {
        const std::size_t count = std::min(std::size_t(maxLength), m_reply->size() - m_done);
        std::memcpy(buffer, m_reply->data() + m_done, count);
        m_done += count;
        return int(count);
    }

    int write(const char* data, int length) override
    {
        const std::string word(data, 2);
        m_done = 0;
        m_reply = word == "CR"   ? &m_opened
                  : word == "CQ" ? &m_closed
                  : word == "RD" ? &m_words
                                 : &m_ok;
        return length;
    }

    void setOption(int, const QVariant&) override {}
    int retry() override { return 0; }
    int delay() override { return 0; }

private:
    const std::string m_opened = "CC\r\n", m_closed = "CF\r\n", m_ok = "OK\r\n";
    std::string m_words;
    const std::string* m_reply = &m_ok;
    std::size_t m_done = 0;
};

CommunicatorCommand wordsOfDM(int words)
{
    CommunicatorCommand command;
    command.dataType = DataWord;
    command.length = words;
    command.address = "DM100";
    return command;
}

void readWords(benchmark::State& state)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    const CommunicatorCommand command = wordsOfDM(int(state.range(0)));
    PromptPort port(command.length);
    for (auto _ : state)
        benchmark::DoNotOptimize(driver->read(&port, command));
    if (driver->hasError())
        state.SkipWithError("the request failed");
}

void writeWords(benchmark::State& state)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    const CommunicatorCommand command = wordsOfDM(int(state.range(0)));
    const QByteArray data(2 * command.length, '\1');
    PromptPort port(command.length);
    for (auto _ : state)
        benchmark::DoNotOptimize(driver->write(&port, command, data));
    if (driver->hasError())
        state.SkipWithError("the request failed");
}

BENCHMARK(readWords)->Arg(1)->Arg(256);
BENCHMARK(writeWords)->Arg(1)->Arg(255);

} // namespace
