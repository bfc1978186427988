#!/usr/bin/env bash
# Sets everything up and runs every test: the native build, the native build
# with AddressSanitizer and UndefinedBehaviorSanitizer, and the AArch64 build
# under qemu-user (unit tests on the users' CPU, the differential harness on
# the reference CPU with SVE).
set -uo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh || exit 1
jobs=$(nproc)
passed=0; failed=0; skipped=0; status=0

run_tree() {  # name, build dir, cmake args...
  local name=$1 dir=$2; shift 2
  echo "=== $name"
  local start=$SECONDS
  mkdir -p "$dir"
  if ! cmake -S . -B "$dir" -G Ninja "$@" >"$dir/configure.log" 2>&1 ||
     ! cmake --build "$dir" -j "$jobs" >"$dir/build.log" 2>&1; then
    cat "$dir/configure.log" "$dir/build.log" 2>/dev/null | tail -60
    echo "$name: build failed"; failed=$((failed + 1)); status=1; return
  fi
  echo "$name: built in $((SECONDS - start)) s"
  local log="$dir/ctest.log"
  (cd "$dir" && ctest --output-on-failure -j "$jobs") 2>&1 | tee "$log" | grep -vE '^ *[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed'
  local line total bad
  line=$(grep -E 'tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -1)
  if [ -z "$line" ]; then echo "$name: no test summary"; failed=$((failed + 1)); status=1; return; fi
  total=$(sed -E 's/.*out of ([0-9]+).*/\1/' <<<"$line")
  bad=$(sed -E 's/.*tests passed, ([0-9]+) tests? failed.*/\1/' <<<"$line")
  local skip
  skip=$(grep -cE ' \(Skipped\)$' "$log" || true)
  passed=$((passed + total - bad - skip)); failed=$((failed + bad)); skipped=$((skipped + skip))
  [ "$bad" -eq 0 ] || status=1
}

run_tree native build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo
run_tree sanitizers build/asan -DCMAKE_BUILD_TYPE=Debug -DSVE_SANITIZE=ON
# An installed DynamoRIO for AArch64 (DYNAMORIO_HOME, by default /opt/dynamorio)
# adds the client and its end-to-end cases; without one they are skipped.
dr_home=${DYNAMORIO_HOME:-/opt/dynamorio}
dr_args=()
if [ -f "$dr_home/cmake/DynamoRIOConfig.cmake" ]; then
  echo "DynamoRIO: $dr_home"
  dr_args=(-DDynamoRIO_DIR="$dr_home/cmake")
else
  echo "DynamoRIO: none at $dr_home (set DYNAMORIO_HOME); client cases are skipped"
  dr_args=(-UDynamoRIO_DIR)
fi
run_tree aarch64 build/cross -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake "${dr_args[@]}"

[ "$skipped" -eq 0 ] || echo "skipped: $skipped (the DynamoRIO client cases, without DynamoRIO)"
echo "tests: $passed passed, $failed failed"
exit $status
