// Runs programs as child processes, and looks at what they print.
#pragma once

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

// Longer than anything takes that is not stuck, on a busy machine or an emulated one.
constexpr int patience = 60; // seconds

// Polls until the condition holds; false if it never did.
template <typename Condition>
bool waitUntil(Condition condition) {
    constexpr timespec pause = {0, 5000000};
    for (int i = 0; i < patience * 200; ++i) {
        if (condition())
            return true;
        nanosleep(&pause, nullptr);
    }
    return false;
}

inline std::string contentsOf(std::string const& path) {
    std::string text;
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    char chunk[4096];
    for (ssize_t bytes = 0; (bytes = read(file, chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<std::size_t>(bytes));
    close(file);
    return text;
}

// A folder for the files of a test, removed with them.
class Folder {
public:
    Folder() {
        char name[] = "/tmp/qzsignal-test-XXXXXX";
        d_path = mkdtemp(name);
    }
    ~Folder() {
        for (std::string const& file : d_files)
            unlink(file.c_str());
        rmdir(d_path.c_str());
    }
    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;

    // Path of a file in the folder, which will be removed with it.
    std::string path(std::string const& name) {
        d_files.push_back(d_path + "/" + name);
        return d_files.back();
    }
    // The same, with this text in it.
    std::string file(std::string const& name, std::string const& text) {
        std::string const result = path(name);
        int const file = open(result.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        close(file);
        return result;
    }
    std::string const& name() const { return d_path; }

private:
    std::string d_path;
    std::vector<std::string> d_files;
};

// A running child. Its standard input is a pipe; its outputs go to files, so that it never waits for a reader.
class Child {
public:
    // `program` is split at bars; empty parts are left out.
    Child(std::string const& program, std::vector<std::string> const& arguments, int errorOutput = -1) {
        std::vector<std::string> words;
        for (std::size_t begin = 0; begin <= program.size();) {
            std::size_t const end = std::min(program.find('|', begin), program.size());
            if (end > begin)
                words.push_back(program.substr(begin, end - begin));
            begin = end + 1;
        }
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);

        d_output = d_folder.file("output", "");
        d_errors = d_folder.file("errors", "");
        int input[2];
        EXPECT_EQ(pipe2(input, O_CLOEXEC), 0);
        d_lastId = d_id = fork();
        if (d_id == 0) {
            alarm(2 * patience);
            dup2(input[0], STDIN_FILENO);
            dup2(open(d_output.c_str(), O_WRONLY), STDOUT_FILENO);
            dup2(errorOutput >= 0 ? errorOutput : open(d_errors.c_str(), O_WRONLY), STDERR_FILENO);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        close(input[0]);
        d_input = input[1];
    }
    ~Child() {
        endInput();
        if (d_id > 0) {
            ::kill(d_id, SIGKILL);
            waitpid(d_id, nullptr, 0);
        }
    }
    Child(Child const&) = delete;
    Child& operator=(Child const&) = delete;

    void feed(std::string const& text) {
        EXPECT_EQ(write(d_input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void endInput() {
        if (d_input >= 0)
            close(d_input);
        d_input = -1;
    }
    void signal(int number) {
        if (running())
            ::kill(d_id, number);
    }
    bool running() {
        int status = 0;
        if (d_id > 0 && waitpid(d_id, &status, WNOHANG) == d_id) {
            d_id = -1;
            d_status = status;
        }
        return d_id > 0;
    }

    pid_t id() const { return d_lastId; } // its number, also when it has ended

    // Waits for the end. The exit status; negative if the child did not exit by itself.
    int wait() {
        EXPECT_TRUE(waitUntil([this] { return !running(); })) << "still running";
        return WIFEXITED(d_status) ? WEXITSTATUS(d_status) : -1;
    }
    std::string output() const { return contentsOf(d_output); }
    std::string errors() const { return contentsOf(d_errors); }

private:
    Folder d_folder;
    std::string d_output;
    std::string d_errors;
    pid_t d_id = -1;
    pid_t d_lastId = -1;
    int d_input = -1;
    int d_status = -1;
};

// The qzsignal command with these arguments.
class Command : public Child {
public:
    explicit Command(std::vector<std::string> const& arguments, int errorOutput = -1)
        : Child(QZSIGNAL_TEST_COMMAND, arguments, errorOutput) {}
};

// One that has ended.
struct Result {
    explicit Result(std::vector<std::string> const& arguments, std::string const& input = "") {
        Command command(arguments);
        command.feed(input);
        command.endInput();
        status = command.wait();
        output = command.output();
        errors = command.errors();
    }
    int status;
    std::string output;
    std::string errors;
};

inline bool contains(std::string const& text, std::string const& part) {
    return text.find(part) != std::string::npos;
}
