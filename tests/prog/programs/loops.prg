// FOR with negative and fractional steps, EXIT and LOOP in nested loops.
LOCAL i, j, s, n
s := ""
FOR i := 10 TO 1 STEP -3
   s += LTRIM(STR(i)) + " "
NEXT
? s, "after:", i
s := ""
FOR i := 0 TO 1 STEP 0.25
   s += LTRIM(STR(i, 5, 2)) + " "
NEXT
? s
s := ""
FOR i := 1 TO 0 STEP -0.5
   s += LTRIM(STR(i, 5, 1)) + " "
NEXT
? s
n := 0
FOR i := 1 TO 0
   n++
NEXT
? "empty loop ran", n, "times, i =", i
// EXIT and LOOP act on the innermost loop only.
FOR i := 1 TO 4
   s := ""
   FOR j := 1 TO 10
      IF j % 2 == 0
         LOOP
      ENDIF
      IF j > i * 2
         EXIT
      ENDIF
      s += LTRIM(STR(j))
   NEXT
   IF i == 3
      LOOP
   ENDIF
   ? i, s
NEXT
n := 0
DO WHILE .T.
   n++
   j := 0
   DO WHILE j < 100
      j++
      IF j == n
         EXIT
      ENDIF
   ENDDO
   IF n >= 5
      EXIT
   ENDIF
ENDDO
? "while:", n, j
// The limit is evaluated again on every turn: changing it in the body counts.
n := 3
FOR i := 1 TO n
   n := 10
NEXT
? "limit once:", i
