#!/bin/sh
# Builds the program and runs it against zerkaserver on loopback, with the
# demo library (invented albums and synthesised music) in demo-root/.
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
# The client keeps its root in 80 characters, so the root stays short.
root="$PWD/demo-root"
if [ ! -f "$root/zerka.db" ]; then
  ./build/zerkaserver --make-demo "$root"
fi
portfile=$(mktemp)
./build/zerkaserver --root "$root" --listen 127.0.0.1 --port 0 --log "$root/zerkaserver.log" >"$portfile" &
server=$!
trap 'kill $server 2>/dev/null || true; wait $server 2>/dev/null || true; rm -f "$portfile"' EXIT
trap 'exit 130' INT TERM
while ! grep -q "listening on" "$portfile"; do
  if ! kill -0 $server 2>/dev/null; then
    echo "zerkaserver did not start; see $root/zerkaserver.log" >&2
    exit 1
  fi
  sleep 0.1
done
port=$(sed -n 's/^zerkaserver listening on .*:\([0-9]*\)$/\1/p' "$portfile")
cat >"$root/zerka.cfg" <<CFG
SERVER_NAME Zerka
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
