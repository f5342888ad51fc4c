#!/usr/bin/env bash
# Installs the Debian packages that building and testing zyra needs, only those that are missing.
set -euo pipefail

packages=(make cmake g++ clang libclang-rt-dev libgtest-dev libgmock-dev libbenchmark-dev
          nlohmann-json3-dev libcli11-dev pkg-config libcairo2-dev libtbb-dev parallel
          python3 python3-dev pybind11-dev python3-pybind11 python3-numpy python3-pytest)
missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
