// & macros name variables and functions at run time.
PRIVATE name := "target", target := 5, fn := "Twice", i, b
? &name
&name := 12
? target
? &fn.(21)
fn := "Tw" + "ice"
? &fn(4)
// Assigning through a macro to a name not declared makes a PRIVATE.
FOR i := 1 TO 3
   PRIVATE v := "var" + STR(i, 1)
   &v := i * i
NEXT
? var1, var2, var3
? TYPE("target"), TYPE("nosuch")
b := "{|x| x + 1}"
? EVAL(&b, 9)

FUNCTION Twice(x)
RETURN x * 2
