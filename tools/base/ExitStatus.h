// Exit statuses of the command.
#pragma once

namespace qztool {

enum ExitStatus : int {
    exitSuccess = 0,
    exitNothingUsable = 1, // an input could not be used, or nothing in it could
    exitUsage = 64,        // the command line is wrong
    exitBadData = 65,      // an input was read, but contains no usable data
    exitNotThere = 69,     // a signal that was asked for does not exist
    exitFailed = 70,       // internal failure, such as out of memory
    exitFedByOther = 73,   // another process feeds these signals
    exitNotWritten = 74,   // results could not be written; goes before any other
    // Of commands that answer whether a condition is true. There, an input that cannot be used is not there either.
    exitTrue = 0,
    exitFalse = 1,
};

// The same for `--help`.
constexpr char exitStatusHelp[] = "Exit status:\n"
                                  "  0   done\n"
                                  "  1   an input could not be used, or nothing usable is in it\n"
                                  "  64  the command line is wrong\n"
                                  "  65  an input contains no usable data\n"
                                  "  69  a signal that was asked for is not there\n"
                                  "  70  internal failure, such as out of memory\n"
                                  "  73  another process feeds these signals\n"
                                  "  74  the results could not be written\n";

} // namespace qztool
