// Building texts: concatenation in loops, padding, reversing, counting.
LOCAL s := "", i, word, rev := "", n := 0
FOR i := 1 TO 5
   s += CHR(64 + i)
NEXT
? s, LEN(s)
FOR i := LEN(s) TO 1 STEP -1
   rev += SUBSTR(s, i, 1)
NEXT
? rev
word := "Mississippi"
FOR i := 1 TO LEN(word)
   IF SUBSTR(word, i, 1) == "s"
      n++
   ENDIF
NEXT
? word, "has", LTRIM(STR(n)), "s"
? "[" + PADR("left", 8) + "][" + PADL("right", 8) + "][" + PADC("mid", 7) + "]"
? UPPER(word) + LOWER(" AND ") + REPLICATE("-", 3)
? Join({"a", "b", "c"}, ", ")
?? " (joined)"
? "trim: [" + ALLTRIM("   x y   ") + "]", AT("ss", word), RAT("ss", word)
? STRTRAN(word, "ss", "SS"), LEFT(word, 4), RIGHT(word, 4)

FUNCTION Join(a, sep)
   LOCAL out := "", i
   FOR i := 1 TO LEN(a)
      out += IIF(i > 1, sep, "") + a[i]
   NEXT
RETURN out
