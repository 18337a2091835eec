# What the command and the tests take from Debian: CLI11 and nlohmann/json (headers only) and GoogleTest.

# Header-only packages are the same for every target, but a cross build must not see the rest of the host's include
# folder. So each is reached through a link of its own in the build tree.
function(qzsignal_header_package target header)
    get_filename_component(folder ${header} DIRECTORY)
    find_path(${target}_host_include ${header} PATHS /usr/include /usr/local/include
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(links ${PROJECT_BINARY_DIR}/header-packages/${target})
    file(MAKE_DIRECTORY ${links})
    file(CREATE_LINK ${${target}_host_include}/${folder} ${links}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${links})
endfunction()

qzsignal_header_package(cli11 CLI/CLI.hpp)
qzsignal_header_package(nlohmann nlohmann/json.hpp)

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
