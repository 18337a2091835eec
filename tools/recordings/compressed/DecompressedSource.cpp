// Feeding a decompressor.
#include "tools/recordings/compressed/DecompressedSource.h"

#include <utility>

namespace qztool {

ByteSource::Read DecompressedSource::read(char* bytes, std::size_t size, std::size_t& count) {
    while (d_error.empty()) {
        // Before more is read, which may take long: the decompressor may hold output of what it has got already.
        bool const hadInput = !d_input.bytes().empty();
        Step const step = decompress(d_input.bytes(), d_inputEnded, bytes, size);
        d_input.consume(step.consumed);
        if (step.produced != 0) {
            count = step.produced;
            return Read::Bytes;
        }
        if (step.damage != nullptr)
            return failDamaged(step.damage);
        if (hadInput && step.consumed == 0)
            return failDamaged("");
        if (!d_input.bytes().empty())
            continue;
        if (d_inputEnded)
            return step.atBorder ? Read::End : fail(std::string("unexpected end of the ") + d_name + " data");
        Read const result = d_input.fill();
        if (result == Read::Interrupted)
            return result;
        if (result == Read::Failed)
            return fail(d_input.source().error());
        d_inputEnded = result == Read::End;
    }
    return Read::Failed;
}

ByteSource::Read DecompressedSource::failDamaged(std::string const& details) {
    return fail(std::string("damaged ") + d_name + " data" + (details.empty() ? "" : " (" + details + ")"));
}

ByteSource::Read DecompressedSource::fail(std::string error) {
    d_error = std::move(error);
    return Read::Failed;
}

} // namespace qztool
