#!/usr/bin/env bash
# Builds every fuzz target (fuzz/*_fuzz.cpp) with clang's libFuzzer under
# AddressSanitizer and UndefinedBehaviorSanitizer in build/fuzz, then runs
# each for a short, bounded time starting from its seed corpus
# fuzz/corpus/<target>/. New inputs go to build/fuzz/corpus/<target>/, crash
# inputs to build/fuzz/artifacts/. Exits non-zero when a target crashes.
#   DW_FUZZ_SECONDS=N        run time per target (default 20)
#   DW_FUZZ_TARGETS="a b"    run only these targets
#   DW_JOBS=N                parallel build jobs (default: number of cores)
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
dir=build/fuzz
secs=${DW_FUZZ_SECONDS:-20}
jobs=${DW_JOBS:-$(nproc)}

targets=${DW_FUZZ_TARGETS:-$(cd fuzz && ls *_fuzz.cpp 2>/dev/null | sed 's/\.cpp$//')}
if [ -z "$targets" ]; then
  echo "no fuzz targets"
  exit 0
fi

# The library objects get coverage instrumentation; fuzz/CMakeLists.txt adds
# -fsanitize=fuzzer to the targets themselves.
san="-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
flags="-Wall -Wextra -Werror $san -fsanitize=fuzzer-no-link"
CC=clang CXX=clang++ cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DDPIWRAPPER_BUILD_FUZZ=ON -DDPIWRAPPER_BUILD_TESTS=OFF -DDPIWRAPPER_BUILD_TOOLS=OFF \
  -DDPIWRAPPER_BUILD_BENCH=OFF -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS="$san" -DCMAKE_SHARED_LINKER_FLAGS="$san" >/dev/null || exit 1
# shellcheck disable=SC2086
cmake --build "$dir" -j "$jobs" --target $targets || exit 1

mkdir -p "$dir/artifacts"
failed=()
for t in $targets; do
  mkdir -p "$dir/corpus/$t"
  seeds=fuzz/corpus/$t
  [ -d "$seeds" ] || seeds=
  echo "--- $t: ${secs}s"
  # shellcheck disable=SC2086
  if ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
     "$dir/fuzz/$t" -max_total_time="$secs" -timeout=10 -rss_limit_mb=2048 \
       -artifact_prefix="$dir/artifacts/$t-" "$dir/corpus/$t" $seeds >"$dir/$t.log" 2>&1; then
    grep -E '^Done|^#[0-9]+.*DONE' "$dir/$t.log" | tail -1
  else
    echo "$t FAILED; log: $dir/$t.log"
    tail -40 "$dir/$t.log"
    failed+=("$t")
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzz targets that crashed: ${failed[*]}"
  exit 1
fi
echo "all fuzz targets ran clean"
