#!/usr/bin/env bash
# Installs what is needed, builds everything and runs every test: once normally, once under
# AddressSanitizer and UndefinedBehaviorSanitizer, then every fuzz target for a short while.
# Fails when a test fails, when no test ran, when a sanitizer reports anything, or when a fuzz
# target finds a failing input.
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
echo "== Fuzzing, ${KESTOVAN_FUZZ_SECONDS:-30} s a target =="
bash scripts/fuzz.sh "${KESTOVAN_FUZZ_SECONDS:-30}"
