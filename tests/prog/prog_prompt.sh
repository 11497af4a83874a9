#!/bin/bash
# The vl prompt on a terminal (through tmux): a command, an expression that
# prints its value, an error, a command that still sees the open table, a
# line continued with ;, and history.
set -u
build="$1"
vl="$build/vl"
fails=0
check() {  # check NAME STATUS
  if [ "$2" == 0 ]; then echo "ok   $1"; else echo "FAIL $1"; fails=$((fails + 1)); fi
}
if ! command -v tmux > /dev/null; then
  echo "skip: tmux is not installed"
  exit 0
fi
dir="$(mktemp -d)"
sock="vlprompt$$"
trap 'tmux -L "$sock" kill-server 2> /dev/null; rm -rf "$dir"' EXIT
cd "$dir" || exit 1
"$vl" -c "DBCREATE('people', {{'NAME', 'C', 8, 0}})
USE people
APPEND BLANK
REPLACE name WITH 'Ada'
APPEND BLANK
REPLACE name WITH 'Niels'
CLOSE ALL" || { echo "FAIL making the table"; exit 1; }

tmux -L "$sock" new-session -d -x 100 -y 40 "$vl"
# Wait until the screen shows lines matching $1 (at least $2 of them, or
# one), up to a 30 s watchdog.
wait_for() {
  for _ in $(seq 300); do
    screen="$(tmux -L "$sock" capture-pane -p)"
    [ "$(echo "$screen" | grep -c -- "$1")" -ge "${2:-1}" ] && return 0
    sleep 0.1
  done
  echo "$screen"
  return 1
}
send() {  # a trailing ; escaped: tmux would read it as its own separator
  tmux -L "$sock" send-keys -l "${1/%;/\\;}"
  tmux -L "$sock" send-keys Enter
}

wait_for '^vl>'
send 'USE people'
send 'LASTREC() * 21'
wait_for '^        42$'; check "an expression prints its value" $?
send 'nosuch()'
wait_for 'Run-time error 308'; check "an error is reported" $?
send 'LIST name'
wait_for '2  Niels'; check "after the error the table is still open" $?
send 'x := 1 + ;'
wait_for '^\.\.\.'; check "a line ending in ; asks for more" $?
send '2'
send '? "x is", x'
wait_for '^x is          3$'; check "the continued line ran as one" $?
tmux -L "$sock" send-keys Up Enter
wait_for '^x is          3$' 2; check "history brings the line back" $?
send 'QUIT'
for _ in $(seq 100); do tmux -L "$sock" has-session 2> /dev/null || break; sleep 0.1; done
tmux -L "$sock" has-session 2> /dev/null
[ $? != 0 ]; check "QUIT ends the prompt" $?
exit $fails
