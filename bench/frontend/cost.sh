#!/bin/sh
# cost.sh BUILD_DIR [DYNAMORIO_HOME]: microseconds per emulated SVE instruction
# under qemu-user (neoverse-n1), through sve-run and, given an install, the
# DynamoRIO client; from the difference of two runs of sve_loop.
set -eu
build=$(cd "$1" && pwd); dr=${2:-}
prog=$build/bench/frontend/sve_loop
small=2000 large=400000
secs() { start=$(date +%s%N); "$@" >/dev/null; echo $(( ($(date +%s%N) - start) / 1000 )); }
per() { echo "scale=2; ($2 - $1) / ($large - $small)" | bc; }
a=$(secs "$build/tools/runner/sve-run" "$prog" $small); b=$(secs "$build/tools/runner/sve-run" "$prog" $large)
echo "sve-run: $(per "$a" "$b") us per SVE instruction"
if [ -n "$dr" ]; then
  client() {
    DYNAMORIO_EXE_PATH=$prog DYNAMORIO_OPTIONS="-code_api -xarch_root /usr/aarch64-linux-gnu -takeover_timeout_ms 1 -client_lib '$build/trace/libmemtrace_sve_896.so;0;'" \
      qemu-aarch64 -L /usr/aarch64-linux-gnu -cpu neoverse-n1 -0 "$prog" "$dr/lib64/release/libdynamorio.so" "$1"
  }
  a=$(secs client $small); b=$(secs client $large)
  echo "client: $(per "$a" "$b") us per SVE instruction"
fi
