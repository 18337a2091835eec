// Exit statuses of the command.
#pragma once

namespace qztool {

enum ExitStatus : int {
    exitSuccess = 0,
    exitNothingUsable = 1, // an input could not be used, or nothing in it could
    exitUsage = 64,        // the command line is wrong
    exitBadData = 65,      // an input was read, but is bad throughout
    exitNotThere = 69,     // a signal that was asked for does not exist
    exitFailed = 70,       // the command could not go on, for want of memory as a rule
    // Of commands that answer whether a condition is true. There, an input that cannot be used is not there either.
    exitTrue = 0,
    exitFalse = 1,
};

// The same for `--help`.
constexpr char exitStatusHelp[] = "Exit status:\n"
                                  "  0   done\n"
                                  "  1   an input could not be used, or nothing usable is in it\n"
                                  "  64  the command line is wrong\n"
                                  "  65  an input is bad throughout\n"
                                  "  69  a signal that was asked for is not there\n"
                                  "  70  the command could not go on, as without memory\n";

} // namespace qztool
