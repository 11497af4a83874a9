// Several sources in one run: functions of one call functions of another,
// and the arguments after the sources reach the main procedure.
PARAMETERS first, second
? "args:", first, second, PCOUNT()
? Greet("world")
? LibTwice(21)
Callback()

FUNCTION Shout(s)
RETURN UPPER(s) + "!"
