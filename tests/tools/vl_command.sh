#!/bin/bash
# The vl command: -e expressions, standard input, errors and the prompt.
set -u
build="$1"
vl="$build/vl"
fails=0
check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then echo "ok   $1"; else echo "FAIL $1: expected [$2] got [$3]"; fails=$((fails + 1)); fi
}

check "EVAL of a block" "        42" "$("$vl" -e 'EVAL({|x| x*2}, 21)')"
check "TYPE of a syntax error" "UE" "$("$vl" -e 'TYPE("1 +")')"
check "variables persist across -e" "$(printf '         5\n        10')" "$("$vl" -e 'x := 5' -e 'x * 2')"
check "logicals, NIL and dates" "$(printf '.T.\nNIL\n01/02/03')" \
  "$("$vl" -e '1 < 2' -e 'NIL' -e 'STOD("20030102")')"

out="$("$vl" -e 'x := 1' -e 'zz + x')"; rc=$?
check "error report" "$(printf '         1\nRun-time error 307 in VL(2);undefined variable;undefined variable zz')" "$out"
check "error exit status" "1" "$rc"

out="$(printf 'name := "target"\n&name := 7\ntarget + 1\n' | "$vl")"
check "macro assignment from standard input" "$(printf "target\n         7\n         8")" "$out"

check "zero bytes are printed" "6162006364" \
  "$("$vl" -e '"ab" + CHR(0) + "cd"' | head -c 5 | od -An -tx1 | tr -d ' \n')"
out="$("$vl" -e "a := 'xxxxxxxx&a'" -e '&a&a' 2>&1)"; rc=$?
check "endless macro is a report, not a signal" "1" "$rc"
echo "$out" | grep -q 'error 314'; check "endless macro report" "0" "$?"
python3 -c "print('1+' * 150000 + '1')" | "$vl" > /dev/null; check "long chain from stdin" "0" "$?"
out="$("$vl" -e 2>&1)"; rc=$?
check "-e without an expression" "2" "$rc"
echo "$out" | grep -q -- '-e needs an expression'; check "-e says what is missing" "0" "$?"

"$vl" --help | grep -q -- '-e EXPR'; check "help text" "0" "$?"
"$vl" -x > /dev/null 2>&1; check "unknown argument" "2" "$?"

if command -v tmux > /dev/null; then
  sock="vltest$$"
  tmux -L "$sock" new-session -d -x 100 -y 20 "$vl"
  # Wait for what the screen should show, up to a 30 s watchdog.
  wait_for() {
    for _ in $(seq 300); do
      screen="$(tmux -L "$sock" capture-pane -p)"
      echo "$screen" | grep -q "$1" && return 0
      sleep 0.1
    done
    return 1
  }
  wait_for '^vl>'
  tmux -L "$sock" send-keys 'y := 3' Enter 'nosuch()' Enter 'y + 1' Enter
  wait_for '^         4$'
  tmux -L "$sock" kill-server
  echo "$screen" | grep -q 'Run-time error 308' ; check "prompt shows the error" "0" "$?"
  echo "$screen" | grep -q '^         4$' ; check "prompt goes on after an error" "0" "$?"
else
  echo "skip prompt tests: tmux is not installed"
fi

exit $fails
