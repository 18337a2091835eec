// The signals that derived names stand for.
#pragma once

#include "qzsignal/signal/BaseSignal.h"
#include "tools/moments/DerivedNames.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace qztool {

// Owns them, in the registry, where expressions find them; those may share them. The signals that they are derived from
// must outlive this object.
class DerivedSignals {
public:
    DerivedSignals() = default;
    DerivedSignals(DerivedSignals const&) = delete;
    DerivedSignals& operator=(DerivedSignals const&) = delete;

    // Makes the signal, unless it is there. Unless it is a word, the signal that it is derived from is in the registry.
    void add(DerivedName const& derived);

    // Time of the current frame, microseconds as recorded, which ages count to.
    void setTime(std::uint64_t now) { d_now = now; }

private:
    std::uint64_t d_now = 0;
    std::vector<std::unique_ptr<BaseSignal>> d_signals;
};

} // namespace qztool
