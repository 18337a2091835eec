# How our own code is compiled: warnings, sanitizers, coverage, and arithmetic that is the same on every target.
# Dependencies are never built with these; they are linked by our targets alone.

add_library(qzsignal_build_flags INTERFACE)

target_compile_options(qzsignal_build_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${QZSIGNAL_WERROR}>:-Werror>)

# Decoded and physical values are bit for bit the same everywhere: no fused multiply-add (PowerPC would contract
# raw * scale + offset), no 80-bit intermediate results (32-bit x86 would use its x87 stack).
target_compile_options(qzsignal_build_flags INTERFACE -ffp-contract=off)
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86|x86_64|AMD64)$")
    target_compile_options(qzsignal_build_flags INTERFACE -msse2 -mfpmath=sse)
endif()

# Without it, 32-bit targets refuse large files, and files and folders with large inode numbers.
target_compile_definitions(qzsignal_build_flags INTERFACE _FILE_OFFSET_BITS=64)

if(QZSIGNAL_SANITIZE)
    target_compile_options(qzsignal_build_flags INTERFACE
        -fsanitize=${QZSIGNAL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(qzsignal_build_flags INTERFACE -fsanitize=${QZSIGNAL_SANITIZE})
endif()

# Counts the branches that an input takes, which guides the fuzzers.
if(QZSIGNAL_FUZZ)
    target_compile_options(qzsignal_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(QZSIGNAL_COVERAGE)
    target_compile_options(qzsignal_build_flags INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(qzsignal_build_flags INTERFACE --coverage)
endif()

# Compilers spend most of a sanitized or cross build on the headers of libraries. Where they are precompiled, a header
# that we forgot to include goes unnoticed, so development builds do without.
function(qzsignal_precompile target)
    if(QZSIGNAL_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
endfunction()
