// Blocks that capture LOCALs outlive the function that made them: each
// counter keeps its own count, and a block shares its variable with
// another block made in the same call.
LOCAL c1 := Counter(10), c2 := Counter(100), pair, adders := {}, i
? EVAL(c1), EVAL(c1), EVAL(c1)
? EVAL(c2), EVAL(c1)
pair := Shared()
EVAL(pair[1], 5)
EVAL(pair[1], 7)
? EVAL(pair[2])
FOR i := 1 TO 3
   AADD(adders, Adder(i))
NEXT
? EVAL(adders[1], 100), EVAL(adders[2], 100), EVAL(adders[3], 100)
? EVAL({|x, y| x * y}, 6, 7)
? Apply({|n| n * n}, {1, 2, 3, 4})

FUNCTION Counter(start)
   LOCAL n := start
RETURN {|| ++n}

// Two blocks over one LOCAL: one adds to it, the other reads it.
FUNCTION Shared()
   LOCAL sum := 0
RETURN {{|x| sum += x}, {|| sum}}

FUNCTION Adder(k)
RETURN {|x| x + k}

FUNCTION Apply(b, a)
   LOCAL s := "", i
   FOR i := 1 TO LEN(a)
      s += LTRIM(STR(EVAL(b, a[i]))) + " "
   NEXT
RETURN TRIM(s)
