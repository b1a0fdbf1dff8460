#!/bin/sh
# Demosaic benchmark: our ids against OpenCV's Bayer conversions, speed and
# colour PSNR, in one run on this machine.
#   bench/demosaic.sh [build folder, default /tmp/xefile-bench-demosaic]
set -e
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
out=${1:-/tmp/xefile-bench-demosaic}

need=""
dpkg -s libopencv-dev >/dev/null 2>&1 || need="$need libopencv-dev"
dpkg -s python3-skimage >/dev/null 2>&1 || need="$need python3-skimage"
dpkg -s python3-numpy >/dev/null 2>&1 || need="$need python3-numpy"
dpkg -s libbenchmark-dev >/dev/null 2>&1 || need="$need libbenchmark-dev"
if [ -n "$need" ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get install -y $need
fi

jobs=$(nproc)
cmake -S "$root" -B "$out/lib" -DCMAKE_BUILD_TYPE=Release -DXEFILE_BUILD_TESTS=OFF >/dev/null
make -C "$out/lib" -j"$jobs" xefile_core >/dev/null
cmake -S "$here/demosaic" -B "$out/bench" -DCMAKE_BUILD_TYPE=Release -DXEFILE_BUILD_DIR="$out/lib" >/dev/null
make -C "$out/bench" -j"$jobs" >/dev/null

data=$(python3 -c 'import skimage, os; print(os.path.join(os.path.dirname(skimage.__file__), "data"))' 2>/dev/null ||
       echo /usr/lib/python3/dist-packages/skimage/data)
images=""
for name in astronaut.png coffee.png chelsea.png rocket.jpg; do
  [ -f "$data/$name" ] && images="$images $data/$name"
done
"$out/bench/demosaic_bench" $images
