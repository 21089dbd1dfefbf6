#pragma once

// The part that all objects of one company connection share: the open database, the translator with
// its state, the last error. Every object holds the session, so it lives as long as the last of
// them; after Disconnect they all answer that the company is not connected.

#include "qxdesk/company/at_exit.h"
#include "qxdesk/company/company_faults.h"
#include "qxdesk/company/kept_statements.h"
#include "qxdesk/dictionary/company_settings.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"
#include "qxdesk/engines/row_store.h"
#include "qxdesk/session/call_gate.h"
#include "qxdesk/session/login_context.h"
#include "qxframework/host/company_sharing.h"

#include <chrono>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace qx::desk {

/// Opens the database of a target; a test hands in one that fails.
using OpenDatabase =
    std::function<std::unique_ptr<Database>(const std::string&, const CompanyEnvironment&)>;

/// What the current statement has to do with the draw of a code, see CodeDraws.
struct DrawOfStatement {
  std::string table;    ///< empty if nothing
  bool begins = false;  ///< false for the INSERT that ends it
};

class CompanySession {
 public:
  CompanySession(CompanyEnvironment environment, OpenDatabase open);
  ~CompanySession();
  CompanySession(const CompanySession&) = delete;
  CompanySession& operator=(const CompanySession&) = delete;

  /// Opens the company, and makes it first if the database is missing or empty. A company in a file
  /// is closed at the end of the process at the latest. Throws CompanyError.
  void open(const LoginTarget& target);
  /// Closes the company; an open transaction is rolled back.
  void close();
  /// Returns false also once the connection to a server is known to be lost.
  bool isOpen() const;

  /// Throws CompanyError with kNotConnected unless the company was opened.
  void needOpen() const;
  /// Returns the database for work on it. Throws like needOpen(), and also if the file is gone, the
  /// connection is lost or the engine has ended the transaction.
  Database& database();
  long serverType() const { return target_.dbServerType; }
  /// Returns the name of the database for messages. Throws like needOpen().
  std::string nameOfDatabase() const;
  const CompanyEnvironment& environment() const { return environment_; }
  CompanySettings settings();

  /// Runs one statement of an add-on and returns its rows, without columns if it is no query.
  /// Throws CompanyError with kSqlFailure, and DatabaseError.
  RowStore query(std::string_view utf8);

  void startTransaction();
  void endTransaction(bool commit);
  bool inTransaction() const { return database_ != nullptr && transaction_; }

  /// Takes the lock under which tables and fields are made, once more if this session has it.
  /// Waits at most `most`; then returns the holder, empty if it is not known. Throws
  /// CompanyError with kNotConnected, and DatabaseError.
  std::optional<std::u16string> lockTables(std::chrono::milliseconds most);
  /// Throws CompanyError with kWrongTransactionState if this session does not have the lock.
  void unlockTables();
  /// Returns true if `next` still follows the highest code of `table`, which begins with "@".
  /// Throws CompanyError and DatabaseError.
  bool continueCodes(std::string_view table, long next);

  void setLanguage(HvLanguages language) { language_ = language; }
  long lastCode() const { return lastCode_; }
  CompanyFault lastFault() const { return lastFault_; }
  const std::u16string& lastText() const { return lastText_; }

  /// Runs `body`, the work of an operation, and keeps its failure as the last error. Returns 0 or
  /// the code of the failure.
  template <class Body>
  long attempt(Body&& body) {
    lastCode_ = 0;
    lastFault_ = kNoFault;
    lastText_.clear();
    return attemptAfterwards(body);
  }
  /// The same for work that cleans up after another one, whose failure stays the last error if this
  /// one succeeds. Returns 0 or the code of its own failure.
  template <class Body>
  long attemptAfterwards(Body&& body) {
    try {
      body();
      return 0;
    } catch (const CompanyError& error) {
      remember(error, companyFaultOf(error.text()));
    } catch (const DatabaseError& error) {
      remember(asCompanyError(kSqlFailure, error), companyFaultOf(error.fault()));
    } catch (const std::bad_alloc&) {
      rememberNoMemory();
    }
    return lastCode_;
  }

 private:
  CompanyError asCompanyError(long code, const DatabaseError& error) const;
  CompanyError lockedError(long code, const DatabaseError& error) const;
  std::u16string wordsOf(const LockHolder& holder) const;
  void remember(const CompanyError& error, CompanyFault fault);
  void rememberNoMemory();
  RowStore queryUnreported(std::string_view utf8);
  RowStore queryAnew(Database& database, std::string_view utf8);
  RowStore queryKept(Database& database, std::string_view utf8);
  RowStore runNew(Database& database, std::string_view utf8, const sql::StatementShape* shape,
                  bool notice);
  std::optional<RowStore> translateAndRun(Database& database, std::string_view utf8,
                                          const sql::StatementShape* shape, bool noticed);
  std::optional<RowStore> runKept(Database& database, KeptStatement& kept);
  std::optional<RowStore> runReleasing(Database& database, KeptStatement& kept);
  RowStore rowsOf(Database& database, Statement& statement, KeptStatement& kept) const;
  RowStore run(Database& database, std::string_view text, const sql::Translation& translation);
  std::unique_ptr<Statement> protectDraw(Database& database, const sql::Translation& translation,
                                         std::string_view text);
  std::unique_ptr<Statement> prepare(Database& database, std::string_view text,
                                     const sql::Translation& translation);
  void commitOrRollBack();
  void letGo();
  HvLanguages language() const;

  CompanyEnvironment environment_;
  OpenDatabase open_;
  LoginTarget target_;
  std::unique_ptr<Database> database_;
  std::unique_ptr<sql::Translator> translator_;
  KeptStatements kept_;
  bool keepsStatements_ = false;
  std::uint64_t changesSeen_ = 0;  // the changes of tables by this process for which kept_ is right
  sql::StatementShape shape_;      // of the current statement; kept for its memory
  DrawOfStatement draw_;
  std::optional<AtExit> atExit_;
  bool transaction_ = false;
  CompanyFault endedBy_ = kOtherFault;  // why the engine ended the open transaction, if it did
  int tableLocks_ = 0;                  // the calls of lockTables() without their unlockTables()
  std::optional<HvLanguages> language_;
  long lastCode_ = 0;
  CompanyFault lastFault_ = kNoFault;
  std::u16string lastText_;
};

using SessionPtr = std::shared_ptr<CompanySession>;

/// Runs the body of a host operation that reports a failure by its result code.
template <class Body>
HRESULT companyCall(CompanySession& session, Body&& body) noexcept {
  return hostCall([&]() -> HRESULT { return session.attempt(body); });
}

/// Runs the body of a host operation that reports a failure by its out value.
template <class Body>
HRESULT companyCallWithCode(CompanySession& session, long* out, Body&& body) noexcept {
  return hostCall([&]() -> HRESULT {
    if (out == nullptr) return E_POINTER;
    *out = session.attempt(body);
    return S_OK;
  });
}

}  // namespace qx::desk
