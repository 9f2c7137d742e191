#!/usr/bin/env bash
# Instructions per event on armhf for the fast build, the rules build and the
# straightforward way, counted by single-stepping under qemu (one trace line per
# instruction executed): the call-state event, and the conference event per byte of its
# document from 1 KiB to 1 MiB. Needs the cross compiler and qemu-user (the arm32 stage
# installs them).
set -euo pipefail
cd "$(dirname "$0")/../.."
out=build/armhf-count
mkdir -p "$out"
sources="src/CommunicationsServiceProxy.cpp src/CommunicationsServiceEventInvoker.cpp
  src/Answers.cpp src/MessageFormat.cpp desktop/src/Framework.cpp bench/EventMessages.cpp
  bench/armhf/CountEvents.cpp"
flags="-std=c++17 -O2 -static -Iinclude -Isrc -Idesktop/include -Itestsupport/include -Itests/support -Ibench"
# shellcheck disable=SC2086
arm-linux-gnueabihf-g++ $flags -DCOMMS_READER_FAST=1 $sources src/fast/*.cpp -o "$out/fast"
# shellcheck disable=SC2086
arm-linux-gnueabihf-g++ $flags -DCOMMS_READER_FAST=0 $sources src/rules/*.cpp -o "$out/rules"
# shellcheck disable=SC2086
arm-linux-gnueabihf-g++ $flags -DCOMMS_READER_FAST=0 -DSTRAIGHTFORWARD=1 $sources \
  src/rules/*.cpp -o "$out/straightforward"

count() { qemu-arm -singlestep -d nochain,exec -D /dev/stderr "$@" 2>&1 >/dev/null | grep -c '^Trace'; }
# The instructions of one more event: two runs, the second with one event more.
perEvent() { local build=$1; shift; echo $(( $(count "$out/$build" 2 "$@") - $(count "$out/$build" 1 "$@") )); }

printf '%-16s %14s %s\n' build call-state 'conference: instructions per byte (1 KiB, 16 KiB, 256 KiB, 1 MiB)'
for build in fast rules straightforward; do
  line=$(printf '%-16s %14s ' "$build" "$(perEvent "$build" callstate)")
  for bytes in 1024 16384 262144 1048576; do
    line+=$(awk -v n="$(perEvent "$build" conference "$bytes")" -v b="$bytes" 'BEGIN { printf " %6.2f", n / b }')
  done
  echo "$line"
done
