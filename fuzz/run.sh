#!/usr/bin/env bash
# Builds the fuzz targets in build-fuzz/ and runs each for a bounded time,
# starting from a copy of its seed corpus (the repository is left untouched).
# Fails when a target finds a crash, a sanitizer report, a failed check, a
# timeout or a memory blow-up; the reproducers are kept in build-fuzz/findings/.
# Usage: fuzz/run.sh [seconds-per-target]   (default 60)
set -euo pipefail
seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: $0 [seconds-per-target]" >&2; exit 2; }
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-fuzz"

# clang with libFuzzer and the sanitizer runtimes, installed when missing.
packages=(cmake clang-14 libclang-rt-14-dev)
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "installing Debian packages: ${missing[*]}" >&2
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi

cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER=clang++-14 >/dev/null
cmake --build "$build" -j2

# The library writes its daily log into the working directory: run elsewhere.
# Every array its getters hand out is kept for the life of the process, so a
# fuzzing process grows (the interface target by some 6 MB/s, which would
# reach the memory limit in about five minutes); long runs go in slices of a
# fresh process each, all feeding the same working corpus.
slice=120
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
findings="$build/findings"
failed=0

# Runs one target for its time; prints its executions or its finding.
fuzz() {
  local target=$1 dir="$work/$1" remaining=$seconds runs=0 status=0 part executed
  mkdir -p "$dir/corpus" "$dir/artifacts"
  cp "$root/fuzz/corpus/$target/"* "$dir/corpus/"
  while ((remaining > 0)); do
    part=$((remaining < slice ? remaining : slice))
    (cd "$dir" && "$build/$target" corpus -max_total_time="$part" -timeout=30 \
       -rss_limit_mb=2048 -close_fd_mask=1 -print_final_stats=1 \
       -artifact_prefix="$dir/artifacts/") >"$dir/fuzz.log" 2>&1 || status=$?
    executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/fuzz.log")
    runs=$((runs + ${executed:-0}))
    remaining=$((remaining - part))
    if [ "$status" -ne 0 ] || compgen -G "$dir/artifacts/*" >/dev/null; then
      mkdir -p "$findings/$target"
      cp "$dir/artifacts/"* "$findings/$target/" 2>/dev/null || true
      cp "$dir/fuzz.log" "$findings/$target/fuzz.log"
      echo "FINDING in $target (exit $status) after $runs executions; reproducers in" \
           "$findings/$target:" >&2
      grep -v -E '^#[0-9]+ +(NEW|REDUCE|pulse)|NEW_FUNC' "$dir/fuzz.log" | tail -40 >&2
      return 1
    fi
  done
  echo "$target: $runs executions in $seconds s ($((runs / seconds))/s), no finding"
}

for target in fuzz_stages fuzz_interface; do
  fuzz "$target" || failed=1
done
exit "$failed"
