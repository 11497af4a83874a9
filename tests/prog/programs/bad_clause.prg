? "ran"
USE customers
INDEX ON name TO byname WITH 3
