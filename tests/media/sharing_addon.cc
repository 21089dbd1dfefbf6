// An add-on that shares a company with others. It reports each phase as a line on the standard
// output and waits for a line on the standard input before it goes on.
//
//   sharing_addon DATABASE
//
// | report               | meaning                                             | then           |
// |----------------------|-----------------------------------------------------|----------------|
// | ready                | Connect is called next                              | any line       |
// | connected CODE STATE | Connect has returned; STATE is that of the add-on's | COUNT or leave |
// |                      | own tables, as CheckVersion has found it            |                |
// | added FAILURES       | it has added 1 to an order COUNT times              | the same       |

#include "order.h"
#include "testing/embedded_client.h"
#include "testing/recording_addon.h"

#include <cstdlib>
#include <iostream>

namespace {

// Ends the process if the test has ended: no command can arrive any more.
std::string command() {
  std::string line;
  if (!std::getline(std::cin, line)) std::_Exit(3);
  return line;
}

// Creates the add-on's tables unless another machine has done so.
long createTables(const qx::test::Record& record, CQXDbDef::_DBCHECK& state) {
  const qx::TablesLock lock(record.application, record.company);
  CQXResourceLoader loader;
  CQXDbDef tables(record.application, record.company, loader, u"SHARE", ln_English,
                  GetModuleHandleW(nullptr));
  tables.CheckVersion(state);
  if (state == CQXDbDef::dbc_Ok) return S_OK;
  CQXVersion version(u"0.00.00.00.00");
  return tables.Create(100, false, version);
}

// Returns the number of failures.
int addOnes(const CComPtr<ICompany>& company, int times) {
  int failures = 0;
  for (int i = 0; i < times; ++i) {
    try {
      addTo(company, u"A-1", 1);
    } catch (const _com_error& failure) {
      long code = 0;
      CComBSTR text;
      company->GetLastError(code, text);
      std::cerr << "add failed: " << failure.Error() << " " << qx::toUtf8(text.View()) << "\n";
      ++failures;
    } catch (const char* text) {
      std::cerr << "add failed: " << text << "\n";
      ++failures;
    } catch (const Persistence::CQXPersistenceException& failure) {
      std::cerr << "add failed: " << qx::toUtf8(qx::viewOf(failure.GetErrorString())) << "\n";
      ++failures;
    }
  }
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::cerr << "usage: sharing_addon DATABASE\n", 2;
  qx::test::EmbeddedClient desk(argv[1], {"mssql", "", 1});
  qx::test::Record record;
  CQXDbDef::_DBCHECK state = CQXDbDef::dbc_Ok;
  record.hooks["OnApplicationLoad"] = [&](short*) { return createTables(record, state); };
  qx::test::RecordingAddOn addOn(desk.connection(), record);
  std::cout << "ready" << std::endl;
  command();
  const long result = addOn.Connect(1);
  std::cout << "connected " << result << " " << state << std::endl;
  for (std::string next = command(); next != "leave"; next = command()) {
    std::cout << "added " << addOnes(record.company, std::atoi(next.c_str())) << std::endl;
  }
  return 0;
}
