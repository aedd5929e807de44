#!/usr/bin/env bash
# Installs what is needed, builds Kestovan Aerowen and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DKESTOVAN_BUILD_TESTS=OFF >/dev/null
cmake --build build-release --target kestovan-aerowen -j"$(nproc)"
exec ./build-release/src/kestovan-aerowen
