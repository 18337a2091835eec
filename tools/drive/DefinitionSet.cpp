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

std::uint64_t groupKey(std::uint32_t address) {
    return std::uint64_t{1} << 48 | groupOf(address);
}

// In names that have the channel in front, what follows it may begin with any character.
std::string nameOf(std::string const& prefix, std::string const& original) {
    constexpr std::size_t letter = 1;
    return prefix.empty() ? expressionName(original) : prefix + expressionName("x" + original).substr(letter);
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
    if (d_decoding.byParameterGroup)
        for (MessageDefinition& message : loaded.database.messages)
            message.byParameterGroup = message.bus == Bus::Can && message.extended;
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
    for (std::size_t i = 0; i < file.database.messages.size(); ++i) {
        MessageDefinition const& message = file.database.messages[i];
        Network*& network = file.networks[message.channel];
        if (network == nullptr) {
            network = &d_channels.add(message.bus, d_files.size() - 1, named.channel);
            network->index = message.channel;
        }
        addAddresses(message, i, *network);
    }
}

void DefinitionSet::addAddresses(MessageDefinition const& message, std::size_t index, Network& network) {
    if (message.byParameterGroup) {
        if (!network.groups)
            network.groups = std::make_unique<ParameterGroups>();
        network.groups->add(message.address, index);
        d_messages[groupKey(message.address)].push_back(&network);
        return;
    }
    d_messages[addressKey(message.bus, message.extended, message.address)].push_back(&network);
    for (std::uint32_t const event : message.eventTriggered) {
        network.eventTriggered.add(event, message.address);
        d_messages[addressKey(message.bus, message.extended, event)].push_back(&network);
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
            std::string const prefix = prefixOf(*file.networks[messages[i].channel]);
            std::string original = prefix + originalName(messages[i], j);
            if (nameOf(prefix, original.substr(prefix.size())) == original)
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
    std::string const prefix = prefixOf(*file.networks[file.database.messages[message].channel]);
    std::string name = nameOf(prefix, original.substr(prefix.size()));
    bool const isSpelledSo = name == original;
    auto const known = isSpelledSo ? d_origins.find(name) : d_origins.end();
    if (known != d_origins.end() && known->second.original != original)
        renameHolder(name, signal.line, problems);
    else if (known != d_origins.end() || (!isSpelledSo && d_respelled.count(original) != 0)) {
        Origin const& first = known != d_origins.end() ? known->second : d_origins.at(d_respelled.at(original));
        problems.push_back({signal.line, Severity::Error, "'" + original + "' is defined already, at " + place(first),
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
    d_origins.emplace(std::move(name), Origin{&file, message, index, std::move(original), &instance});
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
                        "'" + origin.original + "' (" + place(origin) + ") is called '" + other +
                            "', as another signal is called '" + name + "'"});
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
    for (NameReading const& reading : readingsOf(name, d_decoding.channelPrefix))
        if (result.empty())
            addLate(reading, result);
    if (result.empty())
        addByOwnName({name, std::nullopt, std::nullopt, 0}, result);
    if (std::size_t const point = name.find('.');
        result.empty() && d_decoding.channelPrefix && point != std::string::npos)
        addByOwnName({name, std::nullopt, std::nullopt, point + 1}, result); // of a channel with a file of its own
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

SignalDefinition const* DefinitionSet::definitionOf(std::string const& instance) const {
    auto const origin = d_origins.find(instance);
    return origin != d_origins.end() ? &signalOf(origin->second) : nullptr;
}

// Names that are known before the recording is read, or that become so with the reading's channel.
void DefinitionSet::addByOwnName(NameReading const& reading, std::vector<std::string>& result) const {
    std::string const prefix = reading.base.substr(0, reading.prefix), own = reading.base.substr(reading.prefix);
    for (auto const& [instance, origin] : d_origins) {
        SignalDefinition const& signal = signalOf(origin);
        if (origin.instance != nullptr && networkOf(origin).servesEach == reading.channel.has_value() &&
            instance.compare(0, prefix.size(), prefix) == 0 &&
            (signal.name == own || expressionName(signal.name) == own))
            result.push_back(lateInstance(instance, reading));
    }
}

void DefinitionSet::addLate(NameReading const& reading, std::vector<std::string>& result) const {
    auto const respelled = d_respelled.find(reading.base);
    std::string const& base = respelled != d_respelled.end() ? respelled->second : reading.base;
    if (auto const known = d_origins.find(base); known != d_origins.end()) {
        if (std::string name = lateInstance(base, reading); !name.empty())
            result.push_back(std::move(name));
    } else if (!reading.source) {
        addByOwnName(reading, result);
    }
}

std::optional<DefinitionSet::LateName> DefinitionSet::lateName(std::string const& instance) const {
    for (NameReading const& reading : readingsOf(instance, d_decoding.channelPrefix)) {
        auto const base = d_origins.find(reading.base);
        if (base != d_origins.end() && lateInstance(reading.base, reading) == instance)
            return LateName{&networkOf(base->second), reading.channel, base->second.message, reading.source};
    }
    return std::nullopt;
}

bool DefinitionSet::anyLateName(std::function<bool(std::string const&, std::string const&)> const& test) const {
    constexpr unsigned numbers = 256; // of channels, and of source addresses
    for (auto const& [instance, origin] : d_origins) {
        bool const hasSource = origin.file->database.messages[origin.message].byParameterGroup;
        bool const hasChannel = networkOf(origin).servesEach;
        if (hasSource && hasChannel)
            return true;
        for (unsigned i = 0; i < numbers && (hasSource || hasChannel); ++i) {
            NameReading reading;
            (hasSource ? reading.source : reading.channel) = static_cast<std::uint8_t>(i);
            if (test(lateInstance(instance, reading), lateSpelling(origin.original, origin, true, reading)))
                return true;
        }
    }
    return false;
}

// Empty if the signal has no such name. Of a source address, and without one, a name may be that of another signal.
std::string DefinitionSet::lateInstance(std::string const& base, NameReading const& reading) const {
    Origin const& origin = d_origins.at(base);
    if ((reading.source && !origin.file->database.messages[origin.message].byParameterGroup) ||
        reading.channel.has_value() != networkOf(origin).servesEach)
        return "";
    return reading.source || reading.channel ? freeName(lateSpelling(base, origin, false, reading)) : base;
}

// Puts channel and source address of the reading in their places in a name.
std::string DefinitionSet::lateSpelling(std::string name, Origin const& origin, bool isOriginal,
                                        NameReading const& reading) const {
    Network const& network = networkOf(origin);
    std::string const prefix = prefixOf(network);
    std::string const& message = origin.file->database.messages[origin.message].name;
    std::size_t const length = isOriginal || !prefix.empty() ? message.size() : expressionName(message).size();
    if (reading.source)
        name.insert(prefix.size() + length, sourceSuffix(*reading.source));
    if (reading.channel)
        name.replace(0, prefix.size(), channelPrefix(network.bus, reading.channel));
    return name;
}

std::vector<std::string> const& DefinitionSet::namesOf(Network const& network, std::size_t message,
                                                       std::optional<std::uint8_t> source) {
    File& file = *d_files[network.file];
    if (!source && network.madeOf == nullptr)
        return file.instances[message];
    auto const [entry, isNew] = d_late.try_emplace({&network, message, source});
    if (!isNew)
        return entry->second;
    NameReading reading;
    reading.source = source;
    if (network.madeOf != nullptr)
        reading.channel = network.channel;
    for (std::size_t i = 0; i < file.instances[message].size(); ++i) {
        std::string const& base = file.instances[message][i];
        std::string& name = entry->second.emplace_back();
        if (base.empty())
            continue;
        name = lateInstance(base, reading);
        Origin const& known = d_origins.at(base);
        std::string original = lateSpelling(known.original, known, true, reading);
        if (original != name)
            d_respelled.emplace(original, name);
        d_origins.emplace(name, Origin{&file, message, i, std::move(original), nullptr});
    }
    return entry->second;
}

Network& DefinitionSet::networkOf(Origin const& origin) const {
    return *origin.file->networks[origin.file->database.messages[origin.message].channel];
}

std::string DefinitionSet::place(Origin const& origin) {
    return placeText(origin.file->path, signalOf(origin).line);
}

std::string DefinitionSet::prefixOf(Network const& network) const {
    if (!d_decoding.channelPrefix)
        return "";
    return channelPrefix(network.bus, network.servesEach ? std::nullopt : network.channel);
}

bool DefinitionSet::defines(Network const& network, bool extended, std::uint32_t address) const {
    if (network.groups && extended && network.groups->defines(address))
        return true;
    auto const messages = d_messages.find(addressKey(network.bus, extended, address));
    return messages != d_messages.end() &&
           std::find(messages->second.begin(), messages->second.end(), &network) != messages->second.end();
}

DefinitionSet::Defined DefinitionSet::defines(TalliedFrames const& frames) const {
    Defined result = Defined::No;
    for (std::uint64_t const key :
         {addressKey(frames.bus, frames.extended, frames.address), groupKey(frames.address)}) {
        auto const messages = d_messages.find(key);
        if (messages == d_messages.end() || (key == groupKey(frames.address) && !frames.extended))
            continue;
        bool const isServed =
            std::any_of(messages->second.begin(), messages->second.end(), [&frames](Network const* network) {
                return !network->isRestricted || network->channel == frames.channel;
            });
        result = std::max(result, isServed ? Defined::Yes : Defined::OtherChannel);
    }
    return result;
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
