// Arrays of arrays: a table built row by row, nested indexing, growth.
LOCAL grid := {}, i, j, row, total := 0, line
FOR i := 1 TO 3
   row := {}
   FOR j := 1 TO 4
      AADD(row, i * 10 + j)
   NEXT
   AADD(grid, row)
NEXT
? LEN(grid), LEN(grid[1])
FOR i := 1 TO LEN(grid)
   line := ""
   FOR j := 1 TO LEN(grid[i])
      line += STR(grid[i][j], 4)
      total += grid[i, j]
   NEXT
   ? line
NEXT
? "total", total
grid[2][3] := {"deep", {1, 2, 3}}
? grid[2][3][1], grid[2, 3, 2, 3], LEN(grid[2][3][2])
// Rows are references: changing a row through one name shows through another.
row := grid[1]
row[1] := "changed"
? grid[1][1]
// A fresh array per dimension.
line := ARRAY(2, 3)
line[1][1] := "x"
? VALTYPE(line[2][1]), line[1][1], LEN(line), LEN(line[2])
? ASCAN(grid[3], 33), ATAIL(grid[3])
