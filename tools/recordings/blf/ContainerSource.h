// The objects of a BLF file as one stream.
#pragma once

#include "tools/recordings/ByteSource.h"
#include "tools/recordings/InputBuffer.h"
#include "tools/recordings/blf/ObjectFinder.h"

#ifdef QZSIGNAL_WITH_ZLIB
#include "tools/recordings/compressed/Inflater.h"
#endif
#ifdef QZSIGNAL_WITH_LIBDEFLATE
#include "tools/recordings/compressed/WholeInflater.h"
#endif

#include <cstdint>
#include <deque>
#include <limits>
#include <string>

namespace qztool {

// Most objects of a file are in containers, which are objects themselves. Their contents, inflated if need be, follow
// each other without a gap, as an object may begin in one container and end in the next; objects outside of containers
// are passed on as they are. Needs the same memory for containers of any size, and reads one that is cut as far as it
// goes.
class ContainerSource : public ByteSource {
public:
    // Reads from after the file's header on.
    explicit ContainerSource(InputBuffer& file) : d_file(file), d_finder(file) {}

    Read read(char* bytes, std::size_t size, std::size_t& count) override;
    std::string error() const override { return d_error; }
    std::uint64_t bytesRead() const override { return d_file.source().bytesRead(); }

    // Where parts of the file had to be passed over: offset among the bytes that were handed out, the lowest that is
    // not taken yet, or `noDamage`.
    std::uint64_t damage() const { return d_damages.empty() ? noDamage : d_damages.front(); }
    void takeDamage() { d_damages.pop_front(); }
    // Bytes handed out so far.
    std::uint64_t handedOut() const { return d_handedOut; }

    static constexpr std::uint64_t noDamage = std::numeric_limits<std::uint64_t>::max();

private:
    enum class State {
        BetweenObjects,
        Stored,
        Deflated, // at the beginning of what is deflated
        Inflating,
        Skipping
    };

    Read beginObject();
    Read beginContainer(std::uint32_t size);
    Read readStored(char* bytes, std::size_t size, std::size_t& count);
    Read inflateWhole(char* bytes, std::size_t size, std::size_t& count);
    Read inflate(char* bytes, std::size_t size, std::size_t& count);
    Read more();
    Read endOr(Read result);
    void addDamage(std::uint64_t offset);
    Read fail(char const* error);

    InputBuffer& d_file;
    ObjectFinder d_finder;
#ifdef QZSIGNAL_WITH_ZLIB
    Inflater d_inflater{Inflater::Header::Zlib};
#endif
#ifdef QZSIGNAL_WITH_LIBDEFLATE
    WholeInflater d_wholeInflater;
    std::uint32_t d_inflatedSize = 0; // of the current container, as it says
#endif
    State d_state = State::BetweenObjects;
    std::uint64_t d_left = 0; // bytes of the current object
    std::uint64_t d_handedOut = 0;
    std::deque<std::uint64_t> d_damages;
    std::string d_error; // set: reading fails from now on
};

} // namespace qztool
