// Reading without a signal of one's own.
#include "tools/machine/SignalReader.h"

#include "qzsignal/shm/RecordView.h"

namespace qztool {

namespace {

std::optional<SignalState> stateOf(qzsignal::RecordView const& view, std::string const& instance,
                                   std::chrono::milliseconds patience) {
    if (!view.kind())
        return std::nullopt;
    std::optional<qzsignal::RecordContent> const content = view.read(patience);
    SignalState state;
    state.instance = instance;
    state.locked = !content;
    qzsignal::RecordContent const shown = content ? *content : view.look();
    // The other kind of signal keeps the name that it was opened with.
    state.signal = *view.kind() == qzsignal::RecordKind::Shm ? shown.signal : instance;
    state.unit = shown.unit;
    state.type = shown.type;
    if (content && content->value)
        state.value = SignalValue{content->value->physical, content->value->raw, content->value->timestamp};
    return state;
}

} // namespace

std::optional<SignalState> readSignal(std::string const& instance, std::chrono::milliseconds patience) {
    return stateOf(qzsignal::RecordView(instance), instance, patience);
}

std::optional<SignalState> readSignal(std::string const& instance, Segment const& segment,
                                      std::chrono::milliseconds patience) {
    return stateOf(qzsignal::RecordView(instance, segment.id, segment.bytes), instance, patience);
}

} // namespace qztool
