# This machine, with every program that a test starts under valgrind's memory checker. Each process, forked ones included,
# has a log of its own, which stays empty unless there is an error: the exit status of a killed process shows none.
set(valgrind_logs ${CMAKE_BINARY_DIR}/logs)
file(MAKE_DIRECTORY ${valgrind_logs})
set(CMAKE_CROSSCOMPILING_EMULATOR
    valgrind
    --quiet
    --error-exitcode=99
    --leak-check=full
    --show-leak-kinds=definite,indirect
    --errors-for-leak-kinds=definite,indirect
    --soname-synonyms=somalloc=nouserintercepts # a test's own operator new stays the test's own
    --log-file=${valgrind_logs}/%p)
