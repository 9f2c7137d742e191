#!/usr/bin/env bash
# The fuzz harnesses (libFuzzer, AddressSanitizer, UndefinedBehaviorSanitizer), each for a
# short fixed time from its seed corpus.
set -euo pipefail
bash tools/install-deps.sh clang libclang-rt-dev
cmake --workflow --preset fuzz
bash fuzz/run-long.sh "${FUZZ_SECONDS:-25}" build/fuzz
