# What the build takes from Debian: flex and Bison for the library, CLI11 and nlohmann/json (headers only) and, where the
# target has them, pugixml, zlib, libdeflate, liblzma and libzstd for the command, GoogleTest for the tests, and for the benchmarks
# Google Benchmark, with LuaJIT and muParser to compare with.

# Header-only packages are the same for every target, but a cross build must not see the rest of the host's include
# folder. So each is reached through a link of its own in the build tree.
function(qzsignal_header_package target header)
    string(REGEX REPLACE "/.*" "" entry ${header})
    find_path(${target}_host_include ${header} PATHS /usr/include /usr/local/include
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(links ${PROJECT_BINARY_DIR}/header-packages/${target})
    file(MAKE_DIRECTORY ${links})
    file(CREATE_LINK ${${target}_host_include}/${entry} ${links}/${entry} SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${links})
endfunction()

# These run on the host; only the base class of the scanner is compiled into the library, and nothing is linked.
find_package(FLEX 2.6 REQUIRED)
find_package(BISON 3.8 REQUIRED)
qzsignal_header_package(flexlexer FlexLexer.h)

if(QZSIGNAL_BUILD_TOOLS OR QZSIGNAL_BUILD_TESTS OR QZSIGNAL_BUILD_BENCHMARKS)
    qzsignal_header_package(cli11 CLI/CLI.hpp)
    qzsignal_header_package(nlohmann nlohmann/json.hpp)
    # A target's distribution may lack these; the command is then built without them (tools/CMakeLists.txt).
    find_package(pugixml QUIET)
    find_package(ZLIB QUIET)
    find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h)
    find_library(LIBDEFLATE_LIBRARY deflate)
    mark_as_advanced(LIBDEFLATE_INCLUDE_DIR LIBDEFLATE_LIBRARY)
    find_package(LibLZMA QUIET)
    find_package(zstd QUIET)
endif()

# Has npm fetch what the lock file in a folder names. Sets `result` to the folder with the modules, or to nothing if npm is
# not there or fails. Nothing that the packages bring along is run.
function(qzsignal_npm_modules result folder)
    set(${result} "" PARENT_SCOPE)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/package-lock.json)
    find_program(QZSIGNAL_NPM npm DOC "Fetches what draws and tests the page of `qzsignal plot`")
    mark_as_advanced(QZSIGNAL_NPM)
    if(NOT QZSIGNAL_NPM)
        return()
    endif()
    file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${folder})
    set(modules ${PROJECT_BINARY_DIR}/npm/${name})
    file(SHA256 ${folder}/package-lock.json lock)
    if(NOT EXISTS ${modules}/${lock})
        file(REMOVE_RECURSE ${modules})
        file(COPY ${folder}/package.json ${folder}/package-lock.json DESTINATION ${modules})
        execute_process(COMMAND ${QZSIGNAL_NPM} ci --ignore-scripts --no-audit --no-fund
            WORKING_DIRECTORY ${modules} RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE errors)
        if(NOT status EQUAL 0)
            message(WARNING "npm could not fetch what ${name} needs:\n${errors}")
            return()
        endif()
        file(TOUCH ${modules}/${lock})
    endif()
    set(${result} ${modules}/node_modules PARENT_SCOPE)
endfunction()

if(QZSIGNAL_BUILD_TOOLS OR QZSIGNAL_BUILD_TESTS OR QZSIGNAL_BUILD_BENCHMARKS)
    # uPlot.
    qzsignal_npm_modules(QZSIGNAL_PLOT_MODULES ${PROJECT_SOURCE_DIR}/tools/plot/page)
    if(NOT QZSIGNAL_PLOT_MODULES)
        message(STATUS "Without the page of `qzsignal plot`: npm is not there, or could not fetch what it needs")
    endif()
endif()

if(QZSIGNAL_BUILD_TESTS)
    if(CMAKE_CROSSCOMPILING)
        # Debian has no GoogleTest for the cross targets, but ships its sources.
        set(INSTALL_GTEST OFF)
        set(BUILD_GMOCK OFF)
        add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    else()
        find_package(GTest REQUIRED)
    endif()
endif()

if(QZSIGNAL_BUILD_BENCHMARKS)
    find_package(benchmark REQUIRED)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(luajit REQUIRED IMPORTED_TARGET luajit)
    pkg_check_modules(muparser REQUIRED IMPORTED_TARGET muparser)
endif()

# For the documentation; targets and tests that need them are left out where they are missing.
if(PROJECT_IS_TOP_LEVEL)
    find_package(Doxygen QUIET)
    find_program(QZSIGNAL_MANDOC mandoc DOC "Checks the form of the manual page")
    mark_as_advanced(QZSIGNAL_MANDOC)
endif()
