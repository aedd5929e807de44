#!/usr/bin/env bash
# Installs what is needed, builds Kestovan Aerowen in release form and makes its Debian package:
# build-package/kestovan-aerowen_1.0.2_amd64.deb, installed with apt-get as the README shows.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build-package -G Ninja -DCMAKE_BUILD_TYPE=Release -DKESTOVAN_BUILD_TESTS=OFF >/dev/null
cmake --build build-package -j"$(nproc)"
(cd build-package && cpack -G DEB)
