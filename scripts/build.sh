#!/usr/bin/env bash
# Configures (when needed) and builds the optimised tree with -Werror: scripts/build.sh DIR
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
scripts/install-deps.sh
cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZYRA_WERROR=ON >/dev/null
cmake --build "$dir" -j "$(nproc)"
