// Filing and feeding inputs of the process, and their values.
#include "qzsignal/input/InputSignal.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/input/InputMessages.h"
#include "qzsignal/signal/Dispatch.h"

#include <iostream>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;

constexpr char label[] = "InputSignal";

// A digital input is keyed by number and mask: a message that reports several bits has another key.
constexpr auto keyOf = qzsignal::numberAndMaskKey;

unsigned long long feed(qzsignal::InputEvent const& event) {
    return qzsignal::deliver(InputSignal::inputContainer, keyOf(event.d_input), label, event);
}

} // namespace

qzsignal::DispatchMap<InputSignal> InputSignal::inputContainer;

InputSignal::InputSignal(char const* name) : BaseSignal(name, "") {
    // Deliberate: the empty name matches the end of the table and is filed under its key, 0.
    if (qzsignal::InputRow const* const row = qzsignal::findInput(instance)) {
        messageId = keyOf(row->input());
        inputContainer.file(messageId, this);
    }
    if (debugging())
        debugLine(label, " ", instance, " created");
}

InputSignal::~InputSignal() {
    // A signal of an unknown name was never filed, so it is not missing under key 0, which is the empty name's.
    bool const filed = messageId != 0 || instance.empty();
    qzsignal::withdraw(inputContainer, messageId, this, filed ? label : nullptr);
}

bool InputSignal::signalsInUse(unsigned char const* begin, unsigned char const* /*end*/) {
    if (inputContainer.empty())
        return false;
    qzsignal::RawRecord const record(begin);
    qzsignal::Input input = qzsignal::reportedInput(record);
    if (input.d_class == qzsignal::InputClass::None)
        return false;
    if (input.d_class == qzsignal::InputClass::Digital)
        input.d_mask = record.byte(qzsignal::record::digitalMask);
    return inputContainer.signals(keyOf(input)) != nullptr;
}

unsigned long long InputSignal::decodeMessage(KeyboardMessage const& message) {
    return feed(qzsignal::eventOf(message));
}

unsigned long long InputSignal::decodeMessage(GpioTraceMessage const& message) {
    return feed(qzsignal::eventOf(message));
}

unsigned long long InputSignal::decodeMessage(AnalogTraceMessage const& message) {
    return feed(qzsignal::eventOf(message));
}

char const* InputSignal::getUnit() const {
    return "";
}

double InputSignal::getScaleFactor() const {
    return 1.0;
}

double InputSignal::getOffset() const {
    return 0.0;
}

unsigned char InputSignal::getBits() const {
    return 1;
}

signalValue_t InputSignal::getType() const {
    return signalUnsigned;
}

bool InputSignal::read(double& phys, unsigned long long& time) {
    unsigned long long raw = 0;
    if (!InputSignal::read(raw, time))
        return false;
    phys = static_cast<double>(raw);
    return true;
}

bool InputSignal::read(unsigned long long& raw, unsigned long long& time) {
    if (!used)
        return false;
    raw = value;
    time = timestamp;
    if (debugging())
        trace("read ");
    return true;
}

bool InputSignal::write(unsigned long long raw, unsigned long long time) {
    // Deliberate: a new signal holds 0, so a first event of value 0 is not a change and leaves it without a value. An
    // event without a change does not refresh the timestamp either.
    modified = raw != value;
    if (modified) {
        value = raw;
        timestamp = time;
        used = true;
    }
    if (debugging())
        trace(modified ? "write " : "write (no change) ");
    return true;
}

bool InputSignal::isModified() const {
    return modified;
}

void InputSignal::print(std::ostream&) const {
    if (used)
        qzsignal::printForm(std::cout, std::dec, instance, ", value=", value, ", timestamp=", timestamp);
    else
        qzsignal::printForm(std::cout, "InputSignal not used\n").flush();
}

void InputSignal::clear() {
    used = false;
    modified = false;
    value = 0;
    timestamp = 0;
}

// Two lines for an access: its name and the signal. `print` writes to standard output itself, before `writeLine` adds
// the end of the line.
void InputSignal::trace(char const* access) const {
    debugLine(label, "::", access);
    qzsignal::writeLine(std::cout, "", *this);
}
