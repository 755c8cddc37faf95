// A KV-1000 controller, which speaks the host-link protocol.
#ifndef SIMULATOR_KV1000_CONTROLLER_H
#define SIMULATOR_KV1000_CONTROLLER_H

#include "simulator/controller.h"

namespace simulator::kv1000
{

/// Device names are those that an operator panel uses: "R100" is a relay, "T5" the current value of
/// a timer and "TS5" its set value; likewise "C5" and "CS5", "CTC0" and "PCTC0".
class Controller : public simulator::Controller
{
public:
    const Commands& commands() const override;
    std::unique_ptr<simulator::Session> newSession() override;

    /// The contact of a timer or counter such as "T5", or the state of a bit.
    std::optional<uint32_t> lookState(std::string_view device) const;

protected:
    std::optional<NamedPlace> find(std::string_view device) const override;
    const Demo& demo() const override;
};

} // namespace simulator::kv1000

#endif
