#!/usr/bin/env bash
# Builds and runs every test twice: with -Werror in build/, then under AddressSanitizer and
# UndefinedBehaviorSanitizer in build-san/ (clang when present, for the libFuzzer target too).
# Stops at the first failure; the last line is CTest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

scripts/build.sh build
(cd build && ctest --output-on-failure -j "$jobs")

san_cxx=g++
command -v clang++ >/dev/null && san_cxx=clang++
cmake -S . -B build-san -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$san_cxx" \
  -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" -DZYRA_WERROR=ON -DZYRA_SANITIZE=address,undefined \
  -DZYRA_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build-san -j "$jobs"
cd build-san
ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1 \
  LSAN_OPTIONS="suppressions=$PWD/../scripts/lsan-suppressions.txt" \
  ctest --output-on-failure -j "$jobs"
