#!/usr/bin/env bash
# Installs what the benchmarks need (pugixml, gnuplot), builds the bench preset and runs
# the benchmark program: the table goes to standard output, bench/results.md and
# bench/results.png. Arguments are passed on to the program (Google Benchmark flags, or
# --out=FOLDER for the results).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/install-deps.sh libpugixml-dev gnuplot-nox
cmake --workflow --preset bench
build/bench/bench/comms_bench "$@"
