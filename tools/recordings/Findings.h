// What a recording holds beside frames: damage, and things of kinds that are not read.
#pragma once

#include "tools/base/LineNumbers.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qztool {

// Lines or objects that are malformed for one cause.
struct Malformed {
    char const* cause; // plain words, static, such as "odd number of data digits"
    LineNumbers places;
};

// Hears of damage as soon as it is read.
class FindingsListener {
public:
    virtual ~FindingsListener() = default;

    // `place` is the last one of the group.
    virtual void malformed(Malformed const& group, std::uint64_t place) = 0;
};

// Filled by the reader of a format, while it reads.
class Findings {
public:
    // `name` is the recording's in messages, such as "'x.log'".
    explicit Findings(std::string name = "the recording") : d_name(std::move(name)) {}

    // `place` counts lines or objects from 1; it is above all places before.
    void addMalformed(char const* cause, std::uint64_t place);
    // Counts something that is sound but is not read, such as "statistics". Only the first of a kind allocates.
    void addSkipped(std::string_view kind);
    // Reading cannot go on. One line that names the recording, such as "cannot read 'x.log': Input/output error".
    void fail(std::string problem) { d_problem = std::move(problem); }
    // The same, by its cause alone.
    void failReading(std::string const& cause) { fail("cannot read " + d_name + ": " + cause); }

    // Null, or one that outlives this object.
    void setListener(FindingsListener* listener) { d_listener = listener; }
    bool hasListener() const { return d_listener != nullptr; }

    // By cause, in order of the first places.
    std::vector<Malformed> const& malformed() const { return d_malformed; }
    std::size_t malformedCount() const { return d_malformedCount; }
    // Counts by kind.
    std::map<std::string, std::size_t, std::less<>> const& skipped() const { return d_skipped; }
    // Empty if all is well.
    std::string const& problem() const { return d_problem; }

private:
    std::string d_name;
    std::vector<Malformed> d_malformed;
    std::size_t d_malformedCount = 0;
    std::map<std::string, std::size_t, std::less<>> d_skipped;
    std::string d_problem;
    FindingsListener* d_listener = nullptr;
};

} // namespace qztool
