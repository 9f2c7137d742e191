#!/usr/bin/env bash
# The whole suite under ThreadSanitizer, among it the concurrency test and the host with
# its socket channel (many threads sending through one host while events flood in).
set -euo pipefail
cmake --workflow --preset tsan
