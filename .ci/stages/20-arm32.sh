#!/usr/bin/env bash
# The plug-in, the desktop framework and the unit tests built for 32-bit ARM (hard float),
# on the fast reader and on the plain rules; ctest runs the tests under qemu-arm.
# GoogleTest is built for the target from its sources.
set -euo pipefail
bash tools/install-deps.sh g++-arm-linux-gnueabihf libc6-dev-armhf-cross qemu-user googletest
cmake --workflow --preset arm32
cmake --workflow --preset arm32-rules
