#!/usr/bin/env bash
# Builds the library, the tool and every test in release mode and runs them all.
# Usage: scripts/test.sh [build-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
build=${1:-build}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release
cmake --build "$build" -j"$(nproc)"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
