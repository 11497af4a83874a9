// STATIC variables keep their values between calls; a file-wide STATIC is
// shared by the functions of the file.
STATIC total := 0
LOCAL i
FOR i := 1 TO 3
   ? Calls(), NextId()
NEXT
Add(5)
Add(7)
? "total", total
? "ids go on:", NextId()

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
