// From definition files to signals.
#include "tools/drive/SignalSet.h"

#include "tools/base/TextFile.h"
#include "tools/definitions/Formats.h"
#include "tools/drive/CanDefinition.h"
#include "tools/machine/SharedSignals.h"

#include <algorithm>
#include <climits>
#include <fnmatch.h>

namespace qztool {

namespace {

std::string place(std::string const& path, std::size_t line) {
    return line != 0 ? path + ":" + std::to_string(line) : path;
}

} // namespace

SignalSet::SignalSet(Console& console, FrameInHand& frame, std::string only)
    : d_console(console), d_frame(frame), d_only(std::move(only)) {}

SignalSet::SignalSet(Console& console, FrameInHand& frame, std::set<std::string> names)
    : d_console(console), d_frame(frame), d_names(std::move(names)) {}

SignalSet::~SignalSet() = default;

void SignalSet::report(Source const& source, std::size_t line, Severity severity, std::string const& text) {
    ++d_problems;
    if (severity == Severity::Warning)
        d_console.warning(place(source.path, line), ": ", text);
    else
        d_console.error(place(source.path, line), ": ", text);
}

bool SignalSet::load(DefinitionFile const& file) {
    std::string text;
    std::string const problem = readTextFile(file.path, text);
    if (!problem.empty()) {
        d_console.error(file.path, ": ", problem);
        ++d_unreadable;
        return false;
    }
    d_sources.push_back(std::make_unique<Source>(Source{file.path, file.channel, readDefinitions(text)}));
    Source& source = *d_sources.back();
    if (source.channel)
        d_channels.addOwn(*source.channel);
    for (Problem const& each : source.database.problems)
        report(source, each.line, each.severity, each.text);

    for (MessageDefinition const& message : source.database.messages)
        for (SignalDefinition const& signal : message.signals)
            if (!usable(source, instanceName(message, signal), signal.line))
                d_unusable.insert(&signal);
    return true;
}

// Takes an instance name in, unless it is taken or should be the name of a key file and cannot.
bool SignalSet::usable(Source const& source, std::string const& instance, std::size_t line) {
    if (!d_names && instance.find('/') != std::string::npos) {
        report(source, line, Severity::Error, "'" + instance + "' cannot be shared: the name holds a '/'");
        return false;
    }
    if (!d_names && instance.size() > NAME_MAX) {
        report(source, line, Severity::Error,
               "'" + instance + "' cannot be shared: the name is longer than " + std::to_string(NAME_MAX) +
                   " characters");
        return false;
    }
    auto const [entry, isNew] = d_origins.try_emplace(instance, Origin{&source, line});
    if (!isNew)
        report(source, line, Severity::Error,
               "'" + instance + "' is defined already, at " + place(entry->second.source->path, entry->second.line));
    return isNew;
}

bool SignalSet::picked(std::string const& instance) const {
    if (d_names)
        return d_names->count(instance) != 0;
    return d_only.empty() || fnmatch(d_only.c_str(), instance.c_str(), 0) == 0;
}

bool SignalSet::withinSegmentLimit() const {
    std::size_t wanted = 0;
    for (auto const& entry : d_origins)
        if (picked(entry.first) && !segmentExists(entry.first))
            ++wanted;
    SegmentLimit const segments = segmentLimit();
    if (segments.limit == 0 || wanted + segments.inUse <= segments.limit)
        return true;
    d_console.error(wanted, " signals need a shared memory segment each, but the kernel allows ", segments.limit,
                    " (kernel.shmmni), of which ", segments.inUse,
                    " are in use; pick signals with --only, or raise the limit with: sysctl kernel.shmmni=",
                    segments.inUse + wanted);
    return false;
}

ExitStatus SignalSet::define() {
    if (d_origins.empty()) {
        if (d_unreadable == 0)
            d_console.error("the definition files hold no usable signal");
        return d_problems != 0 && d_unreadable == 0 ? exitBadData : exitNothingUsable;
    }
    if (!d_names)
        return share();
    defineMessages();
    return exitSuccess;
}

ExitStatus SignalSet::share() {
    d_picked = static_cast<std::size_t>(
        std::count_if(d_origins.begin(), d_origins.end(), [this](auto const& entry) { return picked(entry.first); }));
    if (d_picked == 0) {
        d_console.error("no signal matches '", d_only, "'");
        return exitNothingUsable;
    }
    if (!withinSegmentLimit())
        return exitNothingUsable;
    defineMessages();
    if (d_sharedCount != d_picked)
        d_console.error(d_picked - d_sharedCount, " of ", d_picked, " signals could not be shared");
    return d_sharedCount != 0 ? exitSuccess : exitNothingUsable;
}

std::vector<std::string> SignalSet::names() const {
    std::vector<std::string> result;
    for (auto const& entry : d_origins)
        result.push_back(entry.first);
    std::sort(result.begin(), result.end());
    return result;
}

// True if the signal has a key to itself. Two signals with one key would share a segment, and spoil each other's
// values.
bool SignalSet::ownKey(std::string const& instance, Origin const& origin) {
    std::optional<key_t> const key = claimKey(instance, d_keys);
    if (!key)
        return true; // the library reports what is wrong with the file
    auto const [entry, isNew] = d_keys.try_emplace(*key, instance);
    if (!isNew)
        report(*origin.source, origin.line, Severity::Error,
               "'" + instance + "' cannot be shared: its key file has the same key as that of '" + entry->second +
                   "'; remove /tmp/" + instance + " and start again");
    return isNew;
}

void SignalSet::defineMessages() {
    for (auto const& source : d_sources)
        for (MessageDefinition const& message : source->database.messages)
            defineMessage(*source, message);
}

// Which signals of a message are picked, or are multiplexors above those.
std::vector<bool> SignalSet::neededIn(MessageDefinition const& message) const {
    std::vector<bool> needed(message.signals.size());
    // Backwards, as a multiplexor precedes the signals that it selects.
    for (std::size_t i = message.signals.size(); i-- > 0;) {
        SignalDefinition const& signal = message.signals[i];
        if (d_unusable.count(&signal) != 0 || (!needed[i] && !picked(instanceName(message, signal))))
            continue;
        needed[i] = true;
        if (signal.multiplexor)
            needed[*signal.multiplexor] = true;
    }
    return needed;
}

void SignalSet::defineMessage(Source const& source, MessageDefinition const& message) {
    std::uint8_t const channel = source.channel ? *source.channel : d_channels.common();
    std::vector<bool> const needed = neededIn(message);
    std::vector<CanDriveSignal*> all(message.signals.size()); // null: not built
    for (std::size_t i = 0; i < message.signals.size(); ++i) {
        SignalDefinition const& signal = message.signals[i];
        if (!needed[i] || d_unusable.count(&signal) != 0)
            continue;
        std::string const instance = instanceName(message, signal);
        bool const share = !d_names && picked(instance) && ownKey(instance, d_origins.at(instance));
        // A multiplexor that is not shared is needed all the same, for this process alone.
        if (!share && !signal.isMultiplexor && !d_names)
            continue;
        CanDriveSignal const* const multiplexor = signal.multiplexor ? all[*signal.multiplexor] : nullptr;
        if (signal.multiplexor && multiplexor == nullptr) {
            report(source, signal.line, Severity::Error,
                   "'" + instance + "' is left out, as its multiplexor '" + message.signals[*signal.multiplexor].name +
                       "' was");
            continue;
        }
        d_signals.push_back(std::make_unique<CanDriveSignal>(canDefinition(message, signal, channel), share, d_frame));
        CanDriveSignal& built = *d_signals.back();
        if (multiplexor != nullptr)
            built.selectBy(*multiplexor, signal.selectedBy);
        all[i] = &built;
        if (built.hasSegment())
            ++d_sharedCount;
    }
}

void SignalSet::keep() {
    for (auto const& signal : d_signals)
        signal->keepSegment();
}

std::size_t SignalSet::writtenCount() const {
    return static_cast<std::size_t>(std::count_if(d_signals.begin(), d_signals.end(), [](auto const& signal) {
        return signal->hasSegment() && signal->everWritten();
    }));
}

} // namespace qztool
