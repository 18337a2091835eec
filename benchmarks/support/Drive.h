// The car that the benchmarks decode: its signals, and its bus traffic.
#pragma once

#include "qzsignal/can/CANSignalExt.h"
#include "qzsignal/trace/CANExtTraceMessage.h"

#include <memory>
#include <string>
#include <vector>

namespace qzbench {

// The paths of its files: those that QZSIGNAL_DRIVE_DBC and QZSIGNAL_DRIVE_LOG name, such as of a real car, or else
// those that generate-drive.py wrote.
std::string definitionFile();
std::string logFile();

struct Drive {
    std::vector<canSignalDef_t> definitions; // in order of the file, which is that of the messages
    std::vector<CANExtTraceMessage> frames;  // in order of time; all that carry at least one signal
    std::vector<std::size_t> signals;        // of each frame, how many signals it carries
};

// Read at the first call.
Drive const& drive();

using Signals = std::vector<std::unique_ptr<CANSignalExt>>;

// All signals of the drive, built in the order of their definitions.
Signals defineAll(bool shared);

} // namespace qzbench
