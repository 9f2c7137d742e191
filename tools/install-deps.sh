#!/usr/bin/env bash
# Installs the Debian packages the project builds with, only those that are missing.
# Safe to run again; needs root (or sudo) only when something is missing.
set -euo pipefail

packages=(cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev libreadline-dev pkg-config libasio-dev libcli11-dev nlohmann-json3-dev libwebsocketpp-dev help2man)
if [ "$#" -gt 0 ]; then packages+=("$@"); fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[ "${#missing[@]}" -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get -o DPkg::Lock::Timeout=600 update -qq
$sudo apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
