#!/bin/sh
# Every benchmark of the project in one run, and one table of the results
# against the peers:
#   demosaic (OpenCV), adjust (no peer), save (cp, ffmpeg), read (pread).
#
#   bench/run.sh [work folder, default /tmp/xefile-bench]
#
# Installs what the benchmarks need (apt-get, as root or with sudo), then
# each benchmark builds itself in Release in a folder of its own under the
# work folder and runs; its output goes to <work folder>/NAME.log.
# Sizes by environment, passed on to the benchmarks: SIZE_MB (the cines of
# save and read, default 1024), TIFF_FRAMES, RUNS, TMP_DIR.
# A quick run: SIZE_MB=64 TIFF_FRAMES=16 bench/run.sh
#
# Each benchmark reports its results as lines
#   RESULT name ours peer unit goal
# where peer and goal may be "-" (nothing to compare with), and goal is
# ">=X" or "<=X" on the ratio ours / peer.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
work=${1:-/tmp/xefile-bench}
mkdir -p "$work"

# What the benchmarks need on top of the build: OpenCV and the sample
# pictures of scikit-image (demosaic), ffmpeg (save), GoogleTest (the
# fixture builder of save and read).
"$root/scripts/deps.sh"
need=""
for p in build-essential cmake libgtest-dev libopencv-dev python3-skimage python3-numpy ffmpeg; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || need="$need $p"
done
if [ -n "$need" ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
  echo "Installing:$need"
  $sudo apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q $need
fi

results=$work/results.txt
: >"$results"
for bench in demosaic adjust save read; do
  log=$work/$bench.log
  echo "== $bench (log: $log)"
  started=$(date +%s)
  if "$here/$bench.sh" "$work/$bench" >"$log" 2>&1; then
    status=ok
  else
    status="failed, exit $?"
  fi
  echo "   $status in $(( $(date +%s) - started )) s"
  # A result line names its benchmark with a letter first; anything else
  # that starts with RESULT is not one.
  found=$(awk '$1 == "RESULT" && NF == 6 && $2 ~ /^[A-Za-z]/' "$log")
  if [ -n "$found" ]; then
    echo "$found" >>"$results"
  elif [ "$status" = ok ]; then
    echo "NOTE $bench no result lines; see $log" >>"$results"
  fi
  [ "$status" = ok ] || echo "NOTE $bench $status; see $log" >>"$results"
done

echo
awk -v cores="$(nproc)" '
  function num(x) { return x ~ /^[-+]?[0-9.]+([eE][-+]?[0-9]+)?$/ }
  BEGIN {
    printf "%-24s %10s %10s %-6s %8s %7s  %s\n", "benchmark", "ours", "peer", "unit", "ratio", "goal", ""
  }
  $1 == "RESULT" {
    ratio = "-"; verdict = ""
    if (num($3) && num($4) && $4 + 0 != 0) {
      r = $3 / $4; ratio = sprintf("%.2fx", r)
      if ($6 ~ /^>=/) verdict = (r >= substr($6, 3) + 0) ? "met" : "MISSED"
      else if ($6 ~ /^<=/) verdict = (r <= substr($6, 3) + 0) ? "met" : "MISSED"
    }
    printf "%-24s %10s %10s %-6s %8s %7s  %s\n", $2, $3, $4, $5, ratio, $6, verdict
    next
  }
  $1 == "NOTE" { notes = notes sprintf("note: %s: %s\n", $2, substr($0, index($0, $3))) }
  END { printf "%s", notes; printf "cores: %d\n", cores }
' "$results"
