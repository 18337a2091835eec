// One feeder for each shared signal.
#pragma once

#include "tools/base/Console.h"
#include "tools/machine/FeederLocks.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace qztool {

// The signals that this process feeds. It owns their names from `claim` on, and removes what is to go with them: key
// files in its destructor, which must run after those of the signals. Other processes respect it if they claim their
// signals, too; those that only define them are known by the segments that they made.
class FeedClaim {
public:
    explicit FeedClaim(Console& console) : d_console(console) {}
    ~FeedClaim();
    FeedClaim(FeedClaim const&) = delete;
    FeedClaim& operator=(FeedClaim const&) = delete;

    // To be called before the signals are made, also after `begin` for further ones. False if another process feeds one
    // of them, which is reported, unless they are to be taken over from it: then it is waited for to leave them, for a
    // few seconds. What processes that are gone left of the signals is removed, unless some process is attached to it.
    bool claim(std::vector<std::string> const& names, bool takeOver);

    // To be called once the first signals are made. From then on, a process that takes them over makes `stopRequested`
    // true.
    void begin();

    // The process that has taken the signals over; 0: one that cannot be seen. Nothing: they are still this one's.
    std::optional<pid_t> takenOverBy();

    // The signals that are to outlive this process's, since they are another process's by now. To be called last
    // before the signals are destroyed. With `keepAll`, all are, and their key files.
    std::vector<std::string> staying(bool keepAll);

private:
    struct Name {
        std::string name;
        bool ownKeyFile = false; // made for this signal, or left by a process that is gone
        bool locked = false;
        bool wanted = false; // by this process, of another one
        int segment = -1;
    };

    bool lockNames(std::size_t first, bool takeOver);
    void reportOther(std::vector<std::string> const& names, pid_t process);
    void awaitLocks(std::vector<pid_t> const& processes);
    bool lockRest();
    void endDemands();
    bool checkSegments(std::size_t first, bool takeOver);
    void noteSegments();
    void removeKeyFiles();
    void watch();

    Console& d_console;
    std::optional<FeederLocks> d_locks;
    std::vector<Name> d_names;    // the functions above go through those from index `first` on; under the mutex
    std::vector<pid_t> d_demands; // processes that were asked to leave signals, and have not yet
    bool d_removeFiles = false;
    std::atomic<pid_t> d_takenOverBy{-1}; // -1: not taken over
    std::thread d_watcher;
    std::mutex d_mutex;
    std::condition_variable d_wake;
    bool d_ending = false; // under the mutex
};

} // namespace qztool
