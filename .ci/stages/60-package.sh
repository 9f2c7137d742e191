#!/usr/bin/env bash
# Installs the library into a temporary prefix, then builds the example application out of
# tree against that prefix (with find_package, and with pkg-config) and runs its tests, so
# that a broken install fails here rather than in an application developer's hands.
set -euo pipefail

build=build/package
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
rm -rf "$build"

cmake -S . -B "$build/library" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_INSTALL_LIBDIR=lib -DCOMMS_BUILD_TESTS=OFF -DCOMMS_BUILD_TOOLS=OFF
cmake --build "$build/library" -j2
cmake --install "$build/library" --prefix "$prefix"

plugin="$prefix/lib/libCommunicationsService.so.1"
if ! readelf -d "$plugin" | grep -q 'SONAME.*\[libCommunicationsService\.so\.1\]'; then
  echo "package: $plugin lacks its versioned SONAME" >&2
  exit 1
fi
for header in src/*.h; do
  if [ -e "$prefix/include/CommunicationsService/$(basename "$header")" ]; then
    echo "package: the private header $header was installed" >&2
    exit 1
  fi
done

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
pkg-config --validate CommunicationsService
pkg-config --validate CommunicationsService-desktop
[ "$(pkg-config --variable=plugin CommunicationsService)" -ef "$plugin" ]
c++ -std=c++17 -fPIC -shared -Wall -Wextra -Werror -o "$build/libauto_answer_pkgconfig.so" \
  examples/auto-answer/AutoAnswer.cpp $(pkg-config --cflags --libs CommunicationsService-desktop)

cmake -S examples/auto-answer -B "$build/auto-answer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$build/auto-answer" -j2
ctest --test-dir "$build/auto-answer" --output-on-failure --no-tests=error
