#!/usr/bin/env bash
# The demo: builds the library and its tools into build/demo, starts the
# development engine (dpi-engine-sim) with data/demo/scenario.json, makes a
# few requests through the library and shows what the engine received.
# The engine is stopped on exit, also on Ctrl-C.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=build/demo
records=$build/sim-records

bash scripts/install-deps.sh
bash scripts/mq-setup.sh

echo "== building into $build"
cmake -S . -B "$build" -G Ninja -DDPIWRAPPER_BUILD_TESTS=OFF -DDPIWRAPPER_BUILD_TOOLS=ON >/dev/null
cmake --build "$build" -j "$(nproc)"
cc -std=c99 -Wall -Wextra -Iinclude examples/raw_request.c -L"$build" -lDpiWrapper \
   -Wl,-rpath,"$root/$build" -o "$build/raw_request"

sim=$build/sim/dpi-engine-sim
# Without CAP_SYS_RESOURCE the library's setrlimit fails; the shim then keeps
# the limit at its hard value instead. A router never needs it.
preload=""
if ! probe=$("$sim" --probe-rlimit); then
  preload=$root/$build/sim/libdw_rlimit_shim.so
  echo "== $probe: clients run with the privilege shim"
fi

# One engine owns "/idpfw" on a machine; tests take the same lock.
exec 9>/tmp/dw-e2e-idpfw.lock
flock -n 9 || { echo "== waiting for another user of /idpfw (tests?)"; flock 9; }

rm -rf "$records"
"$sim" --scenario data/demo/scenario.json --record-dir "$records" \
       --ready-file "$records/ready" >/dev/null 2>"$build/engine.log" &
engine=$!
stop_engine() {
  kill -TERM "$engine" 2>/dev/null && wait "$engine" 2>/dev/null || true
}
trap stop_engine EXIT
trap 'exit 130' INT TERM
for _ in $(seq 100); do [ -e "$records/ready" ] && break; sleep 0.1; done
[ -e "$records/ready" ] || { echo "engine did not start:"; cat "$build/engine.log"; exit 1; }
echo "== dpi-engine-sim running (pid $engine), recording into $records"

client() { env ${preload:+LD_PRELOAD="$preload"} "$@"; }
raw_request() { client "$build/raw_request" "$@"; }
dpictl() { client "$build/tools/dpictl/dpictl" "$@"; }
show() { echo; echo "\$ $*"; "$@" || echo "(exit status $?)"; }

show raw_request func-bits
show raw_request udb-version
show raw_request engine-version
show raw_request load-sig /var/dpi/new.sig /var/dpi/new.sig.md5
show raw_request wpr on

# dpictl finds the demo reference files through a udata.json of its own.
udata=$root/$build/demo-udata
mkdir -p "$udata"
printf '{"configs": {"tmp_path": "%s", "nvram_path": "%s"}}\n' "$root/data/demo/refdb" "$udata" >"$udata/udata.json"
echo "2026.11.20-1" >"$udata/sig_version"
export UDATA_PATH=$udata
show dpictl version
show dpictl users
show dpictl --json users
show dpictl security-logs

sleep 0.2  # the engine logs a pure command after the caller has returned
echo
echo "== what the engine received ($build/engine.log)"
cat "$build/engine.log"
echo
echo "== the same as JSON lines ($records/requests.jsonl), the first one:"
head -n 1 "$records/requests.jsonl"
echo
echo "== input it recorded"
for f in "$records"/*.bin; do
  [ -e "$f" ] || continue
  echo "$f:"; od -A d -c "$f" | head -n 4
done
