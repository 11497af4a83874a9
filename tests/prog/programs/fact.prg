// A file named like one of its functions: the statements ahead of the
// first header are the main procedure, FACT the function.
? fact(10)
BEGIN SEQUENCE
   Deep(3)
RECOVER USING x
   ? "recovered", x
END
Deep(2)
? "not reached"

FUNCTION fact(n)
RETURN iif(n < 2, 1, n * fact(n - 1))

// A BREAK outside every sequence is reported where it happens and ends
// the run.
PROCEDURE Deep(n)
   IF n == 0
      BREAK "bottom"
   ENDIF
   Deep(n - 1)
RETURN
