#!/bin/sh
# Installs the Debian packages the project needs to build, run and test; does
# nothing when they are all present. Run as root (or with sudo available).
set -eu
packages="cmake g++ clang libclang-rt-14-dev make pkg-config libncurses-dev libpulse-dev libsqlite3-dev libasio-dev
libgtest-dev libbenchmark-dev python3 python3-pytest python3-pexpect python3-pyte
pulseaudio pulseaudio-utils procps util-linux ncurses-base ncurses-term
libcdio-dev libcdio-paranoia-dev cd-paranoia cdrdao"
missing=""
for p in $packages; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
[ -z "$missing" ] && exit 0
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
# shellcheck disable=SC2086
$sudo apt-get install -y -qq --no-install-recommends $missing
