#!/bin/bash
# test.sh: from a bare Debian 12 to all tests passed. Installs what is missing of packages.txt, builds
# the preset dev and runs all tests: unit, scripted, rules and desktop.
set -euo pipefail
cd "$(dirname "$0")"

tools/install-packages
cmake --preset dev >/dev/null
cmake --build --preset dev
# The desktop tests run alone, one after the other; all the rest runs side by side.
ctest --preset dev -j "$(nproc)"
