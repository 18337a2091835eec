// Places, PDUs and multiplexing.
#include "tools/definitions/fibex/FibexFrames.h"

#include "tools/definitions/ProblemText.h"

#include <utility>

namespace qztool {

namespace {

unsigned mostBytes(Bus bus) {
    return bus == Bus::FlexRay ? 254 : 1785;
}

// Counted the way a big endian signal grows.
unsigned alongBigEndian(unsigned bit) {
    return bit / 8 * 8 + 7 - bit % 8;
}

} // namespace

void FibexFrames::readSignals(pugi::xml_node frame, FibexBitCounting counting, MessageDefinition& message) {
    d_counting = counting;
    d_message = &message;
    d_indices.clear();
    d_pdus.clear();
    Container whole;
    whole.segments.push_back({0, mostBytes(message.bus) * 8, 0});
    readContents(frame, whole);
    for (pugi::xml_node const instance : childrenOf(childOf(frame, "PDU-INSTANCES"), "PDU-INSTANCE")) {
        try {
            readPduInstance(instance);
        } catch (FibexLeftOut const& leftOut) {
            d_file.leaveOut(instance, "frame " + quote(message.name) + ", a PDU: " + leftOut.cause, leftOut.kind);
        }
    }
    for (SignalDefinition const& signal : message.signals) {
        unsigned const reach = (signal.bigEndian ? alongBigEndian(signal.startBit) : signal.startBit) + signal.bits;
        if (reach > message.length * 8) {
            d_file.problems().push_back({signal.line, Severity::Warning,
                                         "frame " + quote(message.name) + ", signal " + quote(signal.name) +
                                             ": it reaches beyond the " + std::to_string(message.length) +
                                             (message.length == 1 ? " byte" : " bytes") + " of the frame",
                                         ProblemKind::Outside});
        }
    }
    d_message = nullptr;
}

void FibexFrames::readPduInstance(pugi::xml_node instance) {
    if (!spend(instance, 1))
        return;
    pugi::xml_node const pdu = d_file.referred(instance, "PDU");
    unsigned const start = startOf(instance);
    Container container;
    container.pdu = uniquePdu(fibexName(pdu));
    container.segments.push_back({0, mostBytes(d_message->bus) * 8 - start, start});
    readContents(pdu, container);
}

// PDUs begin with a byte, whichever end of it their position names.
unsigned FibexFrames::startOf(pugi::xml_node instance) const {
    std::uint64_t const position = fibexCount(instance, "BIT-POSITION", 0);
    if (position / 8 >= mostBytes(d_message->bus))
        throw FibexLeftOut{"its BIT-POSITION " + std::to_string(position) + " is beyond any payload",
                           ProblemKind::Outside};
    bool const atEnd = position % 8 == 7 && fibexFlag(instance, "IS-HIGH-LOW-BYTE-ORDER");
    if (position % 8 != 0 && !atEnd)
        throw FibexLeftOut{"its BIT-POSITION " + std::to_string(position) + " is not the beginning of a byte"};
    return static_cast<unsigned>(position) / 8 * 8;
}

// A PDU may be in a frame more than once.
std::string FibexFrames::uniquePdu(std::string const& name) {
    unsigned const count = ++d_pdus[name];
    return count == 1 ? name : name + "_" + std::to_string(count);
}

void FibexFrames::readContents(pugi::xml_node element, Container const& container) {
    for (pugi::xml_node const instance : childrenOf(childOf(element, "SIGNAL-INSTANCES"), "SIGNAL-INSTANCE")) {
        try {
            readInstance(instance, container);
        } catch (FibexLeftOut const& leftOut) {
            d_file.leaveOut(instance, label(instance) + leftOut.cause, leftOut.kind);
        }
    }
    if (pugi::xml_node const multiplexer = childOf(element, "MULTIPLEXER"))
        readMultiplexer(multiplexer, container);
}

void FibexFrames::readInstance(pugi::xml_node instance, Container const& container) {
    if (!spend(instance, 1))
        return;
    pugi::xml_node const element = d_file.referred(instance, "SIGNAL");
    FibexCoding const& coding = d_codings.of(d_file.referred(element, "CODING"));
    if (!spend(instance, coding.values.size() / 12))
        return;
    SignalDefinition signal;
    signal.name = fibexName(element);
    signal.bits = coding.bits;
    signal.kind = coding.kind;
    signal.factor = coding.factor;
    signal.offset = coding.offset;
    signal.minimum = coding.minimum;
    signal.maximum = coding.maximum;
    signal.unit = coding.unit;
    signal.values = coding.values;
    place(instance, container, signal);
    add(instance, std::move(signal));
}

void FibexFrames::readMultiplexer(pugi::xml_node multiplexer, Container const& container) {
    if (container.inMultiplexer) {
        d_file.leaveOut(multiplexer, label(multiplexer) + "a part of a multiplexed PDU is multiplexed itself");
        return;
    }
    const std::optional<std::size_t> multiplexor = readSwitch(childOf(multiplexer, "SWITCH"), container);
    for (pugi::xml_node const part : multiplexer.children()) {
        try {
            if (localName(part) == "STATIC-PART") {
                readStaticPart(part, container);
            } else if (localName(part) == "DYNAMIC-PART") {
                if (!multiplexor)
                    throw FibexLeftOut{"its multiplexor is left out"};
                readDynamicPart(part, container, *multiplexor);
            }
        } catch (FibexLeftOut const& leftOut) {
            d_file.leaveOut(part, label(part) + leftOut.cause, leftOut.kind);
        }
    }
}

std::optional<std::size_t> FibexFrames::readSwitch(pugi::xml_node element, Container const& container) {
    try {
        if (!element)
            return std::nullopt;
        SignalDefinition signal;
        signal.name = fibexName(element);
        std::uint64_t const bits = fibexCount(element, "BIT-LENGTH");
        if (bits == 0 || bits > 64)
            throw FibexLeftOut{"it has " + std::to_string(bits) + " bits, but a signal has 1 to 64"};
        signal.bits = static_cast<unsigned>(bits);
        signal.isMultiplexor = true;
        place(element, container, signal);
        return add(element, std::move(signal));
    } catch (FibexLeftOut const& leftOut) {
        d_file.leaveOut(element, label(element) + leftOut.cause, leftOut.kind);
        return std::nullopt;
    }
}

// Holds a PDU, or an instance of one.
void FibexFrames::readStaticPart(pugi::xml_node part, Container const& container) {
    pugi::xml_node pdu = d_file.referredIfAny(part, "PDU");
    for (pugi::xml_node child = part.first_child(); !pdu && child; child = child.next_sibling())
        pdu = d_file.referredIfAny(child, "PDU");
    Container contents = container;
    contents.segments = segmentsOf(part, container);
    contents.inMultiplexer = true;
    if (pdu) {
        contents.pdu = uniquePdu(fibexName(pdu));
        readContents(pdu, contents);
    } else {
        readContents(part, contents);
    }
}

void FibexFrames::readDynamicPart(pugi::xml_node part, Container const& container, std::size_t multiplexor) {
    Container contents = container;
    contents.segments = segmentsOf(part, container);
    contents.multiplexor = multiplexor;
    contents.inMultiplexer = true;
    for (pugi::xml_node const list : part.children()) {
        for (pugi::xml_node const instance : list.children()) {
            if (!childOf(instance, "SWITCH-CODE"))
                continue;
            try {
                readSwitched(instance, contents);
            } catch (FibexLeftOut const& leftOut) {
                d_file.leaveOut(instance, "frame " + quote(d_message->name) + ", a selected PDU: " + leftOut.cause,
                                leftOut.kind);
            }
        }
    }
}

// Before FIBEX 3, frames are selected rather than PDUs.
void FibexFrames::readSwitched(pugi::xml_node instance, Container const& part) {
    if (!spend(instance, 1))
        return;
    Container contents = part;
    std::uint64_t const code = fibexCount(instance, "SWITCH-CODE");
    contents.selectedBy = {{code, code}};
    if (pugi::xml_node const pdu = d_file.referredIfAny(instance, "PDU")) {
        contents.pdu = fibexName(pdu);
        readContents(pdu, contents);
    } else if (pugi::xml_node const frame = d_file.referredIfAny(instance, "FRAME")) {
        contents.pdu = fibexName(frame);
        readContents(frame, contents);
    } else {
        readContents(instance, contents);
    }
}

// The bits of a part, one segment after the other, are those of the PDU that fills it. Without segments, positions are
// those of the PDU around the part.
std::vector<FibexFrames::Segment> FibexFrames::segmentsOf(pugi::xml_node part, Container const& container) const {
    std::vector<Segment> segments;
    unsigned begin = 0;
    for (pugi::xml_node const element : childrenOf(childOf(part, "SEGMENT-POSITIONS"), "SEGMENT-POSITION")) {
        std::uint64_t const bits = fibexCount(element, "BIT-LENGTH");
        if (bits == 0 || bits > container.segments.front().bits)
            throw FibexLeftOut{"a segment of it has " + std::to_string(bits) + " bits"};
        SignalDefinition first; // the bit that the segment starts with
        first.bits = 1;
        place(element, container, first);
        // A segment of whole bytes starts with a byte, whichever end of it the position names.
        bool const wholeBytes = first.bigEndian && first.startBit % 8 == 7;
        segments.push_back({begin, static_cast<unsigned>(bits), wholeBytes ? first.startBit - 7 : first.startBit});
        begin += static_cast<unsigned>(bits);
        if (begin > mostBytes(d_message->bus) * 8)
            throw FibexLeftOut{"its segments are longer than any payload"};
    }
    return segments.empty() ? container.segments : segments;
}

// Sets what follows from the element's position in the container: byte order, start bit, PDU and multiplexor.
void FibexFrames::place(pugi::xml_node element, Container const& container, SignalDefinition& signal) const {
    signal.pdu = container.pdu;
    signal.multiplexor = container.multiplexor;
    signal.selectedBy = container.selectedBy;
    signal.bigEndian = fibexFlag(element, "IS-HIGH-LOW-BYTE-ORDER");
    unsigned const position = normalised(fibexCount(element, "BIT-POSITION"), signal.bigEndian);
    unsigned const along = signal.bigEndian ? alongBigEndian(position) : position;
    for (Segment const& segment : container.segments) {
        if (along < segment.begin || along + signal.bits > segment.begin + segment.bits)
            continue;
        // Bytes stay bytes only where they move by whole ones.
        if (signal.bigEndian && (segment.startBit % 8 != 0 || segment.begin % 8 != 0))
            throw FibexLeftOut{"it is big endian in a segment that does not begin with a byte"};
        signal.startBit = position - segment.begin + segment.startBit;
        unsigned const reach = along - segment.begin + segment.startBit + signal.bits;
        if (reach > mostBytes(d_message->bus) * 8)
            throw FibexLeftOut{"it reaches beyond any payload", ProblemKind::Outside};
        return;
    }
    throw FibexLeftOut{container.segments.size() > 1 ? "it is in none of the segments as a whole"
                                                     : "its BIT-POSITION " + textOf(childOf(element, "BIT-POSITION")) +
                                                           " is beyond what carries it",
                       ProblemKind::Outside};
}

// In sawtooth numbers.
unsigned FibexFrames::normalised(std::uint64_t position, bool bigEndian) const {
    std::uint64_t const limit = std::uint64_t{mostBytes(d_message->bus)} * 8;
    if (position >= limit)
        throw FibexLeftOut{"its BIT-POSITION " + std::to_string(position) + " is beyond any payload",
                           ProblemKind::Outside};
    auto const bit = static_cast<unsigned>(position);
    return bigEndian && d_counting == FibexBitCounting::Monotone ? alongBigEndian(bit) : bit;
}

// Returns the index of the signal in the message.
std::optional<std::size_t> FibexFrames::add(pugi::xml_node element, SignalDefinition&& signal) {
    signal.line = d_file.lineOf(element);
    auto const [other, isNew] = d_indices.emplace(std::make_pair(signal.pdu, signal.name), d_message->signals.size());
    if (isNew) {
        d_message->signals.push_back(std::move(signal));
        return other->second;
    }
    SignalDefinition& first = d_message->signals[other->second];
    bool const isSame = first.multiplexor && first.multiplexor == signal.multiplexor &&
                        first.startBit == signal.startBit && first.bits == signal.bits &&
                        first.bigEndian == signal.bigEndian;
    if (!isSame)
        throw FibexLeftOut{"duplicate signal name, first defined on line " + std::to_string(first.line),
                           ProblemKind::Duplicate};
    first.selectedBy.push_back(signal.selectedBy.front()); // a PDU that several values select
    return other->second;
}

std::string FibexFrames::label(pugi::xml_node element) const {
    pugi::xml_node const reference = childOf(element, "SIGNAL-REF");
    return "frame " + quote(d_message->name) + ", " + std::string(localName(element)) + " " +
           (reference ? quote(attributeOf(reference, "ID-REF")) : quotedFibexName(element)) + ": ";
}

bool FibexFrames::spend(pugi::xml_node element, std::size_t amount) {
    if (d_left == 0)
        return false;
    if (amount >= d_left) {
        d_left = 0;
        d_file.report(element, Severity::Error,
                      "the file describes more signals than are read; all further ones are left out");
        return false;
    }
    d_left -= amount;
    return true;
}

} // namespace qztool
