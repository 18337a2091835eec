// Key files are made without touching what others have put in their place, or anything outside /tmp, and have the keys
// that ftok computes.
#include "qzsignal/shm/KeyFile.h"

#include "tests/support/Namespaces.h"
#include "tests/support/OtherUser.h"
#include "tests/support/SharedName.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <set>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <vector>

namespace qzsignal {
namespace {

std::string contents(std::string const& path) {
    std::string text;
    std::ifstream(path) >> text;
    return text;
}

bool exists(std::string const& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

// One file of each path is removed in the end, if there is one.
class KeyFileTest : public testing::Test {
protected:
    KeyFileTest() {
        char folder[] = "/var/tmp/qzsignal-test-XXXXXX";
        if (mkdtemp(folder) != nullptr)
            d_outside = folder;
    }
    void SetUp() override {
        if (d_outside.empty())
            GTEST_SKIP() << "no folder outside /tmp can be made";
    }
    void TearDown() override { EXPECT_EQ(lowestFreeFile(), d_free) << "a file is left open"; }
    ~KeyFileTest() override {
        for (auto path = d_paths.rbegin(); path != d_paths.rend(); ++path)
            remove(path->c_str());
        if (!d_outside.empty())
            rmdir(d_outside.c_str());
    }

    // A file outside /tmp, or the path of one.
    std::string precious(std::string const& name = "precious") {
        std::ofstream(outside(name)) << "precious";
        return outside(name);
    }
    std::string outside(std::string const& name) { return noted(d_outside + "/" + name); }
    std::string noted(std::string const& path) {
        d_paths.push_back(path);
        return path;
    }

    // Makes the key file and returns what is there then; nothing: no file type.
    mode_t made() {
        makeKeyFile(d_name.name());
        struct stat status {};
        return lstat(d_name.path().c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
    }

    key_t key() const { return keyOfInstance(d_name.name()); }

    static int lowestFreeFile() {
        int const file = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(file);
        return file;
    }

    int d_free = lowestFreeFile();
    SharedName d_name;
    std::string d_outside;
    std::vector<std::string> d_paths;
};

TEST_F(KeyFileTest, linkToAFileIsNotFollowed) {
    std::string const target = precious(), inside = noted(d_name.path() + "-target");
    std::ofstream(inside) << "precious";
    for (std::string const& each : {target, inside}) {
        ASSERT_EQ(symlink(each.c_str(), d_name.path().c_str()), 0);
        EXPECT_EQ(made(), mode_t{S_IFLNK});
        EXPECT_EQ(contents(each), "precious");
        EXPECT_EQ(key(), -1) << "it has no key either";
        unlink(d_name.path().c_str());
    }
}

TEST_F(KeyFileTest, linkToNowhereMakesNoFileThere) {
    std::string const target = outside("new");
    ASSERT_EQ(symlink(target.c_str(), d_name.path().c_str()), 0);
    EXPECT_EQ(made(), mode_t{S_IFLNK});
    EXPECT_FALSE(exists(target));
    EXPECT_EQ(key(), -1);
}

TEST_F(KeyFileTest, linkToADeviceIsLeftAlone) {
    ASSERT_EQ(symlink("/dev/full", d_name.path().c_str()), 0);
    EXPECT_EQ(made(), mode_t{S_IFLNK});
    EXPECT_EQ(key(), -1);
}

TEST_F(KeyFileTest, deviceIsLeftAlone) {
    if (mknod(d_name.path().c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0)
        GTEST_SKIP() << "needs to make a device";
    EXPECT_EQ(made(), mode_t{S_IFCHR});
    EXPECT_EQ(key(), d_name.key());
}

TEST_F(KeyFileTest, folderIsLeftAlone) {
    ASSERT_EQ(mkdir(d_name.path().c_str(), 0777), 0);
    EXPECT_EQ(made(), mode_t{S_IFDIR});
    EXPECT_EQ(key(), d_name.key());
    rmdir(d_name.path().c_str());
}

TEST_F(KeyFileTest, pipeIsLeftAloneWhetherReadOrNot) {
    ASSERT_EQ(mkfifo(d_name.path().c_str(), 0666), 0);
    EXPECT_EQ(made(), mode_t{S_IFIFO});
    int const reader = open(d_name.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(made(), mode_t{S_IFIFO});
    close(reader);
    EXPECT_EQ(key(), d_name.key());
}

TEST_F(KeyFileTest, socketIsLeftAlone) {
    int const end = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    d_name.path().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(end, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    EXPECT_EQ(made(), mode_t{S_IFSOCK});
    close(end);
    EXPECT_EQ(key(), d_name.key());
}

TEST_F(KeyFileTest, fileThatHasAnotherNameKeepsItsContents) {
    std::string const other = noted(d_name.path() + "-other");
    std::ofstream(other) << "precious";
    ASSERT_EQ(link(other.c_str(), d_name.path().c_str()), 0);
    EXPECT_EQ(made(), mode_t{S_IFREG});
    EXPECT_EQ(contents(other), "precious");
    EXPECT_EQ(key(), d_name.key());
}

// Opening a file whose owner holds a lease on it waits until the owner gives that up, for three quarters of a minute.
TEST_F(KeyFileTest, leaseOnTheFileIsNotWaitedFor) {
    std::ofstream(d_name.path()) << "leased";
    int const file = open(d_name.path().c_str(), O_RDONLY | O_CLOEXEC);
    signal(SIGIO, SIG_IGN); // with which the holder is asked
    if (fcntl(file, F_SETLEASE, F_RDLCK) != 0) {
        close(file);
        GTEST_SKIP() << "no leases here";
    }
    EXPECT_EQ(made(), mode_t{S_IFREG});
    EXPECT_EQ(contents(d_name.path()), "leased") << "it could not be opened";
    close(file);
    signal(SIGIO, SIG_DFL);
}

TEST_F(KeyFileTest, fileOfAnotherUserIsEmptiedOnlyWherePermitted) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to change the user";
    std::ofstream(d_name.path()) << "roots";
    chmod(d_name.path().c_str(), 0644);
    EXPECT_EQ(errorsAsOtherUser([this] { makeKeyFile(d_name.name()); }), "");
    EXPECT_EQ(contents(d_name.path()), "roots");
    EXPECT_EQ(key(), d_name.key());
}

TEST_F(KeyFileTest, nameThatLeadsOutOfTheFolderMakesNoFile) {
    std::string const target = outside("new"), existing = precious(), folder = noted(d_name.path() + "-folder");
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    std::string const inner = d_name.name() + "-folder/";
    for (std::string const& way : {std::string("../"), std::string("./../"), std::string("/.."), inner + "../../"}) {
        makeKeyFile(way + target);
        EXPECT_FALSE(exists(target)) << way;
        makeKeyFile(way + existing);
        EXPECT_EQ(contents(existing), "precious") << way;
        EXPECT_NE(ftok(keyPath(way + existing).c_str(), 'f'), -1) << way;
        EXPECT_EQ(keyOfInstance(way + existing), -1) << way;
    }
}

TEST_F(KeyFileTest, linkOnTheWayIsNotFollowed) {
    std::string const target = outside("new"), existing = precious(), folder = noted(d_name.path() + "-folder"),
                      link = noted(folder + "/link");
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    ASSERT_EQ(symlink(d_outside.c_str(), d_name.path().c_str()), 0);
    ASSERT_EQ(symlink(d_outside.c_str(), link.c_str()), 0);
    for (std::string const& way : {d_name.name() + "/", d_name.name() + "-folder/link/", d_name.name() + "//./"}) {
        makeKeyFile(way + "new");
        EXPECT_FALSE(exists(target)) << way;
        makeKeyFile(way + "precious");
        EXPECT_EQ(contents(existing), "precious") << way;
        EXPECT_NE(ftok(keyPath(way + "precious").c_str(), 'f'), -1) << way;
        EXPECT_EQ(keyOfInstance(way + "precious"), -1) << way;
    }
}

TEST_F(KeyFileTest, fileIsMadeInAFolderThatIsThere) {
    std::string const folder = noted(d_name.path() + "-folder"), inner = noted(folder + "/inner");
    ASSERT_EQ(mkdir(folder.c_str(), 0711), 0);
    ASSERT_EQ(mkdir(inner.c_str(), 0777), 0);
    for (std::string const name : {"a", "inner/b", "./c", "inner//d"}) {
        std::string const path = noted(folder + "/" + name);
        makeKeyFile(d_name.name() + "-folder/" + name);
        EXPECT_TRUE(exists(path)) << path;
        std::ofstream(path) << "full";
        makeKeyFile("/" + d_name.name() + "-folder/" + name);
        EXPECT_EQ(contents(path), "") << path;
        EXPECT_EQ(keyOfInstance(d_name.name() + "-folder/" + name), ftok(path.c_str(), 'f')) << path;
        EXPECT_EQ(keyOfInstance("/" + d_name.name() + "-folder/" + name), ftok(path.c_str(), 'f')) << path;
    }
    makeKeyFile(d_name.name() + "-none/a");
    EXPECT_FALSE(exists(d_name.path() + "-none"));
}

// Many files, and two file systems if /tmp can be replaced here.
TEST_F(KeyFileTest, keyIsTheOneOfFtok) {
    auto const expectKeys = [this] {
        std::set<key_t> keys;
        for (int i = 0; i < 300; ++i) {
            std::string const name = d_name.name() + "-" + std::to_string(i);
            makeKeyFile(name);
            EXPECT_EQ(keyOfInstance(name), ftok(keyPath(name).c_str(), 102));
            keys.insert(keyOfInstance(name));
        }
        for (int i = 0; i < 300; ++i)
            unlink((d_name.path() + "-" + std::to_string(i)).c_str());
        EXPECT_EQ(keys.size(), 300U);
    };
    expectKeys();
    PrivateTmp const other("size=64k");
    if (other.isThere())
        expectKeys();
}

TEST_F(KeyFileTest, keyOfAFileFromALaterAgeIsTheOneOfFtok) {
    ASSERT_EQ(made(), mode_t{S_IFREG});
    // Whatever the test program makes of such a time by itself.
    ASSERT_EQ(std::system(("touch -d '2045-01-01 UTC' '" + d_name.path() + "'").c_str()), 0);
    EXPECT_NE(d_name.key(), -1);
    EXPECT_EQ(key(), d_name.key());
}

// As if a folder and not its name were asked for.
TEST_F(KeyFileTest, foldersThatEndNamesHaveTheKeysOfFtok) {
    ASSERT_EQ(mkdir(d_name.path().c_str(), 0777), 0);
    for (std::string const& name : {std::string(), std::string("."), std::string("/"), d_name.name() + "/",
                                    d_name.name() + "/.", d_name.name() + "//"})
        EXPECT_EQ(keyOfInstance(name), ftok(keyPath(name).c_str(), 'f')) << name;
    for (std::string const& name : {std::string(".."), d_name.name() + "/..", d_name.name() + "/../"})
        EXPECT_EQ(keyOfInstance(name), -1) << name;
    rmdir(d_name.path().c_str());
}

TEST_F(KeyFileTest, namesOfNoFileHaveNoKey) {
    for (std::string const& name : {d_name.name(), d_name.name() + "/a", d_name.name() + std::string(300, 'x')})
        EXPECT_EQ(keyOfInstance(name), -1) << name;
    makeKeyFile(d_name.name());
    EXPECT_EQ(keyOfInstance(d_name.name() + "/"), -1) << "it is no folder";
    EXPECT_EQ(keyOfInstance(d_name.name() + "/a"), -1);
}

TEST_F(KeyFileTest, fileOfOneByteIsEmptied) {
    std::ofstream(d_name.path()) << "1";
    makeKeyFile(d_name.name());
    EXPECT_EQ(contents(d_name.path()), "");
}

TEST_F(KeyFileTest, pipeOnTheWayIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(d_name.path().c_str(), 0666), 0);
    makeKeyFile(d_name.name() + "/a"); // opening it for reading would wait for a writer
    EXPECT_FALSE(exists(d_name.path() + "/a"));
}

// Its next files get the number of standard input, 0.
TEST_F(KeyFileTest, processWithoutStandardInputMakesThemAsWell) {
    std::string const folder = noted(d_name.path() + "-folder"), inner = noted(folder + "/a");
    ASSERT_EQ(mkdir(folder.c_str(), 0777), 0);
    int const input = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    close(STDIN_FILENO);
    for (std::string const& name : {d_name.name(), d_name.name() + "-folder/a"}) {
        std::ofstream(keyPath(name)) << "full";
        makeKeyFile(name);
        EXPECT_EQ(contents(keyPath(name)), "") << name;
        EXPECT_EQ(keyOfInstance(name), ftok(keyPath(name).c_str(), 'f')) << name;
        EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "left open";
    }
    dup2(input, STDIN_FILENO);
    close(input);
}

TEST_F(KeyFileTest, oddNamesAreFileNamesLikeOthers) {
    for (std::string const end : {"\n", " two\nlines", "\x1b[2J", "\xff\xfe", "%s", "..", "...", " "}) {
        std::string const path = noted(d_name.path() + end);
        makeKeyFile(d_name.name() + end);
        EXPECT_TRUE(exists(path)) << end;
        EXPECT_EQ(keyOfInstance(d_name.name() + end), ftok(path.c_str(), 'f')) << end;
    }
}

TEST_F(KeyFileTest, namesThatNoFileCanHaveMakeNone) {
    std::string const longName = d_name.name() + std::string(300, 'x');
    for (std::string const& name : {std::string(), std::string("."), std::string(".."), std::string("/"),
                                    d_name.name() + "/", longName, longName + "/x", std::string(5000, 'x')}) {
        makeKeyFile(name);
        EXPECT_FALSE(exists(keyPath(longName)));
        EXPECT_FALSE(d_name.keyFileExists()) << name;
    }
}

} // namespace
} // namespace qzsignal
