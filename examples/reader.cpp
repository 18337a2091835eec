// Reads a signal that another process defines, now or later: it needs only the name.
//
//     reader [VALUES]        ends after so many values; default 10
#include "qzsignal/shm/ShmSignal.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

int main(int argc, char** argv) {
    int values = argc > 1 ? std::atoi(argv[1]) : 10;

    ShmSignal speed("Example.Speed");
    double rpm = 0;
    unsigned long long time = 0;
    while (values > 0) {
        if (speed.read(rpm, time)) { // false: not written yet
            std::cout << time << ": " << rpm << " " << speed.getUnit() << std::endl;
            --values;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}
