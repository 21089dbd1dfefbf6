// What an add-on's statements, and the file of a company, cannot do.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"
#include "testing/odbc_program.h"
#include "testing/sqlite_file.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace qx::desk {
namespace {

class CompanyLimits : public CompanyTest {
 protected:
  /// Runs a statement that is refused and returns the words of the refusal.
  std::u16string refusal(const std::u16string& sql) { return refusalBy(company, sql); }
  static std::u16string refusalBy(const CComPtr<ICompany>& asked, const std::u16string& sql) {
    const auto rows = businessObject<IRecordset>(asked, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure) << toUtf8(sql);
    return lastError(asked).text;
  }
  /// Runs a statement as another program would, around the company.
  void runBeside(const std::string& sql) const {
    if (GetParam() == Engine::Sqlite) return test::SqliteFile(database).execute(sql);
    test::OdbcProgram(database.substr(std::string_view("odbc:").size())).run(sql);
  }
  static std::u16string storedName(const std::u16string& table, const std::u16string& name) {
    return u"The dictionary table " + table + u" holds the name '" + name +
           u"', which no company gives; nothing was done with it. Have the row corrected by the "
           u"administrator of the database, or restore a backup.";
  }
  /// Returns the words with which `body` raises a failure of the database.
  template <class Body>
  std::u16string wordsOf(Body&& body) {
    EXPECT_EQ(raisedBy(body), kSqlFailure);
    return lastError(company).text;
  }
};

TEST_P(CompanyLimits, TheDictionaryCanBeReadButNotChangedByStatements) {
  addTable(company, u"T");
  const auto readOnly = [](const std::u16string& table, const std::u16string& column) {
    return u"A statement cannot change the table " + table + u" (1:" + column +
           u"), which the company keeps itself. Change it through the objects for tables, fields "
           u"and keys.";
  };
  EXPECT_EQ(refusal(u"INSERT INTO HVUTAB (TableName) VALUES ('X]; DROP TABLE HVCOMP; --')"),
            readOnly(u"HVUTAB", u"13"));
  EXPECT_EQ(refusal(u"UPDATE hvutab SET TableName = 'X'"), readOnly(u"HVUTAB", u"8"));
  EXPECT_EQ(refusal(u"DELETE FROM CUFD"), readOnly(u"CUFD", u"13"));
  for (const char16_t* table : {u"HVUFVAL", u"HVUKEY", u"HVUKCOL"}) {
    EXPECT_EQ(refusal(std::u16string(u"DELETE FROM ") + table), readOnly(table, u"13"));
  }
  EXPECT_EQ(refusal(u"UPDATE QXVR SET Version = 99"),
            words(u"there is no table QXVR (line 1, column 8)", readOnly(u"QXVR", u"8")));
  EXPECT_EQ(rowsOf(company, u"SELECT TableName FROM HVUTAB"), u"T");
}

TEST_P(CompanyLimits, TheSettingsCanBeChangedButTheirRowStays) {
  const auto oneRow = [](const std::u16string& at) {
    return u"The table HVCOMP has one row, whose settings a statement can change; it cannot add or "
           u"remove rows or change the code (" +
           at + u").";
  };
  EXPECT_EQ(refusal(u"INSERT INTO HVCOMP (Code) VALUES ('2')"), oneRow(u"1:13"));
  EXPECT_EQ(refusal(u"INSERT INTO hvcomp (Code) SELECT ItemNo FROM HVITEM"), oneRow(u"1:13"));
  EXPECT_EQ(refusal(u"DELETE FROM HVCOMP"), oneRow(u"1:13"));
  EXPECT_EQ(refusal(u"UPDATE HVCOMP SET Country = 'FR', code = '2'"), oneRow(u"1:35"));
  query(company, u"UPDATE HVCOMP SET Country = 'FR', SumPlaces = 3");
  EXPECT_EQ(rowsOf(company, u"SELECT Country, SumPlaces FROM HVCOMP"), u"FR|3");
}

TEST_P(CompanyLimits, TheRefusalOfAWriteIsInTheLanguageOfTheUser) {
  LoginTarget german = target();
  german.language = ln_German;
  EXPECT_EQ(refusalBy(connectTo(german), u"DELETE FROM CUFD"),
            u"Eine Anweisung kann die Tabelle CUFD nicht ändern (1:13), denn die Firma führt sie "
            u"selbst. Ändern Sie sie über die Objekte für Tabellen, Felder und Schlüssel.");
}

// On PostgreSQL each of these names made the removal drop three tables.
TEST_P(CompanyLimits, ATableNameWithAQuoteRemovesNoOtherTable) {
  addTable(company, u"X");
  addTable(company, u"Y");
  for (const std::u16string name : {u"X],hvcurr,[@Y", u"X\",hvcurr,\"@Y"}) {
    runBeside("INSERT INTO HVUTAB (TableName, ObjectType) VALUES ('" + toUtf8(name) + "', 0)");
    const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
    const std::u16string refused = wordsOf([&] {
      if (tables->GetByKey(CComBSTR(name)) == VARIANT_TRUE) tables->Remove();
    });
    EXPECT_EQ(refused, storedName(u"HVUTAB", name));
  }
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVCURR"), u"4");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM [@X]"), u"0");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM [@Y]"), u"0");
}

TEST_P(CompanyLimits, AFieldNameWithAQuoteGetsIntoNoStatement) {
  addTable(company, u"X");
  addField(company, {u"X", u"A", kAlphaField, 0, 5});
  runBeside("UPDATE CUFD SET AliasID = 'A],drop[' WHERE TableID = '@X'");
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  EXPECT_EQ(wordsOf([&] { fields->GetByKey(CComBSTR(u"@X"), 0); }),
            storedName(u"CUFD", u"A],drop["));
  EXPECT_EQ(addField(company, {u"X", u"B", kAlphaField, 0, 5}), kSqlFailure);
  EXPECT_EQ(lastError(company).text, storedName(u"CUFD", u"A],drop["));
}

TEST_P(CompanyLimits, AKeyNameWithAQuoteGetsIntoNoStatement) {
  addTable(company, u"X");
  addKey(company, u"X", u"K", false, {u"Name"});
  runBeside("UPDATE HVUKEY SET KeyName = 'K];\"x'");
  const auto keys = businessObject<IUserKeysMD>(company, kUserKeysMD);
  EXPECT_EQ(wordsOf([&] { keys->GetByKey(CComBSTR(u"@X"), 0); }), storedName(u"HVUKEY", u"K];\"x"));
  runBeside("UPDATE HVUKEY SET KeyName = 'K'");
  runBeside("UPDATE HVUKCOL SET ColumnAlias = 'Name) --'");
  EXPECT_EQ(wordsOf([&] { keys->GetByKey(CComBSTR(u"@X"), 0); }),
            storedName(u"HVUKCOL", u"Name) --"));
}

TEST_P(CompanyLimits, RowsThatTakeTooMuchMemoryEndTheStatementAndNotTheProcess) {
  LoginTarget small = target();
  small.memoryMegabytes = 16;
  const CComPtr<ICompany> limited = connectTo(small);
  const std::u16string text = u"N'" + std::u16string(9000, u'x') + u"'";  // 36 x 36 rows of two
  const std::u16string words = refusalBy(
      limited, u"SELECT A.Code, " + text + u" AS a, " + text + u" AS b FROM OFPR A, OFPR B");
  EXPECT_TRUE(words.starts_with(u"The statement was stopped before its end")) << toUtf8(words);
  EXPECT_NE(words.find(u"its rows take more than 16 MB, the limit of the key memory"),
            std::u16string::npos)
      << toUtf8(words);
  EXPECT_EQ(rowsOf(limited, u"SELECT COUNT(*) FROM OFPR"), u"36");
}

/// Returns the megabytes of a line such as "VmHWM: 4096 kB" of this process.
long megabytesOf(const std::string& name) {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(name)) return std::stol(line.substr(name.size() + 1)) / 1024;
  }
  return 0;
}

// The driver of a server reads all rows before the first of them can be counted.
TEST_P(CompanyLimits, MillionsOfRowsDoNotFillTheMemoryOfTheProcess) {
  LoginTarget small = target();
  small.memoryMegabytes = 16;
  constexpr std::u16string_view kQuery =  // 36 * 36 * 36 * 36 * 4 rows
      u"SELECT A.PeriodNo, B.Code FROM OFPR A, OFPR B, OFPR C, OFPR D, HVCURR E WHERE A.SubNum > 0";
  // In a process of its own, whose peak is that of this statement.
  const std::vector<int> codes = atOnce(1, [&] {
    const CComPtr<ICompany> limited = connectTo(small);
    const long before = megabytesOf("VmRSS");
    for (int i = 0; i < 3; ++i) {
      const std::u16string words = refusalBy(limited, std::u16string(kQuery));
      if (words.find(u"its rows take more than 16 MB, the limit of the key memory") ==
          std::u16string::npos) {
        return 1;
      }
    }
    if (rowsOf(limited, u"SELECT COUNT(*) FROM OFPR") != u"36") return 2;
    return megabytesOf("VmHWM") - before > 128 ? 3 : 0;
  });
  EXPECT_EQ(codes, std::vector<int>{0});
}

TEST_P(CompanyLimits, AStatementThatFindsNoMemoryIsTheLastError) {
  FaultPlan plan;
  const CComPtr<ICompany> failing = connectThrough(failingOpen(&plan), target());
  const auto rows = businessObject<IRecordset>(failing, kRecordset);
  plan.noMemory = true;
  plan.refusedWords = {"42"};
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT 42 FROM OFPR")); }), E_OUTOFMEMORY);
  EXPECT_EQ(lastError(failing), (LastError{E_OUTOFMEMORY, u"Not enough memory."}));
  EXPECT_EQ(rowsOf(failing, u"SELECT COUNT(*) FROM OFPR"), u"36");
  EXPECT_EQ(lastError(failing), (LastError{0, u""}));
}

TEST_P(CompanyLimits, ATableThatFindsNoMemoryIsTheLastError) {
  FaultPlan plan;
  const CComPtr<ICompany> failing = connectThrough(failingOpen(&plan), target());
  plan.noMemory = true;
  plan.refusedWords = {"CREATE TABLE"};
  EXPECT_EQ(addTable(failing, u"QX"), E_OUTOFMEMORY);
  EXPECT_EQ(lastError(failing), (LastError{E_OUTOFMEMORY, u"Not enough memory."}));
  plan.refusedWords.clear();
  EXPECT_EQ(addTable(failing, u"QX"), 0);
}

INSTANTIATE_TEST_SUITE_P(Engines, CompanyLimits, testing::Values(Engine::Sqlite, Engine::Postgres),
                         [](const auto& engine) {
                           return engine.param == Engine::Sqlite ? "Sqlite" : "Postgres";
                         });

class CompanyFileLimits : public testing::Test {
 protected:
  LoginTarget target() const {
    return {folder.file("company.db"), 1, ln_English, u"manager", u"Demo"};
  }
  static mode_t modeOf(const std::string& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }
  test::TempFolder folder;
};

TEST_F(CompanyFileLimits, ANewCompanyIsForItsUserAlone) {
  const mode_t before = umask(0);
  const CComPtr<ICompany> company = connectTo(target());
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  umask(before);
  EXPECT_EQ(modeOf(folder.file("company.db")), 0600U);
  EXPECT_EQ(modeOf(folder.file("company.db-wal")), 0600U);
}

TEST_F(CompanyFileLimits, AnEngineThatNeedsTooMuchMemorySaysSo) {
  LoginTarget small = target();
  small.memoryMegabytes = 16;
  const CComPtr<ICompany> company = connectTo(small);
  const auto text = [](char16_t c) { return u"N'" + std::u16string(3000, c) + u"'"; };
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  const std::u16string sql = u"SELECT REPLACE(REPLACE(" + text(u'a') + u", 'a', " + text(u'b') +
                             u"), 'b', " + text(u'c') + u")";
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure);
  EXPECT_EQ(lastError(company).text,
            u"The statement was stopped before its end, by its time limit or by an administrator "
            u"(it needs more memory than the key memory allows). Try again; if it happens again, "
            u"ask for fewer rows at a time or have the limit raised.");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVCURR"), u"4");
}

TEST_F(CompanyFileLimits, ACompanyKeepsTheRightsThatItsUserGave) {
  connectTo(target())->Disconnect();
  chmod(folder.file("company.db").c_str(), 0640);
  connectTo(target());
  EXPECT_EQ(modeOf(folder.file("company.db")), 0640U);
}

TEST_F(CompanyFileLimits, ALinkOfAnotherUserIsNotFollowed) {
  connectTo(target())->Disconnect();
  LoginTarget linked = target();
  linked.database = folder.file("link.db");
  std::filesystem::create_symlink(folder.file("company.db"), linked.database);
  constexpr uid_t kNobody = 65534;
  // Only root can give a link away; a link of one's own is followed.
  const bool given = lchown(linked.database.c_str(), kNobody, 0) == 0;
  const CComPtr<ICompany> company = companyFor(linked);
  EXPECT_EQ(company->Connect(), given ? long{kOpenFailed} : 0L);
  EXPECT_EQ(lastError(company).text,
            given ? u"The company database '" + toUtf16(linked.database) +
                        u"' cannot be opened: it is another user's symbolic link."
                  : u"");
}

TEST_F(CompanyFileLimits, ATriggerThatTheFileBringsDoesNotRun) {
  connectTo(target())->Disconnect();
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(folder.file("company.db").c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db,
                         "CREATE TRIGGER planted AFTER UPDATE ON HVCOMP BEGIN "
                         "DELETE FROM HVCURR; END",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(db);
  const CComPtr<ICompany> company = connectTo(target());
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVCURR"), u"4");
}

}  // namespace
}  // namespace qx::desk
