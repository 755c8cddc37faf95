#include "bench/failure.h"

namespace bench
{

int exitStatus(FailureKind kind)
{
    return static_cast<int>(kind);
}

bool isLineFailure(FailureKind kind)
{
    return kind == FailureKind::NoReply || kind == FailureKind::InvalidReply;
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

Failure::Failure(FailureKind kind, const std::string& text, const std::string& advice,
                 const std::vector<Topic>& topics)
    : std::runtime_error(text)
    , m_kind(kind)
    , m_advice(advice)
    , m_topics(topics)
{
}

Failure Failure::with(const std::string& detail) const
{
    return Failure(m_kind, what() + detail, m_advice, m_topics);
}

Failure Failure::prefixed(const std::string& start) const
{
    return Failure(m_kind, start + what(), m_advice, m_topics);
}

std::string inOneLine(const Failure& failure)
{
    return failure.what() + (failure.advice().empty() ? "" : ". " + failure.advice());
}

Failure wrongUsage(const std::string& text, const std::string& advice,
                   const std::vector<Topic>& topics)
{
    return Failure(FailureKind::WrongUsage, text, advice, topics);
}

} // namespace bench
