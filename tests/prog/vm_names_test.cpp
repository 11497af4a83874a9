// How the compiled program resolves names: fields of the selected area,
// declared memvars and fields, aliases, and objects' messages.
#include "vm_harness.hpp"

namespace {

using vmtest::VmTest;

class VmNames : public VmTest {
 protected:
  // A program that opens a two-field table of people in dir, runs body
  // as a procedure of its own, and closes the table.
  std::string with_table(const std::string& body)
  {
    const std::string t = dir_ / "people";
    return "dbcreate('" + t + "', {{'NAME', 'C', 8, 0}, {'AGE', 'N', 3, 0}})\n"
           "dbusearea(.T., , '" + t + "', 'PEOPLE', .F.)\n"
           "dbappend()\nfield->name := 'ann'\nfield->age := 30\n"
           "check()\ndbcloseall()\nPROCEDURE check\n" + body;
  }
  vltest::TempDir dir_;
};

TEST_F(VmNames, AnUndeclaredNameIsTheFieldOfTheSelectedArea)
{
  EXPECT_EQ(run(with_table("? trim(name), age\nage := age + 1\n? people->age\n")),
            "ann  30\n 31\n");
}

TEST_F(VmNames, AnUndeclaredNameWithoutSuchAFieldIsAMemvar)
{
  EXPECT_EQ(run(with_table("PRIVATE other := 'm'\n? other\nnewvar := 3\n? newvar, type('newvar')\n")),
            "m\n         3 N\n");
}

TEST_F(VmNames, MemvarDeclarationWinsOverAField)
{
  EXPECT_EQ(run(with_table("MEMVAR name\nPRIVATE name := 'mem'\n? name, trim(field->name)\n")),
            "mem ann\n");
}

TEST_F(VmNames, FieldDeclarationReadsTheFieldEvenWhenAMemvarExists)
{
  EXPECT_EQ(run(with_table("FIELD age\nPRIVATE age := 99\n? age, m->age\n")), " 30         99\n");
}

TEST_F(VmNames, AliasedExpressionsRunInTheirArea)
{
  EXPECT_EQ(run(with_table("dbselectar(2)\n? people->(trim(name) + '!'), select()\n")),
            "ann!          2\n");
}

TEST_F(VmNames, LocalsShadowFieldsAndMemvars)
{
  EXPECT_EQ(run(with_table("LOCAL name := 'loc'\n? name\n")), "loc\n");
}

TEST_F(VmNames, AReadOfAnUndefinedNameIsReported)
{
  EXPECT_EQ(run("? 'a'\n? nosuchvar\n? 'b'\n"), "a\nNIL\nb\n");
  EXPECT_EQ(count(VL_E_UNDEFINED_VAR), 1);
}

TEST_F(VmNames, MessagesToObjectsAndAssignmentThroughThem)
{
  EXPECT_EQ(run("LOCAL e := errornew()\ne:description := 'set'\n? e:description, valtype(e)\n"),
            "set O\n");
}

TEST_F(VmNames, PrivateAndPublicByMacroName)
{
  EXPECT_EQ(run("PRIVATE nm := 'dyn'\nPRIVATE &nm\ndyn := 5\n? dyn, type('dyn')\n"),
            "         5 N\n");
}

}  // namespace
