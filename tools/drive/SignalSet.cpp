// From definitions to signals.
#include "tools/drive/SignalSet.h"

#include "tools/drive/Buses.h"
#include "tools/drive/SegmentPlan.h"

#include "qzsignal/signal/BaseSignal.h"

#include <algorithm>
#include <fnmatch.h>

namespace qztool {

namespace {

std::string sharedKeyText(std::string const& instance, std::string const& other) {
    std::string text = "'" + instance;
    text.append("' cannot be shared: its key file has the same key as that of '").append(other);
    return text.append("'; remove /tmp/").append(instance).append(" and start again");
}

} // namespace

SignalSet::Built SignalSet::checkDefinitions() const {
    if (d_definitions.hasSignals())
        return Built::Ready;
    if (d_definitions.unreadable() != 0)
        return Built::NoSignals;
    d_reporter.error("the definition files hold no usable signal");
    return d_definitions.problems() != 0 ? Built::BadFiles : Built::NoSignals;
}

SignalSet::Plan SignalSet::pick(File const& file, std::function<bool(std::string const&)> const& picked) const {
    Plan plan;
    for (std::vector<std::string> const& instances : file.instances) {
        std::vector<Fate>& fates = plan.emplace_back();
        for (std::string const& instance : instances)
            fates.push_back(!instance.empty() && picked(instance) ? Fate::Shared : Fate::None);
    }
    return plan;
}

// A multiplexor above a signal is needed, if only for this process.
void SignalSet::addMultiplexors(File const& file, Plan& plan) const {
    for (std::size_t i = 0; i < plan.size(); ++i) {
        std::vector<SignalDefinition> const& signals = file.database.messages[i].signals;
        // Backwards, as a multiplexor precedes the signals that it selects.
        for (std::size_t j = signals.size(); j-- > 0;)
            if (plan[i][j] != Fate::None && signals[j].multiplexor) {
                Fate& above = plan[i][*signals[j].multiplexor];
                above = above == Fate::None ? Fate::Private : above;
            }
    }
}

SignalSet::Built SignalSet::build(std::unordered_set<std::string> const& names) {
    if (Built const checked = checkDefinitions(); checked != Built::Ready)
        return checked;
    for (auto const& file : d_definitions.files()) {
        Plan plan = pick(*file, [&names](std::string const& instance) { return names.count(instance) != 0; });
        addMultiplexors(*file, plan);
        for (std::vector<Fate>& fates : plan)
            std::replace(fates.begin(), fates.end(), Fate::Shared, Fate::Private);
        std::vector<Problem> problems;
        buildFile(*file, plan, problems);
    }
    return Built::Ready;
}

SignalSet::Built SignalSet::share(std::vector<std::string> const& only,
                                  std::function<bool(std::vector<std::string> const& names)> const& isFree) {
    if (Built const checked = checkDefinitions(); checked != Built::Ready)
        return checked;
    auto const matches = [this, &only](std::string const& instance) {
        std::string const& original = d_definitions.originalOf(instance);
        return only.empty() || std::any_of(only.begin(), only.end(), [&](std::string const& pattern) {
                   return fnmatch(pattern.c_str(), instance.c_str(), 0) == 0 ||
                          fnmatch(pattern.c_str(), original.c_str(), 0) == 0;
               });
    };
    std::vector<Plan> plans;
    std::vector<std::vector<Problem>> problems;
    std::vector<std::string> picked;
    for (auto const& file : d_definitions.files()) {
        Plan& plan = plans.emplace_back(pick(*file, matches));
        problems.push_back(leaveOutUnshareable(*file, plan));
        for (std::size_t i = 0; i < plan.size(); ++i)
            for (std::size_t j = 0; j < plan[i].size(); ++j)
                if (plan[i][j] == Fate::Shared)
                    picked.push_back(file->instances[i][j]);
    }
    if (picked.empty()) {
        std::string patterns;
        for (std::string const& pattern : only)
            patterns += (patterns.empty() ? "'" : " or '") + pattern + "'";
        d_reporter.error("no signal matches " + patterns);
        return Built::NoMatch;
    }
    if (isFree && !isFree(picked))
        return Built::NotFree;
    if (std::optional<SegmentShortage> const shortage = segmentShortage(picked)) {
        d_reporter.error(
            std::to_string(shortage->wanted) + " signals need a shared memory segment each, but the kernel allows " +
            std::to_string(shortage->limit) + " (kernel.shmmni), of which " + std::to_string(shortage->inUse) +
            " are in use; pick signals with --only, or raise the limit with: sysctl kernel.shmmni=" +
            std::to_string(shortage->inUse + shortage->wanted));
        return Built::NoSegments;
    }
    SegmentKeys keys;
    for (std::size_t f = 0; f < plans.size(); ++f) {
        File const& file = *d_definitions.files()[f];
        for (std::size_t i = 0; i < plans[f].size(); ++i)
            for (std::size_t j = 0; j < plans[f][i].size(); ++j) {
                if (plans[f][i][j] != Fate::Shared)
                    continue;
                std::string const& instance = file.instances[i][j];
                std::string const other = keys.claim(instance);
                if (other.empty())
                    continue;
                plans[f][i][j] = Fate::None;
                problems[f].push_back(
                    {file.database.messages[i].signals[j].line, Severity::Error, sharedKeyText(instance, other)});
            }
        addMultiplexors(file, plans[f]);
        buildFile(file, plans[f], problems[f]);
    }
    if (d_sharedCount != picked.size())
        d_reporter.error(std::to_string(picked.size() - d_sharedCount) + " of " + std::to_string(picked.size()) +
                         " signals could not be shared");
    return d_sharedCount != 0 ? Built::Ready : Built::NoSegments;
}

std::vector<Problem> SignalSet::leaveOutUnshareable(File const& file, Plan& plan) const {
    std::vector<Problem> problems;
    for (std::size_t i = 0; i < plan.size(); ++i)
        for (std::size_t j = 0; j < plan[i].size(); ++j) {
            if (plan[i][j] != Fate::Shared)
                continue;
            std::string const problem = keyFileProblem(file.instances[i][j]);
            if (problem.empty())
                continue;
            plan[i][j] = Fate::None;
            problems.push_back({file.database.messages[i].signals[j].line, Severity::Error,
                                "'" + file.instances[i][j] + "' cannot be shared: " + problem});
        }
    return problems;
}

// Reports the problems, those that come up as well.
void SignalSet::buildFile(File const& file, Plan const& plan, std::vector<Problem>& problems) {
    for (std::size_t i = 0; i < plan.size(); ++i)
        buildMessage(file, i, plan[i], problems);
    std::stable_sort(problems.begin(), problems.end(),
                     [](Problem const& a, Problem const& b) { return a.line < b.line; });
    d_reporter.problems(file.path, problems);
}

void SignalSet::buildMessage(File const& file, std::size_t index, std::vector<Fate> const& fates,
                             std::vector<Problem>& problems) {
    MessageDefinition const& message = file.database.messages[index];
    BusSupport const* const support = supportOf(message.bus);
    if (support == nullptr)
        return;
    std::uint8_t const channel = file.networks[message.channel]->filed;
    if (channel >= support->networks) {
        if (std::any_of(fates.begin(), fates.end(), [](Fate fate) { return fate != Fate::None; }))
            problems.push_back({message.line, Severity::Error,
                                "'" + message.name + "' is left out, as frames of more than " +
                                    std::to_string(support->networks) + " " + busName(message.bus) +
                                    " networks cannot be distinguished"});
        return;
    }
    std::vector<DrivenSignal*> built(message.signals.size()); // null: not there
    for (std::size_t i = 0; i < message.signals.size(); ++i) {
        if (fates[i] == Fate::None)
            continue;
        SignalDefinition const& signal = message.signals[i];
        std::string const& instance = file.instances[index][i];
        DrivenSignal const* const multiplexor = signal.multiplexor ? built[*signal.multiplexor] : nullptr;
        if (signal.multiplexor && multiplexor == nullptr) {
            problems.push_back({signal.line, Severity::Error,
                                "'" + instance + "' is left out, as its multiplexor '" +
                                    message.signals[*signal.multiplexor].name + "' was"});
            continue;
        }
        d_signals.push_back(support->build({message, signal, instance, channel, fates[i] == Fate::Shared}, d_frame));
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
