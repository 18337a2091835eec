// Looking at shared records of either kind.
#include "qzsignal/shm/RecordView.h"

#include "qzsignal/can/CANRecord.h"
#include "qzsignal/shm/RecordLock.h"
#include "qzsignal/shm/RecordText.h"
#include "qzsignal/shm/SharedSegment.h"
#include "qzsignal/shm/ShmRecord.h"

#include <ctime>

namespace qzsignal {

namespace {

RecordContent contentOf(shmSignalData_t const& record) {
    RecordContent content{std::string(textOf(record.signal)), std::string(textOf(record.unit)), record.type, {}};
    if (record.used == 0)
        return content;
    RecordContent::Value value{record.phys, record.value, record.timestamp};
    if (record.conv == 0)
        convert(record.value, record.type, record.scale, record.offset, value.physical);
    content.value = value;
    return content;
}

RecordContent contentOf(canSignalData_t const& record) {
    // The numbers of both enumerations are the same.
    auto const type = static_cast<signalValue_t>(record.type);
    RecordContent content{std::string(textOf(record.name)), std::string(textOf(record.unit)), type, {}};
    if (record.used == 0)
        return content;
    RecordContent::Value value{0, decoded(record, layoutOf(record), record.value), record.timestamp};
    convert(record, value.raw, value.physical);
    content.value = value;
    return content;
}

// The lock is held, or could not be had at all.
template <typename Record>
RecordContent readLocked(Record& record, LockOutcome outcome, std::string const& instance) {
    if (outcome == LockOutcome::OwnerDied)
        settle(record);
    RecordContent content = contentOf(record);
    int const result = pthread_mutex_unlock(&record.mutex);
    if (result != 0)
        unlockFailed(result, familyOf(record).d_label, instance);
    return content;
}

constexpr RecordKind kindOf(shmSignalData_t const*) {
    return RecordKind::Shm;
}
constexpr RecordKind kindOf(canSignalData_t const*) {
    return RecordKind::Can;
}

} // namespace

template <typename Record>
bool RecordView::find() {
    RecordFamily const& family = familyOf(Record{});
    key_t key = -1;
    int shmId = -1;
    d_record = attachSegment(family, d_instance, key, shmId, Waiting::Quiet);
    if (d_record == nullptr) {
        d_record = attachReadOnly(family, d_instance);
        d_isReadOnly = d_record != nullptr;
    }
    if (d_record != nullptr)
        d_kind = kindOf(static_cast<Record const*>(nullptr));
    return d_record != nullptr;
}

template <typename Record>
bool RecordView::attach(int shmId, std::size_t bytes) {
    d_record = attachKnown(familyOf(Record{}), shmId, bytes, d_isReadOnly);
    if (d_record != nullptr)
        d_kind = kindOf(static_cast<Record const*>(nullptr));
    return d_record != nullptr;
}

template <typename Use>
auto RecordView::visit(Use use) const {
    return *d_kind == RecordKind::Shm ? use(record<shmSignalData_t>()) : use(record<canSignalData_t>());
}

RecordView::RecordView(std::string const& instance) : d_instance(instance) {
    if (!find<shmSignalData_t>())
        find<canSignalData_t>();
}

RecordView::RecordView(std::string const& instance, int shmId, std::size_t bytes) : d_instance(instance) {
    if (!attach<shmSignalData_t>(shmId, bytes))
        attach<canSignalData_t>(shmId, bytes);
}

RecordView::~RecordView() {
    if (d_record != nullptr)
        visit([this](auto& record) { detachSegment(familyOf(record), d_instance, &record); });
}

std::optional<RecordContent> RecordView::read(std::chrono::milliseconds patience) const {
    if (d_isReadOnly)
        return look();
    auto const deadline = std::chrono::steady_clock::now() + patience;
    return visit([&](auto& record) -> std::optional<RecordContent> {
        for (;;) {
            LockOutcome const outcome = tryLockRecord(record.mutex, familyOf(record).d_label, d_instance);
            if (outcome != LockOutcome::Busy)
                return readLocked(record, outcome, d_instance);
            if (std::chrono::steady_clock::now() >= deadline)
                return std::nullopt;
            constexpr timespec pause = {0, 1000000};
            nanosleep(&pause, nullptr);
        }
    });
}

RecordContent RecordView::look() const {
    return visit([](auto const& record) { return contentOf(snapshot(record)); });
}

} // namespace qzsignal
