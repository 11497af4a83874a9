#!/usr/bin/python3
"""Outside DBF tools for the interchange test (interchange_test.cpp).

  dbf_oracle.py check READER EXPECT
      Read every table of the expectation file EXPECT whose readers line
      names READER (dbfread, dbf, ogrinfo or dbview) and compare what the
      reader shows with the expectation (structure, records, values, and a
      header date of today); print each disagreement and a summary, and
      exit 1 on any disagreement or reader failure.
  dbf_oracle.py write DIR
      Write tables with python3-dbf and ogr2ogr into DIR, and DIR/expect.txt
      with what this project's driver must read from them.

The file format and the canonical values are described at the top of
interchange_test.cpp.  Each reader is used in the mode it supports: ogrinfo
and dbview show a memo field's block number, not the memo; ogrinfo hides
deleted records and trims the leading blanks of a text; python-dbf shows
field names in lower case; dbview shows the stored text, which is checked
for width and the alignment of numbers before it is compared.
"""
import datetime
import os
import re
import subprocess
import sys

ALL_READERS = ("dbfread", "dbf", "ogrinfo", "dbview")
DBVIEW_SEP = "\x1f"


def escape(text):
    out = []
    for ch in text:
        c = ord(ch)
        out.append("\\\\" if ch == "\\" else ch if 0x20 <= c <= 0x7E else "\\x%02x" % c)
    return "".join(out)


def unescape(text):
    return re.sub(r"\\(\\|x[0-9a-f]{2})",
                  lambda m: "\\" if m.group(1) == "\\" else chr(int(m.group(1)[1:], 16)), text)


class Table:
    def __init__(self, path):
        self.path, self.readers, self.fields, self.recs = path, (), [], []


def parse_expect(path):
    tables = []
    with open(path, encoding="latin-1") as f:
        for line in f.read().split("\n"):
            key, _, rest = line.partition(" ")
            if key == "table":
                tables.append(Table(rest))
            elif key == "readers":
                tables[-1].readers = rest.split()
            elif key == "field":
                name, ftype, length, dec = rest.split()
                tables[-1].fields.append((name, ftype, int(length), int(dec)))
            elif key == "rec":
                tables[-1].recs.append((rest == "1", []))
            elif key == "val":
                tables[-1].recs[-1][1].append(unescape(rest))
    return tables


def write_expect(path, tables):
    with open(path, "w", encoding="latin-1") as f:
        for t in tables:
            f.write("table %s\n" % t.path)
            for name, ftype, length, dec in t.fields:
                f.write("field %s %s %d %d\n" % (name, ftype, length, dec))
            for deleted, values in t.recs:
                f.write("rec %d\n" % deleted)
                f.writelines("val %s\n" % escape(v) for v in values)


# ---- Readers: each gives (fields, live rows, deleted rows or None, the
# header's date of last update). ----

def run(args):
    try:
        done = subprocess.run(args, capture_output=True, check=False)
    except FileNotFoundError:
        raise RuntimeError("%s is not installed" % args[0]) from None
    if done.returncode != 0:
        raise RuntimeError("%s failed: %s" % (" ".join(args), done.stderr.decode("latin-1")))
    return done.stdout.decode("latin-1")


def read_dbfread(path, written):
    import dbfread
    table = dbfread.DBF(path, encoding="latin-1")
    fields = [(f.name, f.type, f.length, f.decimal_count) for f in table.fields]
    rows = lambda recs: [list(r.values()) for r in recs]
    return fields, rows(table.records), rows(table.deleted), table.date


def read_dbf(path, written):
    import dbf
    # A text field above 254 bytes needs the Clipper flavour.
    long_text = any(ftype == "C" and length > 254 for _, ftype, length, _ in written)
    table = dbf.Table(path, dbf_type="clp" if long_text else None)
    table.open(dbf.READ_ONLY)
    try:
        fields = []
        for name in table.field_names:
            ftype, length, dec = table.field_info(name)[:3]
            fields.append((name.upper(), chr(ftype), length, dec))
        live, deleted = [], []
        for r in table:
            (deleted if dbf.is_deleted(r) else live).append(list(r))
        updated = table.last_update
        return fields, live, deleted, datetime.date(updated.year, updated.month, updated.day)
    finally:
        table.close()


def read_ogrinfo(path, written):
    fields, live, row, updated = [], [], None, None
    for line in run(["ogrinfo", "-ro", "-al", "-fields=YES", path]).split("\n"):
        m = re.match(r"^(\w+): (\w+) \((\d+)\.(\d+)\)$", line)
        date = re.match(r"^  DBF_DATE_LAST_UPDATE=(\d+)-(\d+)-(\d+)$", line)
        if date:
            updated = datetime.date(*map(int, date.groups()))
        elif m:
            fields.append((m.group(1), m.group(2), int(m.group(3)), int(m.group(4))))
        elif re.match(r"^OGRFeature\(.*\):\d+$", line):
            row = [None] * len(fields)
            live.append(row)
        elif row is not None:
            m = re.match(r"^  (\w+) \(\w+\) = (.*)$", line)
            if m:
                row[[f[0] for f in fields].index(m.group(1))] = (
                    None if m.group(2) == "(null)" else m.group(2))
    return fields, live, None, updated


def read_dbview(path, written):
    info = re.search(r"Last update *: (\d+)/(\d+)/(\d+)", run(["dbview", "-i", "-o", path]))
    month, day, year = map(int, info.groups())
    fields = []
    for line in run(["dbview", "-e", "-o", "-r", path]).split("\n")[1:]:
        if line.strip():
            name, ftype, length, dec = (p.strip() for p in line.split("\t"))
            fields.append((name, ftype, int(length), int(dec)))
    live, deleted = [], []
    for line in run(["dbview", "-b", "-D", "-r", "-d", DBVIEW_SEP, path]).split("\n"):
        if line:
            parts = line.split(DBVIEW_SEP)
            (deleted if parts[0] == "*" else live).append(parts[1:1 + len(written)])
    return fields, live, deleted, datetime.date(year, month, day)


READ = {"dbfread": read_dbfread, "dbf": read_dbf, "ogrinfo": read_ogrinfo, "dbview": read_dbview}
OGR_KINDS = {"C": ("String",), "L": ("String",), "M": ("String",), "D": ("Date",),
             "N": ("Integer", "Integer64", "Real"), "F": ("Integer", "Integer64", "Real")}


def canon(reader, field, value):
    """The canonical text of what a reader shows for a field; dbview shows
    the stored text, which must fill the field, numbers right-aligned."""
    _, ftype, length, _ = field
    if value is None:
        return ""
    if reader == "dbview" and len(value) != length:
        return "%r (%d bytes wide)" % (value, len(value))
    if ftype in "NF":
        text = str(value).strip()
        if reader == "dbview" and text and value.endswith(" "):
            return "%r (not right-aligned)" % value
        return "%.17g" % float(text) if text else ""
    if ftype == "D":
        if isinstance(value, datetime.date):
            return "%04d%02d%02d" % (value.year, value.month, value.day)
        return value.replace("/", "").strip()
    if ftype == "L":
        return ("T" if value else "F") if isinstance(value, bool) else value.strip()
    if ftype == "M" and reader in ("ogrinfo", "dbview"):
        return value.strip()
    text = str(value).rstrip(" ")
    return text.lstrip(" ") if reader == "ogrinfo" else text


def want(reader, ftype, value):
    """The canonical text a reader must show for an expected value."""
    if ftype == "M":
        block, _, text = value.partition(":")
        return block if reader in ("ogrinfo", "dbview") else text
    return value.lstrip(" ") if reader == "ogrinfo" and ftype == "C" else value


def difference(got, wanted):
    """How a shown value differs from the written one, short enough to read."""
    if max(len(got), len(wanted)) <= 60:
        return "shows %r, written %r" % (got, wanted)
    at = next((i for i, (a, b) in enumerate(zip(got, wanted)) if a != b), min(len(got), len(wanted)))
    return "shows %d bytes, written %d, first difference at byte %d: %r against %r" % (
        len(got), len(wanted), at, got[at:at + 20], wanted[at:at + 20])


def structure_disagrees(reader, field, got):
    name, ftype, length, dec = field
    if got[0] != name:
        return True
    if reader == "ogrinfo":
        return (got[1] not in OGR_KINDS[ftype] or (ftype != "D" and got[2] != length)
                or (ftype in "NF" and dec and got[3] != dec))
    # The decimals byte of a 'C' field holds the high byte of its length,
    # which python-dbf shows as decimals.
    return got[1:3] != (ftype, length) or (ftype != "C" and got[3] != dec)


def check_table(reader, t, report):
    """Compare one table; returns the number of values compared."""
    fields, live, deleted, updated = READ[reader](t.path, t.fields)
    if updated != datetime.date.today():
        report("last update %s in the header, written today" % updated)
    if len(fields) != len(t.fields):
        report("%d fields shown, %d written" % (len(fields), len(t.fields)))
    for field, got in zip(t.fields, fields):
        if structure_disagrees(reader, field, got):
            report("field %s %s(%d,%d) shown as %s" % (field + (got,)))
    groups = [(False, live)] + ([(True, deleted)] if deleted is not None else [])
    compared = 0
    for is_deleted, rows in groups:
        wanted = [(n + 1, v) for n, (d, v) in enumerate(t.recs) if d == is_deleted]
        kind = "deleted" if is_deleted else "live"
        if len(rows) != len(wanted):
            report("%d %s records shown, %d written" % (len(rows), kind, len(wanted)))
        for (recno, values), row in zip(wanted, rows):
            for field, value, got in zip(t.fields, values, row):
                compared += 1
                g, w = canon(reader, field, got), want(reader, field[1], value)
                if g != w:
                    report("record %d (%s) field %s: %s" % (recno, kind, field[0], difference(g, w)))
    return compared


def check(reader, expect_path):
    tables = [t for t in parse_expect(expect_path) if reader in t.readers]
    problems, compared = [], 0
    for t in tables:
        report = lambda text, t=t: problems.append("%s: %s: %s" % (reader, t.path, text))
        try:
            compared += check_table(reader, t, report)
        except Exception as e:  # a reader that cannot read a table disagrees with it
            report("%s: %s" % (type(e).__name__, e))
    print("\n".join(problems + [""]), end="")
    print("%s: %d tables, %d fields, %d records, %d values compared, %d disagreements"
          % (reader, len(tables), sum(len(t.fields) for t in tables),
             sum(len(t.recs) for t in tables), compared, len(problems)))
    return 1 if problems or not tables else 0


# ---- Writers: tables for the driver to read. ----

def memo_text(n):
    line = "Memo line written by python-dbf.\r\n"
    return (line * (n // len(line) + 1))[:n]


def canon_written(ftype, value):
    """What the driver must read from a value a writer stored (a blank number
    reads as 0, an unknown logical as .F.)."""
    if ftype in "NF":
        return "%.17g" % (value or 0)
    if ftype == "D":
        return value.strftime("%Y%m%d") if value else ""
    if ftype == "L":
        return "T" if value else "F"
    if ftype == "M":
        return ":" + value
    return value.rstrip(" ")


def structure_of(path):
    import dbfread
    return [(f.name, f.type, f.length, f.decimal_count) for f in dbfread.DBF(path).fields]


def write_dbf(path, dbf_type, fields, rows):
    import dbf
    table = dbf.Table(path, fields, dbf_type=dbf_type)
    table.open(dbf.READ_WRITE)
    for deleted, values in rows:
        table.append(values)
        if deleted:
            dbf.delete(table[-1])
    table.close()
    t = Table(path)
    t.fields = structure_of(path)
    t.recs = [(d, [canon_written(f[1], v) for f, v in zip(t.fields, values)]) for d, values in rows]
    return t


def write_dbf_tables(directory):
    """A dBASE III table with memos and an F field, and a Clipper one with a
    text of 300 bytes, all names given in lower case."""
    date = datetime.date
    plain = write_dbf(
        os.path.join(directory, "pydbf.dbf"), "db3",
        "name C(20); amount N(10,2); qty N(5,0); rate F(12,3); born D; ok L; notes M", [
            (False, ("Smith", 12.5, 42, 3.125, date(2020, 1, 2), True, "first\r\nmemo")),
            (False, ("Jones", -0.25, -7, -1.5, date(1999, 12, 31), False, memo_text(600))),
            (True, ("Gone", 1.0, 1, 0.5, date(2000, 2, 29), True, "x")),
            (False, ("", None, None, None, None, None, "")),
            (False, ("Last", 99999.99, 99999, 0.001, date(2038, 1, 19), False, memo_text(5000))),
        ])
    wide = write_dbf(os.path.join(directory, "pyclp.dbf"), "clp", "title C(300); n N(3,0)",
                     [(False, (memo_text(300).replace("\r\n", "  "), 1)), (False, ("short", 2))])
    return [plain, wide]


def write_ogr(directory):
    csv, path = os.path.join(directory, "ogr.csv"), os.path.join(directory, "ogr.dbf")
    rows = [("Smith", "12.5", "42", "2020-01-02", "first row"),
            ("Jones", "-0.25", "-7", "1999-12-31", "with, comma"),
            ("Empty", "", "", "", "")]
    with open(csv, "w") as f:
        f.write("name,amount,qty,born,note\n")
        f.writelines(",".join('"%s"' % v if "," in v else v for v in r) + "\n" for r in rows)
    run(["ogr2ogr", "-f", "ESRI Shapefile", path, csv, "-oo", "AUTODETECT_TYPE=YES"])
    t = Table(path)
    t.fields = structure_of(path)
    # GDAL stores a null number as asterisks and a null date as zeros: 0 and
    # the empty date by this driver's rules.
    t.recs = [(False, [canon_written(f[1], float(v) if f[1] == "N" and v else
                                     datetime.date.fromisoformat(v) if f[1] == "D" and v else
                                     None if f[1] in "ND" else v)
                       for f, v in zip(t.fields, r)]) for r in rows]
    return t


def write(directory):
    write_expect(os.path.join(directory, "expect.txt"),
                 write_dbf_tables(directory) + [write_ogr(directory)])
    return 0


def main(argv):
    if len(argv) == 4 and argv[1] == "check" and argv[2] in ALL_READERS:
        return check(argv[2], argv[3])
    if len(argv) == 3 and argv[1] == "write":
        return write(argv[2])
    sys.stderr.write(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
