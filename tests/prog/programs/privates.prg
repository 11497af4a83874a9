// PRIVATE variables are seen by the routines a routine calls, and a
// routine's own PRIVATE hides its caller's until it returns.
PRIVATE who := "main"
PUBLIC counter := 0
Show()
Hide()
Show()
? "counter", counter
Creates()
? "made by a callee:", TYPE("made")
Release()

PROCEDURE Show
   counter++
   ? "Show sees", who
RETURN

PROCEDURE Hide
   PRIVATE who := "hide"
   Show()
   Deeper()
RETURN

PROCEDURE Deeper
   who := "changed by deeper"
   Show()
RETURN

// A PRIVATE made here goes when the procedure returns.
PROCEDURE Creates
   PRIVATE made := 1
   ? "inside:", TYPE("made")
RETURN

PROCEDURE Release
   PRIVATE a1 := 1, a2 := 2, b1 := 3
   RELEASE a1
   ? TYPE("a1"), TYPE("a2"), TYPE("b1")
   RELEASE ALL LIKE a*
   ? TYPE("a2"), TYPE("b1")
   RELEASE ALL
   ? TYPE("b1"), TYPE("counter")
RETURN
