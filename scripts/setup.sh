#!/usr/bin/env bash
# Installs missing Debian packages that building, testing and checking need.
set -euo pipefail

usage="Usage: scripts/setup.sh [GROUP...]

Groups:
  base          compiler, build tools, libraries of the command and the tests (default)
  benchmarks    libraries of the benchmarks, and the plotter of their results
  cross         compilers for i686 and PowerPC, and the emulator for the latter
  coverage      line coverage reports
  docs          generator of the API reference, checker of the manual page
  fuzz          compiler and run-time libraries of the fuzzers
  instructions  counter of the instructions of x86-64 programs
  page          what draws the page of the plot subcommand, and the browser that tests it
  lint          formatter, static checks of C++ and of scripts
  valgrind      memory checker"

base=(g++ cmake ninja-build pkg-config python3 flex bison libfl-dev libgtest-dev googletest libcli11-dev nlohmann-json3-dev
    libpugixml-dev zlib1g-dev libdeflate-dev liblzma-dev libzstd-dev)
# The cross compilers bring the targets' C and C++ libraries; i686 programs run on the host's own kernel with them.
cross=(g++-i686-linux-gnu g++-powerpc-linux-gnu qemu-user)
benchmarks=(libbenchmark-dev libluajit-5.1-dev libmuparser-dev python3-matplotlib)
coverage=(gcovr)
docs=(doxygen mandoc)
fuzz=(clang libclang-rt-14-dev)
instructions=(valgrind)
lint=(git clang-format clang-tidy shellcheck)
valgrind=(valgrind)

if [[ $# -eq 0 ]]; then
    set -- base
fi
wanted=()
for group in "$@"; do
    case $group in
        base) wanted+=("${base[@]}") ;;
        benchmarks) wanted+=("${benchmarks[@]}") ;;
        cross) wanted+=("${cross[@]}") ;;
        coverage) wanted+=("${coverage[@]}") ;;
        docs) wanted+=("${docs[@]}") ;;
        fuzz) wanted+=("${fuzz[@]}") ;;
        instructions) wanted+=("${instructions[@]}") ;;
        page)
            wanted+=(chromium)
            # Node.js may be there from elsewhere; Debian's npm refuses to be installed beside it.
            command -v npm >/dev/null || wanted+=(nodejs npm)
            ;;
        lint) wanted+=("${lint[@]}") ;;
        valgrind) wanted+=("${valgrind[@]}") ;;
        -h | --help)
            echo "$usage"
            exit 0
            ;;
        *)
            echo "setup.sh: unknown group '$group'" >&2
            echo "$usage" >&2
            exit 64
            ;;
    esac
done

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "setup.sh: this is not a Debian-like system; install the equivalents of: ${wanted[*]}" >&2
    exit 1
fi

missing=()
for package in "${wanted[@]}"; do
    # A removed package whose configuration files remain is known to dpkg, but not installed.
    if [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
        missing+=("$package")
    fi
done
if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
        echo "setup.sh: neither root nor sudo; have these installed: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

echo "Installing ${missing[*]}"
# Another package manager may be running in the background of a fresh machine; wait for it.
apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3)
"${apt[@]}" update
"${apt[@]}" install --yes --no-install-recommends "${missing[@]}"
