// Waits for a condition over signals that other processes feed.
//
//     trigger-loop [TRIGGERS]    ends after so many triggers; default 3
#include "qzsignal/expression/ExpParser.h"
#include "qzsignal/shm/ShmSignal.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

int main(int argc, char** argv) {
    int triggers = argc > 1 ? std::atoi(argv[1]) : 3;

    ShmSignal speed("Example.Speed"); // before the expression that names it
    ExpParser tooFast("Example.Speed > 4000", true);
    while (triggers > 0) {
        if (tooFast.getTrigger()) { // true once, when the condition becomes true
            std::cout << tooFast.getLastestTime() << ": too fast" << std::endl;
            --triggers;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}
