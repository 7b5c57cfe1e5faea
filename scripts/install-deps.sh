#!/usr/bin/env bash
# Installs the Debian packages the project builds, runs and tests with (skips what is there).
set -euo pipefail
packages=(cmake ninja-build g++ qt6-base-dev qt6-base-dev-tools libqt6sql6-sqlite libqt6sql6-psql
          libgl-dev googletest libgtest-dev libbenchmark-dev postgresql fonts-wqy-microhei
          xvfb xauth qt6-translations-l10n libxlsxwriter-dev libminizip-dev pkg-config)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}" >&2
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null 2>&1; then
    echo "Installing Debian packages needs root: run this command as root, or install sudo" >&2
    echo "and run it as a user who may use it; or install these packages first:" >&2
    echo "  apt-get install ${missing[*]}" >&2
    exit 1
  fi
  sudo="sudo"
fi
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
