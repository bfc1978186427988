#!/usr/bin/env bash
# The main job: sets everything up, builds an SVE example program and the
# preload runner for AArch64, and runs the program on a CPU without SVE
# (qemu's neoverse-n1), first as it is, then with its SVE instructions
# emulated. Any other AArch64 program can be given instead: scripts/run.sh PROG [ARGS...]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake -S . -B build/cross -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake >/dev/null
cmake --build build/cross --target sve_runner mix_audio >/dev/null
if [ $# -eq 0 ]; then set -- build/cross/examples/mix_audio; fi
echo "== $1 on a CPU without SVE:"
status=0
{ qemu-aarch64 -L /usr/aarch64-linux-gnu -cpu neoverse-n1 "$@" >/dev/null; } 2>/dev/null || status=$?
echo "stopped with exit status $status (132: SIGILL, the first SVE instruction)"
echo "== the same through sve-run:"
exec build/cross/tools/runner/sve-run "$@"
