? "ran"
x := 1
   ? x
NEXT
