#!/usr/bin/env bash
# Renders the API reference with Doxygen; any warning fails the stage.
set -euo pipefail
bash tools/install-deps.sh doxygen
cmake -S . -B build/docs -G Ninja -DCOMMS_BUILD_TESTS=OFF -DCOMMS_BUILD_TOOLS=OFF
cmake --build build/docs --target docs
