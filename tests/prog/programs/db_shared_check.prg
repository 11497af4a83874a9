// What db_shared.prg left: every row of every run, and the count of them.
LOCAL a, b, sa, sb
USE shared
COUNT TO a FOR owner == "A"
COUNT TO b FOR owner == "B"
SUM seq TO sa FOR owner == "A"
SUM seq TO sb FOR owner == "B"
GO 1
? LASTREC(), a, b, sa, sb, hits
