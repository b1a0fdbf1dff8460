#!/usr/bin/env bash
# Builds the fuzz harnesses of fuzz/ with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer), replays the kept inputs of fuzz/regressions/,
# then fuzzes each harness for SECONDS (default 60) from a seed corpus that
# the tests' fixture builder makes. A crash, leak, hang or oversized
# allocation fails the run; its input is left in the build's crashes/ folder
# with the commands to reproduce it and to keep it as a regression.
#
#   scripts/fuzz.sh [SECONDS]      (build folder: $XEFILE_FUZZ_BUILD or build-fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=${XEFILE_FUZZ_BUILD:-build-fuzz}
scripts/deps.sh

# clang and its libFuzzer runtime, when missing.
fuzzer_links() {
  echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char *, unsigned long) { return 0; }' |
    clang++ -x c++ -fsanitize=fuzzer,address,undefined - -o /dev/null 2>/dev/null
}
if ! command -v clang++ >/dev/null || ! fuzzer_links; then
  echo "Installing: clang libclang-rt-dev"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -q
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q clang libclang-rt-dev
fi

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
  -DCMAKE_CXX_COMPILER=clang++ -DXEFILE_FUZZ=ON "${launcher[@]}" >/dev/null
cmake --build "$build" -j "$(nproc)" --target fuzz_cine fuzz_tiff xefile_fuzz_seeds

build=$(cd "$build" && pwd)
export XDG_CONFIG_HOME="$build/fuzz-work/config"
rm -rf "$build/fuzz-work/seeds"
"$build/fuzz/xefile_fuzz_seeds" "$build/fuzz-work/seeds" >/dev/null
crashes="$build/crashes"
mkdir -p "$crashes"

# Inputs of a cine hold the 7240-byte Setup; TIFF pages of the seeds are small.
declare -A max_len=([cine]=32768 [tiff]=16384)
failed=0
for name in cine tiff; do
  corpus="$build/fuzz-work/corpus/$name"
  mkdir -p "$corpus"
  options=(-max_len="${max_len[$name]}" -rss_limit_mb=2048 -malloc_limit_mb=1024 -timeout=30
    -artifact_prefix="$crashes/$name-" -print_final_stats=1)
  echo "== fuzz_$name: the kept inputs, then $seconds s"
  "$build/fuzz/fuzz_$name" "${options[@]}" fuzz/regressions/"$name"/* >/dev/null 2>"$build/fuzz-work/$name-replay.log" ||
    { failed=1; tail -40 "$build/fuzz-work/$name-replay.log" >&2; continue; }
  if "$build/fuzz/fuzz_$name" "${options[@]}" -max_total_time="$seconds" \
      "$corpus" "$build/fuzz-work/seeds/$name" 2>"$build/fuzz-work/$name.log"; then
    grep -E '^stat::number_of_executed_units|^#[0-9]+ +DONE' "$build/fuzz-work/$name.log" || true
  else
    failed=1
    tail -60 "$build/fuzz-work/$name.log" >&2
  fi
done

if [ "$failed" -ne 0 ]; then
  echo >&2
  echo "fuzzing found a fault; the inputs are in $crashes:" >&2
  ls -l "$crashes" >&2
  echo "reproduce: XDG_CONFIG_HOME=$XDG_CONFIG_HOME $build/fuzz/fuzz_<cine|tiff> $crashes/<file>" >&2
  echo "keep it:   cp $crashes/<file> fuzz/regressions/<cine|tiff>/<what-it-hit>.<cine|tif>" >&2
  exit 1
fi
echo "fuzzing found nothing"
