#!/usr/bin/env bash
# Runs every test: installs what is missing, builds with warnings as errors,
# runs the suite, runs it again under AddressSanitizer + UndefinedBehavior-
# Sanitizer, runs the concurrency tests under ThreadSanitizer, replays and
# briefly runs the fuzz targets, and runs the full-size suite in a small VM.
# Exits non-zero on any failure.
#   DW_SKIP_VM=1   leave out the VM step
#   DW_JOBS=N      parallel build jobs (default: number of cores)
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
jobs=${DW_JOBS:-$(nproc)}
failed=()

step() { echo; echo "=== $* ==="; }
run_stage() {  # name, command...
  local name=$1; shift
  if "$@"; then echo "--- $name: ok"; else echo "--- $name: FAILED"; failed+=("$name"); fi
}

bash scripts/install-deps.sh || { echo "dependency installation failed"; exit 1; }
bash scripts/mq-setup.sh

warn="-Wall -Wextra -Werror"

configure_build() {  # dir, extra cmake args...
  local dir=$1; shift
  cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DDPIWRAPPER_BUILD_BENCH=ON -DDPIWRAPPER_BUILD_FUZZ=ON "$@" >/dev/null &&
  cmake --build "$dir" -j "$jobs"
}

step "build (-Werror) and test"
run_stage "build" configure_build build/ci -DCMAKE_C_FLAGS="$warn" -DCMAKE_CXX_FLAGS="$warn"
run_stage "tests" ctest --test-dir build/ci --output-on-failure -j "$jobs"

step "AddressSanitizer + UndefinedBehaviorSanitizer"
san="$warn -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
run_stage "build-asan" configure_build build/asan -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_C_FLAGS="$san" -DCMAKE_CXX_FLAGS="$san" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
  -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address,undefined" -DDPIWRAPPER_BUILD_BENCH=OFF
run_stage "tests-asan" env UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/asan --output-on-failure -j "$jobs"

step "ThreadSanitizer (concurrency tests)"
tsan="$warn -fsanitize=thread -fno-omit-frame-pointer"
run_stage "build-tsan" configure_build build/tsan -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_C_FLAGS="$tsan" -DCMAKE_CXX_FLAGS="$tsan" -DDPIWRAPPER_BUILD_BENCH=OFF \
  -DDPIWRAPPER_BUILD_FUZZ=OFF
run_stage "tests-tsan" env TSAN_OPTIONS=halt_on_error=1 \
  ctest --test-dir build/tsan --output-on-failure -L concurrency

if [ -x scripts/fuzz.sh ]; then
  step "fuzz targets (libFuzzer, short runs)"
  run_stage "fuzz" bash scripts/fuzz.sh
fi

if [ "${DW_SKIP_VM:-0}" != 1 ] && [ -x scripts/vm-test ]; then
  step "full-size suite in a VM"
  run_stage "vm" scripts/vm-test build/ci
fi

echo
if [ ${#failed[@]} -ne 0 ]; then
  echo "FAILED stages: ${failed[*]}"
  exit 1
fi
echo "all stages passed"
