#!/usr/bin/env bash
# The main job: sets everything up, builds the scanner and an SVE example
# program, and lists the program's SVE instructions with the handler that
# emulates each one.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build/native -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/native --target sve-scan >/dev/null
cmake -S . -B build/cross -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake >/dev/null
cmake --build build/cross --target mix_audio >/dev/null
build/native/tools/sve-scan "${@:-build/cross/examples/mix_audio}"
