// Reads the frames of BLF files, the binary format of Vector's tools.
#pragma once

#include "tools/recordings/Findings.h"
#include "tools/recordings/FrameReader.h"
#include "tools/recordings/InputBuffer.h"
#include "tools/recordings/blf/ContainerSource.h"
#include "tools/recordings/blf/ObjectFinder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace qztool {

// A file is a header ("LOGG", with the date of the start) and objects: frames and events, each with a time since the
// start, mostly in containers (see ContainerSource). What the header says about sizes and counts is not used: a
// recorder that was switched off had no time to fill it in.
class BlfReader : public FrameReader {
public:
    // True if these are the first bytes of a BLF file.
    static bool fits(std::string_view bytes);
    static std::unique_ptr<FrameReader> open(InputBuffer& input, Findings& findings);

    BlfReader(InputBuffer& input, Findings& findings);

    Next next(Frame& frame) override;
    std::uint64_t place() const override { return d_place; }
    char const* placeKind() const override { return "object"; }
    std::optional<std::uint64_t> startTime() const override { return d_startTime; }

private:
    using Read = InputBuffer::Read;

    Read readFileHeader();
    Read toNextObject();
    bool readObject(Frame& frame);
    Read passObject();
    bool endsInDamage(std::size_t size);
    void addDamaged();
    Next stop(Read reason);
    void addSkipped(char const* name, std::uint32_t kind);

    InputBuffer& d_file;
    Findings& d_findings;
    ContainerSource d_containers;
    InputBuffer d_objects;
    ObjectFinder d_finder;
    bool d_headerRead = false;
    std::optional<std::uint64_t> d_startTime;
    std::uint64_t d_headerLeft = 0; // bytes of the file's header still to pass over
    std::uint64_t d_objectLeft = 0; // the same of the object before
    std::uint64_t d_place = 0;
};

} // namespace qztool
