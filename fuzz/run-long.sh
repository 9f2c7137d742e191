#!/usr/bin/env bash
# Runs every fuzz harness of a fuzz build, one after the other, and prints executions and
# coverage per harness. Usage: fuzz/run-long.sh [seconds per harness, default 600] [build dir]
# The seed corpus in fuzz/corpus/<name>, and the seeds and dictionaries the build writes from
# the protocol's description (<build dir>/fuzz/seeds), are only read; what a run finds goes to
# <build dir>/fuzz-runs/<name>/ and is fuzzed on from there next time. Exits non-zero when a
# harness fails, after printing the end of its output and the input that failed.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-600}"
build="${2:-build/fuzz}"
declare -A dictionaries=(
  [field_readers]=readers
  [handle_message]=events
  [proxy_answers]=answers
  [simulator_requests]=requests
  [decoder]=events
)

if [ ! -d "$build/fuzz" ]; then
  echo "run-long: no fuzzers in $build; build them first: cmake --workflow --preset fuzz" >&2
  exit 2
fi

failed=()
summary=()
for harness in "$build"/fuzz/fuzz_*; do
  [ -x "$harness" ] || continue
  name="$(basename "$harness")"
  name="${name#fuzz_}"
  work="$build/fuzz-runs/$name"
  mkdir -p "$work/corpus"
  log="$work/last-run.log"
  options=(-max_total_time="$seconds" -timeout=10 -print_final_stats=1 -artifact_prefix="$work/")
  dictionary="$build/fuzz/seeds/dict/${dictionaries[$name]:-}.dict"
  [ -f "$dictionary" ] && options+=(-dict="$dictionary")
  echo "== fuzzing $name for ${seconds}s"
  status=0
  seeds=("fuzz/corpus/$name")
  [ -d "$build/fuzz/seeds/corpus/$name" ] && seeds+=("$build/fuzz/seeds/corpus/$name")
  "$harness" "${options[@]}" "$work/corpus" "${seeds[@]}" >"$log" 2>&1 || status=$?
  executions="$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)"
  coverage="$(grep -o 'cov: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)"
  features="$(grep -o 'ft: [0-9]*' "$log" | tail -n 1 | cut -d' ' -f2)"
  units="$(ls "$work/corpus" | wc -l)"
  summary+=("$(printf '%-20s %12s %8s %8s %8s %s' "$name" "${executions:-?}" "${coverage:-?}" \
    "${features:-?}" "$units" "$([ "$status" -eq 0 ] && echo ok || echo FAILED)")")
  if [ "$status" -ne 0 ]; then
    failed+=("$name")
    tail -n 40 "$log"
    for artifact in "$work"/crash-* "$work"/leak-* "$work"/timeout-* "$work"/oom-*; do
      [ -e "$artifact" ] && echo "failing input: $artifact (base64 $(base64 -w0 "$artifact"))"
    done
  fi
done

printf '%-20s %12s %8s %8s %8s %s\n' harness executions edges features corpus result
printf '%s\n' "${summary[@]}"
if [ "${#failed[@]}" -gt 0 ]; then
  echo "fuzzing failed: ${failed[*]}" >&2
  exit 1
fi
