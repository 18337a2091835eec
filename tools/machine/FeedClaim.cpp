// Claiming names, watching over them, leaving them.
#include "tools/machine/FeedClaim.h"

#include "tools/base/Printable.h"
#include "tools/base/StopRequest.h"
#include "tools/machine/Leftovers.h"
#include "tools/machine/Processes.h"
#include "tools/machine/SegmentTable.h"
#include "tools/machine/SharedSignals.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <set>
#include <sys/shm.h>
#include <unistd.h>
#include <unordered_map>

namespace qztool {

namespace {

constexpr timespec shortPause = {0, 5000000};
constexpr int answerAttempts = 600; // of these pauses: three seconds
constexpr std::chrono::milliseconds lookInterval(50);

std::string listed(std::vector<std::string> const& names) {
    std::string const more = names.size() > 1 ? " and " + std::to_string(names.size() - 1) + " more" : "";
    return "'" + printable(names.front()) + "'" + more;
}

// By another process, which still runs.
bool isMadeByOther(std::optional<Segment> const& segment, ProcessTable& processes) {
    if (!segment)
        return false;
    return segment->creator != getpid() && processes.isAlive(segment->creator, segment->made);
}

} // namespace

FeedClaim::~FeedClaim() {
    if (d_watcher.joinable()) {
        {
            std::lock_guard<std::mutex> const guard(d_mutex);
            d_ending = true;
        }
        d_wake.notify_one();
        d_watcher.join();
    }
    if (d_removeFiles)
        removeKeyFiles();
}

bool FeedClaim::claim(std::vector<std::string> const& names, bool takeOver) {
    std::lock_guard<std::mutex> const guard(d_mutex);
    std::size_t const first = d_names.size();
    for (std::string const& name : names)
        d_names.push_back({name, !keyOf(name), false, false, -1});
    if (!d_locks) {
        d_locks.emplace(FeederLocks::Access::Hold);
        if (!d_locks->isOpen())
            d_console.warning("/tmp/.qzsignal-feeders cannot be used, so other feeders of these signals go unnoticed");
    }
    d_locks->enter();
    bool const isFree = lockNames(first, takeOver) && checkSegments(first, takeOver);
    d_locks->leave();
    return isFree;
}

bool FeedClaim::lockNames(std::size_t first, bool takeOver) {
    std::map<pid_t, std::vector<std::string>> others;
    for (std::size_t i = first; i < d_names.size(); ++i) {
        Name& each = d_names[i];
        each.locked = !d_locks->isOpen() || d_locks->hold(each.name);
        if (!each.locked)
            if (std::optional<pid_t> const holder = d_locks->holder(each.name))
                others[*holder].push_back(each.name);
    }
    if (!takeOver) {
        for (auto const& [process, names] : others)
            reportOther(names, process);
        return others.empty();
    }
    std::vector<pid_t> processes;
    for (auto const& [process, names] : others) {
        d_console.note("taking ", listed(names), " over from ", processText(process));
        processes.push_back(process);
    }
    awaitLocks(processes);
    return true;
}

void FeedClaim::reportOther(std::vector<std::string> const& names, pid_t process) {
    d_console.error(listed(names), names.size() > 1 ? " are" : " is", " fed by ", processText(process),
                    "; --take-over takes ", names.size() > 1 ? "them" : "it", " over");
}

// Processes that are stopped do not answer.
void FeedClaim::awaitLocks(std::vector<pid_t> const& processes) {
    for (Name& each : d_names)
        if (!each.locked) {
            each.wanted = true;
            d_locks->want(each.name);
        }
    d_demands = processes;
    for (pid_t const process : processes)
        d_locks->demand(process);
    bool complete = lockRest();
    for (int i = 0; !complete && i < answerAttempts && !stopRequested(); ++i) {
        nanosleep(&shortPause, nullptr);
        complete = lockRest();
    }
    if (complete)
        endDemands();
    else
        d_console.warning("the process that feeds them does not answer; they are taken over all the same");
}

// True if all names are held.
bool FeedClaim::lockRest() {
    bool complete = true;
    for (Name& each : d_names) {
        each.locked = each.locked || d_locks->hold(each.name);
        complete = complete && each.locked;
    }
    return complete;
}

void FeedClaim::endDemands() {
    for (pid_t const process : d_demands)
        d_locks->endDemand(process);
    d_demands.clear();
    for (Name& each : d_names)
        if (each.wanted)
            d_locks->endWant(each.name);
}

// What the names have in the kernel's table shows who feeds them without a claim, and what was left.
bool FeedClaim::checkSegments(std::size_t first, bool takeOver) {
    std::unordered_map<key_t, Segment> table;
    for (Segment const& segment : segments())
        table.emplace(segment.key, segment);
    ProcessTable processes;
    std::map<pid_t, std::vector<std::string>> others;
    std::set<pid_t> gone;
    std::vector<std::string> found;
    std::vector<Segment> unused;
    for (std::size_t i = first; i < d_names.size(); ++i) {
        Name& each = d_names[i];
        std::optional<key_t> const key = keyOf(each.name);
        auto const entry = key ? table.find(*key) : table.end();
        if (entry == table.end())
            continue;
        Segment const& segment = entry->second;
        bool const isAlive = processes.isAlive(segment.creator, segment.made);
        if (isAlive && segment.attached != 0) {
            if (each.locked)
                others[segment.creator].push_back(each.name);
            continue;
        }
        each.ownKeyFile = true;
        if (segment.attached == 0)
            unused.push_back(segment);
        if (!isAlive) { // otherwise it has just left it to this process
            found.push_back(each.name);
            gone.insert(segment.creator);
        }
    }
    for (auto const& [process, names] : others) {
        if (!takeOver)
            reportOther(names, process);
        else
            d_console.warning(listed(names), names.size() > 1 ? " were" : " was", " defined by ", processText(process),
                              ", which cannot be asked to leave ", names.size() > 1 ? "them" : "it",
                              " and may go on writing");
    }
    if (!others.empty() && !takeOver)
        return false;
    // A new segment shows who made it. One that processes are attached to is filled again where it is.
    for (Segment const& segment : unused)
        removeSegment(segment);
    if (!found.empty())
        d_console.note("found ", listed(found), ", left by ",
                       gone.size() == 1 ? processText(*gone.begin()) : "processes",
                       gone.size() == 1 ? ", which is gone" : " that are gone", "; took ",
                       found.size() > 1 ? "them" : "it", " over");
    return true;
}

void FeedClaim::begin() {
    noteSegments();
    if (!d_locks)
        d_locks.emplace(FeederLocks::Access::Hold); // for signals that are made later
    if (!d_locks->isOpen())
        return;
    // Requests to stop are for the thread that waits for something.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    d_watcher = std::thread([this] { watch(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void FeedClaim::noteSegments() {
    for (Name& each : d_names) {
        std::optional<key_t> const key = each.segment == -1 ? keyOf(each.name) : std::nullopt;
        if (key)
            each.segment = shmget(*key, 0, 0);
    }
}

// A thread of its own, so that a take-over is noticed at once whatever the feeder waits for, and costs frames nothing.
// It uses nothing of the library.
void FeedClaim::watch() {
    std::unique_lock<std::mutex> guard(d_mutex);
    while (!d_wake.wait_for(guard, lookInterval, [this] { return d_ending; })) {
        if (!d_demands.empty() && lockRest())
            endDemands();
        if (std::optional<pid_t> const process = d_locks->demandOf(getpid())) {
            d_takenOverBy = *process;
            requestStop();
            return;
        }
    }
}

std::optional<pid_t> FeedClaim::takenOverBy() {
    // A process that was stopped may get here before its watcher looks.
    if (d_takenOverBy == -1 && d_locks)
        d_takenOverBy = d_locks->demandOf(getpid()).value_or(-1);
    pid_t const process = d_takenOverBy;
    return process != -1 ? std::optional<pid_t>(process) : std::nullopt;
}

std::vector<std::string> FeedClaim::staying(bool keepAll) {
    bool const isTakenOver = takenOverBy().has_value();
    d_removeFiles = !keepAll;
    noteSegments(); // of those that were made since
    std::vector<std::string> names;
    ProcessTable processes;
    for (Name& each : d_names) {
        bool const isOthers =
            (isTakenOver && d_locks->isWanted(each.name)) || isMadeByOther(segmentWith(each.segment), processes);
        each.ownKeyFile = each.ownKeyFile && !isOthers;
        if (keepAll || isOthers)
            names.push_back(each.name);
    }
    return names;
}

// Looks attach for a moment only; such processes are not waited for much longer than a look takes.
void FeedClaim::removeKeyFiles() {
    constexpr int attempts = 20;
    constexpr timespec pause = {0, 1000000};
    int left = attempts;
    for (Name const& each : d_names) {
        std::optional<key_t> const key = each.ownKeyFile ? keyOf(each.name) : std::nullopt;
        if (!key)
            continue;
        bool attached = each.segment != -1 && isAttached(each.segment);
        for (; attached && left > 0; --left) {
            nanosleep(&pause, nullptr);
            attached = isAttached(each.segment);
        }
        if (!attached)
            removeKeyFile(each.name, *key); // if it cannot be, as that of another user, it stays
    }
}

} // namespace qztool
