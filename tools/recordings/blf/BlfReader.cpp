// From file header and objects to frames.
#include "tools/recordings/blf/BlfReader.h"

#include "tools/recordings/ByteOrder.h"
#include "tools/recordings/LocalTime.h"
#include "tools/recordings/SkipBytes.h"
#include "tools/recordings/blf/Objects.h"

#include <algorithm>
#include <cstdio>

namespace qztool {

namespace {

constexpr std::string_view fileMark = "LOGG";

// The file's header: mark, size of the header (4 bytes), ..., at 40 the date of the start as eight numbers of 2 bytes:
// year, month, day of the week, day, hour, minute, second, millisecond.
constexpr std::size_t fileHeaderBytes = 56; // as far as is of interest
constexpr std::size_t startDateAt = 40;

// All objects but containers: base header, 4 bytes of flags, 4 of other things, time (8 bytes), and in version 2 of the
// header 8 more bytes.
constexpr std::size_t objectHeaderBytes = 32;
constexpr std::size_t mostHeaderBytes = 64;
constexpr std::uint32_t tenMicroseconds = 1; // of the flags: unit of the time; else nanoseconds

std::optional<std::uint64_t> dateOf(char const* bytes) {
    std::uint64_t const milliseconds = little16(bytes + 14);
    std::uint64_t const date =
        sinceEpoch(Day{little16(bytes), little16(bytes + 2), little16(bytes + 6)},
                   TimeOfDay{little16(bytes + 8), little16(bytes + 10), little16(bytes + 12)}, milliseconds * 1000);
    return date != 0 && milliseconds < 1000 ? std::optional(date) : std::nullopt;
}

std::size_t interestingBytes(BaseHeader const& header) {
    if (!header.hasSize() || objectKindOf(header.kind).read == nullptr)
        return BaseHeader::bytes;
    return std::min<std::size_t>(header.objectSize, mostHeaderBytes + mostObjectContent);
}

std::uint64_t timeOf(char const* object) {
    std::uint64_t const time = little64(object + 24);
    return little32(object + 16) == tenMicroseconds ? time * 10 : time / 1000;
}

} // namespace

bool BlfReader::fits(std::string_view bytes) {
    return bytes.substr(0, fileMark.size()) == fileMark;
}

std::unique_ptr<FrameReader> BlfReader::open(InputBuffer& input, Findings& findings) {
    return std::make_unique<BlfReader>(input, findings);
}

BlfReader::BlfReader(InputBuffer& input, Findings& findings)
    : d_file(input), d_findings(findings), d_containers(input), d_objects(d_containers), d_finder(d_objects) {}

FrameReader::Next BlfReader::next(Frame& frame) {
    // So that the caller can look whether to stop, even if a large file holds no frames.
    constexpr unsigned mostObjectsWithoutFrame = 65536;
    if (!d_headerRead)
        if (Read const result = readFileHeader(); result != Read::Bytes)
            return stop(result);
    for (unsigned i = 0; i < mostObjectsWithoutFrame; ++i) {
        if (Read const result = toNextObject(); result != Read::Bytes)
            return stop(result);
        if (readObject(frame))
            return Next::Frame;
    }
    return Next::Interrupted;
}

InputBuffer::Read BlfReader::readFileHeader() {
    if (d_headerLeft == 0) {
        if (Read const result = d_file.require(fileHeaderBytes); result != Read::Bytes)
            return result;
        char const* const bytes = d_file.bytes().data();
        d_startTime = dateOf(bytes + startDateAt);
        d_headerLeft = std::max<std::uint64_t>(little32(bytes + fileMark.size()), fileHeaderBytes);
    }
    Read const result = skipBytes(d_file, d_headerLeft);
    d_headerRead = result == Read::Bytes;
    return result;
}

// Bytes: the next object is there, as far as it is of interest.
InputBuffer::Read BlfReader::toNextObject() {
    while (d_objectLeft != 0)
        if (Read const result = passObject(); result != Read::Bytes)
            return result;
    if (Read const result = d_finder.find(); result != Read::Bytes)
        return result;
    BaseHeader const header = baseHeaderOf(d_objects.bytes());
    return d_objects.require(interestingBytes(header));
}

// Passes over some of the rest of an object, which ends where damage begins.
InputBuffer::Read BlfReader::passObject() {
    if (d_objects.bytes().empty())
        if (Read const result = d_objects.fill(); result != Read::Bytes)
            return result;
    std::uint64_t const offset = d_containers.handedOut() - d_objects.bytes().size();
    if (d_containers.damage() < offset + d_objectLeft)
        d_objectLeft = d_containers.damage() - std::min(offset, d_containers.damage());
    auto const count = static_cast<std::size_t>(std::min<std::uint64_t>(d_objectLeft, d_objects.bytes().size()));
    d_objects.consume(count);
    d_objectLeft -= count;
    return Read::Bytes;
}

// False: it holds no frame.
bool BlfReader::readObject(Frame& frame) {
    ++d_place;
    BaseHeader const header = baseHeaderOf(d_objects.bytes());
    d_objectLeft = header.objectSize;
    ObjectKind const& kind = objectKindOf(header.kind);
    if (d_containers.damage() != ContainerSource::noDamage && endsInDamage(interestingBytes(header)))
        return false;
    if (d_finder.takeDamage())
        addDamaged();
    if (!header.hasSize()) {
        d_objectLeft = 1; // finds the next one
        d_findings.addMalformed("object of an impossible size", d_place);
        return false;
    }
    if (kind.read == nullptr) {
        addSkipped(kind.name, header.kind);
        return false;
    }
    if (header.headerSize < objectHeaderBytes || header.headerSize > mostHeaderBytes ||
        header.headerSize > header.objectSize) {
        d_findings.addMalformed("header of an unknown size", d_place);
        return false;
    }
    std::string_view const object = d_objects.bytes().substr(0, header.objectSize);
    if (char const* const cause = kind.read(object.substr(header.headerSize), frame)) {
        d_findings.addMalformed(cause, d_place);
        return false;
    }
    frame.timestamp = timeOf(object.data());
    return true;
}

// Reports damage before the current object. True: of its first `size` bytes, the last ones are missing, and what
// follows belongs to others.
bool BlfReader::endsInDamage(std::size_t size) {
    std::uint64_t const object = d_containers.handedOut() - d_objects.bytes().size();
    std::uint64_t const damage = d_containers.damage();
    if (damage >= object + size)
        return false;
    d_containers.takeDamage();
    addDamaged();
    d_finder.takeDamage(); // the same one
    if (damage <= object)
        return false;
    d_objectLeft = damage - object;
    return true;
}

void BlfReader::addDamaged() {
    d_findings.addMalformed("damaged bytes", d_place);
}

void BlfReader::addSkipped(char const* name, std::uint32_t kind) {
    if (name != nullptr)
        return d_findings.addSkipped(name);
    char text[32];
    std::snprintf(text, sizeof text, "object of kind %lu", static_cast<unsigned long>(kind));
    d_findings.addSkipped(text);
}

FrameReader::Next BlfReader::stop(Read reason) {
    if (reason == Read::Interrupted)
        return Next::Interrupted;
    // What the damaged bytes at the end held counts as one object.
    bool const passedDamage = d_finder.takeDamage();
    if (d_containers.damage() != ContainerSource::noDamage || passedDamage) {
        while (d_containers.damage() != ContainerSource::noDamage)
            d_containers.takeDamage();
        d_objectLeft = 0; // of an object that ends there
        ++d_place;
        addDamaged();
    }
    if (!d_headerRead)
        d_findings.failReading(reason == Read::Failed ? d_file.source().error() : "unexpected end of file");
    else if (reason == Read::Failed)
        d_findings.failReading(d_containers.error());
    else if (d_objectLeft != 0 || !d_objects.bytes().empty())
        d_findings.failReading("unexpected end of file");
    return Next::End;
}

} // namespace qztool
