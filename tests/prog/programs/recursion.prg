// Recursion: Fibonacci numbers and a small Ackermann function.
LOCAL i, line := ""
FOR i := 0 TO 15
   line += LTRIM(STR(Fib(i))) + " "
NEXT
? RTRIM(line)
? "fib(20) =", Fib(20)
? "ack(2, 3) =", Ack(2, 3)
? "ack(3, 3) =", Ack(3, 3)
? "depth 200:", Depth(200)

FUNCTION Fib(n)
   IF n < 2
      RETURN n
   ENDIF
RETURN Fib(n - 1) + Fib(n - 2)

FUNCTION Ack(m, n)
   DO CASE
   CASE m == 0
      RETURN n + 1
   CASE n == 0
      RETURN Ack(m - 1, 1)
   ENDCASE
RETURN Ack(m - 1, Ack(m, n - 1))

// Each call adds one to the result of a deeper one.
FUNCTION Depth(n)
RETURN IIF(n == 0, 0, 1 + Depth(n - 1))
