#!/bin/sh
# Builds the program and runs it against zerkaserver on loopback, with the
# demo library (invented albums and synthesised music) in demo-root/.
#
# A second zerkaserver, the local server, owns a virtual CD drive: the folder
# demo-local/drive/, where a disc image counts as a disc put in. The program
# runs in local mode with demo-local/ as its root, so the CD can be taken in,
# its off-line tracks brought back on line, and played through local audio.
set -eu
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
# The client keeps its root in 80 characters, so the roots stay short.
root="$PWD/demo-root"
localroot="$PWD/demo-local"
disc="$PWD/demo-disc"
if [ ! -f "$root/zerka.db" ]; then
  ./build/zerkaserver --make-demo "$root"
fi
if [ ! -f "$disc/drive.cue" ]; then
  ./build/zerkaserver --make-demo-disc "$disc" "$root" "$localroot"
fi
portfile=$(mktemp)
localfile=$(mktemp)
./build/zerkaserver --root "$root" --listen 127.0.0.1 --port 0 --log "$root/zerkaserver.log" >"$portfile" &
server=$!
localserver=""
trap 'kill $server $localserver 2>/dev/null || true; wait $server $localserver 2>/dev/null || true; rm -f "$portfile" "$localfile"' EXIT
trap 'exit 130' INT TERM
# Waits for a server's "listening on" line.
wait_listening() {
  while ! grep -q "listening on" "$1"; do
    if ! kill -0 "$2" 2>/dev/null; then
      echo "zerkaserver did not start; see $3" >&2
      exit 1
    fi
    sleep 0.1
  done
}
wait_listening "$portfile" $server "$root/zerkaserver.log"
port=$(sed -n 's/^zerkaserver listening on .*:\([0-9]*\)$/\1/p' "$portfile")
# The local server listens on another loopback address with the master's port,
# where the program in local mode looks for it.
./build/zerkaserver --root "$localroot" --listen 127.0.0.2 --port "$port" --log "$localroot/zerkaserver.log" \
  --cd-drive "$localroot/drive/drive.cue" --freedb "$disc/freedb" --cd-simulate \
  --master "127.0.0.1:$port" --master-root "$root" >"$localfile" &
localserver=$!
wait_listening "$localfile" $localserver "$localroot/zerkaserver.log"
cat >"$localroot/zerka.cfg" <<CFG
SERVER_NAME Zerka
SERVER_MODE local
MASTER_SERVER 127.0.0.1
MASTER_PORT $port
MASTER_ROOT $root
LOOPBACK 127.0.0.2
EXPORT_FOLDER $localroot/Export
WAV_PATH $localroot/Wav/
WAV_FOLDER Incoming
CFG
cat <<TEXT

The local server's CD drive is the folder $localroot/drive/.
  Put the demo CD in (from another terminal):
    cp $disc/drive.bin $disc/drive.cue $localroot/drive/
  Take it out:
    rm $localroot/drive/drive.cue $localroot/drive/drive.bin
The CD is "Night Trains and Nocturnes", in the library with its last three
tracks off line: answer "y" when it is announced, then F10 brings them on line.

Press Enter to start the program.
TEXT
read -r _ || true
# In local mode the program sets the clock from the master's time: it runs
# without the right to, so that the demo never changes this machine's clock.
if [ "$(id -u)" -eq 0 ]; then
  ZERKA="$localroot" setpriv --bounding-set=-sys_time ./build/zerka
else
  ZERKA="$localroot" ./build/zerka
fi
