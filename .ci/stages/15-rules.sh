#!/usr/bin/env bash
# The whole suite on the plug-in built on the plain rules reader, which says what every
# text means, under AddressSanitizer and UndefinedBehaviorSanitizer; the README's test
# command runs it on the fast one, and the sanitize stage the fast one under them.
set -euo pipefail
cmake --workflow --preset rules
