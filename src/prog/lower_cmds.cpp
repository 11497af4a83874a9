// lower_cmds.cpp -- commands lowered to calls of the library's functions.
//
// A command is its word, sometimes a leading part (USE's file, LIST's
// expressions, REPLACE's assignments), then clauses in any order, each a
// keyword (cut to four letters or more) with a value of a known sort.  The
// lowering writes the call as expression text with the user's own
// sub-expressions spliced in, and the expression parser compiles that text:
// conditions and keys become blocks ("{|| cond}"), file and alias names
// become texts, "&name" in a file name the variable's value, and "(expr)"
// the expression.  Every piece is first parsed where the user wrote it, so
// an error points at the user's text; the spliced text then compiles.
// docs/language.md has the table of commands and the calls they become.
#include <cctype>
#include <map>
#include <vector>

#include "parse_internal.hpp"
#include "set_table.hpp"

namespace vl::prog::detail {

namespace {

// The sorts of clause values.
enum class Sort : uint8_t {
  Flag,   // no value
  Expr,   // one expression: its text
  Cond,   // one expression, as a block: "{|| text}"
  File,   // a file or alias name, "&name" or "(expr)": a text expression
  Names,  // names separated by commas: an array of texts
  Exprs,  // expressions separated by commas
  Keys,   // SORT keys: name[/A][/C][/D], ...: an array of texts
  Files,  // file names separated by commas, in list
  Output, // PRINTER, or FILE name: "PRINTER" or the file's text
};

struct ClauseSpec {
  const char* word;
  Sort sort;
};

// The clauses of a scope, taken by the commands that work on records.
constexpr ClauseSpec kScopeClauses[] = {
    {"for", Sort::Cond},    {"while", Sort::Cond}, {"next", Sort::Expr},
    {"record", Sort::Expr}, {"rest", Sort::Flag},  {"all", Sort::Flag},
};

// What a command reads besides its own clauses.
enum class Extra : bool { None, Scope };

// The clauses a command accepts, and their values as texts.
class Clauses {
 public:
  Clauses(Cursor& cur, const char* command) : cur_(cur), command_(command) {}

  // Read clauses of the given sorts (and a scope's) to the end of the
  // statement, or up to the word stop when one is given.
  void read(std::initializer_list<ClauseSpec> specs, Extra extra = Extra::None,
            const char* stop = nullptr)
  {
    while (!cur_.at_end()) {
      const size_t at = cur_.offset();
      const std::string word = cur_.peek_word();
      if (stop && keyword_matches(word, stop)) return;
      const ClauseSpec* spec = nullptr;
      for (const ClauseSpec& s : specs)
        if (keyword_matches(word, s.word)) spec = &s;
      if (extra == Extra::Scope)
        for (const ClauseSpec& s : kScopeClauses)
          if (keyword_matches(word, s.word)) spec = &s;
      if (!spec) {
        if (word.empty()) cur_.fail("unexpected text after the statement");
        cur_.fail("unexpected " + upper(word) + " in " + command_);
      }
      if (values_.count(spec->word)) cur_.fail(upper(spec->word) + " given twice");
      cur_.seek(at + word.size());
      values_[spec->word] = value(spec->sort, spec->word);
    }
  }

  bool has(const char* word) const { return values_.count(word) > 0; }
  void set_flag(const char* word) { values_[word] = ".T."; }
  // The value's text, or absent when the clause was not given.
  std::string get(const char* word, const char* absent = "NIL") const
  {
    auto it = values_.find(word);
    return it == values_.end() ? absent : it->second;
  }
  // The scope arguments: for, while, next, record, rest.
  std::string scope() const
  {
    return get("for") + ", " + get("while") + ", " + get("next") + ", " + get("record") + ", " +
           (has("rest") ? ".T." : "NIL");
  }
  bool scoped() const
  {
    return has("for") || has("while") || has("next") || has("record") || has("rest") ||
           has("all");
  }

  std::vector<std::string> list;  // the last Exprs value, item by item

  // A value of sort read here (also for a command's leading part).
  std::string value(Sort sort, const char* word);

 private:
  static std::string upper(std::string s)
  {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
  }
  std::string expr_text(bool as_list = false)
  {
    if (cur_.at_end()) cur_.fail("missing expression");
    size_t begin = 0, end = 0;
    cur_.skip_expr(begin, end, as_list);
    return cur_.text().substr(begin, end - begin);
  }
  std::string file_name();
  std::string output();
  std::string names();
  std::string keys();

  Cursor& cur_;
  const char* command_;
  std::map<std::string, std::string> values_;
};

// text as a string literal, in whichever quotes it does not hold.
std::string quote(const std::string& text)
{
  const size_t dq = text.find('"');
  if (dq == std::string::npos) return "\"" + text + "\"";
  if (text.find('\'') == std::string::npos) return "'" + text + "'";
  return "\"" + text.substr(0, dq) + "\" + CHR(34) + " + quote(text.substr(dq + 1));
}

std::string lower(std::string s)
{
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool is_name_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// A file name as written ("data/cust.dbf", "&f", "&f..dbf", "x&f.y") as a
// text expression: the literal parts quoted, each "&name" (a "." after it
// ends it) the variable's value.
std::string name_text(const std::string& token)
{
  std::string out, literal;
  auto flush = [&] {
    if (literal.empty()) return;
    out += (out.empty() ? "" : " + ") + quote(literal);
    literal.clear();
  };
  for (size_t i = 0; i < token.size();) {
    if (token[i] != '&' || i + 1 >= token.size() || !is_name_char(token[i + 1])) {
      literal += token[i++];
      continue;
    }
    flush();
    size_t end = i + 1;
    while (end < token.size() && is_name_char(token[end])) ++end;
    out += (out.empty() ? "" : " + ") + token.substr(i + 1, end - i - 1);
    i = end < token.size() && token[end] == '.' ? end + 1 : end;
  }
  flush();
  return out;
}

std::string Clauses::file_name()
{
  if (cur_.at_end()) cur_.fail("missing file name");
  const std::string& s = cur_.text();
  const char c = s[cur_.offset()];
  if (c == '(' || c == '"' || c == '\'') return expr_text();
  const size_t start = cur_.offset();
  size_t end = start;
  while (end < s.size() && s[end] != ' ' && s[end] != '\t' && s[end] != ',' && s[end] != ')')
    ++end;
  if (end == start) cur_.fail("expected a file name");
  cur_.seek(end);
  return name_text(s.substr(start, end - start));
}

std::string Clauses::output()
{
  if (cur_.accept("printer")) return "PRINTER";
  cur_.expect("file");
  return file_name();
}

std::string Clauses::names()
{
  std::string out = "{";
  do out += (out.size() > 1 ? ", " : "") + quote(cur_.name("a field name"));
  while (cur_.accept_text(","));
  return out + "}";
}

std::string Clauses::keys()
{
  std::string out = "{";
  do {
    cur_.at_end();
    const size_t start = cur_.offset();
    cur_.name("a key field");
    while (cur_.accept_text("/")) cur_.name("A, C or D after /");
    out += (out.size() > 1 ? ", " : "") + quote(cur_.text().substr(start, cur_.offset() - start));
  } while (cur_.accept_text(","));
  return out + "}";
}

std::string Clauses::value(Sort sort, const char* word)
{
  switch (sort) {
    case Sort::Flag: return ".T.";
    case Sort::Expr: return expr_text();
    case Sort::Cond: return "{|| " + expr_text() + "}";
    case Sort::File: return file_name();
    case Sort::Names: return names();
    case Sort::Keys: return keys();
    case Sort::Output: return output();
    case Sort::Files:
      list.clear();
      do list.push_back(file_name());
      while (cur_.accept_text(","));
      return {};
    case Sort::Exprs: {
      list.clear();
      do list.push_back(expr_text());
      while (cur_.accept_text(","));
      std::string out;
      for (const std::string& e : list) out += (out.empty() ? "" : ", ") + e;
      return out;
    }
  }
  return {};
}

// A block of the expressions list: "{|| a, b}".
std::string block_of(const std::string& body) { return "{|| " + body + "}"; }

// The texts of a list of values as an array of blocks.
std::string blocks_of(const std::vector<std::string>& items)
{
  std::string out = "{";
  for (const std::string& e : items) out += (out.size() > 1 ? ", " : "") + block_of(e);
  return out + "}";
}

// REPLACE's and UPDATE's "f WITH e, ...": assignments; a plain name is a
// field.
std::string assignments(Cursor& cur)
{
  std::string out;
  do {
    if (cur.at_end()) cur.fail("missing field name");
    size_t begin = 0, end = 0;
    cur.skip_expr(begin, end);
    std::string target = cur.text().substr(begin, end - begin);
    bool plain = !target.empty() && !std::isdigit(static_cast<unsigned char>(target[0]));
    for (char c : target) plain = plain && is_name_char(c);
    if (plain) target = "FIELD->" + target;
    cur.expect("with");
    if (cur.at_end()) cur.fail("missing value after WITH");
    cur.skip_expr(begin, end);
    out += (out.empty() ? "" : ", ") + target + " := " + cur.text().substr(begin, end - begin);
  } while (cur.accept_text(","));
  return out;
}

// Targets of TO: variable names, each "name" or "&name".
std::vector<std::string> targets(Cursor& cur)
{
  std::vector<std::string> out;
  do out.push_back(cur.name("a variable name", true));
  while (cur.accept_text(","));
  return out;
}

// "v1 := f(...)" for one target; for several, the array lands in the
// first and is spread: "v1 := f(...), v2 := v1[2], v1 := v1[1]".
std::string spread(const std::vector<std::string>& vars, const std::string& call)
{
  if (vars.size() == 1) return vars[0] + " := " + call;
  std::string out = vars[0] + " := " + call;
  for (size_t i = 1; i < vars.size(); ++i)
    out += ", " + vars[i] + " := " + vars[0] + "[" + std::to_string(i + 1) + "]";
  return out + ", " + vars[0] + " := " + vars[0] + "[1]";
}

using Builder = std::string (*)(Cursor&);

std::string use(Cursor& cur)
{
  Clauses c(cur, "USE");
  if (cur.at_end()) return "DBCLOSEAREA()";
  const std::string file = c.value(Sort::File, "use");
  c.read({{"alias", Sort::File}, {"shared", Sort::Flag}, {"exclusive", Sort::Flag},
          {"readonly", Sort::Flag}, {"new", Sort::Flag}, {"via", Sort::Expr},
          {"index", Sort::Files}});
  if (c.has("shared") && c.has("exclusive")) cur.fail("SHARED and EXCLUSIVE together");
  const std::string shared = c.has("shared") ? ".T." : c.has("exclusive") ? ".F." : "NIL";
  std::string out = "DBUSEAREA(" + c.get("new", ".F.") + ", " + c.get("via") + ", " + file + ", " +
                    c.get("alias") + ", " + shared + ", " + c.get("readonly", ".F.") + ")";
  for (const std::string& f : c.list) out += ", DBSETINDEX(" + f + ")";
  return out;
}

std::string select(Cursor& cur)
{
  Clauses c(cur, "SELECT");
  const bool number = !cur.at_end() && std::isdigit(static_cast<unsigned char>(cur.text()[cur.offset()]));
  const std::string area = c.value(number ? Sort::Expr : Sort::File, "select");
  c.read({});
  return "DBSELECTAREA(" + area + ")";
}

std::string close(Cursor& cur)
{
  if (cur.accept("all") || cur.accept("databases")) {
    cur.expect_end();
    return "DBCLOSEALL()";
  }
  if (cur.accept("indexes")) {
    cur.expect_end();
    return "DBCLEARINDEX()";
  }
  if (cur.at_end()) return "DBCLOSEAREA()";
  const std::string alias = cur.name("an alias, ALL, DATABASES or INDEXES");
  cur.expect_end();
  return alias + "->(DBCLOSEAREA())";
}

std::string go(Cursor& cur)
{
  std::string out;
  if (cur.accept("top")) out = "DBGOTOP()";
  else if (cur.accept("bottom")) out = "DBGOBOTTOM()";
  else out = "DBGOTO(" + Clauses(cur, "GO").value(Sort::Expr, "go") + ")";
  cur.expect_end();
  return out;
}

std::string skip(Cursor& cur)
{
  Clauses c(cur, "SKIP");
  const std::string n = cur.at_end() || cur.peek_word() == "alias" ? "1" : c.value(Sort::Expr, "skip");
  c.read({{"alias", Sort::File}});
  const std::string call = "DBSKIP(" + n + ")";
  return c.has("alias") ? "(" + c.get("alias") + ")->(" + call + ")" : call;
}

std::string seek(Cursor& cur)
{
  Clauses c(cur, "SEEK");
  const std::string key = c.value(Sort::Expr, "seek");
  c.read({{"softseek", Sort::Flag}});
  return "DBSEEK(" + key + (c.has("softseek") ? ", .T.)" : ")");
}

// FIND takes its key as written: a text, or "&name".
std::string find(Cursor& cur)
{
  cur.at_end();
  const std::string& s = cur.text();
  std::string key = s.substr(cur.offset());
  while (!key.empty() && (key.back() == ' ' || key.back() == '\t')) key.pop_back();
  if (key.empty()) cur.fail("missing key");
  cur.seek(s.size());
  if (key[0] == '"' || key[0] == '\'' || key[0] == '&') return "DBSEEK(" + name_text(key) + ")";
  return "DBSEEK(" + quote(key) + ")";
}

std::string locate(Cursor& cur)
{
  Clauses c(cur, "LOCATE");
  c.read({}, Extra::Scope);
  return "__DBLOCATE(" + c.scope() + ")";
}

std::string continue_cmd(Cursor& cur)
{
  cur.expect_end();
  return "__DBCONTIN()";
}

// A text file's SDF or DELIMITED [WITH c | BLANK] clauses.
struct TextForm {
  bool sdf = false, delimited = false;
  std::string delimiter = "NIL";
};

// Read the clauses of COPY TO and APPEND FROM, the text forms among them.
TextForm text_form(Cursor& cur, Clauses& c, const char* command)
{
  c.read({{"fields", Sort::Names}, {"via", Sort::Expr}, {"sdf", Sort::Flag},
          {"delimited", Sort::Flag}, {"with", Sort::File}}, Extra::Scope);
  TextForm f;
  f.sdf = c.has("sdf");
  f.delimited = c.has("delimited");
  if (c.has("with")) {
    if (!f.delimited) cur.fail("WITH needs DELIMITED");
    const std::string with = c.get("with");
    f.delimiter = lower(with) == "\"blank\"" ? "\"BLANK\"" : with;
  }
  if (f.sdf && f.delimited) cur.fail(std::string("SDF and DELIMITED together in ") + command);
  return f;
}

std::string append(Cursor& cur)
{
  if (cur.accept("blank")) {
    cur.expect_end();
    return "DBAPPEND()";
  }
  cur.expect("from");
  Clauses c(cur, "APPEND");
  const std::string file = c.value(Sort::File, "from");
  const TextForm f = text_form(cur, c, "APPEND");
  const std::string fields = c.get("fields");
  const std::string limits = c.get("for") + ", " + c.get("while") + ", " + c.get("next") + ", " +
                             c.get("record");
  if (f.sdf) return "__DBAPPSDF(" + file + ", " + fields + ", " + limits + ")";
  if (f.delimited) return "__DBAPPDEL(" + file + ", " + f.delimiter + ", " + fields + ", " + limits + ")";
  return "__DBAPP(" + file + ", " + fields + ", " + c.scope() + ", " + c.get("via") + ")";
}

std::string replace(Cursor& cur)
{
  Clauses c(cur, "REPLACE");
  if (cur.accept("all")) c.set_flag("all");
  else if (cur.accept("rest")) c.set_flag("rest");
  const std::string work = assignments(cur);
  c.read({}, Extra::Scope);
  if (!c.scoped()) return work;
  return "DBEVAL(" + block_of(work) + ", " + c.scope() + ")";
}

// DELETE and RECALL: the current record, or each record of a scope.
std::string mark(Cursor& cur, const char* command, const char* fn)
{
  Clauses c(cur, command);
  c.read({}, Extra::Scope);
  const std::string call = std::string(fn) + "()";
  if (!c.scoped()) return call;
  return "DBEVAL(" + block_of(call) + ", " + c.scope() + ")";
}

std::string delete_cmd(Cursor& cur) { return mark(cur, "DELETE", "DBDELETE"); }
std::string recall(Cursor& cur) { return mark(cur, "RECALL", "DBRECALL"); }

// A command without clauses.
template <const char* kCall>
std::string bare(Cursor& cur)
{
  cur.expect_end();
  return kCall;
}
constexpr char kPack[] = "__DBPACK()";
constexpr char kZap[] = "__DBZAP()";
constexpr char kCommit[] = "DBCOMMITALL()";
constexpr char kReindex[] = "DBREINDEX()";

std::string unlock(Cursor& cur)
{
  const bool all = cur.accept("all");
  cur.expect_end();
  return all ? "DBUNLOCKALL()" : "DBUNLOCK()";
}

std::string index(Cursor& cur)
{
  Clauses c(cur, "INDEX");
  cur.expect("on");
  const std::string key = c.value(Sort::Expr, "on");
  c.read({{"to", Sort::File}, {"for", Sort::Expr}, {"unique", Sort::Flag},
          {"descending", Sort::Flag}});
  if (!c.has("to")) cur.fail("missing TO file");
  std::string out;
  if (c.has("for") || c.has("descending"))
    out = "ORDCONDSET(" + (c.has("for") ? quote(c.get("for")) + ", " + block_of(c.get("for")) : "NIL, NIL") +
          ", NIL, NIL, NIL, NIL, NIL, NIL, NIL, NIL, " + c.get("descending", ".F.") + "), ";
  return out + "DBCREATEINDEX(" + c.get("to") + ", " + quote(key) + ", " + block_of(key) + ", " +
         c.get("unique") + ")";
}

std::string create(Cursor& cur)
{
  Clauses c(cur, "CREATE");
  const std::string file = c.value(Sort::File, "create");
  c.read({{"from", Sort::File}, {"new", Sort::Flag}, {"alias", Sort::File}, {"via", Sort::Expr}});
  return "__DBCREATE(" + file + ", " + c.get("from") + ", " + c.get("via") + ", " +
         c.get("new", ".F.") + ", " + c.get("alias") + ")";
}

std::string copy(Cursor& cur)
{
  Clauses c(cur, "COPY");
  if (cur.accept("structure")) {
    const bool extended = cur.accept("extended");
    c.read({{"to", Sort::File}, {"fields", Sort::Names}});
    if (!c.has("to")) cur.fail("missing TO file");
    if (extended) return "__DBCOPYXS(" + c.get("to") + ")";
    return "__DBCOPYST(" + c.get("to") + ", " + c.get("fields") + ")";
  }
  cur.expect("to");
  const std::string file = c.value(Sort::File, "to");
  const TextForm f = text_form(cur, c, "COPY");
  const std::string fields = c.get("fields");
  if (f.sdf) return "__DBCOPYSD(" + file + ", " + fields + ", " + c.scope() + ")";
  if (f.delimited)
    return "__DBCOPYDE(" + file + ", " + f.delimiter + ", " + fields + ", " + c.scope() + ")";
  return "__DBCOPY(" + file + ", " + fields + ", " + c.scope() + ", " + c.get("via") + ")";
}

std::string sort(Cursor& cur)
{
  Clauses c(cur, "SORT");
  c.read({{"to", Sort::File}, {"on", Sort::Keys}, {"via", Sort::Expr}}, Extra::Scope);
  if (!c.has("to") || !c.has("on")) cur.fail("SORT needs TO file and ON keys");
  return "__DBSORT(" + c.get("to") + ", " + c.get("on") + ", " + c.scope() + ", " + c.get("via") + ")";
}

std::string total(Cursor& cur)
{
  Clauses c(cur, "TOTAL");
  c.read({{"on", Sort::Cond}, {"to", Sort::File}, {"fields", Sort::Names}}, Extra::Scope);
  if (!c.has("to") || !c.has("on")) cur.fail("TOTAL needs ON key and TO file");
  return "__DBTOTAL(" + c.get("to") + ", " + c.get("on") + ", " + c.get("fields") + ", " +
         c.scope() + ")";
}

std::string update(Cursor& cur)
{
  Clauses c(cur, "UPDATE");
  cur.expect("from");
  const std::string alias = c.value(Sort::File, "from");
  cur.expect("on");
  const std::string key = c.value(Sort::Cond, "on");
  const bool random = cur.accept("random");
  cur.expect("replace");
  const std::string work = assignments(cur);
  cur.expect_end();
  return "__DBUPDATE(" + alias + ", " + key + ", " + (random ? ".T." : ".F.") + ", " +
         block_of(work) + ")";
}

std::string join(Cursor& cur)
{
  Clauses c(cur, "JOIN");
  cur.expect("with");
  const std::string alias = c.value(Sort::File, "with");
  c.read({{"to", Sort::File}, {"fields", Sort::Names}, {"for", Sort::Cond}});
  if (!c.has("to")) cur.fail("missing TO file");
  return "__DBJOIN(" + alias + ", " + c.get("to") + ", " + c.get("fields") + ", " + c.get("for") + ")";
}

// LIST and DISPLAY: LIST covers every record unless a scope says less,
// DISPLAY the current record unless one says more.
std::string listing(Cursor& cur, bool list)
{
  Clauses c(cur, list ? "LIST" : "DISPLAY");
  const bool off = cur.accept("off");
  std::vector<std::string> items;
  const std::string word = cur.peek_word();
  static constexpr const char* kClauseWords[] = {"for", "while", "next", "record", "rest",
                                                 "all", "to", "off"};
  bool clause = cur.at_end();
  for (const char* w : kClauseWords) clause = clause || keyword_matches(word, w);
  if (!clause) {
    c.value(Sort::Exprs, "list");
    items = c.list;
  }
  c.read({{"to", Sort::Output}, {"off", Sort::Flag}}, Extra::Scope);
  const std::string to = c.get("to");
  const std::string printer = to == "PRINTER" ? ".T." : "NIL";
  const std::string file = to == "PRINTER" ? "NIL" : to;
  const bool all = list || c.has("all") || c.has("for") || c.has("while") || c.has("rest");
  return "__DBLIST(" + std::string(off || c.has("off") ? ".T." : ".F.") + ", " +
         (items.empty() ? "NIL" : blocks_of(items)) + ", " + (all ? ".T." : ".F.") + ", " +
         c.scope() + ", " + printer + ", " + file + ")";
}

std::string list_cmd(Cursor& cur) { return listing(cur, true); }
std::string display(Cursor& cur) { return listing(cur, false); }

std::string count(Cursor& cur)
{
  Clauses c(cur, "COUNT");
  std::vector<std::string> vars;
  c.read({}, Extra::Scope, "to");
  if (cur.accept("to")) vars = targets(cur);
  c.read({}, Extra::Scope);
  if (vars.empty()) cur.fail("missing TO variable");
  return vars[0] + " := __DBCOUNT(" + c.scope() + ")";
}

// SUM and AVERAGE: e1, e2 TO v1, v2 [scope].
std::string totals(Cursor& cur, const char* command, const char* fn)
{
  Clauses c(cur, command);
  c.value(Sort::Exprs, "sum");
  const std::vector<std::string> items = c.list;
  c.read({}, Extra::Scope, "to");
  cur.expect("to");
  const std::vector<std::string> vars = targets(cur);
  if (vars.size() != items.size()) cur.fail("as many variables as expressions needed after TO");
  c.read({}, Extra::Scope);
  const std::string fields = items.size() == 1 ? block_of(items[0]) : blocks_of(items);
  return spread(vars, std::string(fn) + "(" + fields + ", " + c.scope() + ")");
}

std::string sum(Cursor& cur) { return totals(cur, "SUM", "__DBSUM"); }
std::string average(Cursor& cur) { return totals(cur, "AVERAGE", "__DBAVERAG"); }

std::string store(Cursor& cur)
{
  Clauses c(cur, "STORE");
  const std::string value = c.value(Sort::Expr, "store");
  cur.expect("to");
  std::string out;
  for (const std::string& v : targets(cur)) out += v + " := ";
  cur.expect_end();
  return out + "(" + value + ")";
}

std::string release(Cursor& cur)
{
  if (cur.accept("all")) {
    std::string skel = "\"*\"", like = ".T.";
    if (cur.accept("like") || (cur.accept("except") && (like = ".F.", true))) {
      cur.at_end();
      const size_t start = cur.offset();
      while (!cur.at_end() && cur.text()[cur.offset()] != ' ') cur.seek(cur.offset() + 1);
      skel = quote(cur.text().substr(start, cur.offset() - start));
    }
    cur.expect_end();
    return "__MRELALL(" + skel + ", " + like + ")";
  }
  std::string out;
  for (const std::string& v : targets(cur)) out += (out.empty() ? "" : ", ") + quote(v);
  cur.expect_end();
  return "__MRELEASE(" + out + ")";
}

// ---- SET ----

// The switches SET turns ON or OFF, and their SET numbers.
struct Switch {
  const char* word;
  int number;
};
constexpr Switch kSwitches[] = {
    {"exact", vlset::kExact},         {"fixed", vlset::kFixed},
    {"exclusive", vlset::kExclusive}, {"softseek", vlset::kSoftSeek},
    {"unique", vlset::kUnique},       {"deleted", vlset::kDeleted},
    {"console", vlset::kConsole},     {"alternate", vlset::kAlternate},
    {"bell", vlset::kBell},           {"confirm", vlset::kConfirm},
    {"escape", vlset::kEscape},       {"intensity", vlset::kIntensity},
    {"scoreboard", vlset::kScoreboard}, {"wrap", vlset::kWrap},
    {"printer", vlset::kPrinter},     {"cancel", vlset::kCancel},
};

// The settings SET ... TO n takes a number for.
constexpr Switch kNumbers[] = {
    {"decimals", vlset::kDecimals}, {"epoch", vlset::kEpoch}, {"margin", vlset::kMargin},
};

// The settings SET ... TO takes a text for, written as it is.
constexpr Switch kTexts[] = {{"path", vlset::kPath}, {"default", vlset::kDefault}};

// The date formats SET DATE names.
struct DateFormat {
  const char* word;
  const char* format;
};
constexpr DateFormat kDateFormats[] = {
    {"american", "mm/dd/yy"}, {"ansi", "yy.mm.dd"},  {"british", "dd/mm/yy"},
    {"french", "dd/mm/yy"},   {"german", "dd.mm.yy"}, {"italian", "dd-mm-yy"},
    {"japan", "yy/mm/dd"},    {"usa", "mm-dd-yy"},
};

// ON, OFF or a (logical expression).
std::string on_off(Cursor& cur)
{
  if (cur.accept("on")) return ".T.";
  if (cur.accept("off")) return ".F.";
  if (!cur.at_end() && cur.text()[cur.offset()] == '(')
    return Clauses(cur, "SET").value(Sort::Expr, "set");
  cur.fail("expected ON or OFF");
}

// The rest of the statement as a text: "(expr)", a quoted text, "&name",
// or the characters as written.
std::string rest_text(Cursor& cur)
{
  if (cur.at_end()) return "\"\"";
  const char c = cur.text()[cur.offset()];
  if (c == '(' || c == '"' || c == '\'') return Clauses(cur, "SET").value(Sort::Expr, "set");
  std::string text = cur.text().substr(cur.offset());
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.pop_back();
  cur.seek(cur.text().size());
  return name_text(text);
}

// SET DATE [TO] name, SET DATE FORMAT [TO] text: the format, keeping the
// century shown or not as it was.
std::string set_date(Cursor& cur)
{
  std::string format;
  if (cur.accept("format")) {
    cur.accept("to");
    format = Clauses(cur, "SET DATE").value(Sort::Expr, "format");
  } else {
    cur.accept("to");
    const std::string word = cur.peek_word();
    for (const DateFormat& d : kDateFormats)
      if (word == d.word) format = quote(d.format);
    if (format.empty()) cur.fail("unknown date format");
    cur.seek(cur.offset() + word.size());
  }
  const std::string set = "SET(" + std::to_string(vlset::kDateFormat) + ", " + format + ")";
  return "IIF(__SETCENTURY(), (" + set + ", __SETCENTURY(.T.)), " + set + ")";
}

std::string set_index(Cursor& cur)
{
  Clauses c(cur, "SET INDEX");
  std::string out = "DBCLEARINDEX()";
  if (cur.at_end()) return out;
  const std::string word = cur.peek_word();
  if (!keyword_matches(word, "additive")) c.value(Sort::Files, "to");
  c.read({{"additive", Sort::Flag}});
  if (c.has("additive")) out = "NIL";
  for (const std::string& f : c.list) out += ", DBSETINDEX(" + f + ")";
  return out;
}

std::string set_relation(Cursor& cur)
{
  bool additive = false;
  std::string relations;
  while (!cur.at_end()) {
    if (cur.accept("additive")) {
      additive = true;
      continue;
    }
    size_t begin = 0, end = 0;
    cur.skip_expr(begin, end);
    const std::string key = cur.text().substr(begin, end - begin);
    cur.expect("into");
    const std::string alias = Clauses(cur, "SET RELATION").value(Sort::File, "into");
    relations += ", DBSETRELATION(" + alias + ", " + block_of(key) + ", " + quote(key) + ")";
    cur.accept_text(",");
  }
  return (additive ? "NIL" : "DBCLEARRELATION()") + relations;
}

std::string set(Cursor& cur)
{
  const std::string word = cur.peek_word();
  if (word.empty()) cur.fail("expected what to SET");
  cur.seek(cur.offset() + word.size());
  for (const Switch& s : kSwitches)
    if (keyword_matches(word, s.word))
      return "SET(" + std::to_string(s.number) + ", " + on_off(cur) + ")";
  if (keyword_matches(word, "century")) return "__SETCENTURY(" + on_off(cur) + ")";
  if (keyword_matches(word, "date")) return set_date(cur);
  static constexpr const char* kOthers[] = {"index", "order", "filter", "relation"};
  bool known = false;
  for (const Switch& s : kNumbers) known = known || keyword_matches(word, s.word);
  for (const Switch& s : kTexts) known = known || keyword_matches(word, s.word);
  for (const char* w : kOthers) known = known || keyword_matches(word, w);
  if (!known) cur.fail_at(cur.offset() - word.size(), "unknown setting " + word);
  cur.expect("to");
  for (const Switch& s : kNumbers)
    if (keyword_matches(word, s.word))
      return "SET(" + std::to_string(s.number) + ", " + Clauses(cur, "SET").value(Sort::Expr, "to") + ")";
  for (const Switch& s : kTexts)
    if (keyword_matches(word, s.word))
      return "SET(" + std::to_string(s.number) + ", " + rest_text(cur) + ")";
  if (keyword_matches(word, "index")) return set_index(cur);
  if (keyword_matches(word, "order"))
    return "DBSETORDER(" + (cur.at_end() ? std::string("0") : Clauses(cur, "SET").value(Sort::Expr, "to")) + ")";
  if (keyword_matches(word, "filter")) {
    if (cur.at_end()) return "DBCLEARFILTER()";
    const std::string cond = Clauses(cur, "SET FILTER").value(Sort::Expr, "to");
    return "DBSETFILTER(" + block_of(cond) + ", " + quote(cond) + ")";
  }
  if (keyword_matches(word, "relation")) return set_relation(cur);
  cur.fail("unknown setting " + word);
}

struct Command {
  const char* word;
  Builder build;
};

// Exact words are tried before abbreviations, in this order.
constexpr Command kCommands[] = {
    {"use", use},         {"select", select},         {"close", close},
    {"go", go},           {"goto", go},               {"skip", skip},
    {"seek", seek},       {"find", find},             {"locate", locate},
    {"continue", continue_cmd}, {"append", append},   {"replace", replace},
    {"delete", delete_cmd}, {"recall", recall},       {"pack", bare<kPack>},
    {"zap", bare<kZap>},  {"commit", bare<kCommit>},  {"unlock", unlock},
    {"index", index},     {"reindex", bare<kReindex>}, {"set", set},
    {"create", create},   {"copy", copy},             {"sort", sort},
    {"total", total},     {"update", update},         {"join", join},
    {"list", list_cmd},   {"display", display},       {"count", count},
    {"sum", sum},         {"average", average},       {"store", store},
    {"release", release},
};

}  // namespace

bool lower_command(const std::string& word, Cursor& cur, Stmt& stmt)
{
  const Command* found = nullptr;
  for (int pass = 0; pass < 2 && !found; ++pass)
    for (const Command& c : kCommands)
      if (pass == 0 ? word == c.word : keyword_matches(word, c.word)) {
        found = &c;
        break;
      }
  if (!found) return false;
  cur.at_end();
  cur.seek(cur.offset() + word.size());
  const std::string call = found->build(cur);
  cur.expect_end();
  stmt.kind = Kind::Eval;
  stmt.expr = compile_text(call, stmt.pos);
  return true;
}

}  // namespace vl::prog::detail
