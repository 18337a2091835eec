// The registry of signals and the services on it.
#include "qzsignal/signal/BaseSignal.h"

#include "qzsignal/signal/Diagnostics.h"

std::map<std::string, BaseSignal*> BaseSignal::instances;
int BaseSignal::debug = 0;

namespace {

char const* orEmpty(char const* text) {
    return text != nullptr ? text : "";
}

} // namespace

BaseSignal::BaseSignal(char const* instanceName, char const* signalName)
    : instance(orEmpty(instanceName)), signal(orEmpty(signalName)) {
    if (signal.empty())
        signal = instance;
    if (!instances.emplace(instance, this).second)
        qzsignal::warningLine("BaseSignal: signal ", instance, " already exists");
    if (qzsignal::debugging())
        qzsignal::debugLine("BaseSignal: ", instance, " created");
}

BaseSignal::~BaseSignal() {
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
    for (auto const& entry : instances) {
        unsigned long long value = 0;
        unsigned long long timestamp = 0;
        if (entry.second->read(value, timestamp) && timestamp < time)
            silent.push_back(entry.second->messageId);
    }
    return 0;
}

std::ostream& operator<<(std::ostream& out, BaseSignal const& signal) {
    signal.print(out);
    return out;
}
