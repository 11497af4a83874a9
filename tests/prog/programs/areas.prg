// A BREAK out of alias->(list) lands with the selection the sequence
// began with; the list's own area is left as it was.
DBCREATE("one", {{"A", "N", 3, 0}})
DBCREATE("two", {{"B", "N", 3, 0}})
USE one NEW
USE two NEW
SELECT one
BEGIN SEQUENCE
   two->(Boom())
RECOVER USING x
   ? "recovered in", ALIAS(), "from", x
END
? two->(ALIAS()), ALIAS()
CLOSE ALL

FUNCTION Boom()
BREAK ALIAS()
