// Three forms of a line.
#include "tools/expression/MomentPrinter.h"

#include "tools/base/Numbers.h"

#include <nlohmann/json.hpp>

namespace qztool {

namespace {

void printText(std::ostream& out, Moment const& moment, bool withHeld) {
    out << secondsText(moment.timestamp) << " true";
    if (withHeld)
        out << " for " << secondsText(moment.held) << " s" << (moment.ended ? "" : ", to the end of the recording");
    out << " (line " << moment.line << ")\n";
}

void printCsv(std::ostream& out, Moment const& moment, bool withHeld) {
    out << secondsText(moment.timestamp) << "," << moment.line;
    if (withHeld)
        out << "," << secondsText(moment.held) << "," << (moment.ended ? "true" : "false");
    out << "\n";
}

void printJson(std::ostream& out, Moment const& moment, bool withHeld) {
    nlohmann::ordered_json json;
    json["timestamp"] = moment.timestamp;
    json["line"] = moment.line;
    if (withHeld) {
        json["held"] = moment.held;
        json["ended"] = moment.ended;
    }
    out << json.dump() << "\n";
}

} // namespace

void MomentPrinter::begin() {
    if (d_format == MomentFormat::Csv)
        d_out << (d_withHeld ? "time,line,held,ended\n" : "time,line\n");
}

void MomentPrinter::print(Moment const& moment) {
    switch (d_format) {
    case MomentFormat::Text:
        return printText(d_out, moment, d_withHeld);
    case MomentFormat::Csv:
        return printCsv(d_out, moment, d_withHeld);
    case MomentFormat::Json:
        return printJson(d_out, moment, d_withHeld);
    }
}

} // namespace qztool
