#!/usr/bin/env bash
# The C++ sources follow .clang-format; the stage names every file that does not.
set -euo pipefail
mapfile -t sources < <(git ls-files '*.cpp' '*.h')
unformatted=()
for source in "${sources[@]}"; do
  clang-format --dry-run -Werror "$source" >/dev/null 2>&1 || unformatted+=("$source")
done
if [ "${#unformatted[@]}" -ne 0 ]; then
  printf 'format: not as .clang-format says (run clang-format -i): %s\n' "${unformatted[@]}" >&2
  exit 1
fi
echo "format: ${#sources[@]} sources follow .clang-format"
