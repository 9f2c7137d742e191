#!/usr/bin/env bash
# The panel in a real browser: Debian's chromium, headless, driven from Node by
# playwright-core (which downloads no browser of its own). Saves a screenshot of the page
# in build/browser/panel.png.
set -euo pipefail
bash tools/install-deps.sh chromium fonts-dejavu-core
command -v node >/dev/null && command -v npm >/dev/null || bash tools/install-deps.sh nodejs npm
[ -f build/dev/build.ninja ] || cmake --preset dev
cmake --build build/dev --target comms-simulator comms-console CommunicationsService -j2
(cd tests/browser && npm ci --no-audit --no-fund --loglevel=error)
mkdir -p build/browser
node tests/browser/panel.test.mjs build/dev/tools/comms-simulator build/dev/tools/comms-console \
  build/browser/panel.png
