#!/usr/bin/env bash
# The whole suite on the plug-in built on the plain rules reader, which says what every
# text means; the README's test command runs it on the fast one.
set -euo pipefail
cmake --workflow --preset rules
