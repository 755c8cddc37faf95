#include "bench/failure.h"

namespace bench
{

int exitStatus(FailureKind kind)
{
    return static_cast<int>(kind);
}

const char* nameOf(FailureKind kind)
{
    switch (kind) {
    case FailureKind::ControllerRefused:
        return "refused";
    case FailureKind::WrongUsage:
        return "wrong usage";
    case FailureKind::CannotOpen:
        return "cannot open";
    case FailureKind::NoReply:
        return "no reply";
    case FailureKind::InvalidReply:
        return "invalid reply";
    case FailureKind::Different:
        break;
    }
    return "different value";
}

Failure::Failure(FailureKind kind, const std::string& text, const std::string& advice)
    : std::runtime_error(text)
    , m_kind(kind)
    , m_advice(advice)
{
}

Failure Failure::with(const std::string& detail) const
{
    return Failure(m_kind, what() + detail, m_advice);
}

Failure wrongUsage(const std::string& text, const std::string& advice)
{
    return Failure(FailureKind::WrongUsage, text, advice);
}

} // namespace bench
