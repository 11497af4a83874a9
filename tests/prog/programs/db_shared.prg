// Run by several processes at once on one table opened SHARED: each adds
// its rows under the lock APPEND BLANK takes, and counts each row in the
// first record under a record lock it waits for.
LOCAL i
PARAMETERS who, times
USE shared SHARED NEW
FOR i := 1 TO VAL(times)
   APPEND BLANK
   REPLACE owner WITH who, seq WITH i
   UNLOCK
   GO 1
   DO WHILE !RLOCK()
   ENDDO
   REPLACE hits WITH hits + 1
   UNLOCK
NEXT
CLOSE ALL
