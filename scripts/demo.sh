#!/usr/bin/env bash
# Builds XeFile, writes a sample recording and shows what the library reads
# from it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target cineinfo xefile_sample_cine
out=${XEFILE_DEMO_DIR:-build/demo}
mkdir -p "$out"
build/tests/xefile_sample_cine "$out/sample.cine"
echo
build/examples/cineinfo "$out/sample.cine"
echo
echo "The sample recording is $out/sample.cine"
