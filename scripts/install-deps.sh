#!/usr/bin/env bash
# Installs the Debian 12 packages needed to build, run and test Kestovan Aerowen.
# Quiet when everything is already present; uses sudo when not run as root.
set -euo pipefail

packages=(
    g++ cmake ninja-build
    qt6-base-dev qt6-base-dev-tools qt6-pdf-dev qt6-qpa-plugins libgl-dev libfontconfig-dev libssl-dev
    libtesseract-dev tesseract-ocr-eng
    curl unzip
    zip openssl python3 xvfb xauth fonts-dejavu-core dbus-daemon
    dpkg-dev desktop-file-utils appstream
    clang libfuzzer-14-dev libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
