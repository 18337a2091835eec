// How far a replay has come, for a user who watches it on a terminal.
#pragma once

#include <cstdint>
#include <ctime>

namespace qztool {

// Shows one line on standard error, at most twice a second, and wipes it away in the end. Elsewhere than on a terminal
// it shows nothing.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    // Wipes the line away, until the next `show`.
    void hide();
    // `totalBytes` is 0 if it is not known.
    void show(std::uint64_t frames, std::uint64_t bytesRead, std::uint64_t totalBytes);

private:
    bool d_terminal;
    bool d_shown = false;
    timespec d_last{};
};

} // namespace qztool
