// The registry of signals and the services over it.
#include "qzsignal/signal/BaseSignal.h"

#include "qzsignal/signal/Diagnostics.h"

std::map<std::string, BaseSignal*> BaseSignal::instances;
int BaseSignal::debug = 0;

namespace {

char const* orEmpty(char const* text) {
    return text != nullptr ? text : "";
}

// The signals of the registry in its order, side by side: a walk over the registry's own entries takes seven times as
// long as to read the signals. It is made anew when it is next asked for after a signal came or went.
std::vector<BaseSignal*> registered;
bool isUpToDate = true;

std::vector<BaseSignal*> const& inOrder() {
    // The registry is open to everybody: who changes it by hand changes its size at least.
    if (!isUpToDate || registered.size() != BaseSignal::instances.size()) {
        registered.clear();
        registered.reserve(BaseSignal::instances.size());
        for (auto const& entry : BaseSignal::instances)
            registered.push_back(entry.second);
        isUpToDate = true;
    }
    return registered;
}

} // namespace

BaseSignal::BaseSignal(char const* instanceName, char const* signalName)
    : instance(orEmpty(instanceName)), signal(orEmpty(signalName)) {
    if (signal.empty())
        signal = instance;
    isUpToDate = false;
    if (!instances.emplace(instance, this).second)
        qzsignal::warningLine("BaseSignal: signal ", instance, " already exists");
    if (qzsignal::debugging())
        qzsignal::debugLine("BaseSignal: ", instance, " created");
}

BaseSignal::~BaseSignal() {
    isUpToDate = false;
    instances.erase(instance);
    if (qzsignal::debugging())
        qzsignal::debugLine("~BaseSignal: ", instance, " deleted");
}

BaseSignal* BaseSignal::getInstance(char const* instance) {
    auto const entry = instances.find(orEmpty(instance));
    return entry != instances.end() ? entry->second : nullptr;
}

void BaseSignal::clearAll() {
    for (auto const& entry : instances)
        entry.second->clear();
}

void BaseSignal::clear(std::vector<unsigned long long> messageIds) {
    for (unsigned long long const messageId : messageIds)
        for (auto const& entry : instances)
            if (entry.second->messageId == messageId)
                entry.second->clear();
}

int BaseSignal::checkTimeout(unsigned long long time, std::vector<unsigned long long>& silent) {
    silent.clear();
    for (BaseSignal* const signal : inOrder()) {
        unsigned long long value = 0;
        unsigned long long timestamp = 0;
        if (signal->read(value, timestamp) && timestamp < time)
            silent.push_back(signal->messageId);
    }
    return 0;
}

std::ostream& operator<<(std::ostream& out, BaseSignal const& signal) {
    signal.print(out);
    return out;
}
