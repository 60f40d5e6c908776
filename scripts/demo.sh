#!/bin/sh
# Builds the program and runs it on a demo server on loopback.
# (Until the companion server lands, the demo server is the test suite's fake
# server with a small invented library: it answers, but plays nothing.)
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
root="$PWD/demo-root"
mkdir -p "$root/PlayLists" "$root/Reports" "$root/Media" "$root/History"
portfile=$(mktemp)
/usr/bin/python3 tests/e2e/fakeserver.py >"$portfile" &
server=$!
trap 'kill $server 2>/dev/null || true; rm -f "$portfile"' EXIT INT TERM
while [ ! -s "$portfile" ]; do sleep 0.1; done
port=$(head -n 1 "$portfile")
cat >"$root/zerka.cfg" <<CFG
SERVER_MODE master
MASTER_SERVER 127.0.0.1
MASTER_PORT $port
MASTER_ROOT $root
LOOPBACK 127.0.0.1
EXPORT_FOLDER $root/Export
WAV_PATH $root/Wav
WAV_FOLDER Incoming
CFG
ZERKA="$root" ./build/zerka
