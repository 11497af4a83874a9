// customers.prg -- a first database program.
//
// Creates two tables, customers and their invoices, fills them, indexes
// them, and prints a report: every customer's invoices through a relation,
// a LIST of the unpaid ones, and totals.  Run it from an empty directory:
//
//   vl customers.prg
LOCAL i, open, total, n

DBCREATE("customer", {{"ID", "N", 4, 0}, {"NAME", "C", 20, 0}, {"CITY", "C", 12, 0}})
DBCREATE("invoice", {{"NO", "N", 6, 0}, {"CUSTID", "N", 4, 0}, {"DATE", "D", 8, 0}, ;
                     {"AMOUNT", "N", 10, 2}, {"PAID", "L", 1, 0}})

// The customers, from an array of rows.
USE customer NEW EXCLUSIVE
AEVAL({{1, "Ada Lovelace", "London"}, {2, "Niels Abel", "Oslo"}, ;
       {3, "Emmy Noether", "Erlangen"}, {4, "Sofia Kovalevskaya", "Stockholm"}}, ;
      {|row| AddCustomer(row)})
INDEX ON id TO custid

// Ten invoices for each, some of them paid.
USE invoice NEW EXCLUSIVE
FOR i := 1 TO 40
   APPEND BLANK
   REPLACE no WITH 1000 + i, custid WITH (i - 1) % 4 + 1, ;
           date WITH STOD("20260101") + i * 3, amount WITH i * 12.5, paid WITH i % 3 == 0
NEXT
INDEX ON STR(custid, 4) + STR(no, 6) TO invcust
SET RELATION TO custid INTO customer

? "Unpaid invoices over 400:"
LIST no, customer->name, date, amount FOR !paid .AND. amount > 400

// The relation moves the customer with every invoice; the report below
// walks the customers itself, so it goes.
SET RELATION TO

? "Per customer:             total     unpaid"
SELECT customer
GO TOP
DO WHILE !EOF()
   SELECT invoice
   SEEK STR(customer->id, 4)
   STORE 0 TO total, open
   DO WHILE !EOF() .AND. custid == customer->id
      total += amount
      IF !paid
         open += amount
      ENDIF
      SKIP
   ENDDO
   ? PADR(customer->name, 20), STR(total, 10, 2), STR(open, 10, 2)
   SELECT customer
   SKIP
ENDDO

SELECT invoice
COUNT TO n FOR paid
SUM amount TO total
? "Invoices:", LTRIM(STR(LASTREC())), "paid:", LTRIM(STR(n)), "total:", LTRIM(STR(total, 12, 2))
CLOSE ALL

PROCEDURE AddCustomer(row)
   APPEND BLANK
   REPLACE id WITH row[1], name WITH row[2], city WITH row[3]
RETURN
