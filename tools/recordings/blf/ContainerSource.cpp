// Containers, stored and deflated.
#include "tools/recordings/blf/ContainerSource.h"

#include "tools/recordings/SkipBytes.h"

#include <algorithm>
#include <cstring>

namespace qztool {

namespace {

// A container has no more than the base header, then: compression (2 bytes), 6 unused bytes, size when inflated (4), 4
// unused bytes.
constexpr std::uint32_t containerKind = 10;
constexpr std::size_t containerHeaderBytes = BaseHeader::bytes + 16;
constexpr std::size_t inflatedSizeAt = BaseHeader::bytes + 8;
constexpr std::uint16_t notCompressed = 0;
constexpr std::uint16_t deflated = 2;

} // namespace

ByteSource::Read ContainerSource::read(char* bytes, std::size_t size, std::size_t& count) {
    count = 0;
    while (d_error.empty()) {
        Read result = Read::Bytes;
        if (d_state == State::BetweenObjects)
            result = beginObject();
        else if (d_state == State::Stored)
            result = readStored(bytes, size, count);
        else if (d_state == State::Deflated)
            result = inflateWhole(bytes, size, count);
        else if (d_state == State::Inflating)
            result = inflate(bytes, size, count);
        else if (result = endOr(skipBytes(d_file, d_left)); result == Read::Bytes)
            d_state = State::BetweenObjects;
        d_handedOut += count;
        if (result != Read::Bytes || count != 0)
            return result;
    }
    return Read::Failed;
}

void ContainerSource::addDamage(std::uint64_t offset) {
    if (d_damages.empty() || d_damages.back() != offset)
        d_damages.push_back(offset);
}

ByteSource::Read ContainerSource::beginObject() {
    Read const found = d_finder.find();
    if (found == Read::Interrupted)
        return found;
    if (d_finder.takeDamage())
        addDamage(d_handedOut);
    if (found == Read::End && d_file.bytes().empty())
        return Read::End;
    if (found != Read::Bytes)
        return endOr(found);
    BaseHeader const header = baseHeaderOf(d_file.bytes());
    if (!header.hasSize() || (header.kind == containerKind && header.objectSize < containerHeaderBytes)) {
        addDamage(d_handedOut);
        d_file.consume(1); // finds the next one
        return Read::Bytes;
    }
    if (header.kind == containerKind)
        return beginContainer(header.objectSize);
    d_state = State::Stored;
    d_left = header.objectSize;
    return Read::Bytes;
}

ByteSource::Read ContainerSource::beginContainer(std::uint32_t size) {
    if (Read const result = d_file.require(containerHeaderBytes); result != Read::Bytes)
        return endOr(result);
    std::uint16_t const compression = little16(d_file.bytes().data() + BaseHeader::bytes);
#ifdef QZSIGNAL_WITH_LIBDEFLATE
    d_inflatedSize = little32(d_file.bytes().data() + inflatedSizeAt);
#endif
    d_file.consume(containerHeaderBytes);
    d_left = size - containerHeaderBytes;
    if (compression == notCompressed) {
        d_state = State::Stored;
    } else if (compression == deflated) {
#ifdef QZSIGNAL_WITH_ZLIB
        d_inflater.reset();
        d_state = State::Deflated;
#else
        return fail("its objects are compressed, and this command was built without zlib");
#endif
    } else {
        addDamage(d_handedOut);
        d_state = State::Skipping;
    }
    return Read::Bytes;
}

ByteSource::Read ContainerSource::readStored(char* bytes, std::size_t size, std::size_t& count) {
    if (d_left != 0 && d_file.bytes().empty())
        return more();
    count = static_cast<std::size_t>(std::min<std::uint64_t>({size, d_left, d_file.bytes().size()}));
    std::memcpy(bytes, d_file.bytes().data(), count);
    d_file.consume(count);
    d_left -= count;
    if (d_left == 0)
        d_state = State::BetweenObjects;
    return Read::Bytes;
}

// The usual container fits into the buffers at both ends. Others, and those that are damaged or cut, are left to zlib,
// which hands out all up to there.
ByteSource::Read ContainerSource::inflateWhole([[maybe_unused]] char* bytes, [[maybe_unused]] std::size_t size,
                                               [[maybe_unused]] std::size_t& count) {
#ifdef QZSIGNAL_WITH_LIBDEFLATE
    if (d_inflatedSize <= size && d_left <= InputBuffer::capacity) {
        auto const left = static_cast<std::size_t>(d_left);
        Read const result = d_file.require(left);
        if (result == Read::Interrupted)
            return result;
        if (result == Read::Bytes &&
            d_wholeInflater.inflate(d_file.bytes().substr(0, left), bytes, d_inflatedSize, count)) {
            d_file.consume(left);
            d_state = State::BetweenObjects;
            return Read::Bytes;
        }
        count = 0;
    }
#endif
    d_state = State::Inflating;
    return Read::Bytes;
}

#ifdef QZSIGNAL_WITH_ZLIB
ByteSource::Read ContainerSource::inflate(char* bytes, std::size_t size, std::size_t& count) {
    std::string_view const file = d_file.bytes();
    std::string_view const input =
        file.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(file.size(), d_left)));
    Inflater::Step const step = d_inflater.inflate(input, bytes, size);
    d_file.consume(step.consumed);
    d_left -= step.consumed;
    count = step.produced;
    if (step.ended || step.damage != nullptr) {
        if (!step.ended)
            addDamage(d_handedOut + count);
        d_state = State::Skipping;
    } else if (step.consumed == 0 && step.produced == 0) {
        if (d_left != 0)
            return more();
        addDamage(d_handedOut); // the container ends before its content does
        d_state = State::BetweenObjects;
    }
    return Read::Bytes;
}
#else
ByteSource::Read ContainerSource::inflate(char* /*bytes*/, std::size_t /*size*/, std::size_t& /*count*/) {
    return Read::Failed;
}
#endif

ByteSource::Read ContainerSource::more() {
    return endOr(d_file.fill());
}

// An end within an object is none.
ByteSource::Read ContainerSource::endOr(Read result) {
    if (result == Read::End)
        return fail("unexpected end of file");
    if (result == Read::Failed)
        d_error = d_file.source().error();
    return result;
}

ByteSource::Read ContainerSource::fail(char const* error) {
    d_error = error;
    return Read::Failed;
}

} // namespace qztool
