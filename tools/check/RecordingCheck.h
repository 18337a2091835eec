// Definitions against a recording.
#pragma once

#include "tools/check/SignalCheck.h"
#include "tools/check/Traffic.h"
#include "tools/drive/Drive.h"
#include "tools/drive/SignalSet.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace qztool {

// Listens to a drive. Memory grows with the number of identifiers and signals alone. All arguments must outlive it.
class RecordingCheck : public DriveListener {
public:
    RecordingCheck(DefinitionSet const& definitions, SignalSet const& signals, CurrentFrame const& frame,
                   RecordingReader const& recording);

    bool onFrame(Frame const& frame) override;
    void onMessage(Frame const& frame, std::uint64_t message) override;

    // Appends what was found so far. `trace` is the recording's name.
    void addTo(std::vector<Finding>& findings, std::string const& trace) const;
    Traffic const& traffic() const { return d_traffic; }

private:
    struct Check {
        CheckKind kind;
        std::unique_ptr<SignalCheck> check;
    };
    using Checks = std::vector<Check>;

    static Checks makeChecks(DrivenSignal& signal);
    void addUnseen(std::vector<Finding>& findings) const;

    DefinitionSet const& d_definitions;
    SignalSet const& d_signals;
    CurrentFrame const& d_frame;
    RecordingReader const& d_recording;
    Traffic d_traffic;
    std::unordered_map<DrivenSignal const*, Checks> d_checks; // of the signals that were seen
};

} // namespace qztool
