#!/usr/bin/env bash
# The whole suite under ThreadSanitizer, the concurrency test among it.
set -euo pipefail
cmake --workflow --preset tsan
