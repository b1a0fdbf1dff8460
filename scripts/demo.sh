#!/usr/bin/env bash
# The main job on a recording the tool makes itself: builds XeFile, makes a
# raw colour recording with `xefile demo`, shows and checks it with `xefile
# info`, takes images out with `xefile extract` and converts the recording with a few
# `xefile convert`s (raw and processed cine, 16-bit TIFF images with their
# header file and XML description, a multipage TIFF).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target xefile_cli
xefile=build/tools/xefile
out=$(realpath -m "${XEFILE_DEMO_DIR:-build/demo}")
rm -rf "$out"
mkdir -p "$out/tiff"

run() { echo "\$ xefile $*"; "$xefile" "$@"; echo; }

run demo "$out/recording.cine" --frames 200 --size 512x384
run info "$out/recording.cine" --check
run times "$out/recording.cine" --range=-2:2
run extract "$out/recording.cine" --image 0 -o "$out/image0.ppm"
run extract "$out/recording.cine" --image 0 --raw -o "$out/image0_raw.pgm"
run extract "$out/recording.cine" --range 0:4 -o "$out/frames/frame_!3.ppm" --gamma 1.2
run search "$out/recording.cine" --from=-100 --event 1
run convert "$out/recording.cine" "$out/raw_part.cine" --to cine-raw --range=-20:20
run convert "$out/recording.cine" "$out/processed.cine" --to cine --gamma 1.2 --saturation 20
run convert "$out/recording.cine" "$out/tiff/image_!4.tif" --to tiff16 --range 0:9 --xml
run convert "$out/recording.cine" "$out/pages.tif" --to tiff-multipage --range 0:49

echo "The files are in $out:"
ls -l "$out" "$out/tiff" | sed 's/^/  /'
echo "recording.cine is the recording; image0.ppm its trigger image processed for viewing,"
echo "image0_raw.pgm the same image as the sensor saw it; frames/ images 0 to 4 with a gamma;"
echo "tiff/ holds 16-bit TIFF images"
echo "with their header file (.chd) and XML description; pages.tif is a multipage TIFF."
