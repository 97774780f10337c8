#!/usr/bin/env bash
# Builds the library and the tool, then rates the bundled example recording
# by all four methods.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)" --target ctgscore_cli >/dev/null
build/tools/ctgscore analyze examples/example.csv --method all --format table
