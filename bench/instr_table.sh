#!/bin/sh
# instr_table.sh BENCH [LABEL-SUBSTRING]: host instructions per emulated
# instruction for every case of a word benchmark (int_bench, pred_bench,
# mem_bench), from callgrind counts of two runs of different lengths.
set -eu
bench=$1; pick=${2:-}
count() {
  valgrind --tool=callgrind --callgrind-out-file=/dev/null "$bench" --repeat "$1" "$2" 2>&1 |
    sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}
"$bench" --labels | grep -F -- "$pick" | while read -r label; do
  a=$(count "$label" 1000); b=$(count "$label" 3000)
  printf '%-40s %6d\n' "$label" $(( (b - a) / 2000 ))
done
