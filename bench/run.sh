#!/usr/bin/env bash
# Installs what the benchmarks need (pugixml, gnuplot, valgrind), builds the bench presets
# of the fast and the plain build, counts each measure's instructions under callgrind,
# measures the plug-ins' sizes, counts the armhf builds' instructions under qemu, counts what
# each speed trick saves on both (bench/tricks/measure.sh) and runs
# the benchmark program (the plain build's first, for its figures): the table goes to
# standard output, bench/results.md and bench/results.png. Arguments are passed on to the program (Google Benchmark flags, or
# --out=FOLDER for the results).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/install-deps.sh libpugixml-dev gnuplot-nox valgrind
cmake --workflow --preset bench
cmake --workflow --preset bench-rules
build=build/bench
plain=build/bench-rules

# Each build's instructions per call under callgrind, into its own folder.
count_instructions() { # build folder
  local dumps="$1/callgrind"
  rm -rf "$dumps" && mkdir -p "$dumps"
  valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$dumps/callgrind.out.%p" \
    "$1/bench/comms_bench" --count-instructions >/dev/null 2>"$dumps/valgrind.log"
}
count_instructions "$build"
count_instructions "$plain"
"$plain/bench/comms_bench" --instructions="$plain/callgrind" --figures="$plain/figures.txt" \
  >/dev/null

# "build|stripped bytes|data bytes|bss bytes" per plug-in.
sizes="$build/sizes.txt"
measure() { # label library strip size
  local stripped="$build/stripped.so"
  "$3" -o "$stripped" "$2"
  echo "$1|$(stat -c %s "$stripped")|$("$4" "$stripped" | awk 'NR == 2 { print $2 "|" $3 }')"
  rm -f "$stripped"
}
{
  measure x86-64 "$build/src/libCommunicationsService.so" strip size
  measure "x86-64 straightforward" "$build/bench/libcomms_straightforward.so" strip size
  measure "x86-64 rules" "$plain/src/libCommunicationsService.so" strip size
  # The armhf figure comes from the arm32 build (.ci/stages/20-arm32.sh), when there is one.
  if [ -f build/arm32/build.ninja ] && command -v arm-linux-gnueabihf-strip >/dev/null; then
    cmake --build build/arm32 --target CommunicationsService >/dev/null
    measure armhf build/arm32/src/libCommunicationsService.so \
      arm-linux-gnueabihf-strip arm-linux-gnueabihf-size
  fi
} >"$sizes"

# The armhf counts, when the cross compiler and qemu are here (the arm32 stage installs them).
armhf=()
if command -v arm-linux-gnueabihf-g++ >/dev/null && command -v qemu-arm >/dev/null; then
  bash bench/armhf/count.sh >"$build/armhf-counts.txt"
  armhf=(--armhf="$build/armhf-counts.txt")
fi
# What each speed trick saves, on x86-64 and (with the same tools) on armhf.
bash bench/tricks/measure.sh >"$build/trick-counts.txt"

"$build/bench/comms_bench" --instructions="$build/callgrind" --sizes="$sizes" \
  --plain="$plain/figures.txt" --tricks="$build/trick-counts.txt" "${armhf[@]}" "$@"
