// Reads the definition file and the log with the command's own readers.
#include "benchmarks/support/Drive.h"

#include "tools/base/TextFile.h"
#include "tools/definitions/dbc/DbcReader.h"
#include "tools/drive/can/CanDefinition.h"
#include "tools/recordings/RecordingReader.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <utility>

namespace qzbench {

namespace {

std::string fileFrom(char const* variable, char const* usual) {
    char const* const named = std::getenv(variable);
    return named != nullptr ? named : std::string(QZSIGNAL_DRIVE_FOLDER "/") + usual;
}

[[noreturn]] void stop(std::string const& problem) {
    std::cerr << "qzsignal_benchmarks: " << problem << std::endl;
    std::exit(66);
}

Drive readDrive() {
    Drive drive;
    std::string text;
    if (std::string const problem = qztool::readTextFile(definitionFile(), text); !problem.empty())
        stop(definitionFile() + ": " + problem);
    // By identifier and its kind.
    std::map<std::pair<std::uint32_t, bool>, std::size_t> counts;
    for (qztool::MessageDefinition const& message : qztool::readDatabase(text).messages) {
        counts[{message.address, message.extended}] = message.signals.size();
        for (qztool::SignalDefinition const& signal : message.signals)
            drive.definitions.push_back(
                qztool::canDefinition(message, signal, qztool::instanceName(message, signal), 0));
    }

    qztool::NeverStop never;
    qztool::RecordingReader reader(logFile(), never);
    qztool::Frame frame;
    while (reader.next(frame) == qztool::RecordingReader::Next::Frame) {
        CANExtTraceMessage message;
        message.timestamp = frame.timestamp;
        message.identifier = frame.address;
        message.extended = frame.extended() ? 1 : 0;
        message.length = frame.length;
        std::copy_n(frame.bytes.begin(), frame.length, message.payload);
        auto const known = counts.find({frame.address, frame.extended()});
        if (known == counts.end() || known->second == 0)
            continue;
        drive.frames.push_back(message);
        drive.signals.push_back(known->second);
    }
    if (!reader.problem().empty())
        stop(reader.problem());
    if (drive.frames.empty())
        stop("no frame of " + logFile() + " carries a signal of " + definitionFile());
    return drive;
}

} // namespace

std::string definitionFile() {
    return fileFrom("QZSIGNAL_DRIVE_DBC", "drive.dbc");
}

std::string logFile() {
    return fileFrom("QZSIGNAL_DRIVE_LOG", "drive.log");
}

Drive const& drive() {
    static Drive const read = readDrive();
    return read;
}

Signals defineAll(bool shared) {
    Signals signals;
    for (canSignalDef_t const& definition : drive().definitions)
        signals.push_back(std::make_unique<CANSignalExt>(definition, shared));
    return signals;
}

} // namespace qzbench
