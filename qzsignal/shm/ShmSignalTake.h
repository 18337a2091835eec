// `ShmSignal::take`, for the sources that feed signals.
#pragma once

#include "qzsignal/shm/SharedRecordAccess.h"
#include "qzsignal/shm/ShmRecord.h"
#include "qzsignal/shm/ShmSignal.h"

// Most payloads change nothing. A signal for the process alone has then nothing to do but to note the time.
inline void ShmSignal::take(unsigned long long raw, unsigned long long timestamp) {
    if (__builtin_expect(d_feedPath == qzsignal::FeedPath::Local, 1) && !qzsignal::debugging()) {
        d_modified = layoutInUse().differs(raw, d_localData.rawValue);
        if (d_modified) {
            d_localData.rawValue = raw;
            d_localData.conv = 0;
            d_localData.value = d_cut.value(raw, d_localData.type == signalSigned);
        }
        d_localData.timestamp = timestamp;
    } else if (d_feedPath == qzsignal::FeedPath::Locked && !qzsignal::debugging()) {
        SharedRecord::lock();
        d_modified = qzsignal::update(*d_data, layoutInUse(), raw, timestamp); // which throws nothing
        SharedRecord::unlock();
    } else {
        takeFully(raw, timestamp);
    }
}
