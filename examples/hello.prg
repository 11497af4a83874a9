// hello.prg -- the language without tables: a procedure with parameters,
// a loop, an array of arrays, a code block and a recursive function.
//
//   vl hello.prg Ada
LOCAL planets := {{"Mercury", 0.39}, {"Venus", 0.72}, {"Earth", 1.00}, {"Mars", 1.52}}
LOCAL i, far
PARAMETERS who

? "Hello,", IIF(EMPTY(who), "world", who)

far := {|p| p[2] > 0.5}
FOR i := 1 TO LEN(planets)
   ? PADR(planets[i][1], 8), STR(planets[i][2], 5, 2), IIF(EVAL(far, planets[i]), "far", "near")
NEXT

? "10! =", Factorial(10)

FUNCTION Factorial(n)
RETURN IIF(n <= 1, 1, n * Factorial(n - 1))
