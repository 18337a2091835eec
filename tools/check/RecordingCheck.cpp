// From frames and values to the checks.
#include "tools/check/RecordingCheck.h"

#include "tools/check/TrafficChecks.h"
#include "tools/definitions/ProblemText.h"

namespace qztool {

namespace {

struct Row {
    CheckKind kind;
    std::unique_ptr<SignalCheck> (*make)(DrivenSignal& signal);
};

constexpr Row rows[] = {{CheckKind::OutOfRange, makeRangeCheck},
                        {CheckKind::Constant, makeConstantCheck},
                        {CheckKind::Counter, makeCounterCheck},
                        {CheckKind::Checksum, makeChecksumCheck}};

} // namespace

RecordingCheck::RecordingCheck(DefinitionSet const& definitions, SignalSet const& signals, CurrentFrame const& frame,
                               RecordingReader const& recording)
    : d_definitions(definitions), d_signals(signals), d_frame(frame), d_recording(recording), d_traffic(definitions) {}

bool RecordingCheck::onFrame(Frame const& frame) {
    d_traffic.add(frame, d_recording.place());
    return true;
}

RecordingCheck::Checks RecordingCheck::makeChecks(DrivenSignal& signal) {
    Checks checks;
    for (Row const& row : rows)
        if (auto check = row.make(signal))
            checks.push_back({row.kind, std::move(check)});
    return checks;
}

void RecordingCheck::onMessage(Frame const& frame, std::uint64_t) {
    FramePlace const place{frame.timestamp, d_recording.place()};
    bool const isInPackets = d_frame.bytes != frame.bytes.data();
    if (isInPackets && !d_frame.carried.empty())
        d_traffic.addInPackets(d_frame.carried.front()->message());
    for (DrivenSignal* const signal : d_frame.carried) {
        auto const [entry, isNew] = d_checks.try_emplace(signal);
        if (isNew)
            entry->second = makeChecks(*signal);
        SeenValue const value{signal->raw(), place, d_frame};
        for (Check const& each : entry->second)
            each.check->add(value);
    }
}

// Of messages that are not there at all, signals are not listed, nor are those that were not asked for. A definition
// may stand for several signals, such as one for each source of the message.
void RecordingCheck::addUnseen(std::vector<Finding>& findings) const {
    std::unordered_map<SignalDefinition const*, bool> written; // any signal of it
    for (auto const& signal : d_signals.signals())
        if (signal->isWanted()) {
            bool& any = written[&signal->definition()];
            any = any || signal->everWritten();
        }
    for (auto const& file : d_definitions.files())
        for (std::size_t i = 0; i < file->database.messages.size(); ++i) {
            MessageDefinition const& message = file->database.messages[i];
            if (!d_traffic.hasSeen(message))
                continue;
            for (std::size_t j = 0; j < message.signals.size(); ++j) {
                auto const signal = written.find(&message.signals[j]);
                if (signal != written.end() && !signal->second)
                    findings.push_back(
                        findingOf(CheckKind::Unseen, *file, i, j, "no frame carries " + quote(nameOf(*file, i, j))));
            }
        }
}

void RecordingCheck::addTo(std::vector<Finding>& findings, std::string const& trace) const {
    checkTraffic(d_traffic, trace, findings);
    addUnseen(findings);
    std::unordered_map<MessageDefinition const*, DefinitionSet::File const*> files;
    for (auto const& file : d_definitions.files())
        for (MessageDefinition const& message : file->database.messages)
            files.emplace(&message, file.get());
    for (auto const& signal : d_signals.signals()) {
        auto const checks = d_checks.find(signal.get());
        if (checks == d_checks.end())
            continue;
        for (Check const& each : checks->second) {
            std::optional<Finding> finding = each.check->finish();
            if (!finding)
                continue;
            finding->kind = each.kind;
            finding->file = files.at(&signal->message())->path;
            finding->line = signal->definition().line;
            finding->signal = signal->instance();
            findings.push_back(std::move(*finding));
        }
    }
}

} // namespace qztool
