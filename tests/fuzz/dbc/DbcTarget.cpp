// Fuzz target: any bytes as a definition file, and the signals that the library makes of it.
#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"
#include "tests/fuzz/Expect.h"
#include "tests/support/Capture.h"
#include "tests/support/Naive.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tests/tools/definitions/dbc/Promises.h"
#include "tools/definitions/TextEncoding.h"
#include "tools/definitions/dbc/DbcReader.h"
#include "tools/drive/SignalPlace.h"
#include "tools/drive/can/CanDefinition.h"

#include <cstdint>
#include <memory>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

using namespace qztool;

constexpr std::uint8_t channel = 1;

// All that is in a database.
std::string textOf(Database const& database) {
    std::ostringstream out;
    out << problemsOf(database);
    for (MessageDefinition const& message : database.messages) {
        out << message.line << " " << message.name << " " << message.address << message.extended << message.length
            << " " << multiplexingOf(message) << "\n";
        for (SignalDefinition const& signal : message.signals)
            out << signal.line << " " << static_cast<int>(signal.kind) << " " << signal.startBit << "|" << signal.bits
                << "@" << signal.bigEndian << " " << signal.factor << " " << signal.offset << " " << signal.minimum
                << " " << signal.maximum << " " << signal.unit << " " << valuesOf(signal) << "\n";
    }
    return out.str();
}

// Line ends and the mark of UTF-8 make no difference.
void readOtherwise(std::string const& text, std::string const& found) {
    if (findEncodingProblem(text))
        return;
    if (text.rfind("\xEF\xBB\xBF", 0) != 0)
        expectEqual(textOf(readDatabase("\xEF\xBB\xBF" + text)), found, "with a mark", text);
    if (text.find('\r') != std::string::npos)
        return;
    std::string other;
    for (char const c : text)
        other += c == '\n' ? std::string("\r\n") : std::string(1, c);
    expectEqual(textOf(readDatabase(other)), found, "with other line ends", text);
}

// A signal of the library, and what it was made of.
struct Fed {
    explicit Fed(canSignalDef_t const& definition) : d_definition(definition), d_signal(definition, false) {}

    canSignalDef_t d_definition;
    CANSignalExt d_signal;
};

void expectUnit(std::string const& cut, std::string const& unit) {
    constexpr std::size_t room = 31;
    expect(cut.size() <= room && unit.rfind(cut, 0) == 0, "unit", unit, cut);
    // Nothing is lost but what does not fit, and that by characters.
    expect(cut == unit || (cut.size() + 4 > room && isUtf8Text(cut)), "cut unit", unit, cut);
}

void expectValue(Fed& fed, std::vector<unsigned char> const& payload, unsigned long long time) {
    canSignalDef_t const& definition = fed.d_definition;
    unsigned long long raw = 0, rawTime = 0, physicalTime = 0;
    double physical = 0;
    bool const there = fed.d_signal.read(raw, rawTime) && fed.d_signal.read(physical, physicalTime);
    expect(there && rawTime == time && physicalTime == time, "time", definition.instance);
    unsigned long long const expected = naiveField(payload, definition);
    expectEqual(std::to_string(raw), std::to_string(expected), "value", definition.instance);
    if (definition.type == signalUnsigned || definition.type == signalSigned) {
        double const number = definition.type == signalSigned ? static_cast<double>(static_cast<long long>(expected))
                                                              : static_cast<double>(expected);
        double const wanted = number * definition.scale + definition.offset;
        expect(physical == wanted || (std::isnan(physical) && std::isnan(wanted)), "physical value",
               definition.instance, std::to_string(physical), std::to_string(wanted));
    }
}

void feed(Database const& database) {
    std::vector<std::unique_ptr<Fed>> signals;
    std::set<std::string> instances;
    for (MessageDefinition const& message : database.messages)
        for (SignalDefinition const& signal : message.signals) {
            if (!fitsWindow(signal))
                continue;
            canSignalDef_t const definition = canDefinition(message, signal, instanceName(message, signal), channel);
            expectUnit(definition.unit, signal.unit);
            if (instances.insert(definition.instance).second)
                signals.push_back(std::make_unique<Fed>(definition));
        }
    std::vector<unsigned char> payload = {0x80, 0xC1, 0xF2, 0x63, 0x74, 0x85, 0xB6, 0x7F};
    for (unsigned long long time = 1; time <= 2; ++time) {
        for (std::unique_ptr<Fed> const& fed : signals) {
            CANExtTraceMessage message;
            message.timestamp = time;
            message.channel = channel;
            message.identifier = fed->d_definition.msgId;
            message.extended = fed->d_definition.extended;
            message.length = 8;
            std::copy(payload.begin(), payload.end(), message.payload);
            expect(CANSignalExt::decodeMessage(message) != 0, "frame of a signal", fed->d_definition.instance);
            expectValue(*fed, payload, time);
        }
        for (unsigned char& byte : payload)
            byte = static_cast<unsigned char>(~byte);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(data, data + size);
    Database const database = readDatabase(text);
    std::string const found = textOf(database);
    char const* const broken = brokenPromise(database, text);
    expect(broken == nullptr, broken, text, found);
    readOtherwise(text, found);
    Capture errors(std::cerr);
    feed(database);
    expectEqual(errors.text(), "", "what the library reports", text);
    return 0;
}
