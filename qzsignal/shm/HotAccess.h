// The part of a shared signal's accesses that every frame runs through, for those sources alone that feed and read
// signals.
#pragma once

#include "qzsignal/shm/OrderedStores.h"
#include "qzsignal/shm/ShmSignal.h"
#include "qzsignal/signal/Diagnostics.h"

#include <typeinfo>

inline void ShmSignal::acquire() {
    if (__builtin_expect(lockRecord(instance) == qzsignal::LockOutcome::OwnerDied, 0))
        settle();
}

inline void ShmSignal::giveBack() {
    unlockRecord(instance);
}

inline void ShmSignal::update(std::uint64_t raw, std::uint64_t timestamp) {
    d_modified = d_data->used == 0 || differs(raw, d_data->rawValue);
    if (d_modified)
        store(raw, timestamp);
    else
        qzsignal::storeWhole(d_data->timestamp, timestamp);
}

// Most payloads change nothing. A signal for the process alone has then nothing to do but to note the time, and all
// that this needs lies side by side in it.
template <typename Signal>
inline void ShmSignal::take(Signal& signal, unsigned long long raw, unsigned long long timestamp) {
    if (signal.d_shortcut == qzsignal::Shortcut::Local && !qzsignal::debugging()) {
        shmSignalData_t& record = signal.d_localData;
        signal.d_modified = signal.differs(raw, record.rawValue);
        if (signal.d_modified) {
            record.rawValue = raw;
            record.conv = false;
            record.value = signal.valueInside(raw, record.type == signalSigned);
        }
        record.timestamp = timestamp;
    } else if (signal.d_shortcut == qzsignal::Shortcut::Shared && !qzsignal::debugging()) {
        signal.acquire();
        signal.update(raw, timestamp); // which throws nothing
        signal.giveBack();
    } else {
        signal.write(raw, timestamp);
        if (typeid(signal) == typeid(Signal)) // it has no `write` of its own
            signal.findShortcut();
    }
}
