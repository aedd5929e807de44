#!/usr/bin/env bash
# Installs what is needed, builds everything and runs every test: once normally, once under
# AddressSanitizer and UndefinedBehaviorSanitizer. Fails when a test fails, when no test ran,
# or when a sanitizer reports anything.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
jobs="$(nproc)"

run_suite() {
    local dir="$1"
    shift
    cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
    cmake --build "$dir" -j"$jobs"
    (cd "$dir" && ctest -j"$jobs" --no-tests=error --output-on-failure)
}

echo "== Tests =="
run_suite build -DCMAKE_BUILD_TYPE=RelWithDebInfo
echo "== Tests under AddressSanitizer and UndefinedBehaviorSanitizer =="
run_suite build-sanitize -DCMAKE_BUILD_TYPE=Debug -DKESTOVAN_SANITIZE=ON
