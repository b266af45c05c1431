#!/usr/bin/env bash
# Builds the benchmarks (optimised, native) and runs them: decoding time of our TIFF library
# against libtiff on large images generated in the build tree (in process), then `iosid
# tiff-decode` against `tiffcp` as whole processes. Usage: tools/bench.sh [RUNS] [CASE]
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/bench
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" -j"$(nproc)" --target tiff_bench iosid
"$build/bench/tiff_bench" "$build/bench/data" "${1:-5}" ${2:+"$2"}
bench/tiff/process_bench.sh "$PWD/$build/apps/iosid/iosid" "$build/bench/process" "${1:-7}"
