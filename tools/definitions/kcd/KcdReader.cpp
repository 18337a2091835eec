// The elements of KCD files: buses, messages, multiplexes, signals and their labels.
#include "tools/definitions/kcd/KcdReader.h"

#include "tools/base/Printable.h"
#include "tools/definitions/Numerals.h"
#include "tools/definitions/ProblemText.h"
#include "tools/definitions/xml/XmlDocument.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>

namespace qztool {

namespace {

constexpr std::uint64_t highestStandard = 0x7FF;
constexpr std::uint64_t highestExtended = 0x1FFFFFFF;
constexpr std::uint64_t mostBytes = 1785; // of a message that is transported in packets
constexpr std::uint64_t mostLabels = 1024;

// Ends the reading of an element; caught where it is reported.
struct LeftOut {
    std::string cause;
    ProblemKind kind = ProblemKind::Other;
};

class Reader {
public:
    explicit Reader(std::string_view bytes) : d_document(bytes, d_database.problems) {}

    Database run() {
        reportUnknown(d_document.root(), {"Document", "Node", "Bus"});
        d_database.channels.clear();
        for (pugi::xml_node const bus : childrenOf(d_document.root(), "Bus"))
            readBus(bus);
        if (d_database.channels.empty())
            d_database.channels.emplace_back();
        std::stable_sort(d_database.problems.begin(), d_database.problems.end(),
                         [](Problem const& a, Problem const& b) { return a.line < b.line; });
        return std::move(d_database);
    }

private:
    void report(pugi::xml_node element, Severity severity, std::string text, ProblemKind kind = ProblemKind::Other) {
        d_database.problems.push_back({d_document.lineOf(element), severity, std::move(text), kind});
    }

    void leaveOut(pugi::xml_node element, std::string const& text, ProblemKind kind = ProblemKind::Other) {
        report(element, Severity::Error, text + "; left out", kind);
    }

    void reportUnknown(pugi::xml_node parent, std::initializer_list<std::string_view> known) {
        for (pugi::xml_node const child : parent.children()) {
            const std::string_view name = localName(child);
            if (child.type() == pugi::node_element && std::find(known.begin(), known.end(), name) == known.end())
                leaveOut(child, "unknown element " + quote(name) + " in " + quote(localName(parent)));
        }
    }

    static std::string nameOf(pugi::xml_node element) {
        std::string name = attributeOf(element, "name");
        if (name.empty())
            throw LeftOut{"it has no name"};
        if (std::any_of(name.begin(), name.end(), isControlCharacter))
            throw LeftOut{"its name holds control characters"};
        return name;
    }

    static std::uint64_t count(pugi::xml_node element, char const* attribute, std::uint64_t otherwise) {
        if (!hasAttribute(element, attribute))
            return otherwise;
        const std::string text = attributeOf(element, attribute);
        std::uint64_t number = 0;
        const std::errc error = readCount(withoutBlanks(text), number);
        if (error != std::errc{}) {
            throw LeftOut{
                std::string(attribute) + " " + quote(text) +
                (error == std::errc::result_out_of_range ? " is too large" : " is not a whole number from 0 on")};
        }
        return number;
    }

    static double real(pugi::xml_node element, char const* attribute, double otherwise) {
        if (!hasAttribute(element, attribute))
            return otherwise;
        const std::string text = attributeOf(element, attribute);
        double number = 0.0;
        const std::string reason = readReal(withoutBlanks(text), number);
        if (!reason.empty())
            throw LeftOut{std::string(attribute) + " " + quote(text) + " " + reason};
        return number;
    }

    void readBus(pugi::xml_node bus) {
        reportUnknown(bus, {"Message"});
        d_database.channels.push_back({attributeOf(bus, "name")});
        d_messages.clear();
        d_identifiers.clear();
        for (pugi::xml_node const message : childrenOf(bus, "Message")) {
            const std::string label = "message " + quote(attributeOf(message, "name")) + ": ";
            try {
                readMessage(message, label);
            } catch (LeftOut const& leftOut) {
                leaveOut(message, label + leftOut.cause, leftOut.kind);
            }
        }
    }

    void readMessage(pugi::xml_node element, std::string const& label) {
        MessageDefinition message;
        message.name = nameOf(element);
        message.line = d_document.lineOf(element);
        message.channel = d_database.channels.size() - 1;
        auto const other = d_messages.find(message.name);
        if (other != d_messages.end())
            throw LeftOut{"duplicate message name, first defined on line " + std::to_string(other->second),
                          ProblemKind::Duplicate};
        if (!hasAttribute(element, "id"))
            throw LeftOut{"it has no id"};
        std::uint64_t const identifier = count(element, "id", 0);
        if (identifier > highestExtended)
            throw LeftOut{"its id has more than 29 bits"};
        message.address = static_cast<std::uint32_t>(identifier);
        message.extended = attributeOf(element, "format") == "extended";
        if (!message.extended && identifier > highestStandard) {
            report(element, Severity::Warning,
                   label + "its id has more than 11 bits, but its format is standard; read as extended");
            message.extended = true;
        }
        bool const computed = !hasAttribute(element, "length") || attributeOf(element, "length") == "auto";
        std::uint64_t const length = computed ? 0 : count(element, "length", 0);
        if (length > mostBytes)
            throw LeftOut{"it has " + std::to_string(length) + " bytes"};
        message.length = static_cast<unsigned>(length);
        message.cycleTime = cycleTimeOf(element, label);
        warnAboutIdentifier(element, message, label);
        reportUnknown(element, {"Notes", "Producer", "Multiplex", "Signal"});
        d_messages.emplace(message.name, message.line);
        readSignals(element, message, computed);
        d_database.messages.push_back(std::move(message));
    }

    double cycleTimeOf(pugi::xml_node element, std::string const& label) {
        double milliseconds = 0.0;
        try {
            milliseconds = real(element, "interval", 0.0);
        } catch (LeftOut const& leftOut) {
            throw LeftOut{leftOut.cause, ProblemKind::Cycle};
        }
        if (milliseconds < 0.0)
            report(element, Severity::Warning, label + "its interval is negative; not used", ProblemKind::Cycle);
        return std::max(milliseconds, 0.0) / 1000.0;
    }

    void warnAboutIdentifier(pugi::xml_node element, MessageDefinition const& message, std::string const& label) {
        auto const [other, isNew] =
            d_identifiers.emplace(message.address | (message.extended ? 0x80000000U : 0U), label);
        if (!isNew)
            report(element, Severity::Warning, label + "another message of this bus has the same id; both are kept",
                   ProblemKind::Duplicate);
    }

    void readSignals(pugi::xml_node element, MessageDefinition& message, bool computeLength) {
        d_signals.clear();
        d_reach = 0;
        for (pugi::xml_node const child : element.children())
            if (localName(child) == "Signal")
                addSignal(child, message, {}, {});
            else if (localName(child) == "Multiplex")
                readMultiplex(child, message);
        if (computeLength) {
            message.length = static_cast<unsigned>((d_reach + 7) / 8);
            return;
        }
        for (SignalDefinition const& signal : message.signals) {
            std::uint64_t const reach = positionOf(signal) + signal.bits;
            if (reach > std::uint64_t{message.length} * 8) {
                d_database.problems.push_back({signal.line, Severity::Warning,
                                               "signal " + quote(instanceName(message, signal)) +
                                                   ": it reaches beyond the " + std::to_string(message.length) +
                                                   (message.length == 1 ? " byte" : " bytes") + " of the message",
                                               ProblemKind::Outside});
            }
        }
    }

    void readMultiplex(pugi::xml_node element, MessageDefinition& message) {
        const std::optional<std::size_t> multiplexor = addSignal(element, message, {}, {});
        if (multiplexor)
            message.signals[*multiplexor].isMultiplexor = true;
        for (pugi::xml_node const group : childrenOf(element, "MuxGroup")) {
            reportUnknown(group, {"Signal"});
            const std::string label =
                "a group of " + quote(attributeOf(element, "name")) + " in message " + quote(message.name) + ": ";
            if (!multiplexor) {
                leaveOut(group, label + "its multiplexor is left out");
                continue;
            }
            try {
                if (!hasAttribute(group, "count"))
                    throw LeftOut{"it has no count"};
                std::uint64_t const selector = count(group, "count", 0);
                for (pugi::xml_node const signal : childrenOf(group, "Signal"))
                    addSignal(signal, message, multiplexor, {{selector, selector}});
            } catch (LeftOut const& leftOut) {
                leaveOut(group, label + leftOut.cause);
            }
        }
    }

    // Returns the index of the signal in the message; nothing if it is left out.
    std::optional<std::size_t> addSignal(pugi::xml_node element, MessageDefinition& message,
                                         std::optional<std::size_t> multiplexor,
                                         std::vector<SelectorRange> selectedBy) {
        const std::string label = "signal " + quote(message.name + "." + attributeOf(element, "name")) + ": ";
        try {
            SignalDefinition signal = readSignal(element, label);
            signal.multiplexor = multiplexor;
            signal.selectedBy = std::move(selectedBy);
            auto const [other, isNew] = d_signals.emplace(signal.name, message.signals.size());
            if (!isNew) {
                SignalDefinition& first = message.signals[other->second];
                if (!isSameElsewhere(first, signal))
                    throw LeftOut{"duplicate signal name, first defined on line " + std::to_string(first.line),
                                  ProblemKind::Duplicate};
                first.selectedBy.push_back(signal.selectedBy.front());
                return other->second;
            }
            d_reach = std::max(d_reach, positionOf(signal) + signal.bits);
            message.signals.push_back(std::move(signal));
            return message.signals.size() - 1;
        } catch (LeftOut const& leftOut) {
            leaveOut(element, label + leftOut.cause, leftOut.kind);
            return std::nullopt;
        }
    }

    // A signal that several groups have stands in each of them.
    static bool isSameElsewhere(SignalDefinition const& a, SignalDefinition const& b) {
        return a.multiplexor && a.multiplexor == b.multiplexor && a.startBit == b.startBit && a.bits == b.bits &&
               a.bigEndian == b.bigEndian && a.kind == b.kind && a.factor == b.factor && a.offset == b.offset;
    }

    SignalDefinition readSignal(pugi::xml_node element, std::string const& label) {
        SignalDefinition signal;
        signal.name = nameOf(element);
        signal.line = d_document.lineOf(element);
        std::uint64_t const bits = count(element, "length", 1);
        std::uint64_t const position = count(element, "offset", 0);
        if (bits == 0 || bits > 64)
            throw LeftOut{"it has " + std::to_string(bits) + " bits, but a signal has 1 to 64"};
        if (position >= mostBytes * 8 || position + bits > mostBytes * 8)
            throw LeftOut{"its offset " + std::to_string(position) + " is beyond any payload", ProblemKind::Outside};
        signal.bits = static_cast<unsigned>(bits);
        const std::string order = attributeOf(element, "endianess");
        signal.bigEndian = order == "big";
        if (!order.empty() && order != "big" && order != "little")
            throw LeftOut{"endianess " + quote(order) + " is neither 'big' nor 'little'"};
        setPosition(signal, static_cast<unsigned>(position));
        reportUnknown(element, {"Notes", "Consumer", "Value", "LabelSet", "MuxGroup"});
        readValue(childOf(element, "Value"), signal, label);
        for (pugi::xml_node const labels : childrenOf(element, "LabelSet"))
            readLabels(labels, signal, label);
        return signal;
    }

    // The format counts the bits of a big endian signal the way it grows: position 0 is the most significant bit of
    // byte 0, position 8 that of byte 1. A little endian signal is counted as here.
    static void setPosition(SignalDefinition& signal, unsigned position) {
        signal.startBit = signal.bigEndian ? position / 8 * 8 + 7 - position % 8 : position;
    }

    static std::uint64_t positionOf(SignalDefinition const& signal) {
        return signal.bigEndian ? signal.startBit / 8 * 8 + 7 - signal.startBit % 8 : signal.startBit;
    }

    void readValue(pugi::xml_node value, SignalDefinition& signal, std::string const& label) {
        signal.factor = real(value, "slope", 1.0);
        signal.offset = real(value, "intercept", 0.0);
        signal.unit = attributeOf(value, "unit");
        std::replace_if(signal.unit.begin(), signal.unit.end(), isControlCharacter, ' ');
        if (hasAttribute(value, "max")) { // without one, the range is not known
            signal.minimum = real(value, "min", 0.0);
            signal.maximum = real(value, "max", 0.0);
        }
        const std::string type = attributeOf(value, "type");
        if (type == "signed") {
            signal.kind = NumberKind::Signed;
        } else if (type == "single" || type == "double") {
            unsigned const bits = type == "single" ? 32 : 64;
            if (signal.bits == bits) {
                signal.kind = bits == 32 ? NumberKind::Float : NumberKind::Double;
            } else {
                report(value, Severity::Error,
                       label + "a value of type " + quote(type) + " has " + std::to_string(bits) +
                           " bits, but the signal has " + std::to_string(signal.bits) + "; read as unsigned");
            }
        } else if (!type.empty() && type != "unsigned") {
            report(value, Severity::Error, label + "the type " + quote(type) + " is unknown; read as unsigned");
        }
    }

    void readLabels(pugi::xml_node labels, SignalDefinition& signal, std::string const& label) {
        for (pugi::xml_node const child : labels.children()) {
            try {
                if (localName(child) == "Label")
                    signal.values.push_back({labelValue(child), attributeOf(child, "name")});
                else if (localName(child) == "LabelGroup")
                    addLabelGroup(child, signal);
                else if (child.type() == pugi::node_element)
                    throw LeftOut{"unknown"};
            } catch (LeftOut const& leftOut) {
                leaveOut(child, label + std::string(localName(child)) + " " + quote(attributeOf(child, "name")) + ": " +
                                    leftOut.cause);
            }
        }
    }

    // Labels of signed signals may be negative, against the schema.
    static std::int64_t labelValue(pugi::xml_node element) {
        const std::string text = attributeOf(element, "value");
        std::int64_t number = 0;
        if (readNumeral(text, number) == std::errc{})
            return number;
        if (!hasAttribute(element, "value"))
            throw LeftOut{"it has no value"};
        return static_cast<std::int64_t>(count(element, "value", 0));
    }

    void addLabelGroup(pugi::xml_node element, SignalDefinition& signal) {
        if (!hasAttribute(element, "from") || !hasAttribute(element, "to"))
            throw LeftOut{"it has no range"};
        std::uint64_t const first = count(element, "from", 0);
        std::uint64_t const last = count(element, "to", 0);
        if (first > last)
            throw LeftOut{"its range runs backwards"};
        if (last - first >= mostLabels)
            throw LeftOut{"it names more than " + std::to_string(mostLabels) + " values"};
        if (last - first >= d_labelsLeft)
            throw LeftOut{"the file names more values than are read"};
        d_labelsLeft -= last - first + 1;
        const std::string name = attributeOf(element, "name");
        for (std::uint64_t value = first; value - first <= last - first; ++value)
            signal.values.push_back({static_cast<std::int64_t>(value), name});
    }

    Database d_database;
    XmlDocument d_document;
    std::unordered_map<std::string, std::size_t> d_messages; // of the bus: line by name
    std::unordered_map<std::uint32_t, std::string> d_identifiers;
    std::unordered_map<std::string, std::size_t> d_signals; // of the message: index by name
    std::uint64_t d_labelsLeft = 1'000'000; // of groups, so that a small file does not become a large one
    std::uint64_t d_reach = 0;              // payload bits that signals of the message need
};

} // namespace

Database readKcd(std::string_view bytes) {
    return Reader(bytes).run();
}

} // namespace qztool
