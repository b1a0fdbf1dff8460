#!/usr/bin/env bash
# Builds XeFile, writes a sample recording, shows what the library reads from
# it and writes one of its images, processed, to a picture file.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target cineinfo processed_image xefile_sample_cine
out=${XEFILE_DEMO_DIR:-build/demo}
mkdir -p "$out"
build/tests/xefile_sample_cine "$out/sample.cine"
echo
build/examples/cineinfo "$out/sample.cine"
echo
build/examples/processed_image "$out/sample.cine" 0 "$out/image0.ppm"
echo
echo "The sample recording is $out/sample.cine"
echo "Its image 0, processed for viewing, is $out/image0.ppm (16-bit PPM; any image viewer opens it)"
