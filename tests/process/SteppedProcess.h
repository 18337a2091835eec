// A forked process that a test takes through a piece of work instruction by instruction, to kill it in between.
#pragma once

#include "tests/process/Process.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <unordered_map>
#include <vector>

#if defined __x86_64__
constexpr std::size_t instructionPointer = offsetof(user, regs.rip);
#elif defined __i386__
constexpr std::size_t instructionPointer = offsetof(user, regs.eip);
#else
#define QZSIGNAL_NO_STEPS
constexpr std::size_t instructionPointer = 0;
#endif

// What keeps tests from stepping processes here; null: nothing.
inline char const* whyNoSteps() {
#if defined QZSIGNAL_NO_STEPS
    // Where one instruction reserves a mutex and another takes it, a stop in between loses the reservation, every time.
    return "written for x86 processors only";
#elif defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
    return "nearly all instructions are the sanitizer's";
#elif defined QZSIGNAL_EMULATED
    return "the instructions are the emulator's";
#else
    static bool const allowed = [] {
        Process process([] {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == -1)
                _exit(EXIT_FAILURE);
        });
        return process.finished();
    }();
    return allowed ? nullptr : "processes must not be traced here";
#endif
}

// The addresses of instructions in the order in which a process executes them.
class Path {
public:
    void add(std::uintptr_t address) {
        d_addresses.push_back(address);
        ++d_visits[address];
    }
    std::size_t size() const { return d_addresses.size(); }
    std::uintptr_t operator[](std::size_t number) const { return d_addresses[number]; }

    // The last instruction up to this one that is executed only once: a process that comes to its address is there. 0
    // if there is none.
    std::size_t landmark(std::size_t number) const {
        while (number > 0 && d_visits.at(d_addresses[number]) != 1)
            --number;
        return number;
    }

private:
    std::vector<std::uintptr_t> d_addresses;
    std::unordered_map<std::uintptr_t, unsigned> d_visits;
};

class SteppedProcess {
public:
    // Runs `work` up to where it calls `begin`; from there on it goes step by step.
    explicit SteppedProcess(std::function<void()> const& work)
        : d_process([&] { run(work); }), d_stopped(waitForStop() == SIGSTOP) {}

    static void begin() { stop(); }

    pid_t id() const { return d_process.id(); }

    // Does all the work; calls `look` after each instruction with the number of those done.
    template <typename Look>
    Path walk(Look look) {
        Path path;
        while (d_stopped) {
            path.add(static_cast<std::uintptr_t>(ptrace(PTRACE_PEEKUSER, id(), instructionPointer, nullptr)));
            step();
            look(path.size());
        }
        return path;
    }

    // Does the first `number` instructions, or all; false if the process takes another path.
    bool reach(Path const& path, std::size_t number) {
        if (number >= path.size())
            return finish();
        std::size_t done = path.landmark(number);
        if (done != 0)
            runTo(path[done]);
        for (; d_stopped && done < number; ++done)
            step();
        return d_stopped;
    }

    void kill() { d_process.kill(); }

private:
    // Not inlined: the same instructions for all processes of a test.
    [[gnu::noinline]] static void run(std::function<void()> const& work) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        work();
        stop();
    }

    static void stop() { ::kill(getpid(), SIGSTOP); }

    // The signal that stopped the process; 0: it ended.
    int waitForStop() const {
        int status = 0;
        return waitpid(id(), &status, 0) == id() && WIFSTOPPED(status) ? WSTOPSIG(status) : 0;
    }

    // The work is done when the process stops by itself.
    void step() {
        ptrace(PTRACE_SINGLESTEP, id(), nullptr, nullptr);
        d_stopped = waitForStop() == SIGTRAP;
    }

    bool finish() {
        ptrace(PTRACE_CONT, id(), nullptr, nullptr);
        return waitForStop() == SIGSTOP;
    }

    // By a breakpoint that is there meanwhile.
    void runTo(std::uintptr_t address) {
        constexpr long breakpoint = 0xcc;
        auto* const place = reinterpret_cast<void*>(address);
        long const code = ptrace(PTRACE_PEEKTEXT, id(), place, nullptr);
        ptrace(PTRACE_POKETEXT, id(), place, (code & ~0xffL) | breakpoint);
        ptrace(PTRACE_CONT, id(), nullptr, nullptr);
        d_stopped = waitForStop() == SIGTRAP;
        ptrace(PTRACE_POKETEXT, id(), place, code);
        ptrace(PTRACE_POKEUSER, id(), instructionPointer, place); // not after it
    }

    Process d_process;
    bool d_stopped; // in the work
};
