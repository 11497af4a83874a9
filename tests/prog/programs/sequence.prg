// BREAK leaves nested calls with a value that RECOVER USING receives; an
// error reaches the error block, and an error inside the error block is
// handled by the block that was there before.
LOCAL r, old
BEGIN SEQUENCE
   ? "before"
   Level1()
   ? "not reached"
RECOVER USING r
   ? "recovered:", r
END
BEGIN SEQUENCE
   BEGIN SEQUENCE
      BREAK "inner"
   RECOVER USING r
      ? "inner caught", r
      BREAK "outer"
   END
RECOVER USING r
   ? "outer caught", r
END
BEGIN SEQUENCE
   BREAK
RECOVER USING r
   ? "no value:", r
END
// The error block turns a run-time error into a BREAK with the error.
old := ERRORBLOCK({|e| BREAK(e)})
BEGIN SEQUENCE
   r := 1 + "a"
RECOVER USING r
   ? "error", r:genCode, r:description
END
// An error inside the error block.
ERRORBLOCK({|e| Faulty(e)})
BEGIN SEQUENCE
   r := nosuchvar
RECOVER USING r
   ? "nested error", VALTYPE(r), r:description
END
ERRORBLOCK(old)
? "after", ProcName()

PROCEDURE Level1
   Level2()
RETURN

PROCEDURE Level2
   LOCAL x := 41
   BREAK x + 1
RETURN

// The handler fails itself; the inner failure BREAKs out through the
// block installed here for the duration.
FUNCTION Faulty(e)
   LOCAL prev := ERRORBLOCK({|e2| BREAK(e2)})
   ? "handling", e:description
   e := e:nonexistent()
   ERRORBLOCK(prev)
RETURN .F.
