#include "qxdesk/program/form_command.h"

#include "qxdesk/program/test_program.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::desk {
namespace {

constexpr const char* kModule = " --module '" QX_FRAMEWORK "'";
constexpr const char* kForm =
    "<Application><maptable><map tag=\"F_TITLE\" id=\"1\"/></maptable><forms><action "
    "type=\"add\">\n"
    "<form title=\"F_TITLE\" width=\"80\" height=\"32\" default_button=\"7\"/>\n"
    "</action></forms></Application>\n";
constexpr const char* kNote =
    "f.xml:2:62: note: the form has no item '7' as its default button; write 0 unless the form's "
    "code adds it\n";

class FormCommand : public test::TestProgram {
 protected:
  Outcome form(const std::string& arguments) const { return run("form " + arguments + kModule); }
};

TEST_F(FormCommand, ReportsOnTheStandardErrorStream) {
  folder_.write("f.xml", kForm);
  const Outcome noted = form("f.xml");
  EXPECT_EQ(noted.exitCode, 0);
  EXPECT_EQ(noted.output, "");
  EXPECT_EQ(noted.errors, kNote);
  folder_.write("f.xml", "<Application/>");
  const Outcome faulty = form("f.xml --draw");
  EXPECT_EQ(faulty.exitCode, 1);
  EXPECT_EQ(faulty.output, "");
  EXPECT_EQ(
      faulty.errors,
      "f.xml:1:1: error: <Application> holds no <forms>; add it, with one <action> that holds "
      "one <form>\n");
}

TEST_F(FormCommand, DrawsTheFormInTheLanguageOfEitherNumber) {
  folder_.write("f.xml", kForm);
  EXPECT_EQ(form("f.xml --draw").output,
            "+- OK -----+\n|          |\n|          |\n+----------+\n");
  const std::string german = "+- Abbrechen -+\n|             |\n|             |\n+-------------+\n";
  EXPECT_EQ(form("f.xml --draw --language 9 --map F_TITLE=2").output, german);
  EXPECT_EQ(form("--map F_TITLE=2 --language 1031 --map A=-1 f.xml --draw").output, german);
}

TEST_F(FormCommand, ReadsTheStandardInput) {
  folder_.write("in", "<x/>");
  const Outcome outcome = form("-");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.errors,
            "<stdin>:1:1: error: the root element is <x>; write <Application>, as in a form "
            "document\n");
}

TEST_F(FormCommand, AFormOfTheFrameworkHasNoFaultsWithTheTableOfItsClass) {
  const std::string file = "'" QX_FORMS "/form_choose_list.xml' ";
  const Outcome faulty = form(file);
  EXPECT_EQ(faulty.exitCode, 1);
  const std::string found =
      ": error: string 8 of 'QX_ITM_BT_CHOOSE' is in no string table; the form shows no text; add "
      "it "
      "to the string table\n";
  EXPECT_EQ(faulty.errors, QX_FORMS "/form_choose_list.xml:41:181" + found +
                               QX_FORMS "/form_choose_list.xml:42:34" + found);
  const Outcome outcome = form(file + "--map QX_ITM_BT_CHOOSE=803");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(FormCommand, AFileThatCannotBeReadIsReportedWithAnotherCode) {
  const Outcome none = form("none.xml");
  EXPECT_EQ(none.exitCode, 2);
  EXPECT_EQ(none.errors,
            "none.xml: error: the file cannot be read; check the path and its rights\n");
  folder_.write("f.xml", kForm);
  const Outcome noModule = run("form f.xml --draw --module none.so");
  EXPECT_EQ(noModule.exitCode, 2);
  EXPECT_EQ(noModule.output, "");
  EXPECT_EQ(noModule.errors,
            "none.so: error: the file cannot be read; check the path and its rights\n");
  EXPECT_EQ(run("form f.xml --module f.xml").errors,
            "f.xml: error: the file holds no resources; give the add-on's executable or shared "
            "object, built with qx_embed_resources()\n");
}

TEST_F(FormCommand, OutputThatCannotBeWrittenIsReported) {
  folder_.write("f.xml", kForm);
  const Outcome outcome = run(std::string("form f.xml --draw") + kModule, "/dev/full");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.errors, std::string(kNote) +
                                "<stdout>: error: the output cannot be written; check where it "
                                "goes\n");
}

TEST_F(FormCommand, AWrongCommandLineIsReported) {
  folder_.write("f.xml", kForm);
  const std::string end = "\nRun with --help for more information.\n";
  const Outcome noModule = run("form f.xml");
  EXPECT_EQ(noModule.exitCode, 2);
  EXPECT_EQ(noModule.errors, "--module is required" + end);
  for (const std::string number : {"0", "4", "36", "1023", "65536", "-1", "x", "9x"}) {
    const Outcome outcome = form("f.xml --language=" + number);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.errors,
              "--language: " + number +
                  " is no language; give the client's number, such as 9 for German, "
                  "or a Windows language id, such as 1031" +
                  end);
  }
  for (const std::string row : {"A", "=1", "A=", "A=x", "A=4294967296", "A=1 "}) {
    const Outcome outcome = form("f.xml '--map=" + row + "'");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.errors,
              "--map: " + row +
                  " is no row; write TAG=ID with a decimal number, such as ORD_TITLE=1201" + end);
  }
}

TEST_F(FormCommand, ItsHelpTellsWhereTheSymbolTableComesFrom) {
  const Outcome help = run("form --help");
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_NE(help.output.find("The symbol table of a form is declared in its class"),
            std::string::npos);
}

}  // namespace
}  // namespace qx::desk
