#!/usr/bin/env bash
# The desktop kit's demo: installs what is missing, builds everything (the dev preset's
# configuration, in build/dev unless COMMS_BUILD_DIR says otherwise) and walks a working
# day through the plug-in against the service simulator.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="${COMMS_BUILD_DIR:-$root/build/dev}"

bash "$root/tools/install-deps.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j2 --target comms-simulator comms-console CommunicationsService
exec bash "$root/tools/run-demo.sh" "$build/tools/comms-simulator" "$build/tools/comms-console"
