#!/usr/bin/env bash
# Runs the working-day demo with built programs: starts the service simulator on a
# private socket, runs the console with the bundled script, shows the trace and the
# simulator's log, and stops the simulator whatever happens. Exits with the console's
# status: 0 only when every step gave what it expected.
set -euo pipefail

if [ "$#" -ne 2 ]; then
  echo "usage: run-demo.sh SIMULATOR CONSOLE" >&2
  exit 2
fi
simulator="$1"
console="$2"
here="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d "${TMPDIR:-/tmp}/comms-demo.XXXXXX")"
socket="$work/service.sock"
simulator_pid=""

stop_simulator() {
  if [ -n "$simulator_pid" ] && kill -0 "$simulator_pid" 2>/dev/null; then
    kill "$simulator_pid"
    wait "$simulator_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap stop_simulator EXIT
trap 'exit 130' INT TERM

"$simulator" --socket "$socket" --ring-time 200 2>"$work/simulator.log" &
simulator_pid=$!

# Ready once it answers a control command; give up after 10 s or when it died.
for _ in $(seq 100); do
  if ! kill -0 "$simulator_pid" 2>/dev/null; then
    echo "demo: the simulator did not start:" >&2
    cat "$work/simulator.log" >&2
    exit 1
  fi
  if "$simulator" control --socket "$socket" clients >/dev/null 2>&1; then break; fi
  sleep 0.1
done

status=0
"$console" --socket "$socket" --script "$here/demo/working-day.txt" || status=$?

echo "--- the simulator's log"
cat "$work/simulator.log"
if [ "$status" -eq 0 ]; then
  echo "demo: every step gave the expected result"
else
  echo "demo: FAILED (console exit status $status)" >&2
fi
exit "$status"
