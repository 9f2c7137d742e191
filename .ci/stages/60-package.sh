#!/usr/bin/env bash
# Installs the test build (build/dev, which the README's test command has just built and
# tested) into a temporary prefix without building it again, checks the installed manual
# pages and documentation, then builds the example applications out of tree against that
# prefix (with find_package, and with pkg-config), runs the first one's tests and runs the
# second one against the installed simulator, then records a session of it and replays
# that, so that a broken install fails here rather than in an application developer's hands.
set -euo pipefail

# man renders the installed manual pages.
bash tools/install-deps.sh man-db

tested=build/dev
build=build/package
prefix=$(mktemp -d)
run=$(mktemp -d)
simulator_pid=""
cleanup() {
  if [ -n "$simulator_pid" ]; then
    kill "$simulator_pid" 2>/dev/null || true
    wait "$simulator_pid" 2>/dev/null || true
  fi
  rm -rf "$prefix" "$run"
}
trap cleanup EXIT
rm -rf "$build"
mkdir -p "$build"

fail() {
  echo "package: $*" >&2
  exit 1
}

[ -f "$tested/CMakeCache.txt" ] ||
  fail "no test build in $tested: run the README's test command (cmake --workflow --preset dev) first"
cmake --install "$tested" --prefix "$prefix"
libdir=$(sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' "$tested/CMakeCache.txt")

version=$(sed -n 's/^project(CommunicationsService VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
for library in CommunicationsService CommunicationsServiceApp desktopframework desktophost; do
  readelf -d "$prefix/$libdir/lib$library.so.1" | grep -q "SONAME.*\[lib$library\.so\.1\]" ||
    fail "lib$library lacks its versioned SONAME"
done
for header in src/*.h; do
  [ ! -e "$prefix/include/CommunicationsService/$(basename "$header")" ] ||
    fail "the private header $header was installed"
done
for file in include/CommunicationsService/Version.h include/CommunicationsService/desktop/Host.h \
  include/CommunicationsService/app/EventQueue.h \
  share/doc/CommunicationsService/LICENSE share/doc/CommunicationsService/CHANGELOG.md \
  share/doc/CommunicationsService/compatibility.md; do
  [ -e "$prefix/$file" ] || fail "$file was not installed"
done
for program in comms-simulator comms-console comms-decode; do
  [ "$("$prefix/bin/$program" --version)" = "$program $version" ] ||
    fail "$program --version does not say $version"
  # Each manual page renders without a warning and tells the program's options.
  page="$prefix/share/man/man1/$program.1"
  [ -e "$page" ] || fail "$program has no manual page (is help2man installed?)"
  rendered=$(MANWIDTH=100 man --warnings -l "$page" 2>"$build/man-warnings") ||
    fail "man -l $page failed: $(cat "$build/man-warnings")"
  [ ! -s "$build/man-warnings" ] || fail "man -l $page warns: $(cat "$build/man-warnings")"
  grep -q -- "--help" <<<"$rendered" || fail "the manual page of $program lacks its options"
done

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
for module in CommunicationsService CommunicationsService-app CommunicationsService-desktop \
  CommunicationsService-host CommunicationsService-testing; do
  pkg-config --validate "$module"
  [ "$(pkg-config --modversion "$module")" = "$version" ] || fail "$module is not version $version"
done
plugin=$(pkg-config --variable=plugin CommunicationsService)
[ "$plugin" -ef "$prefix/$libdir/libCommunicationsService.so.1" ] || fail "the plugin variable is wrong"

# An application that links the test support without asking for it is told how to ask.
mkdir -p "$build/no-testing-component"
cat >"$build/no-testing-component/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.25)
project(NoTestingComponent LANGUAGES CXX)
find_package(CommunicationsService 1 REQUIRED)
file(WRITE ${CMAKE_BINARY_DIR}/test.cpp "int main() { return 0; }\n")
add_executable(app_tests ${CMAKE_BINARY_DIR}/test.cpp)
target_link_libraries(app_tests PRIVATE CommunicationsService::testing)
EOF
if cmake -S "$build/no-testing-component" -B "$build/no-testing-component/build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >"$build/no-testing-component.log" 2>&1; then
  fail "linking CommunicationsService::testing without COMPONENTS testing was accepted"
fi
grep -q "COMPONENTS testing" "$build/no-testing-component.log" ||
  fail "no hint at COMPONENTS testing: $(cat "$build/no-testing-component.log")"

# The first example: with pkg-config (its tests too), then with CMake and CTest.
c++ -std=c++17 -fPIC -shared -Wall -Wextra -Werror -o "$build/libauto_answer_pkgconfig.so" \
  examples/auto-answer/AutoAnswer.cpp $(pkg-config --cflags --libs CommunicationsService-desktop)
c++ -std=c++17 -Wall -Wextra -Werror -o "$build/auto_answer_tests_pkgconfig" \
  examples/auto-answer/AutoAnswer.cpp examples/auto-answer/AutoAnswerTest.cpp \
  $(pkg-config --cflags --libs CommunicationsService-testing gmock_main)
"$build/auto_answer_tests_pkgconfig" --gtest_brief=1

cmake -S examples/auto-answer -B "$build/auto-answer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$build/auto-answer" -j2
ctest --test-dir "$build/auto-answer" --output-on-failure --no-tests=error

# The second example against the installed simulator, built with CMake and with pkg-config.
cmake -S examples/answer-on-simulator -B "$build/answer-on-simulator" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$build/answer-on-simulator" -j2
# Its integration test runs a simulator of its own through the installed fixture.
ctest --test-dir "$build/answer-on-simulator" --output-on-failure --no-tests=error
c++ -std=c++17 -Wall -Wextra -Werror -DPLUGIN_PATH="\"$plugin\"" \
  -o "$build/answer-on-simulator-pkgconfig" examples/answer-on-simulator/AnswerOnSimulator.cpp \
  $(pkg-config --cflags --libs CommunicationsService-host)

socket="$run/simulator.sock"
"$prefix/bin/comms-simulator" --socket "$socket" >"$run/simulator.log" 2>&1 &
simulator_pid=$!
for _ in $(seq 100); do
  [ -S "$socket" ] && break
  kill -0 "$simulator_pid" 2>/dev/null || break
  sleep 0.1
done
[ -S "$socket" ] || { cat "$run/simulator.log" >&2; fail "the installed simulator did not start"; }

"$build/answer-on-simulator/answer-on-simulator" "$socket" ||
  { cat "$run/simulator.log" >&2; fail "answer-on-simulator (CMake) failed"; }
"$build/answer-on-simulator-pkgconfig" "$socket" ||
  { cat "$run/simulator.log" >&2; fail "answer-on-simulator (pkg-config) failed"; }
# The installed console finds the installed plug-in by itself.
echo "activate => sfiSuccess" | "$prefix/bin/comms-console" --socket "$socket" >/dev/null ||
  fail "the installed console could not run a step"

kill "$simulator_pid"
wait "$simulator_pid" 2>/dev/null || true
simulator_pid=""

# A recorded session of the second example as its regression test: it replays against the
# same program and reports its first divergence against a changed copy.
bash examples/answer-on-simulator/replay-check.sh "$prefix" \
  "$build/answer-on-simulator/answer-on-simulator"
echo "package: installed, both examples built and ran, the recorded session replayed"
