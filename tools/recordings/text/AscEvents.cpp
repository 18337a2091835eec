// Tables of words.
#include "tools/recordings/text/AscEvents.h"

#include "tools/base/Characters.h"

#include <algorithm>

namespace qztool {

namespace {

struct Kind {
    std::string_view word;
    char const* kind;
};

constexpr Kind kinds[] = {
    {"Start", "start of measurement"},
    {"CAN", "CAN status"},
    {"Statistic:", "CAN statistics"},
    {"OverloadFrame", "CAN overload frame"},
    {"J1939TP", "J1939 transport"},
    {"SV:", "system variable"},
    {"ETH", "Ethernet frame"},
    {"AFDX", "AFDX frame"},
    {"WLAN", "WLAN frame"},
    {"GPS-Device:", "GPS position"},
    {"Comment:", "comment"},
    {"TFS:", "test structure"},
    {"log", "log trigger event"},
};

constexpr Kind linKinds[] = {
    {"TransmErr", "LIN send error"},
    {"RcvError:", "LIN receive error"},
    {"SyncError", "LIN synchronisation error"},
    {"CSInfo", "LIN checksum information"},
    {"CSErr", "LIN checksum error"},
    {"DlcInfo", "LIN length information"},
    {"SleepModeEvent", "LIN sleep"},
    {"WakeupFrame", "LIN wake-up"},
    {"Unexpected", "LIN unexpected wake-up"},
    {"SchedModChng", "LIN schedule change"},
    {"SlaveTimeout", "LIN slave timeout"},
    {"Statistic", "LIN statistics"},
    {"Dominant", "LIN long dominant signal"},
    {"DisturbanceEvent", "LIN disturbance"},
    {"Baudrate", "LIN baud rate"},
    {"Spike", "LIN spike"},
    {"ShortOrSlowResponse:", "LIN short or slow response"},
};

constexpr Kind flexRayKinds[] = {
    {"StartCycleEvent", "FlexRay cycle start"},
    {"SE", "FlexRay cycle start"},
    {"PDU", "FlexRay PDU"},
    {"SYMB", "FlexRay symbol"},
    {"SYMBOL", "FlexRay symbol"},
    {"ERR", "FlexRay error"},
    {"ERROR", "FlexRay error"},
    {"STAT", "FlexRay status"},
    {"STATUS", "FlexRay status"},
};

// Null: there is none.
template <std::size_t Count>
char const* find(Kind const (&table)[Count], std::string_view word) {
    auto const found =
        std::find_if(std::begin(table), std::end(table), [word](Kind const& each) { return each.word == word; });
    return found != std::end(table) ? found->kind : nullptr;
}

// Such as "M1" or "COM2".
bool isNumbered(std::string_view word, std::string_view name) {
    return word.size() > name.size() && word.substr(0, name.size()) == name &&
           std::all_of(word.begin() + static_cast<std::ptrdiff_t>(name.size()), word.end(), isDigit<char>);
}

} // namespace

char const* ascEventKind(std::string_view word) {
    if (char const* const kind = find(kinds, word))
        return kind;
    if (isNumbered(word, "M"))
        return "MOST event";
    return isNumbered(word, "COM") ? "serial event" : "event of another kind";
}

char const* ascLinEventKind(std::string_view word) {
    return find(linKinds, word);
}

char const* ascFlexRayEventKind(std::string_view first, std::string_view second) {
    for (std::string_view const word : {first, second})
        if (char const* const kind = find(flexRayKinds, word))
            return kind;
    return "FlexRay event of another kind";
}

} // namespace qztool
