// A good source run with a bad one: nothing runs.
? "ran"
