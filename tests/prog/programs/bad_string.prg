? "ran"
x := "an unterminated
? x
