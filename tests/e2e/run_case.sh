#!/bin/sh
# run_case.sh FRONT_END EXPECTED PROGRAM [ARGS...]
# Runs PROGRAM through a front end on the CPU without SVE and compares its
# standard output and exit status with EXPECTED: either "reference" (the same
# program on the reference CPU with SVE) or a file holding the output. With
# EXPECTED "trace:FILE" the program's memory trace is compared instead: the
# summary lines of the trace reader (SVE_TRACE_READER) against FILE. With
# "usage-error" the client, given the arguments in SVE_CLIENT_ARGS, must stop
# with its usage message.
# FRONT_END is "runner" (needs SVE_RUNNER = the sve-run launcher) or
# "client" (needs SVE_DR_ROOT = a DynamoRIO install and SVE_CLIENT = the
# client library); a missing DynamoRIO makes the client case exit 77 (skipped).
set -u
front=$1 expected=$2; shift 2
prog=$(cd "$(dirname "$1")" && pwd)/$(basename "$1"); shift
sysroot=/usr/aarch64-linux-gnu
work=$(mktemp -d); trap 'rm -rf "$work"' EXIT
export SVE_TRACE_FILE="$work/trace.bin"

case $front in
  runner)
    "$SVE_RUNNER" "$prog" "$@" >"$work/out" 2>"$work/err"; echo "exit $?" >>"$work/out" ;;
  client)
    if [ -z "${SVE_DR_ROOT:-}" ] || [ ! -f "$SVE_DR_ROOT/lib64/release/libdynamorio.so" ]; then
      echo "DynamoRIO not found: client case skipped"; exit 77
    fi
    DYNAMORIO_EXE_PATH="$prog" \
    DYNAMORIO_OPTIONS="-code_api -xarch_root $sysroot -takeover_timeout_ms 1 -client_lib '$SVE_CLIENT;0;${SVE_CLIENT_ARGS:-}'" \
      qemu-aarch64 -L $sysroot -cpu neoverse-n1 -0 "$prog" "$SVE_DR_ROOT/lib64/release/libdynamorio.so" "$@" \
      >"$work/out" 2>"$work/err"
    echo "exit $?" >>"$work/out" ;;
  *) echo "unknown front end $front" >&2; exit 2 ;;
esac

if [ "$expected" = usage-error ]; then
  want="SVE emulation client usage error: Unknown option: ${SVE_CLIENT_ARGS%% *}"
  if grep -qxF "$want" "$work/err" && [ "$(tail -1 "$work/out")" != "exit 0" ]; then
    echo "refused: $want"; exit 0
  fi
  echo "expected the usage error \"$want\"; got:"; cat "$work/out" "$work/err"; exit 1
fi
case $expected in
  trace:*)
    qemu-aarch64 -L $sysroot "$SVE_TRACE_READER" --summary "$SVE_TRACE_FILE" >"$work/summary" 2>&1
    grep -E '^(threads|reads|writes|markers) ' "$work/summary" >"$work/out"
    expected=${expected#trace:} ;;
esac
if [ "$expected" = reference ]; then
  qemu-aarch64 -L $sysroot -cpu max,sve-default-vector-length=112 "$prog" "$@" >"$work/want" 2>/dev/null
  echo "exit $?" >>"$work/want"
else
  cp "$expected" "$work/want"
fi
if ! cmp -s "$work/want" "$work/out"; then
  echo "output differs from $expected:"; diff "$work/want" "$work/out" | head -40
  echo "--- stderr:"; head -20 "$work/err"
  exit 1
fi
cat "$work/out"
