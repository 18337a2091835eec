// From definitions to signals.
#include "tools/drive/SignalSet.h"

#include "tools/drive/Buses.h"
#include "tools/drive/NameSearch.h"
#include "tools/drive/can/TransportProtocol.h"

#include "qzsignal/signal/BaseSignal.h"

#include <algorithm>
#include <fnmatch.h>
#include <utility>

namespace qztool {

namespace {

std::string sharedKeyText(std::string const& instance, std::string const& other) {
    std::string text = "'" + instance;
    text.append("' cannot be shared: its key file has the same key as that of '").append(other);
    return text.append("'; remove /tmp/").append(instance).append(" and start again");
}

} // namespace

SignalSet::SignalSet(DefinitionSet& definitions, CurrentFrame& frame, Reporter& reporter)
    : d_definitions(definitions), d_frame(frame), d_reporter(reporter) {
    definitions.channels().setLateSignals(this);
}

SignalSet::~SignalSet() {
    if (d_definitions.channels().lateSignals() == this)
        d_definitions.channels().setLateSignals(nullptr);
}

SignalSet::Built SignalSet::checkDefinitions() const {
    if (d_definitions.hasSignals())
        return Built::Ready;
    if (d_definitions.unreadable() != 0)
        return Built::NoSignals;
    d_reporter.error("the definition files hold no usable signal");
    return d_definitions.problems() != 0 ? Built::BadFiles : Built::NoSignals;
}

bool SignalSet::resolve(std::vector<std::string>& patterns) const {
    std::vector<std::string> const names = d_definitions.names();
    bool resolved = true;
    for (std::string& pattern : patterns) {
        if (std::any_of(names.begin(), names.end(), [&](std::string const& name) { return matches(pattern, name); }))
            continue;
        std::vector<std::string> const meant = d_definitions.meantBy(pattern);
        if (meant.size() > 1)
            d_reporter.error(ambiguousNameText(pattern, meant));
        resolved = resolved && meant.size() < 2;
        if (meant.size() == 1)
            pattern = meant.front();
    }
    return resolved;
}

bool SignalSet::matches(std::string const& pattern, std::string const& instance) const {
    return fnmatch(pattern.c_str(), instance.c_str(), 0) == 0 ||
           fnmatch(pattern.c_str(), d_definitions.originalOf(instance).c_str(), 0) == 0;
}

bool SignalSet::couldMatchLate(std::vector<std::string> const& only) const {
    return d_definitions.anyLateName([&only](std::string const& instance, std::string const& original) {
        return only.empty() || std::any_of(only.begin(), only.end(), [&](std::string const& pattern) {
                   return fnmatch(pattern.c_str(), instance.c_str(), 0) == 0 ||
                          fnmatch(pattern.c_str(), original.c_str(), 0) == 0;
               });
    });
}

SignalSet::Built SignalSet::noMatch(std::vector<std::string> const& only) const {
    std::string patterns;
    for (std::string const& pattern : only)
        patterns += (patterns.empty() ? "'" : " or '") + pattern + "'";
    d_reporter.error("no signal matches " + patterns);
    return Built::NoMatch;
}

SignalSet::Part SignalSet::partOf(Network const& network, std::size_t message, std::optional<std::uint8_t> source) {
    std::vector<std::string> const& names = d_definitions.namesOf(network, message, source);
    std::uint32_t const address = d_definitions.files()[network.file]->database.messages[message].address;
    Part part{network, message, source ? sourceIdentifier(address, *source) : address, names, {}};
    for (std::string const& name : names)
        part.fates.push_back(!name.empty() && d_picked(name) ? d_fate : Fate::None);
    return part;
}

SignalSet::Parts SignalSet::partsOf(Network const& network) {
    Parts parts;
    std::vector<MessageDefinition> const& messages = d_definitions.files()[network.file]->database.messages;
    for (std::size_t i = 0; i < messages.size(); ++i)
        if (messages[i].channel == network.index)
            parts.push_back(partOf(network, i, std::nullopt));
    return parts;
}

// Of the signals that need no channel or source address.
SignalSet::Parts SignalSet::earlyParts() {
    Parts parts;
    for (auto const& file : d_definitions.files())
        for (std::size_t i = 0; i < file->database.messages.size(); ++i)
            if (Network const& network = *file->networks[file->database.messages[i].channel]; !network.servesEach)
                parts.push_back(partOf(network, i, std::nullopt));
    return parts;
}

std::size_t SignalSet::countOf(Parts const& parts, Fate fate) {
    std::size_t count = 0;
    for (Part const& part : parts)
        count += static_cast<std::size_t>(std::count(part.fates.begin(), part.fates.end(), fate));
    return count;
}

SignalSet::Built SignalSet::begin(Fate fate, std::vector<std::string> const& only) {
    if (Built const checked = checkDefinitions(); checked != Built::Ready)
        return checked;
    std::vector<std::string> patterns = only;
    if (!resolve(patterns))
        return Built::NoMatch;
    d_fate = fate;
    d_picksAll = patterns.empty();
    d_picked = [this, patterns](std::string const& instance) {
        return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                               [&](std::string const& pattern) { return matches(pattern, instance); });
    };
    Parts parts = earlyParts();
    std::size_t const picked = countOf(parts, fate);
    if (picked == 0 && !couldMatchLate(patterns))
        return noMatch(only);
    build(parts);
    if (fate != Fate::Shared || picked == 0)
        return Built::Ready;
    if (d_isRefused)
        return Built::NotFree;
    if (d_hasReportedShortage)
        return Built::NoSegments;
    if (d_sharedCount != picked)
        d_reporter.error(std::to_string(picked - d_sharedCount) + " of " + std::to_string(picked) +
                         " signals could not be shared");
    return d_sharedCount != 0 ? Built::Ready : Built::NoSegments;
}

SignalSet::Built SignalSet::share(std::vector<std::string> const& only, FreeTest isFree) {
    d_isFree = std::move(isFree);
    return begin(Fate::Shared, only);
}

SignalSet::Built SignalSet::build(std::vector<std::string> const& only) {
    return begin(Fate::Private, only);
}

SignalSet::Built SignalSet::buildNamed(std::unordered_set<std::string> const& names) {
    if (Built const checked = checkDefinitions(); checked != Built::Ready)
        return checked;
    d_picked = [names](std::string const& instance) { return names.count(instance) != 0; };
    Parts parts = earlyParts();
    build(parts);
    for (std::string const& name : names)
        buildLate(name);
    return Built::Ready;
}

// A name with a channel or a source address that has not been seen yet.
void SignalSet::buildLate(std::string const& instance) {
    std::optional<DefinitionSet::LateName> const name = d_definitions.lateName(instance);
    if (!name)
        return;
    Network* network = name->network;
    if (name->channel) {
        std::size_t const known = d_definitions.channels().networks().size();
        network = &d_definitions.channels().open(*network, *name->channel);
        if (d_definitions.channels().networks().size() != known)
            onChannel(*network);
    }
    if (name->source)
        buildSource(*network, name->message, *name->source, false);
}

bool SignalSet::isOf(Network const& network, Frame const& frame) const {
    if (d_definitions.defines(network, frame.extended(), frame.address))
        return true;
    std::uint32_t group = 0;
    return network.groups && groupOf(frame.address) == transport::connection && frame.extended() &&
           TransportProtocol::announces(frame, group) && network.groups->defines(group);
}

void SignalSet::onChannel(Network& network) {
    Parts parts = partsOf(network);
    build(parts);
}

void SignalSet::onSource(Network& network, std::size_t message, std::uint8_t source, bool hasPlainNames) {
    // With a pattern, signals may be picked by the name with the source, but not by the plain one.
    if (!hasPlainNames || !d_picksAll)
        buildSource(network, message, source, hasPlainNames);
}

void SignalSet::buildSource(Network& network, std::size_t message, std::uint8_t source, bool hasPlainNames) {
    if (!d_sources.insert({&network, message, source}).second)
        return;
    Parts parts;
    Part& part = parts.emplace_back(partOf(network, message, source));
    std::vector<std::string> const& plain = d_definitions.namesOf(network, message, std::nullopt);
    for (std::size_t i = 0; i < plain.size() && hasPlainNames; ++i)
        if (!plain[i].empty() && d_picked(plain[i]))
            part.fates[i] = Fate::None;
    build(parts);
}

// Reports what is wrong with them.
void SignalSet::build(Parts& parts) {
    Problems problems(d_definitions.files().size());
    if (countOf(parts, Fate::Shared) != 0) {
        leaveOutUnshareable(parts, problems);
        std::vector<std::string> const names = sharedNames(parts);
        if (d_isFree && !names.empty() && !d_isFree(names)) {
            d_isRefused = true;
            return;
        }
        if (!hasSegmentsFor(names))
            return;
        claimKeys(parts, problems);
    }
    for (Part& part : parts) {
        addMultiplexors(part);
        buildPart(part, problems[part.network.file]);
    }
    d_frame.carried.reserve(d_signals.size()); // so that feeding allocates nothing
    for (std::size_t i = 0; i < problems.size(); ++i) {
        std::stable_sort(problems[i].begin(), problems[i].end(),
                         [](Problem const& a, Problem const& b) { return a.line < b.line; });
        if (!problems[i].empty())
            d_reporter.problems(d_definitions.files()[i]->path, problems[i]);
    }
}

void SignalSet::leaveOutUnshareable(Parts& parts, Problems& problems) const {
    for (Part& part : parts)
        for (std::size_t i = 0; i < part.fates.size(); ++i) {
            if (part.fates[i] != Fate::Shared)
                continue;
            std::string const problem = keyFileProblem(part.names[i]);
            if (problem.empty())
                continue;
            part.fates[i] = Fate::None;
            problems[part.network.file].push_back({messageOf(part).signals[i].line, Severity::Error,
                                                   "'" + part.names[i] + "' cannot be shared: " + problem});
        }
}

std::vector<std::string> SignalSet::sharedNames(Parts const& parts) {
    std::vector<std::string> names;
    for (Part const& part : parts)
        for (std::size_t i = 0; i < part.fates.size(); ++i)
            if (part.fates[i] == Fate::Shared)
                names.push_back(part.names[i]);
    return names;
}

// Otherwise reports it, once.
bool SignalSet::hasSegmentsFor(std::vector<std::string> const& names) {
    std::optional<SegmentShortage> const shortage = segmentShortage(names);
    if (!shortage)
        return true;
    if (!std::exchange(d_hasReportedShortage, true))
        d_reporter.error(
            std::to_string(shortage->wanted) + " signals need a shared memory segment each, but the kernel allows " +
            std::to_string(shortage->limit) + " (kernel.shmmni), of which " + std::to_string(shortage->inUse) +
            " are in use; pick signals with --only, or raise the limit with: sysctl kernel.shmmni=" +
            std::to_string(shortage->inUse + shortage->wanted));
    return false;
}

void SignalSet::claimKeys(Parts& parts, Problems& problems) {
    for (Part& part : parts)
        for (std::size_t i = 0; i < part.fates.size(); ++i) {
            if (part.fates[i] != Fate::Shared)
                continue;
            std::string const other = d_keys.claim(part.names[i]);
            if (other.empty())
                continue;
            part.fates[i] = Fate::None;
            problems[part.network.file].push_back(
                {messageOf(part).signals[i].line, Severity::Error, sharedKeyText(part.names[i], other)});
        }
}

// A multiplexor above a signal is needed, if only for this process.
void SignalSet::addMultiplexors(Part& part) const {
    std::vector<SignalDefinition> const& signals = messageOf(part).signals;
    // Backwards, as a multiplexor precedes the signals that it selects.
    for (std::size_t i = signals.size(); i-- > 0;)
        if (part.fates[i] != Fate::None && signals[i].multiplexor) {
            Fate& above = part.fates[*signals[i].multiplexor];
            above = above == Fate::None ? Fate::Helper : above;
        }
}

void SignalSet::buildPart(Part const& part, std::vector<Problem>& problems) {
    MessageDefinition const& message = messageOf(part);
    BusSupport const* const support = supportOf(message.bus);
    if (support == nullptr)
        return;
    if (part.network.filed >= support->networks) {
        if (std::any_of(part.fates.begin(), part.fates.end(), [](Fate fate) { return fate != Fate::None; }))
            problems.push_back({message.line, Severity::Error,
                                "'" + message.name + "' is left out, as frames of more than " +
                                    std::to_string(support->networks) + " " + busName(message.bus) +
                                    " networks cannot be distinguished"});
        return;
    }
    auto const channel = static_cast<std::uint8_t>(part.network.filed);
    std::vector<DrivenSignal*> built(message.signals.size()); // null: not there
    for (std::size_t i = 0; i < message.signals.size(); ++i) {
        Fate const fate = part.fates[i];
        if (fate == Fate::None)
            continue;
        SignalDefinition const& signal = message.signals[i];
        std::string const& instance = part.names[i];
        DrivenSignal const* const multiplexor = signal.multiplexor ? built[*signal.multiplexor] : nullptr;
        if (signal.multiplexor && multiplexor == nullptr) {
            problems.push_back({signal.line, Severity::Error,
                                "'" + instance + "' is left out, as its multiplexor '" +
                                    message.signals[*signal.multiplexor].name + "' was"});
            continue;
        }
        d_signals.push_back(support->build(
            {message, signal, instance, channel, part.address, fate == Fate::Shared, fate != Fate::Helper}, d_frame));
        built[i] = d_signals.back().get();
        if (multiplexor != nullptr)
            built[i]->selectBy(*multiplexor, signal.selectedBy);
        if (built[i]->hasSegment())
            ++d_sharedCount;
    }
}

void SignalSet::keep(std::vector<std::string> const& names) {
    for (std::string const& name : names)
        if (auto* const signal = dynamic_cast<DrivenSignal*>(BaseSignal::getInstance(name.c_str())))
            signal->keepSegment();
}

std::size_t SignalSet::writtenCount() const {
    return static_cast<std::size_t>(std::count_if(d_signals.begin(), d_signals.end(), [](auto const& signal) {
        return signal->hasSegment() && signal->everWritten();
    }));
}

} // namespace qztool
