#!/bin/sh
# Runs the demo with programs already built (scripts/demo.sh builds them first):
#
#   scripts/demo-run.sh BUILD_DIR DEMO_DIR     the demo, its folders in DEMO_DIR
#   scripts/demo-run.sh --check DEMO_DIR       only says whether a demo runs there
#
# In DEMO_DIR: demo-root/ (the master server's root: the demo library, made the
# first time), demo-local/ (the local server's root with its virtual CD drive
# demo-local/drive/, and the program's root) and demo-disc/ (the demo CD).
# One demo at a time runs on a DEMO_DIR: a second one says where the first is.
set -eu

usage() {
  echo "usage: $0 BUILD_DIR DEMO_DIR | --check DEMO_DIR" >&2
  exit 2
}
check_only=""
if [ "${1:-}" = "--check" ]; then
  [ $# -eq 2 ] || usage
  check_only=1
  build=""
  dir=$2
else
  [ $# -eq 2 ] || usage
  build=$(cd "$1" && pwd)
  dir=$2
fi
mkdir -p "$dir"
dir=$(cd "$dir" && pwd)
# The client keeps its root in 80 characters, so the roots stay short.
root="$dir/demo-root"
localroot="$dir/demo-local"
disc="$dir/demo-disc"
mkdir -p "$root"
lock="$root/.demo-lock"
info="$root/.demo-info"
password="demo"

# In local mode the program sets the clock from the master's time: as root it
# runs without the right to, so that the demo never changes this machine's clock.
client_command() {
  if [ "$(id -u)" -eq 0 ]; then
    echo "ZERKA=$localroot setpriv --bounding-set=-sys_time $1/zerka"
  else
    echo "ZERKA=$localroot $1/zerka"
  fi
}

# Says that a demo runs on this folder and how to reach it.
already_running() {
  port="?"
  pid="?"
  from="$build"
  if [ -f "$info" ]; then
    port=$(sed -n 's/^port=//p' "$info")
    pid=$(sed -n 's/^pid=//p' "$info")
    from=$(sed -n 's/^build=//p' "$info")
  fi
  cat <<TEXT
A demo is already running on $dir (process $pid; its master server listens
on 127.0.0.1:$port, its log is $root/zerkaserver.log).
Its program runs in the terminal that started it, and the demo stops when that
program exits (Esc to the main menu, Esc, then y). To use the running demo
from this terminal too, start a second program on it:
    $(client_command "$from")
TEXT
}

# Holding this lock (on descriptor 9, which no program of the demo inherits)
# is being the demo of this folder.
exec 9>>"$lock"
if ! flock -n 9; then
  already_running
  exit 1
fi
# Servers that an earlier demo left running (its script was killed before it
# could stop them) keep this folder's roots: nothing is started beside them.
stale=""
if [ -f "$info" ]; then
  for pid in $(sed -n 's/^servers=//p' "$info"); do
    if tr '\0' ' ' <"/proc/$pid/cmdline" 2>/dev/null | grep -qF "zerkaserver --root $dir/"; then
      stale="$stale $pid"
    fi
  done
fi
if [ -n "$stale" ]; then
  cat <<TEXT
An earlier demo on $dir left its servers running (process$stale),
although its program has ended. Stop them, then start the demo again:
    kill$stale
TEXT
  exit 1
fi
if [ -n "$check_only" ]; then
  exit 0
fi

if [ ! -f "$root/zerka.db" ]; then
  echo "Making the demo library in $root (once; about 400 MB of music)..."
  "$build/zerkaserver" --make-demo "$root" 9>&-
fi
if [ ! -f "$disc/drive.cue" ]; then
  "$build/zerkaserver" --make-demo-disc "$disc" "$root" "$localroot" 9>&-
fi

# Sound: the master server plays through PulseAudio (or PipeWire's PulseAudio
# server) when one answers; otherwise it plays to nobody but the programs'
# audio streams. The probe never starts a sound server itself.
probe_config=$(mktemp)
echo "autospawn = no" >"$probe_config"
output=none
why=""
if ! command -v pactl >/dev/null 2>&1; then
  sound="Sound is off: pactl (pulseaudio-utils) is missing, so no sound server was looked for."
elif answer=$(PULSE_CLIENTCONFIG="$probe_config" timeout 5 pactl info 2>&1); then
  output=pulse
  name=$(echo "$answer" | sed -n 's/^Server Name: //p')
  sound="Sound is on: the server plays through ${name:-the PulseAudio server}."
else
  sound="Sound is off: no PulseAudio server answered, so the demo runs silent."
  why="  (pactl info: $(echo "$answer" | head -n 1))"
fi
rm -f "$probe_config"

portfile=$(mktemp)
localfile=$(mktemp)
server=""
localserver=""
trap 'kill $server $localserver 2>/dev/null || true; wait $server $localserver 2>/dev/null || true; rm -f "$portfile" "$localfile" "$info"' EXIT
trap 'exit 130' INT TERM
trap 'exit 129' HUP
# Waits for a server's "listening on" line.
wait_listening() {
  while ! grep -q "listening on" "$1"; do
    if ! kill -0 "$2" 2>/dev/null; then
      echo "zerkaserver did not start:" >&2
      tail -n 3 "$3" >&2 || true
      exit 1
    fi
    sleep 0.1
  done
}
"$build/zerkaserver" --root "$root" --listen 127.0.0.1 --port 0 --output "$output" \
  --log "$root/zerkaserver.log" >"$portfile" 2>>"$root/zerkaserver.log" 9>&- &
server=$!
port="?"
# Where the running demo is, for a second one to say (removed when this one ends).
write_info() {
  printf 'port=%s\npid=%s\nbuild=%s\nservers=%s\n' "$port" "$$" "$build" "$server $localserver" >"$info"
}
write_info
wait_listening "$portfile" "$server" "$root/zerkaserver.log"
port=$(sed -n 's/^zerkaserver listening on .*:\([0-9]*\)$/\1/p' "$portfile")
write_info
# The local server listens on another loopback address with the master's port,
# where the program in local mode looks for it.
"$build/zerkaserver" --root "$localroot" --listen 127.0.0.2 --port "$port" --log "$localroot/zerkaserver.log" \
  --cd-drive "$localroot/drive/drive.cue" --freedb "$disc/freedb" --cd-simulate \
  --master "127.0.0.1:$port" --master-root "$root" >"$localfile" 2>>"$localroot/zerkaserver.log" 9>&- &
localserver=$!
write_info
wait_listening "$localfile" "$localserver" "$localroot/zerkaserver.log"
cat >"$localroot/zerka.cfg" <<CFG
SERVER_NAME Zerka
SERVER_MODE local
MASTER_SERVER 127.0.0.1
MASTER_PORT $port
MASTER_ROOT $root
PASSWORD $password
LOOPBACK 127.0.0.2
EXPORT_FOLDER $localroot/Export
WAV_PATH $localroot/Wav/
WAV_FOLDER Incoming
CFG
echo
echo "$sound"
[ -z "$why" ] || echo "$why"
cat <<TEXT

The maintenance password is: $password
  (Maintenance menu, Console Mode, stopping the auto-DJ, Shutdown/Re-boot)

Keys to try first, on the playlist console where the program opens:
  Ctrl-G  start the auto-DJ: a track plays and "Now Playing" pops up
  s       search: type part of an artist (try "tramway"), Enter twice;
          then a adds the highlighted track to the playlist, Esc goes back
  F1      help: the keys of the screen you are on
  Esc     leaves a screen; from the console it opens the main menu

The demo CD goes in its drive, the folder demo-local/drive/, from another
terminal in $dir:
  cp demo-disc/drive.bin demo-disc/drive.cue demo-local/drive/      (in)
  rm demo-local/drive/drive.cue demo-local/drive/drive.bin          (out)
Answer "y" when it is announced; F10 brings its off-line tracks on line.

TEXT
echo "Press Enter to start the program."
read -r _ || true
if [ "$(id -u)" -eq 0 ]; then
  ZERKA="$localroot" setpriv --bounding-set=-sys_time "$build/zerka" 9>&-
else
  ZERKA="$localroot" "$build/zerka" 9>&-
fi
