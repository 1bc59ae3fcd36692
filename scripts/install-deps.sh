#!/usr/bin/env bash
# Installs the Debian packages that building, the demo and the tests need.
# Idempotent: packages already installed are not touched.
#   scripts/install-deps.sh          build, demo and test packages
#   scripts/install-deps.sh --vm     also the packages of the full-size VM suite
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libjansson-dev libgtest-dev libbenchmark-dev
          clang libclang-rt-dev procps)
if [ "${1:-}" = "--vm" ]; then
  # tiny-initramfs together with the kernel keeps apt from choosing initramfs-tools.
  packages+=(qemu-system-x86 linux-image-cloud-amd64 tiny-initramfs busybox-static cpio jq)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
