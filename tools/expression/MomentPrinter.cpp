// Three forms of a line.
#include "tools/expression/MomentPrinter.h"

#include "tools/base/Numbers.h"

#include <nlohmann/json.hpp>

namespace qztool {

namespace {

// Programs ask for lines or for objects; packets count as these.
char const* placeKey(std::string const& placeKind) {
    return placeKind == "line" ? "line" : "object";
}

void printText(std::ostream& out, Moment const& moment, bool withHeld, std::string const& placeKind) {
    out << secondsText(moment.timestamp) << " true";
    if (withHeld)
        out << " for " << secondsText(moment.held) << " s" << (moment.ended ? "" : ", to the end of the recording");
    out << " (" << placeKind << " " << moment.place << ")\n";
}

void printCsv(std::ostream& out, Moment const& moment, bool withHeld) {
    out << secondsText(moment.timestamp) << "," << moment.place;
    if (withHeld)
        out << "," << secondsText(moment.held) << "," << (moment.ended ? "true" : "false");
    out << "\n";
}

void printJson(std::ostream& out, Moment const& moment, bool withHeld, std::string const& placeKind) {
    nlohmann::ordered_json json;
    json["timestamp"] = moment.timestamp;
    json[placeKey(placeKind)] = moment.place;
    if (withHeld) {
        json["held"] = moment.held;
        json["ended"] = moment.ended;
    }
    out << json.dump() << "\n";
}

} // namespace

void MomentPrinter::begin(char const* placeKind) {
    if (!d_placeKind.empty())
        return;
    d_placeKind = placeKind;
    if (d_format == MomentFormat::Csv)
        d_out << "time," << placeKey(d_placeKind) << (d_withHeld ? ",held,ended\n" : "\n");
}

void MomentPrinter::print(Moment const& moment) {
    switch (d_format) {
    case MomentFormat::Text:
        return printText(d_out, moment, d_withHeld, d_placeKind);
    case MomentFormat::Csv:
        return printCsv(d_out, moment, d_withHeld);
    case MomentFormat::Json:
        return printJson(d_out, moment, d_withHeld, d_placeKind);
    }
}

} // namespace qztool
