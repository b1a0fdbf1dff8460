#!/bin/sh
# Builds the adjustment benchmark in Release (library included, in a folder of
# its own) and runs it. Usage: bench/adjust.sh [build folder]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-/tmp/xefile-bench-adjust}
cmake -S "$here/adjust" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target adjust_bench -j"$(nproc)"
echo "cores: $(nproc), load before: $(cut -d" " -f1-3 /proc/loadavg)"
"$build/adjust_bench"
echo "load after: $(cut -d" " -f1-3 /proc/loadavg)"
