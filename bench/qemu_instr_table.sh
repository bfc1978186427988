#!/bin/sh
# qemu_instr_table.sh BENCH [LABEL-SUBSTRING]: AArch64 instructions per
# emulated instruction in the product (a word benchmark of the aarch64 build,
# e.g. build/cross/bench/int_bench) on the users' CPU model, counted by
# qemu-user running one instruction per block and logging each block it runs;
# two runs of different lengths cancel start-up and exit.
set -eu
bench=$1; pick=${2:-}
run="qemu-aarch64 -L /usr/aarch64-linux-gnu -cpu neoverse-n1"
count() {
  $run -singlestep -d nochain,exec "$bench" --repeat "$1" "$2" 2>&1 >/dev/null | grep -c '^Trace'
}
$run "$bench" --labels | grep -F -- "$pick" | while read -r label; do
  a=$(count "$label" 100); b=$(count "$label" 300)
  printf '%-40s %6d\n' "$label" $(( (b - a) / 200 ))
done
