#!/usr/bin/env bash
# Installs what the benchmarks need (pugixml, gnuplot, valgrind), builds the bench preset,
# counts each measure's instructions under callgrind, measures the plug-ins' sizes and runs
# the benchmark program: the table goes to standard output, bench/results.md and
# bench/results.png. Arguments are passed on to the program (Google Benchmark flags, or
# --out=FOLDER for the results).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/install-deps.sh libpugixml-dev gnuplot-nox valgrind
cmake --workflow --preset bench
build=build/bench
dumps="$build/callgrind"
rm -rf "$dumps" && mkdir -p "$dumps"
valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$dumps/callgrind.out.%p" \
  "$build/bench/comms_bench" --count-instructions >/dev/null 2>"$dumps/valgrind.log"

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
  # The armhf figure comes from the arm32 build (.ci/stages/20-arm32.sh), when there is one.
  if [ -f build/arm32/build.ninja ] && command -v arm-linux-gnueabihf-strip >/dev/null; then
    cmake --build build/arm32 --target CommunicationsService >/dev/null
    measure armhf build/arm32/src/libCommunicationsService.so \
      arm-linux-gnueabihf-strip arm-linux-gnueabihf-size
  fi
} >"$sizes"

"$build/bench/comms_bench" --instructions="$dumps" --sizes="$sizes" "$@"
