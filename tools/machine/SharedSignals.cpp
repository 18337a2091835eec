// Looks at /tmp and at the kernel's table of segments.
#include "tools/machine/SharedSignals.h"

#include "tools/machine/SegmentTable.h"

#include "qzsignal/can/CANSignal.h"
#include "qzsignal/shm/KeyFile.h"
#include "qzsignal/shm/ShmSignal.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qztool {

namespace {

using qzsignal::keyPath;

// A key is made of the low 16 bits of a file's number in its file system, and of bits that all files share.
constexpr std::size_t fileNumbers = 0x10000;

// Puts a new file in place of `path`. The old one exists until then, so the new one has another inode number.
bool replaceKeyFile(std::string const& path) {
    std::string other = keyPath(".qzsignal-XXXXXX");
    int const file = mkstemp(other.data());
    if (file == -1)
        return false;
    fchmod(file, 0644);
    close(file);
    if (rename(other.c_str(), path.c_str()) == 0)
        return true;
    unlink(other.c_str());
    return false;
}

} // namespace

std::optional<key_t> keyOf(std::string const& instance) {
    key_t const key = qzsignal::keyOfInstance(instance);
    return key != -1 ? std::optional<key_t>(key) : std::nullopt;
}

bool segmentExists(std::string const& instance) {
    std::optional<key_t> const key = keyOf(instance);
    return key && shmget(*key, sizeof(shmSignalData_t), 0) != -1;
}

std::optional<key_t> claimKey(std::string const& instance, std::unordered_map<key_t, std::string> const& taken) {
    std::string const path = keyPath(instance);
    int const file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file == -1)
        return keyOf(instance);
    close(file);
    constexpr int attempts = 100;
    std::optional<key_t> key = keyOf(instance);
    for (int i = 0; i < attempts && key && (taken.count(*key) != 0 || shmget(*key, 0, 0) != -1); ++i) {
        if (!replaceKeyFile(path))
            break;
        key = keyOf(instance);
    }
    return key;
}

std::vector<ListedSignal> sharedSignals() {
    std::unordered_map<key_t, Segment> table;
    for (Segment const& segment : segments())
        if (segment.bytes == sizeof(shmSignalData_t) || segment.bytes == sizeof(qzsignal::canSignalData_t))
            table.emplace(segment.key, segment);
    std::vector<ListedSignal> found;
    if (table.empty())
        return found;
    // Most files of a folder have no segment. A part of the key is part of what the folder itself says of its files.
    std::vector<bool> numbers(fileNumbers);
    for (auto const& [key, segment] : table)
        numbers[static_cast<std::size_t>(key) % fileNumbers] = true;

    std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir(keyPath("").c_str()), closedir);
    if (!folder)
        return found;
    while (dirent const* const file = readdir(folder.get())) {
        if (!numbers[file->d_ino % fileNumbers])
            continue;
        // Anything but a regular file was not made as a key file, though a folder has a key as well.
        struct stat status {};
        std::string const instance = file->d_name;
        if (file->d_type != DT_REG &&
            (file->d_type != DT_UNKNOWN || lstat(keyPath(instance).c_str(), &status) != 0 || !S_ISREG(status.st_mode)))
            continue;
        std::optional<key_t> const key = keyOf(instance);
        auto const entry = key ? table.find(*key) : table.end();
        if (entry != table.end())
            found.push_back({instance, entry->second});
    }
    std::sort(found.begin(), found.end(),
              [](ListedSignal const& a, ListedSignal const& b) { return a.instance < b.instance; });
    return found;
}

SegmentLimit segmentLimit() {
    SegmentLimit result;
    std::ifstream limit("/proc/sys/kernel/shmmni");
    if (limit >> result.limit)
        result.inUse = segments().size();
    return result;
}

} // namespace qztool
