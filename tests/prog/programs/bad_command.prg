? "ran"
FROBNICATE the table
