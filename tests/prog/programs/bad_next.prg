? "ran"
LOCAL i := 1
   ? i
NEXT
