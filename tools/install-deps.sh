#!/bin/sh
# Install what building and testing VL needs on a Debian machine: the one
# list of packages, used by the README's quick start and by CI.  The DBF
# readers and writers (python3-dbfread, python3-dbf, gdal-bin, dbview) are
# the outside tools the table tests exchange files with; libsqlite3-dev is
# what the table benchmarks compare against, and the sqlite3 shell writes
# and reads the CSV files the text-transfer tests and benchmarks exchange.
#
# Runs apt-get as root, through sudo when started by another user.  Also
# makes the de_DE.UTF-8 locale, whose decimal comma the number-format
# tests use.
set -eu

PACKAGES="cmake ninja-build g++ pkg-config python3 locales
  libgtest-dev libgmock-dev libbenchmark-dev
  libncurses-dev libedit-dev lua5.4 liblua5.4-dev tmux
  python3-dbfread python3-dbf gdal-bin dbview libsqlite3-dev sqlite3"

if [ "$(id -u)" -eq 0 ]; then as_root=""; else as_root="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

$as_root apt-get update -q
# shellcheck disable=SC2086
$as_root apt-get install -y -q --no-install-recommends $PACKAGES

if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf8$'; then
  $as_root sed -i 's/^# *de_DE.UTF-8/de_DE.UTF-8/' /etc/locale.gen
  $as_root locale-gen
fi
