// STATIC variables keep their values between calls; a STATIC declared
// ahead of the file's first procedure is shared by all of its functions.
STATIC total := 0

PROCEDURE Main
   LOCAL i
   FOR i := 1 TO 3
      ? Calls(), NextId()
   NEXT
   Add(5)
   Add(7)
   ? "total", total
   ? "ids go on:", NextId()
RETURN

FUNCTION Calls()
   STATIC n := 0
   n++
RETURN n

FUNCTION NextId()
   STATIC id := 1000
RETURN ++id

PROCEDURE Add(x)
   total += x
RETURN
