// The library half of multi_main.prg.
FUNCTION Greet(who)
RETURN Shout("hello, " + who)

FUNCTION LibTwice(n)
RETURN Helper(n) * 2

// Seen only inside this file.
STATIC FUNCTION Helper(n)
RETURN n

PROCEDURE Callback
   ? "callback from", ProcName(1)
RETURN
