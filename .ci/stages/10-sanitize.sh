#!/usr/bin/env bash
# The whole suite under AddressSanitizer (leak checks on) and UndefinedBehaviorSanitizer.
set -euo pipefail
cmake --workflow --preset sanitize
