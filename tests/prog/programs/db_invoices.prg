// A database program: two tables filled, indexed and related, searched,
// changed, listed, totalled and copied out as text.
LOCAL i, n, total, h
DBCREATE("cust", {{"ID", "N", 5, 0}, {"NAME", "C", 12, 0}, {"CITY", "C", 10, 0}})
DBCREATE("inv", {{"NO", "N", 6, 0}, {"CUSTID", "N", 5, 0}, {"AMOUNT", "N", 9, 2}, ;
                 {"PAID", "L", 1, 0}})
USE cust NEW EXCLUSIVE
FOR i := 1 TO 10
   APPEND BLANK
   REPLACE id WITH i, name WITH "Cust" + LTRIM(STR(i)), ;
           city WITH IIF(i % 3 == 0, "Oslo", "Bergen")
NEXT
INDEX ON id TO custid
USE inv NEW EXCLUSIVE
FOR i := 1 TO 100000
   APPEND BLANK
   REPLACE no WITH i, custid WITH i % 10 + 1, amount WITH i % 100 + 0.5, paid WITH i % 7 == 0
NEXT
? "invoices:", LASTREC(), "customers:", cust->(LASTREC())
INDEX ON no TO invno
SEEK 4242
? FOUND(), no, custid, amount
SEEK 100001
? FOUND(), EOF()
SET RELATION TO custid INTO cust
GO 57
? no, custid, cust->name, cust->city
REPLACE amount WITH 999.99
SEEK 57
? "changed:", amount
COUNT TO n FOR paid
SUM amount TO total FOR custid == 3
? "paid:", n, "customer 3 owes:", total
LIST no, cust->name, amount FOR no > 99996
COPY TO invcopy DELIMITED FOR no <= 3
h := FOPEN("invcopy.txt")
? FREADSTR(h, 1000)
FCLOSE(h)
SELECT cust
SET ORDER TO 0
COUNT TO n FOR city = "Oslo"
? "in Oslo:", n
CLOSE ALL
