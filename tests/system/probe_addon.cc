// An add-on in a process of its own whose phases a test controls: it reports each phase as a line
// on the standard output, and in some of them it waits for a line on the standard input.
//
//   probe_addon DATABASE [HALT]
//
// | report         | meaning                                    | it waits for          |
// |----------------|--------------------------------------------|-----------------------|
// | connecting     | Connect is called next                     |                       |
// | log TEXT       | one of the log records of kReported        |                       |
// | halted TEXT    | a log record begins with HALT              | go                    |
// | box TEXT       | a message box is open                      | a button's number     |
// | loading COUNT  | OnApplicationLoad, with COUNT add-ons      | go, tables or fail    |
// | tables STATE   | it creates its own tables next             | go                    |
// | created RESULT | its tables are created                     |                       |
// | connected CODE | Connect has returned                       | count, menus, open,   |
// |                |                                            | dump, stop or leave   |
// | count COUNT    | the add-ons that are attached              | the same              |
// | menus NUMBER   | the common entries in the menu             | the same              |
// | opened FORM    | a form is open, with a form object         | the same              |
// | dumped CODE    | a form that cannot be read has thrown CODE | the same              |
// | stopped        | the client is shut down                    | the same              |

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/version.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/xml/dom.h"
#include "testing/embedded_client.h"
#include "testing/raised_by.h"
#include "testing/recording_addon.h"
#include "testing/recording_logger.h"

#include <cstdlib>
#include <iostream>
#include <vector>

namespace {

constexpr unsigned kDefinition = 100;
// All probes use one application id, so that they share the attach counter of the machine.
constexpr long kAppId = 1;

void report(const std::string& line) { std::cout << line << std::endl; }

// Ends the process if the test has ended: no command can arrive any more.
std::string command() {
  std::string line;
  if (!std::getline(std::cin, line)) std::_Exit(3);
  return line;
}

void reportRecord(const qx::test::LogRecord& record, const std::string& halt) {
  static constexpr std::u16string_view kReported[] = {
      u"Entering critical section....",   u"Leaving critical section....",
      u"Removing common menu of Add-Ons", u"Db is OK.\n",
      u"Uncompleted update detected.\n",  u"Add-on stopped."};
  for (const std::u16string_view text : kReported) {
    if (record.message == text) report("log " + qx::toUtf8(text.substr(0, text.find(u'\n'))));
  }
  if (halt.empty() || !qx::toUtf8(record.message).starts_with(halt)) return;
  report("halted " + halt);
  command();
}

long createTables(const qx::test::Record& record) {
  CQXResourceLoader loader;
  CQXDbDef tables(record.application, record.company, loader, u"PROBE", ln_English,
                  GetModuleHandleW(nullptr));
  CQXDbDef::_DBCHECK state = CQXDbDef::dbc_Ok;
  tables.CheckVersion(state);
  report("tables " + std::to_string(state));
  if (command() != "go") return E_FAIL;
  CQXVersion version(u"0.00.00.00.00");
  const long result = tables.Create(kDefinition, false, version);
  report("created " + std::to_string(result));
  return result;
}

long load(const qx::test::Record& record) {
  report("loading " + std::to_string(CQXAddOn::GetAttachCount(kAppId)));
  const std::string next = command();
  if (next == "tables") return createTables(record);
  return next == "go" ? S_OK : E_FAIL;
}

// Loads a form that no symbol table makes readable, which leaves a dump. Returns what it throws.
long loadBrokenForm() {
  CQXResourceLoader loader;
  std::vector<XMLMAP> map{{u"A", 999, u"\x01"}, {}};
  CComPtr<IXMLDOMDocument> document;
  const CComBSTR text(u"<Application caption=\"A\"/>");
  return qx::test::raisedBy([&] { loader.LoadXML(0, text, document, &map, ln_English); });
}

std::size_t commonEntries(const std::string& menus) {
  std::size_t count = 0;
  for (std::size_t at = menus.find("QX_551"); at != std::string::npos;
       at = menus.find("QX_551", at + 1)) {
    ++count;
  }
  return count;
}

void serve(qx::test::EmbeddedClient& desk) {
  for (std::string next = command(); next != "leave"; next = command()) {
    if (next == "count") report("count " + std::to_string(CQXAddOn::GetAttachCount(kAppId)));
    if (next == "menus") report("menus " + std::to_string(commonEntries(desk.menus())));
    if (next == "open") report("opened " + desk.openForm("3101"));
    if (next == "dump") report("dumped " + std::to_string(loadBrokenForm()));
    if (next == "stop") {
      desk.shutDown();
      report("stopped");
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return std::cerr << "usage: probe_addon DATABASE [HALT]\n", 2;
  qx::test::RecordingLogger log;
  log.onRecord = [halt = std::string(argc > 2 ? argv[2] : "")](const qx::test::LogRecord& record) {
    reportRecord(record, halt);
  };
  qx::test::EmbeddedClient desk(argv[1], {"mssql", "", kAppId});
  desk.answerBoxes([](const std::string& text) {
    report("box " + text);
    return std::stol(command());
  });
  qx::test::Record record;
  record.hooks["OnApplicationLoad"] = [&](short*) { return load(record); };
  qx::test::RecordingAddOn addOn(desk.connection(), record);
  report("connecting");
  const long result = addOn.Connect(1);
  report("connected " + std::to_string(result));
  serve(desk);
  return 0;
}
