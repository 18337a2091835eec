// Reads /proc/sysvipc/shm, which has all segments at once, and asks for single ones by shmctl.
#include "tools/machine/SegmentTable.h"

#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/shm.h>
#include <unistd.h>

namespace qztool {

namespace {

std::string tableText() {
    std::string text;
    int const file = open("/proc/sysvipc/shm", O_RDONLY | O_CLOEXEC);
    if (file == -1)
        return text;
    constexpr std::size_t chunk = 65536;
    for (ssize_t bytes = 1; bytes > 0;) {
        std::size_t const size = text.size();
        text.resize(size + chunk);
        bytes = read(file, &text[size], chunk);
        text.resize(size + static_cast<std::size_t>(bytes > 0 ? bytes : 0));
    }
    close(file);
    return text;
}

// The numbers of a line, one after the other; permissions are octal, and of no interest.
class Fields {
public:
    Fields(char const* begin, char const* end) : d_next(begin), d_end(end) {}

    template <typename Number>
    bool operator()(Number& number) {
        while (d_next != d_end && *d_next == ' ')
            ++d_next;
        auto const [next, error] = std::from_chars(d_next, d_end, number);
        d_next = next;
        return error == std::errc();
    }

private:
    char const* d_next;
    char const* d_end;
};

} // namespace

std::vector<Segment> segments() {
    std::vector<Segment> found;
    std::string const text = tableText();
    char const* const end = text.data() + text.size();
    bool heading = true;
    for (char const* line = text.data(); line != end;) {
        auto const* const newline =
            static_cast<char const*>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
        char const* const lineEnd = newline != nullptr ? newline : end;
        Segment segment;
        long long unused = 0;
        Fields field(line, lineEnd);
        // key shmid perms size cpid lpid nattch uid gid cuid cgid atime dtime ctime
        if (!heading && field(segment.key) && field(segment.id) && field(unused) && field(segment.bytes) &&
            field(segment.creator) && field(unused) && field(segment.attached) && field(unused) && field(unused) &&
            field(unused) && field(unused) && field(unused) && field(unused) && field(segment.made) &&
            segment.key != IPC_PRIVATE)
            found.push_back(segment);
        heading = false;
        line = lineEnd != end ? lineEnd + 1 : end;
    }
    return found;
}

std::optional<Segment> segmentWith(int id) {
    shmid_ds status{};
    if (shmctl(id, IPC_STAT, &status) == -1 || status.shm_perm.__key == IPC_PRIVATE)
        return std::nullopt;
    return Segment{
        status.shm_perm.__key, id, status.shm_segsz, status.shm_cpid, static_cast<unsigned>(status.shm_nattch),
        status.shm_ctime};
}

bool isAttached(int id) {
    shmid_ds status{};
    return shmctl(id, IPC_STAT, &status) == 0 && status.shm_nattch != 0;
}

} // namespace qztool
