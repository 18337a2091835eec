// A small definition file and recording, whose signals have names of the test's own.
#pragma once

#include "tests/cli/Command.h"
#include "tests/support/SharedName.h"

// Message "<name>" with identifier 0x100: Speed (16 bits, km/h, 0.5 per bit, -40) and Load (8 bits, signed).
class Drive {
public:
    Drive() : d_definitions(d_folder.file("drive.dbc", definitionText(d_message.name()))) {}
    ~Drive() {
        for (std::string const& each : {speed(), load()}) {
            std::string const path = "/tmp/" + each;
            key_t const key = ftok(path.c_str(), 'f');
            int const segment = key != -1 ? shmget(key, 0, 0) : -1;
            if (segment != -1)
                shmctl(segment, IPC_RMID, nullptr);
            unlink(path.c_str());
        }
    }

    std::string const& definitions() const { return d_definitions; }
    std::string speed() const { return d_message.name() + ".Speed"; }
    std::string load() const { return d_message.name() + ".Load"; }
    Folder& folder() { return d_folder; }

    static std::string definitionText(std::string const& message) {
        return "VERSION \"\"\n"
               "BO_ 256 " +
               message +
               ": 8 Engine\n"
               " SG_ Speed : 0|16@1+ (0.5,-40) [0|0] \"km/h\" Dash\n"
               " SG_ Load : 16|8@1- (1,0) [0|0] \"%\" Dash\n";
    }

private:
    SharedName d_message{"Drive"};
    Folder d_folder;
    std::string d_definitions;
};

// Speed 60 km/h and load -3.
constexpr char drivingFrame[] = "(1700000000.123456) can0 100#C800FD\n";
