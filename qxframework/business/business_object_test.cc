#include "qxframework/business/business_object.h"

#include "qxframework/business/testing/business_fixture.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace Persistence::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kStart[] = "Company.StartTransaction";
constexpr char kCommit[] = "Company.EndTransaction(0)";
constexpr char kRollBack[] = "Company.EndTransaction(1)";
constexpr char kComError[] = "_com_error -2147467259";
constexpr char kNothingToRollBack[] = "Not in Transaction, can't Rollback";
constexpr const OLECHAR* kDestructor = u"CQXBusinessObject::~CQXBusinessObject";
constexpr const OLECHAR* kNotComplete =
    u"Some transaction is not complete yet when the object is released, we have to rollback";
constexpr const OLECHAR* kCommitFailed =
    u"Commit failed: ErrNo=-2147467259, ErrMsg='Unspecified error.'.\n";
constexpr const OLECHAR* kRollbackFailed =
    u"Rollback failed: ErrNo=-2147467259, ErrMsg='Unspecified error.'.\n";
constexpr const OLECHAR* kHostsError = u"RX-API: ErrNo=-2104, ErrMsg=The line is dead.\n";

/// An add-on's business logic.
class Object : public CQXBusinessObject {
 public:
  using CQXBusinessObject::CQXBusinessObject;
  using CQXBusinessObject::TransactionCommit;
  using CQXBusinessObject::TransactionRollBack;
  using CQXBusinessObject::TransactionStart;
};

static_assert(std::has_virtual_destructor_v<CQXBusinessObject>);
static_assert(!std::is_nothrow_destructible_v<CQXBusinessObject>);
static_assert(!std::is_nothrow_destructible_v<Object>, "an add-on's class inherits it");
static_assert(std::is_copy_constructible_v<CQXBusinessObject>);
static_assert(std::is_copy_assignable_v<CQXBusinessObject>);

class BusinessObject : public BusinessTest {
 protected:
  BusinessObject() {
    host->errorCode = -2104;
    host->errorText = u"The line is dead";
  }
  /// Returns the records of the object's scopes since the last call as "level function: message".
  std::vector<std::string> records() {
    std::vector<std::string> texts;
    for (const qx::test::LogRecord& each : logger.records) {
      if (!each.function.starts_with(u"CQXBusinessObject")) continue;
      texts.push_back(std::to_string(each.level) + " " + qx::toUtf8(each.function) + ": " +
                      qx::toUtf8(each.message));
    }
    logger.records.clear();
    return texts;
  }
  std::vector<std::u16string> errors() const { return logger.messages(QXLoggerLib::sl_Error); }
  void throwFromCompany(std::function<void()> thrower) {
    host->calls.hooks["Company.GetInTransaction"] = std::move(thrower);
  }
  /// Lets `object` go while another exception is on its way, and returns what arrives.
  template <class Before>
  std::string releasedByAnException(Before before) {
    return failureOf([&] {
      Object object(company);
      object.TransactionStart();
      before(object);
      qx::raiseError(E_INVALIDARG);
    });
  }
};

// ---- the trace

TEST_F(BusinessObject, TracesItsConstructionAndItsEnd) {
  {
    const Object object(company);
    EXPECT_THAT(records(),
                ElementsAre("6 CQXBusinessObject::CQXBusinessObject: Entering function\n",
                            "6 CQXBusinessObject::CQXBusinessObject: Leaving function\n"));
  }
  EXPECT_THAT(records(),
              ElementsAre("6 CQXBusinessObject::~CQXBusinessObject: Entering function\n",
                          "6 CQXBusinessObject::~CQXBusinessObject: Leaving function\n"));
}

TEST_F(BusinessObject, TracesTheHelpers) {
  Object object(company);
  records();
  object.TransactionStart();
  object.TransactionStart();
  object.TransactionCommit();
  object.TransactionRollBack();
  EXPECT_THAT(records(),
              ElementsAre("6 CQXBusinessObject::TransactionStart: Entering function\n",
                          "6 CQXBusinessObject::TransactionStart: Leaving function [S_OK]\n",
                          "6 CQXBusinessObject::TransactionStart: Entering function\n",
                          "6 CQXBusinessObject::TransactionStart: Leaving function [S_OK]\n",
                          "6 CQXBusinessObject::TransactionCommit: Entering function\n",
                          "6 CQXBusinessObject::TransactionCommit: Leaving function [S_OK]\n",
                          "6 CQXBusinessObject::TransactionRollBack: Entering function\n",
                          "6 CQXBusinessObject::TransactionRollBack: Leaving function\n"));
}

// ---- the helpers

TEST_F(BusinessObject, BeginsWithoutAnError) {
  const Object object(company);
  EXPECT_EQ(object.GetLastErrorNumber(), 0);
  EXPECT_EQ(object.GetLastErrorMessage(), u"");
  EXPECT_NE(object.GetLastErrorMessage().m_str, nullptr);
  EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(BusinessObject, StartsAndCommits) {
  Object object(company);
  EXPECT_EQ(object.TransactionStart(), 0);
  EXPECT_EQ(object.TransactionStart(), 0);
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 2);
  EXPECT_EQ(object.TransactionCommit(), 0);
  EXPECT_EQ(object.TransactionCommit(), 0);
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, "log Commit", kCommit));
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(BusinessObject, StartsAndRollsBack) {
  Object object(company);
  object.TransactionStart();
  object.TransactionRollBack();
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, "log Rollback", kRollBack));
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(BusinessObject, AnInnerObjectsLevelNestsInsideTheOuterOnes) {
  Object outer(company);
  Object inner(company);
  outer.TransactionStart();
  inner.TransactionStart();
  happened();
  EXPECT_EQ(failureOf([&] { outer.TransactionCommit(); }),
            "Wrong depth, the transaction should only commit it's own transaction");
  EXPECT_EQ(inner.TransactionCommit(), 0);
  EXPECT_EQ(outer.TransactionCommit(), 0);
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
}

TEST_F(BusinessObject, ACommitWithoutATransactionIsRefused) {
  Object object(company);
  EXPECT_EQ(failureOf([&] { object.TransactionCommit(); }), "Not in Transaction, can't commit");
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(object.GetLastErrorNumber(), 0);
}

TEST_F(BusinessObject, ARollbackWithoutATransactionDoesNothing) {
  Object object(company);
  object.TransactionRollBack();
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(BusinessObject, AStartThatFailsIsThrownAndAddsNoLevel) {
  Object object(company);
  host->inTransaction = VARIANT_TRUE;
  EXPECT_EQ(failureOf([&] { object.TransactionStart(); }), "In outside transaction, not supported");
  object.TransactionRollBack();
  EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(BusinessObject, AComErrorOfTheStartIsThrown) {
  Object object(company);
  loseCompany();
  EXPECT_EQ(failureOf([&] { object.TransactionStart(); }), kComError);
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_EQ(object.GetLastErrorNumber(), 0);
}

// ---- failures of the commit

TEST_F(BusinessObject, AComErrorOfTheCommitBecomesTheResultAndTheLastError) {
  Object object(company);
  object.TransactionStart();
  loseCompany();
  records();
  EXPECT_EQ(object.TransactionCommit(), E_FAIL);
  EXPECT_THAT(
      records(),
      ElementsAre("6 CQXBusinessObject::TransactionCommit: Entering function\n",
                  "1 CQXBusinessObject::TransactionCommit: Commit failed: ErrNo=-2147467259, "
                  "ErrMsg='Unspecified error.'.\n",
                  "1 CQXBusinessObject::TransactionCommit: RX-API: ErrNo=-2104, ErrMsg=The line is "
                  "dead.\n",
                  "6 CQXBusinessObject::TransactionCommit: Leaving function [E_FAIL]\n"));
  EXPECT_EQ(object.GetLastErrorNumber(), -2104);
  EXPECT_EQ(object.GetLastErrorMessage(), u"The line is dead");
  host->calls.failures.clear();
  object.TransactionRollBack();
}

TEST_F(BusinessObject, ALevelWhoseCommitFailsIsStillOpen) {
  Object object(company);
  object.TransactionStart();
  happened();
  loseCompany();
  EXPECT_EQ(object.TransactionCommit(), E_FAIL);
  EXPECT_EQ(object.TransactionCommit(), E_FAIL);
  host->calls.failures.clear();
  object.TransactionRollBack();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
}

TEST_F(BusinessObject, OtherFailuresOfTheCommitAreThrown) {
  Object object(company);
  object.TransactionStart();
  happened();
  host->calls.failures["Company.EndTransaction"] = E_FAIL;
  EXPECT_EQ(failureOf([&] { object.TransactionCommit(); }), "Failed to EndTransction");
  EXPECT_EQ(failureOf([&] { object.TransactionCommit(); }), "Not in Transaction, can't commit");
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_EQ(object.GetLastErrorNumber(), 0);
  object.TransactionRollBack();
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit)) << "the host has nothing to do";
}

TEST_F(BusinessObject, ABufferedWriteThatFailsAtTheCommitIsThrown) {
  Object object(company);
  object.TransactionStart();
  buffer(u"A-1");
  host->calls.failures["SQL INSERT"] = qx::resultCode(-2000);
  EXPECT_EQ(failureOf([&] { object.TransactionCommit(); }),
            "-1: Failed in CDBRecordCache::BeforeTransaction_Commit()");
  happened();
  object.TransactionRollBack();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
}

TEST_F(BusinessObject, ACompanyThatCannotReportItsErrorIsTheLastError) {
  Object object(company);
  object.TransactionStart();
  loseCompany();
  host->calls.failures["Company.GetLastError"] = E_ACCESSDENIED;
  EXPECT_EQ(object.TransactionCommit(), E_FAIL);
  EXPECT_EQ(object.GetLastErrorNumber(), E_ACCESSDENIED);
  EXPECT_EQ(object.GetLastErrorMessage(), u"Access is denied.");
  EXPECT_THAT(errors(), ElementsAre(kCommitFailed,
                                    u"RX-API: ErrNo=-2147024891, ErrMsg=Access is denied..\n"));
  host->calls.failures.clear();
  object.TransactionRollBack();
}

// ---- failures of the rollback

TEST_F(BusinessObject, AComErrorOfTheRollbackIsLoggedAndTheLevelIsGone) {
  Object object(company);
  object.TransactionStart();
  happened();
  loseCompany();
  records();
  object.TransactionRollBack();
  EXPECT_THAT(
      records(),
      ElementsAre("6 CQXBusinessObject::TransactionRollBack: Entering function\n",
                  "1 CQXBusinessObject::TransactionRollBack: Rollback failed: ErrNo=-2147467259, "
                  "ErrMsg='Unspecified error.'.\n",
                  "1 CQXBusinessObject::TransactionRollBack: RX-API: ErrNo=-2104, ErrMsg=The line "
                  "is dead.\n",
                  "6 CQXBusinessObject::TransactionRollBack: Leaving function\n"));
  EXPECT_EQ(object.GetLastErrorNumber(), -2104);
  EXPECT_EQ(object.GetLastErrorMessage(), u"The line is dead");
  host->calls.failures.clear();
  object.TransactionRollBack();
  EXPECT_THAT(happened(), IsEmpty()) << "there is no level to try again";
}

TEST_F(BusinessObject, OtherFailuresOfTheRollbackAreThrownAndTheLevelIsGone) {
  Object object(company);
  object.TransactionStart();
  Object copy(object);
  object.TransactionRollBack();
  EXPECT_EQ(failureOf([&] { copy.TransactionRollBack(); }), kNothingToRollBack);
  copy.TransactionRollBack();
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(BusinessObject, EachRollbackEndsOneLevelOfTheObject) {
  Object object(company);
  object.TransactionStart();
  object.TransactionStart();
  happened();
  object.TransactionRollBack();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  EXPECT_EQ(failureOf([&] { object.TransactionCommit(); }), "Not in Transaction, can't commit");
  object.TransactionRollBack();
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

// ---- the end of the object

TEST_F(BusinessObject, ATransactionThatIsLeftOpenIsReportedAndRolledBack) {
  {
    Object object(company);
    object.TransactionStart();
    happened();
  }
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  EXPECT_EQ(logger.messagesOf(kDestructor), std::vector<std::u16string>{kNotComplete});
  EXPECT_THAT(errors(), ElementsAre(kNotComplete));
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
}

TEST_F(BusinessObject, OfTwoLevelsThatAreLeftOpenOnlyTheNewestIsRolledBack) {
  // The newest level fails; if the other were asked, it would succeed and be seen at the host.
  int asked = 0;
  EXPECT_EQ(failureOf([&] {
              Object object(company);
              object.TransactionStart();
              object.TransactionStart();
              happened();
              throwFromCompany([&] {
                if (++asked == 1) qx::raiseError(E_FAIL);
              });
            }),
            kComError);
  EXPECT_EQ(asked, 1);
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_THAT(errors(), ElementsAre(kNotComplete));
}

TEST_F(BusinessObject, FinishedTransactionsLeaveNothingToReport) {
  {
    Object object(company);
    object.TransactionStart();
    object.TransactionCommit();
    object.TransactionStart();
    object.TransactionRollBack();
    happened();
  }
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(BusinessObject, AFailureOfTheLastRollbackIsThrown) {
  const ULONG before = qx::test::referencesTo(company);
  EXPECT_EQ(failureOf([&] {
              Object object(company);
              object.TransactionStart();
              loseCompany();
            }),
            kComError);
  EXPECT_THAT(errors(), ElementsAre(kNotComplete));
  EXPECT_EQ(qx::test::referencesTo(company), before) << "the object is gone all the same";
}

TEST_F(BusinessObject, ADeletedObjectThrowsTheFailureOfTheLastRollbackToo) {
  CQXBusinessObject* const object = [&] {
    auto made = std::make_unique<Object>(company);
    made->TransactionStart();
    return made.release();
  }();
  loseCompany();
  EXPECT_EQ(failureOf([&] { delete object; }), kComError);
}

TEST_F(BusinessObject, WhileAnExceptionUnwindsTheOpenTransactionIsRolledBack) {
  EXPECT_EQ(releasedByAnException([&](Object&) { happened(); }), "_com_error -2147024809");
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  EXPECT_THAT(errors(), ElementsAre(kNotComplete));
}

TEST_F(BusinessObject, WhileAnExceptionUnwindsAComErrorIsLogged) {
  EXPECT_EQ(releasedByAnException([&](Object&) { loseCompany(); }), "_com_error -2147024809");
  EXPECT_THAT(errors(), ElementsAre(kNotComplete, kRollbackFailed, kHostsError));
}

TEST_F(BusinessObject, WhileAnExceptionUnwindsATextIsLogged) {
  std::optional<Object> copy;
  EXPECT_EQ(releasedByAnException([&](Object& object) {
              copy.emplace(object);
              copy->TransactionRollBack();
            }),
            "_com_error -2147024809");
  EXPECT_THAT(errors(),
              ElementsAre(kNotComplete, u"Rollback failed: Not in Transaction, can't Rollback\n"));
}

TEST_F(BusinessObject, WhileAnExceptionUnwindsAPersistenceExceptionIsLogged) {
  EXPECT_EQ(releasedByAnException([&](Object&) {
              throwFromCompany([] { throw CQXPersistenceException(u"No such cache"); });
            }),
            "_com_error -2147024809");
  EXPECT_THAT(errors(), ElementsAre(kNotComplete, u"Rollback failed: No such cache\n"));
}

TEST_F(BusinessObject, WhileAnExceptionUnwindsAnUnknownExceptionIsLogged) {
  EXPECT_EQ(releasedByAnException([&](Object&) { throwFromCompany([] { throw 42; }); }),
            "_com_error -2147024809");
  EXPECT_THAT(errors(), ElementsAre(kNotComplete, u"Rollback failed: unknown exception\n"));
}

// A handler is no unwinding: the exception that it handles is no longer on its way.
TEST_F(BusinessObject, InAHandlerAFailureOfTheLastRollbackIsThrown) {
  EXPECT_EQ(failureOf([&] {
              try {
                throw std::runtime_error("first");
              } catch (const std::runtime_error&) {
                Object object(company);
                object.TransactionStart();
                loseCompany();
              }
            }),
            kComError);
}

// ---- copies

TEST_F(BusinessObject, ACopyHasTheLastErrorAndSharesTheOpenLevels) {
  Object object(company);
  object.TransactionStart();
  loseCompany();
  object.TransactionCommit();
  host->calls.failures.clear();
  Object copy(company);
  copy = object;
  EXPECT_EQ(copy.GetLastErrorNumber(), -2104);
  EXPECT_EQ(copy.GetLastErrorMessage(), u"The line is dead");
  happened();
  EXPECT_EQ(copy.TransactionCommit(), 0);
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
  EXPECT_EQ(failureOf([&] { object.TransactionRollBack(); }), kNothingToRollBack);
}

}  // namespace
}  // namespace Persistence::test
