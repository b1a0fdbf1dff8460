#!/usr/bin/env bash
# Builds XeFile and runs every test: once in a normal build, and the unit tests
# once more under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
jobs=$(nproc)

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_COMPILE_WARNING_AS_ERROR=ON
cmake --build build -j "$jobs"
(cd build && ctest --output-on-failure -j "$jobs")

# The library exports its C interface and nothing else.
if nm -D --defined-only build/src/libxefile.so | awk '{print $3}' | grep -v -E '^(Xe|Xef|Xev|cvXe)' | grep -q .; then
  echo "libxefile.so exports symbols outside the C interface:" >&2
  nm -D --defined-only build/src/libxefile.so | awk '{print $3}' | grep -v -E '^(Xe|Xef|Xev|cvXe)' >&2
  exit 1
fi

cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DXEFILE_SANITIZE=ON
cmake --build build-asan -j "$jobs"
(cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --output-on-failure -j "$jobs" -L unit)

# The threaded saves once more under ThreadSanitizer: the saving thread and
# the table of running saves.
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DXEFILE_TSAN=ON
cmake --build build-tsan -j "$jobs" --target saving_tests
TSAN_OPTIONS=halt_on_error=1 build-tsan/tests/saving_tests --gtest_filter='SaveTest.*'

# The fuzz harnesses of fuzz/, each for 60 seconds after the kept inputs,
# when clang is there.
if command -v clang++ >/dev/null; then
  scripts/fuzz.sh 60
fi
