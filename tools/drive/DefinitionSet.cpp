// Loading and naming.
#include "tools/drive/DefinitionSet.h"

#include "tools/base/TextFile.h"
#include "tools/definitions/Formats.h"
#include "tools/drive/Names.h"
#include "tools/drive/SignalPlace.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qztool {

namespace {

std::uint64_t addressKey(Bus bus, bool extended, std::uint32_t address) {
    return std::uint64_t{static_cast<std::uint8_t>(bus)} << 40 | std::uint64_t{extended} << 32 | address;
}

} // namespace

std::string placeText(std::string const& file, std::size_t line) {
    return line != 0 ? file + ":" + std::to_string(line) : file;
}

bool DefinitionSet::load(DefinitionFile const& file) {
    std::string text;
    std::string const problem = readTextFile(file.path, text);
    if (!problem.empty()) {
        d_reporter.error(file.path + ": " + problem);
        ++d_unreadable;
        return false;
    }
    File& loaded = *d_files.emplace_back(std::make_unique<File>());
    loaded.path = file.path;
    loaded.database = readDefinitions(text);
    addNetworks(file, loaded);
    std::vector<Problem> problems = std::move(loaded.database.problems);
    nameSignals(loaded, problems);
    std::stable_sort(problems.begin(), problems.end(),
                     [](Problem const& a, Problem const& b) { return a.line < b.line; });
    d_problems += problems.size();
    d_reporter.problems(loaded.path, problems);
    return true;
}

void DefinitionSet::addNetworks(DefinitionFile const& named, File& file) {
    file.networks.resize(file.database.channels.size());
    for (MessageDefinition const& message : file.database.messages) {
        Network*& network = file.networks[message.channel];
        if (network == nullptr)
            network = &d_channels.add(message.bus, d_files.size() - 1, named.channel);
        d_messages[addressKey(message.bus, message.extended, message.address)].push_back(network);
        for (std::uint32_t const event : message.eventTriggered) {
            network->eventTriggered.add(event, message.address);
            d_messages[addressKey(message.bus, message.extended, event)].push_back(network);
        }
    }
}

// Signals that keep their spelling come first, so that they keep it whatever others become.
void DefinitionSet::nameSignals(File& file, std::vector<Problem>& problems) {
    std::vector<MessageDefinition> const& messages = file.database.messages;
    struct Other {
        std::size_t message, signal;
        std::string original;
    };
    std::vector<Other> others;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        file.instances.emplace_back(messages[i].signals.size());
        for (std::size_t j = 0; j < messages[i].signals.size(); ++j) {
            std::string original = originalName(messages[i], j);
            if (isExpressionName(original))
                nameSignal(file, i, j, std::move(original), problems);
            else
                others.push_back({i, j, std::move(original)});
        }
    }
    for (Other& other : others)
        nameSignal(file, other.message, other.signal, std::move(other.original), problems);
}

void DefinitionSet::nameSignal(File& file, std::size_t message, std::size_t index, std::string original,
                               std::vector<Problem>& problems) {
    SignalDefinition const& signal = file.database.messages[message].signals[index];
    if (!fitsWindow(signal)) {
        problems.push_back({signal.line, Severity::Error,
                            "'" + original + "' is spread over " +
                                std::to_string(lastByteOf(signal) - firstByteOf(signal) + 1) +
                                " bytes, but a signal can have at most 8; left out"});
        return;
    }
    std::string name = expressionName(original);
    bool const isSpelledSo = name == original;
    auto const known = isSpelledSo ? d_origins.find(name) : d_origins.end();
    if (known != d_origins.end() && known->second.original != original)
        renameHolder(name, signal.line, problems);
    else if (known != d_origins.end() || (!isSpelledSo && d_respelled.count(original) != 0)) {
        Origin const& first = known != d_origins.end() ? known->second : d_origins.at(d_respelled.at(original));
        problems.push_back({signal.line, Severity::Error,
                            "'" + original + "' is defined already, at " + placeText(first.file->path, first.line),
                            ProblemKind::Duplicate});
        return;
    }
    if (!isSpelledSo) {
        std::string const wanted = std::exchange(name, freeName(name));
        if (name != wanted)
            problems.push_back(
                {signal.line, Severity::Warning,
                 "'" + original + "' is called '" + name + "', as another signal is called '" + wanted + "'"});
        d_respelled.emplace(original, name);
    }
    std::string& instance = file.instances[message][index];
    instance = name;
    d_origins.emplace(std::move(name), Origin{&file, signal.line, std::move(original), &signal, &instance});
}

// A signal of an earlier file has a name that another one is spelled like.
void DefinitionSet::renameHolder(std::string const& name, std::size_t line, std::vector<Problem>& problems) {
    auto const holder = d_origins.find(name);
    if (holder == d_origins.end())
        return;
    Origin const origin = std::move(holder->second);
    std::string const other = freeName(name);
    d_origins.erase(holder);
    problems.push_back({line, Severity::Warning,
                        "'" + origin.original + "' (" + placeText(origin.file->path, origin.line) + ") is called '" +
                            other + "', as another signal is called '" + name + "'"});
    *origin.instance = other;
    d_respelled[origin.original] = other;
    d_origins.emplace(other, origin);
}

std::string DefinitionSet::freeName(std::string const& name) const {
    std::string free = name;
    for (unsigned number = 2; d_origins.count(free) != 0; ++number)
        free = name + "_" + std::to_string(number);
    return free;
}

std::vector<std::string> DefinitionSet::names() const {
    std::vector<std::string> result;
    for (auto const& entry : d_origins)
        result.push_back(entry.first);
    std::sort(result.begin(), result.end());
    return result;
}

std::vector<std::string> DefinitionSet::meantBy(std::string const& name) const {
    if (d_origins.count(name) != 0)
        return {name};
    if (auto const original = d_respelled.find(name); original != d_respelled.end())
        return {original->second};
    std::vector<std::string> result;
    for (auto const& [instance, origin] : d_origins)
        if (origin.signal->name == name || expressionName(origin.signal->name) == name)
            result.push_back(instance);
    std::sort(result.begin(), result.end());
    return result;
}

DefinitionSet::Defined DefinitionSet::defines(TalliedFrames const& frames) const {
    auto const messages = d_messages.find(addressKey(frames.bus, frames.extended, frames.address));
    if (messages == d_messages.end())
        return Defined::No;
    bool const isServed =
        std::any_of(messages->second.begin(), messages->second.end(), [&frames](Network const* network) {
            return !network->isRestricted || network->channel == frames.channel;
        });
    return isServed ? Defined::Yes : Defined::OtherChannel;
}

UnfedFrames sortOut(FrameTally const& tally, DefinitionSet const& definitions) {
    UnfedFrames result;
    for (TalliedFrames const& frames : tally.all())
        switch (definitions.defines(frames)) {
        case DefinitionSet::Defined::No:
            result.notDefined += frames.count;
            result.identifiers.push_back(frames);
            break;
        case DefinitionSet::Defined::OtherChannel:
            result.otherChannel += frames.count;
            break;
        case DefinitionSet::Defined::Yes:
            result.notPicked += frames.count;
            break;
        }
    std::sort(result.identifiers.begin(), result.identifiers.end(), [](TalliedFrames const& a, TalliedFrames const& b) {
        return std::make_tuple(b.count, a.bus, a.channel, a.extended, a.address) <
               std::make_tuple(a.count, b.bus, b.channel, b.extended, b.address);
    });
    return result;
}

} // namespace qztool
