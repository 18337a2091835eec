// Lanes, scales and lines.
#include "tools/plot/PlotPicture.h"

#include "tools/base/Numbers.h"
#include "tools/plot/MarkupText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace qztool {

namespace {

// All lengths are in pixels.
constexpr double pictureWidth = 960;
constexpr double left = 72;
constexpr double right = pictureWidth - 12;
constexpr double titleHeight = 34;
constexpr double keyHeight = 18; // of the line that names a lane's signals
constexpr double plotHeight = 140;
constexpr double laneGap = 14;
constexpr double axisHeight = 40;

constexpr char const* colours[] = {"#0072b2", "#d55e00", "#009e73", "#b3478f",
                                   "#8a6d00", "#5b50b8", "#c0392b", "#1f7a8c"};

// Maps a range of numbers to one of pixels.
struct Scale {
    double low, high, first, last;
    double operator()(double number) const { return first + (number - low) / (high - low) * (last - first); }
};

// The same for recorded times, from the first value to the last.
class TimeScale {
public:
    explicit TimeScale(PlottedDrive const& drive)
        : d_beginning(drive.firstTime()), d_seconds{0, secondsSince(d_beginning, drive.lastTime()), left, right} {
        if (d_seconds.high <= 0)
            d_seconds.high = 1;
    }
    double length() const { return d_seconds.high; } // seconds
    double ofSeconds(double seconds) const { return d_seconds(seconds); }
    double operator()(std::uint64_t time) const { return d_seconds(secondsSince(d_beginning, time)); }

private:
    std::uint64_t d_beginning;
    Scale d_seconds;
};

struct Lane {
    std::string unit;
    std::vector<std::pair<PlottedSignal const*, char const*>> signals; // with their colours
};

std::vector<Lane> lanesOf(PlottedDrive const& drive) {
    std::vector<Lane> lanes;
    for (std::size_t i = 0; i < drive.signals.size(); ++i) {
        PlottedSignal const& signal = drive.signals[i];
        auto lane =
            std::find_if(lanes.begin(), lanes.end(), [&](Lane const& each) { return each.unit == signal.unit; });
        if (lane == lanes.end())
            lane = lanes.insert(lanes.end(), {signal.unit, {}});
        lane->signals.emplace_back(&signal, colours[i % std::size(colours)]);
    }
    return lanes;
}

std::string number(char const* format, double value) {
    char text[40];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string pixels(double value) {
    return number("%.1f", value);
}

// 1, 2 or 5 times a power of ten, so that about `count` of them make up the length.
double stepOf(double length, double count) {
    double const power = std::pow(10, std::floor(std::log10(length / count)));
    for (double const factor : {1.0, 2.0, 5.0})
        if (power * factor >= length / count)
            return power * factor;
    return power * 10;
}

// Places of an axis' numbers, and their texts.
std::vector<std::pair<double, std::string>> ticksOf(double low, double high, double count) {
    std::vector<std::pair<double, std::string>> ticks;
    double const step = stepOf(high - low, count);
    int const digits = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 9);
    double const first = std::ceil(low / step);
    auto const steps = static_cast<int>(std::floor(high / step) - first); // a few, whatever the numbers are
    for (int i = 0; i <= steps; ++i) {
        double const number = (first + i) * step;
        char text[40];
        if (std::abs(number) < 1e7)
            std::snprintf(text, sizeof text, "%.*f", digits, number + 0.0); // no -0
        else
            std::snprintf(text, sizeof text, "%g", number);
        ticks.emplace_back(number, text);
    }
    return ticks;
}

// The values of all signals of a lane, with room around them.
Scale valueScale(Lane const& lane, double top) {
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (auto const& [signal, colour] : lane.signals)
        for (double const value : signal->values)
            if (std::isfinite(value)) {
                low = std::min(low, value);
                high = std::max(high, value);
            }
    if (low > high)
        low = high = 0;
    double const length = high - low;
    double const room = length > 0 ? 0.06 * length : std::max(0.1 * std::abs(low), 1.0);
    return {low - room, high + room, top + plotHeight, top};
}

// A value holds until the next one comes. In each pixel, the line goes through the lowest and the highest value.
std::string lineOf(PlottedSignal const& signal, TimeScale const& x, Scale const& y) {
    std::string line;
    double last = std::numeric_limits<double>::quiet_NaN(); // the height at which the line is
    for (std::size_t i = 0; i < signal.times.size();) {
        double const column = std::floor(x(signal.times[i]));
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        double end = std::numeric_limits<double>::quiet_NaN();
        std::size_t const first = i;
        for (; i < signal.times.size() && std::floor(x(signal.times[i])) == column; ++i) {
            end = y(signal.values[i]);
            if (std::isfinite(end)) {
                low = std::min(low, end);
                high = std::max(high, end);
            }
        }
        std::string const place = pixels(x(signal.times[first]));
        if (std::isfinite(last) && std::isfinite(end))
            line += "H" + place;
        if (std::isfinite(end)) {
            line += std::isfinite(last) ? "V" + pixels(low) : "M" + place + " " + pixels(low);
            if (i - first > 1)
                line += "V" + pixels(high) + "V" + pixels(end);
        }
        last = end;
    }
    return line;
}

void writeMarks(std::ostream& out, PlottedDrive const& drive, TimeScale const& x, double top) {
    for (PlottedMark const& mark : drive.marks)
        for (auto const& [begin, end] : mark.spans) {
            if (end < drive.firstTime())
                continue;
            double const from = x(std::max(begin, drive.firstTime()));
            double const width = std::max(x(end) - from, 1.0);
            out << "<rect class=\"mark\" x=\"" << pixels(from) << "\" y=\"" << pixels(top) << "\" width=\""
                << pixels(width) << "\" height=\"" << pixels(plotHeight) << "\"><title>" << markupText(mark.expression)
                << "</title></rect>\n";
        }
}

void writeLane(std::ostream& out, PlottedDrive const& drive, Lane const& lane, TimeScale const& x, double top) {
    out << "<text y=\"" << pixels(top + keyHeight - 6) << "\" x=\"" << pixels(left) << "\">";
    for (auto const& [signal, colour] : lane.signals)
        out << "<tspan fill=\"" << colour << "\">" << markupText(signal->name) << "</tspan>  ";
    out << (lane.unit.empty() ? "" : "in " + markupText(lane.unit)) << "</text>\n";
    top += keyHeight;
    writeMarks(out, drive, x, top);
    Scale const y = valueScale(lane, top);
    for (auto const& [value, text] : ticksOf(y.low, y.high, 5))
        out << "<path class=\"grid\" d=\"M" << pixels(left) << " " << pixels(y(value)) << "H" << pixels(right)
            << "\"/><text class=\"tick\" text-anchor=\"end\" x=\"" << pixels(left - 6) << "\" y=\""
            << pixels(y(value) + 4) << "\">" << text << "</text>\n";
    for (auto const& [signal, colour] : lane.signals)
        out << "<path class=\"line\" stroke=\"" << colour << "\" d=\"" << lineOf(*signal, x, y) << "\"/>\n";
}

} // namespace

void writePlotPicture(std::ostream& out, PlottedDrive const& drive) {
    std::vector<Lane> const lanes = lanesOf(drive);
    double const laneHeight = keyHeight + plotHeight + laneGap;
    double const bottom = titleHeight + laneHeight * static_cast<double>(lanes.size());
    TimeScale const x(drive);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << pictureWidth << "\" height=\""
        << pixels(bottom + axisHeight) << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
        << "<style>.grid{stroke:#d9dee3}.line{fill:none;stroke-width:1.25}.mark{fill:#e69600;fill-opacity:.22}"
        << ".tick{fill:#6b747d}</style>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n"
        << "<text x=\"" << pixels(left) << "\" y=\"20\" font-size=\"15\">" << markupText(drive.title) << "</text>\n";
    for (std::size_t i = 0; i < lanes.size(); ++i)
        writeLane(out, drive, lanes[i], x, titleHeight + laneHeight * static_cast<double>(i));
    for (auto const& [seconds, text] : ticksOf(0, x.length(), 8))
        out << "<text class=\"tick\" text-anchor=\"middle\" x=\"" << pixels(x.ofSeconds(seconds)) << "\" y=\""
            << pixels(bottom + 8) << "\">" << text << "</text>\n";
    out << "<text class=\"tick\" text-anchor=\"middle\" x=\"" << pixels((left + right) / 2) << "\" y=\""
        << pixels(bottom + 26) << "\">Seconds since " << secondsText(drive.firstTime()) << "</text>\n</svg>\n";
}

} // namespace qztool
