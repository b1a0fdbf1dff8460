#!/bin/sh
# Read benchmark: every image of a raw cine in the page cache fetched raw
# through the library, against a plain pread loop over the same images.
#   bench/read.sh [build folder, default /tmp/xefile-bench-read]
# Sizes by environment: SIZE_MB (the cine, default 1024), RUNS (default 3),
# TMP_DIR (where the cine goes, default /tmp; removed at the end).
# A quick run: SIZE_MB=64 bench/read.sh
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-/tmp/xefile-bench-read}
size_mb=${SIZE_MB:-1024}
runs=${RUNS:-3}
tmp=${TMP_DIR:-/tmp}

if ! dpkg -s libgtest-dev >/dev/null 2>&1; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get install -y libgtest-dev || { $sudo apt-get update && $sudo apt-get install -y libgtest-dev; }
fi

cmake -S "$here/read" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target read_bench -j"$(nproc)" >/dev/null

echo "cores: $(nproc), load before: $(cut -d" " -f1-3 /proc/loadavg)"
"$build/read_bench" "$tmp" "$size_mb" "$runs"
echo "load after: $(cut -d" " -f1-3 /proc/loadavg)"
