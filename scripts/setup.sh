#!/usr/bin/env bash
# Installs the Debian packages the project needs. Idempotent: does nothing when all are present.
set -euo pipefail
PKGS=(cmake ninja-build g++ googletest libgtest-dev libbenchmark-dev valgrind
      g++-aarch64-linux-gnu binutils-aarch64-linux-gnu qemu-user python3)
missing=()
for p in "${PKGS[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
