#include "drivers/parts/errorstate.h"

namespace driverkit
{

ErrorState::ErrorState()
    : m_set(false)
    , m_text(QString::fromLatin1(""))
{
}

void ErrorState::set(const QString& text)
{
    m_set = true;
    m_text = text;
}

void ErrorState::clear()
{
    m_set = false;
}

bool ErrorState::fail(const char* text, const QString& detail)
{
    set(QString::fromLatin1(text) + detail);
    return false;
}

} // namespace driverkit
