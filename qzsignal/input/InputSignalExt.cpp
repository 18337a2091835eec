// Filing and feeding inputs in shared memory.
#include "qzsignal/input/InputSignalExt.h"

#include "qzsignal/PrintedForm.h"
#include "qzsignal/input/InputMessages.h"
#include "qzsignal/signal/Dispatch.h"

#include <ostream>

namespace {

using qzsignal::debugging;
using qzsignal::debugLine;

constexpr char label[] = "InputSignalExt";

// Deliberate: unlike in the process, a digital input is keyed by its number alone, whatever bits a message reports.
constexpr auto keyOf = qzsignal::numberKey;

unsigned long long feed(qzsignal::InputEvent const& event, char const* inputClass) {
    unsigned long long const served =
        qzsignal::deliver(InputSignalExt::inputContainer, keyOf(event.d_input), label, event);
    // Deliberate: the line shows the result, which is always 0, and not the key that was looked up.
    if (served == 0 && debugging())
        debugLine("InputSignalExt::decodeMessage: ", inputClass, " signal not found, index = 0");
    return served;
}

inputSignalDef_t definitionOfUnknown() {
    inputSignalDef_t definition;
    definition.bits = 64;
    definition.scale = 1.0;
    return definition;
}

} // namespace

qzsignal::DispatchMap<InputSignalExt> InputSignalExt::inputContainer;

InputSignalExt::InputSignalExt(inputSignalDef_t const& definition, bool shared)
    : ShmSignal(definition, shared), d_definition(definition) {
    follow();
    if (debugging())
        qzsignal::traceCreated(label, instance, shared, *this);
}

InputSignalExt::InputSignalExt(char const* instanceName)
    : ShmSignal(instanceName), d_definition(definitionOfUnknown()) {
    follow();
    if (debugging())
        debugLine(label, " ", instance, " created");
}

InputSignalExt::~InputSignalExt() {
    // A signal without a key was never filed, so it is not missing from an entry that a program made under 0.
    qzsignal::withdraw(inputContainer, messageId, this, messageId != 0 ? label : nullptr);
}

// Files the signal under the key of its input. The empty name matches the row that ends the table, whose key is 0.
void InputSignalExt::follow() {
    if (qzsignal::InputRow const* const row = qzsignal::findInput(instance))
        messageId = keyOf(row->input());
    if (messageId != 0)
        inputContainer.file(messageId, this);
    else
        qzsignal::warningLine(label, ": ", instance, " not found in predefined input lists, gpId = 0");
}

bool InputSignalExt::signalsInUse(unsigned char const* begin, unsigned char const* /*end*/) {
    if (inputContainer.empty())
        return false;
    qzsignal::Input const input = qzsignal::reportedInput(qzsignal::RawRecord(begin));
    if (input.d_class == qzsignal::InputClass::None)
        return false;
    bool const found = inputContainer.signals(keyOf(input)) != nullptr;
    if (debugging())
        debugLine("InputSignalExt::signalsInUse: index = ", std::hex, keyOf(input), " - ",
                  found ? "found" : "not found");
    return found;
}

unsigned long long InputSignalExt::decodeMessage(KeyboardMessage const& message) {
    return feed(qzsignal::eventOf(message), "keyboard");
}

unsigned long long InputSignalExt::decodeMessage(GpioTraceMessage const& message) {
    return feed(qzsignal::eventOf(message), "digital");
}

unsigned long long InputSignalExt::decodeMessage(AnalogTraceMessage const& message) {
    return feed(qzsignal::eventOf(message), "analog");
}

std::ostream& operator<<(std::ostream& out, inputSignalDef_t const& definition) {
    return out << static_cast<baseSignalDef_t const&>(definition);
}

std::ostream& operator<<(std::ostream& out, InputSignalExt const& signal) {
    return qzsignal::printForm(out, static_cast<ShmSignal const&>(signal), ";", signal.d_definition,
                               ";index=", std::hex, std::noshowbase, std::nouppercase, signal.messageId);
}
