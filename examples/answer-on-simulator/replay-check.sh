#!/usr/bin/env bash
# An application's regression test from a recorded session: records a session of
# answer-on-simulator against the simulator, replays it against the same program (it must
# match), then against a copy that answers with acceptCall instead of answerCall (the
# replay must report that as its first divergence).
# Usage: replay-check.sh PREFIX APPLICATION   (PREFIX: where the package is installed)
set -euo pipefail
prefix=$1
application=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
simulator_pid=""
cleanup() {
  [ -n "$simulator_pid" ] && kill "$simulator_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

fail() {
  echo "replay-check: $*" >&2
  [ -f "$work/simulator.log" ] && cat "$work/simulator.log" >&2
  exit 1
}

# Starts the simulator with the arguments on a fresh socket, and waits for the socket.
start_simulator() {
  socket="$work/simulator-$RANDOM.sock"
  "$prefix/bin/comms-simulator" --socket "$socket" --lines 1001 "$@" >"$work/simulator.log" 2>&1 &
  simulator_pid=$!
  for _ in $(seq 100); do
    [ -S "$socket" ] && return
    kill -0 "$simulator_pid" 2>/dev/null || break
    sleep 0.1
  done
  fail "the simulator did not start"
}

# Waits for the replaying simulator to end by itself; its exit status goes to $status.
await_replay() {
  status=0
  wait "$simulator_pid" || status=$?
  simulator_pid=""
}

# 1. Record a session of the application.
start_simulator --record "$work/session.jsonl"
"$application" "$socket" >/dev/null || fail "the application failed while recording"
kill "$simulator_pid" && wait "$simulator_pid" 2>/dev/null || true
simulator_pid=""

# 2. Replay it against the same application: the whole session matches.
start_simulator --replay "$work/session.jsonl" --fast
"$application" "$socket" >/dev/null || true
await_replay
[ "$status" = 0 ] || fail "the replay against the same application did not match"
grep -q "replay: the whole session matched" "$work/simulator.log" || fail "no match reported"
echo "replay-check: $(grep -o 'replay: .*' "$work/simulator.log")"

# 3. A copy with one deliberate change: it accepts the call instead of answering it.
mkdir "$work/changed"
cp "$here"/*.cpp "$here"/*.h "$work/changed/"
sed -i 's/service\.answerCall(lineId, callId)/service.acceptCall(lineId, callId, false)/' \
  "$work/changed/Answerer.h"
grep -q 'service.acceptCall' "$work/changed/Answerer.h" || fail "the change could not be made"
plugin=$(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --variable=plugin CommunicationsService)
# shellcheck disable=SC2046
c++ -std=c++17 -DPLUGIN_PATH="\"$plugin\"" -o "$work/changed/application" \
  "$work/changed/AnswerOnSimulator.cpp" \
  $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs CommunicationsService-host)
start_simulator --replay "$work/session.jsonl" --fast --replay-timeout 5
"$work/changed/application" "$socket" >/dev/null 2>&1 || true
await_replay
[ "$status" = 1 ] || fail "the replay did not fail against the changed application"
grep -q "replay: first divergence at line [0-9]* of the record: expected answerCall(line=\"1001\", callId=1), received acceptCall(line=\"1001\", callId=1, autoAnswer=0)" \
  "$work/simulator.log" || fail "the divergence was not reported as expected"
echo "replay-check: $(grep -o 'replay: .*' "$work/simulator.log")"
