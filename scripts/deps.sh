#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when missing.
set -euo pipefail
# The interop tests check outputs with real readers: libtiff-tools
# (tiffinfo, tiffdump), python3-tifffile, libxml2-utils (xmllint), and
# openimageio-tools (oiiotool) and ffmpeg for the DPX files.
# The command-line tool parses its arguments with CLI11 and prints JSON with
# nlohmann-json.
packages=(build-essential cmake pkg-config libgtest-dev libgmock-dev libtiff-tools python3-tifffile libxml2-utils
  openimageio-tools ffmpeg libcli11-dev nlohmann-json3-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -q
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q "${missing[@]}"
fi
