#include "drivers/parts/attempts.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/driverinterface.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/parts/errorstate.h"

namespace driverkit
{

Attempts::Attempts(DriverInterface& driver, ErrorState& error, AbstractDeviceInterface* port)
    : m_driver(driver)
    , m_error(error)
    , m_port(port)
    , m_repeats(0)
{
}

void Attempts::begin()
{
    qtcompat::sleepMs(m_port->delay());
    m_error.clear();
}

bool Attempts::again()
{
    return m_driver.hasError() && m_repeats++ < m_port->retry();
}

} // namespace driverkit
