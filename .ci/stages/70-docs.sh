#!/usr/bin/env bash
# Renders the API reference with Doxygen (any warning fails the stage) and checks that it
# is installed with the package's documentation.
set -euo pipefail
bash tools/install-deps.sh doxygen
cmake -S . -B build/docs -G Ninja -DCOMMS_BUILD_TESTS=OFF -DCOMMS_BUILD_TOOLS=OFF
cmake --build build/docs --target docs
# The rest of this small build (no tests, no tools), so that it installs.
cmake --build build/docs -j2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install build/docs --prefix "$prefix" >/dev/null
[ -e "$prefix/share/doc/CommunicationsService/html/index.html" ] ||
  { echo "docs: the API reference was not installed under share/doc" >&2; exit 1; }
