#!/usr/bin/env bash
# Installs the Debian packages the build and every test need (headless
# Chromium and its driver for the review pages' browser test among them), when
# missing, and any further packages named as arguments.
set -euo pipefail
packages=(cmake g++ make pkg-config googletest libgtest-dev libbenchmark-dev
          nlohmann-json3-dev libcli11-dev python3 python3-pytest python3-numpy
          python3-pandas python3-matplotlib python3-tqdm python3-dask python3-distributed
          python3-setuptools python3-wheel python3-pip python3-venv
          chromium chromium-driver python3-selenium "$@")
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
((${#missing[@]})) || exit 0
echo "installing Debian packages: ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
