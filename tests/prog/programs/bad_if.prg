? "ran"
IF .T.
   ? "inside"
? "no ENDIF"
