#!/usr/bin/env bash
# The whole test run: native tests, the same tests under ASan/UBSan, the Windows build's tests
# under Wine, and a short fuzzing pass over every parser entry point.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
fuzz_seconds=${IOSID_FUZZ_SECONDS:-30}

step() { printf '\n=== %s ===\n' "$*"; }

step "native build and tests"
cmake -S . -B build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/native -j"$jobs"
ctest --test-dir build/native --output-on-failure -j"$jobs"

step "AddressSanitizer and UBSan"
cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DIOSID_SANITIZE=ON -DIOSID_BENCH=OFF >/dev/null
cmake --build build/asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build/asan --output-on-failure -j"$jobs"

step "Windows x86_64 build, tests under Wine"
export WINEDEBUG=-all WINEPREFIX="${WINEPREFIX:-$PWD/build/wineprefix}"
cmake -S . -B build/win64 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake >/dev/null
cmake --build build/win64 -j"$jobs"
ctest --test-dir build/win64 --output-on-failure

step "fuzzing (${fuzz_seconds}s per target)"
CC=clang-14 CXX=clang++-14 cmake -S . -B build/fuzz -DIOSID_FUZZ=ON -DIOSID_BENCH=OFF \
    -DBUILD_TESTING=OFF >/dev/null
cmake --build build/fuzz -j"$jobs"
tools/fuzz.sh build/fuzz "$fuzz_seconds"
echo "all tests passed"
