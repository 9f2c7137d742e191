#!/usr/bin/env bash
# Every patch in bench/tricks still turns its speed trick off in the current fast reader,
# and each build with and without a trick is counted on x86-64 and armhf (the arm32 stage
# installs the cross compiler and qemu), so that the benchmark report's table of tricks can
# always be made again.
set -euo pipefail
bash tools/install-deps.sh valgrind patch
bash bench/tricks/measure.sh
