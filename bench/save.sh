#!/bin/sh
# Save benchmark: raw cine saves against cp, TIFF still saves against ffmpeg,
# and the peak memory of a save, in one run on this machine.
#   bench/save.sh [build folder, default /tmp/xefile-bench-save]
# Sizes by environment: SIZE_MB (the cine, default 1024), TIFF_FRAMES (images
# saved as TIFF, default 128: 768 MB of RGB TIFFs a run, which the page cache
# takes without writeback to disk starting under the run; 0 saves all),
# RUNS (default 3), TMP_DIR (where the files go, default /tmp; about 3 GB at
# the defaults, 10 GB with TIFF_FRAMES=0, removed at the end).
# A quick run: SIZE_MB=64 TIFF_FRAMES=16 bench/save.sh
# The saves read their settings from folders of the benchmark's own (it sets
# XDG_CONFIG_HOME for each), so the user's settings are neither read nor
# changed.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-/tmp/xefile-bench-save}
size_mb=${SIZE_MB:-1024}
tiff_frames=${TIFF_FRAMES:-128}
runs=${RUNS:-3}
tmp=${TMP_DIR:-/tmp}

need=""
command -v ffmpeg >/dev/null 2>&1 || need="$need ffmpeg"
dpkg -s libgtest-dev >/dev/null 2>&1 || need="$need libgtest-dev"
if [ -n "$need" ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get install -y $need || { $sudo apt-get update && $sudo apt-get install -y $need; }
fi

cmake -S "$here/save" -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" --target save_bench -j"$(nproc)"

echo "cores: $(nproc), load before: $(cut -d" " -f1-3 /proc/loadavg)"
"$build/save_bench" "$tmp" "$size_mb" "$tiff_frames" "$runs"
echo "load after: $(cut -d" " -f1-3 /proc/loadavg)"
