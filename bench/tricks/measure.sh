#!/usr/bin/env bash
# What each speed trick of the fast reader saves, on x86-64 and on armhf: every patch here
# turns one trick off (its first line says what takes its place, its second which call
# shows it). The fast build and each build without one trick are compiled alike (-O2,
# static) and the instructions of one call are counted: under callgrind on x86-64, by
# single-stepping qemu on armhf (when the cross compiler and qemu-user are here; the arm32
# stage installs them). Prints one line per trick:
#   trick|what takes its place|call|x86-64 with|x86-64 without|armhf with|armhf without
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$(pwd)
work=build/tricks
rm -rf "$work" && mkdir -p "$work"

arm=no
if command -v arm-linux-gnueabihf-g++ >/dev/null && command -v qemu-arm >/dev/null; then arm=yes; fi

# A copy of the sources with one patch applied ("fast" has none).
prepare() { # variant
  local tree="$work/$1/tree"
  mkdir -p "$tree"
  mkdir -p "$tree/tests"
  cp -r src include desktop testsupport bench "$tree/"
  cp -r tests/support "$tree/tests/"
  if [ "$1" != fast ]; then
    if ! (cd "$tree" && patch -s -p1 --no-backup-if-mismatch <"$root/bench/tricks/$1.patch"); then
      echo "tricks: bench/tricks/$1.patch no longer applies; write it again for the current reader" >&2
      exit 1
    fi
  fi
}

build() { # variant compiler output
  local tree="$work/$1/tree"
  (cd "$tree" && "$2" -std=c++17 -O2 -static -Iinclude -Isrc -Idesktop/include \
    -Itestsupport/include -Itests/support -Ibench -DCOMMS_READER_FAST=1 \
    src/CommunicationsServiceProxy.cpp src/CommunicationsServiceEventInvoker.cpp \
    src/Answers.cpp src/MessageFormat.cpp desktop/src/Framework.cpp bench/EventMessages.cpp \
    bench/armhf/CountEvents.cpp src/fast/*.cpp -o "$3")
}

variants=(fast)
for patch in bench/tricks/*.patch; do variants+=("$(basename "$patch" .patch)"); done
for variant in "${variants[@]}"; do prepare "$variant"; done

# Two builds at a time, one per core.
running=0
for variant in "${variants[@]}"; do
  targets=("g++ x86-64")
  [ "$arm" = yes ] && targets+=("arm-linux-gnueabihf-g++ armhf")
  for target in "${targets[@]}"; do
    read -r compiler name <<<"$target"
    build "$variant" "$compiler" "$root/$work/$variant/$name" &
    running=$((running + 1))
    if [ "$running" -ge 2 ]; then
      wait -n
      running=$((running - 1))
    fi
  done
done
wait

countX86() { # program arguments...
  valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>&1 >/dev/null |
    awk '/Collected/ { print $4 }'
}
countArm() { # program arguments...
  qemu-arm -singlestep -d nochain,exec -D /dev/stderr "$@" 2>&1 >/dev/null | grep -c '^Trace'
}
# The instructions of one more call: two runs, the second with one call more.
perCall() { # counter program call...
  local counter=$1 program=$2
  shift 2
  echo $(($("$counter" "$program" 2 "$@") - $("$counter" "$program" 1 "$@")))
}

callOf() { sed -n 's/^Measured on: //p' "bench/tricks/$1.patch"; }
arguments() { # call
  case "$1" in
  conference) echo "conference 1024" ;;
  *) echo "$1" ;;
  esac
}

for patch in bench/tricks/*.patch; do
  trick=$(basename "$patch" .patch)
  call=$(callOf "$trick")
  read -r -a args <<<"$(arguments "$call")"
  line="$trick|$(sed -n 's/^Without: //p' "$patch")|$call"
  line+="|$(perCall countX86 "$work/fast/x86-64" "${args[@]}")"
  line+="|$(perCall countX86 "$work/$trick/x86-64" "${args[@]}")"
  if [ "$arm" = yes ]; then
    line+="|$(perCall countArm "$work/fast/armhf" "${args[@]}")"
    line+="|$(perCall countArm "$work/$trick/armhf" "${args[@]}")"
  else
    line+="||"
  fi
  echo "$line"
done
