// A time zone for tests of local dates, whatever that of the machine is.
#pragma once

#include <cstdlib>
#include <string>

namespace qztool {

// The zone of this process, an hour or two ahead of UTC unless it is set, for as long as the object is there.
class LocalZone {
public:
    LocalZone() {
        if (char const* const zone = std::getenv("TZ")) {
            d_wasSet = true;
            d_previous = zone;
        }
        set("CET-1CEST,M3.5.0,M10.5.0/3");
    }
    ~LocalZone() {
        if (d_wasSet)
            set(d_previous.c_str());
        else
            unsetenv("TZ");
    }
    LocalZone(LocalZone const&) = delete;
    LocalZone& operator=(LocalZone const&) = delete;

    void set(char const* zone) { setenv("TZ", zone, 1); }

private:
    bool d_wasSet = false;
    std::string d_previous;
};

} // namespace qztool
