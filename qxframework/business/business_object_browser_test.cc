#include "qxframework/business/business_object_browser.h"

#include "qxframework/business/testing/business_fixture.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <type_traits>

namespace Persistence::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<CQXBusinessObjectBrowser>);
static_assert(!std::is_copy_assignable_v<CQXBusinessObjectBrowser>);
static_assert(std::is_base_of_v<CQXBusinessObject, CQXBusinessObjectBrowser>);
static_assert(!std::is_nothrow_destructible_v<CQXBusinessObjectBrowser>);

using Calls = std::vector<std::string>;

/// A collection that records its calls and answers as it is told.
class Collection final : public IQXObjCollectionForBrowser {
 public:
  Collection(Calls& calls, std::string name = "collection")
      : calls_(calls), name_(std::move(name)) {}
  ~Collection() override { calls_.push_back("~" + name_); }

  long First(CQXValueContainer& container) override { return step("First", container); }
  long Last(CQXValueContainer& container) override { return step("Last", container); }
  long Next(CQXValueContainer& container) override { return step("Next", container); }
  long Previous(CQXValueContainer& container) override { return step("Previous", container); }
  bool Eof() const override { return eof; }
  bool Bof() const override { return bof; }
  void Add(const CQXValueContainer&) override { FAIL(); }
  void Refresh(CQXValueContainer&) override { FAIL(); }
  long GetRecordCount() const override { return 0; }
  void MapToContainer(const TyFieldValues&, CQXValueContainer&) override {}
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}

  long answer = 0;
  bool eof = false;
  bool bof = false;
  bool throwing = false;
  const CQXValueContainer* given = nullptr;

 private:
  long step(const char* name, const CQXValueContainer& container) {
    calls_.push_back(name);
    given = &container;
    if (throwing) throw CQXPersistenceException(u"Can't move next, EOF or BOF met");
    return answer;
  }

  Calls& calls_;
  std::string name_;
};

class Container final : public CQXValueContainer {
 public:
  Container(Calls& calls, std::string name = "container") : calls_(calls), name_(std::move(name)) {}
  ~Container() override { calls_.push_back("~" + name_); }

 private:
  Calls& calls_;
  std::string name_;
};

class Browser final : public CQXBusinessObjectBrowser {
 public:
  using CQXBusinessObjectBrowser::CQXBusinessObjectBrowser;
  using CQXBusinessObjectBrowser::TransactionStart;
};

class BusinessObjectBrowser : public BusinessTest {
 protected:
  struct Step {
    std::string name;
    std::function<long(CQXBusinessObjectBrowser&)> take;
  };
  static std::vector<Step> steps() {
    return {{"First", [](CQXBusinessObjectBrowser& it) { return it.First(); }},
            {"Previous", [](CQXBusinessObjectBrowser& it) { return it.Previous(); }},
            {"Next", [](CQXBusinessObjectBrowser& it) { return it.Next(); }},
            {"Last", [](CQXBusinessObjectBrowser& it) { return it.Last(); }}};
  }

  Calls calls;
  // By plain pointers: its destructor can throw, and it deletes the two once they are set.
  Browser* browser = new Browser(company);
  Collection* collection = new Collection(calls);
  Container* container = new Container(calls);

  void setBoth() {
    browser->setPCol(collection);
    browser->setCntr(container);
  }
  void release() { delete std::exchange(browser, nullptr); }
  void TearDown() override {
    if (browser == nullptr) return;
    setBoth();
    release();
  }
};

TEST_F(BusinessObjectBrowser, BeginsWithoutACollectionAndAContainer) {
  EXPECT_EQ(browser->getPCol(), nullptr);
  EXPECT_EQ(browser->getCntr(), nullptr);
}

TEST_F(BusinessObjectBrowser, TracesItsConstructionAfterThatOfItsBase) {
  std::vector<std::string> texts;
  for (const qx::test::LogRecord& each : logger.records) {
    texts.push_back(qx::toUtf8(each.function) + ": " + qx::toUtf8(each.message));
  }
  EXPECT_THAT(
      texts, ElementsAre("CQXBusinessObject::CQXBusinessObject: Entering function\n",
                         "CQXBusinessObject::CQXBusinessObject: Leaving function\n",
                         "CQXBusinessObjectBrowser::CQXBusinessObjectBrowser: Entering function\n",
                         "CQXBusinessObjectBrowser::CQXBusinessObjectBrowser: Leaving function\n"));
}

TEST_F(BusinessObjectBrowser, StepsThroughTheCollectionWithTheContainer) {
  setBoth();
  for (const Step& each : steps()) {
    for (const long answer : {0L, 1L, 7L, static_cast<long>(E_FAIL)}) {
      collection->answer = answer;
      EXPECT_EQ(each.take(*browser), answer) << each.name;
      EXPECT_EQ(std::exchange(calls, {}), Calls{each.name});
      EXPECT_EQ(std::exchange(collection->given, nullptr), container);
    }
  }
}

TEST_F(BusinessObjectBrowser, TracesEachStepWithItsResult) {
  setBoth();
  collection->answer = 1;
  for (const Step& each : steps()) {
    logger.records.clear();
    each.take(*browser);
    ASSERT_EQ(logger.records.size(), 2U);
    EXPECT_EQ(qx::toUtf8(logger.records[0].function), "CQXBusinessObjectBrowser::" + each.name);
    EXPECT_EQ(logger.records[0].message, u"Entering function\n");
    EXPECT_EQ(logger.records[1].message, u"Leaving function [S_FALSE]\n");
  }
}

TEST_F(BusinessObjectBrowser, WithoutAContainerStepsAreRefusedAndEndsAreStillAnswered) {
  browser->setPCol(collection);
  for (const Step& each : steps()) EXPECT_EQ(each.take(*browser), E_POINTER) << each.name;
  EXPECT_THAT(calls, IsEmpty());
  collection->eof = true;
  EXPECT_TRUE(browser->EoF());
  EXPECT_FALSE(browser->BoF());
  collection->eof = false;
  collection->bof = true;
  EXPECT_FALSE(browser->EoF());
  EXPECT_TRUE(browser->BoF());
}

TEST_F(BusinessObjectBrowser, WithoutACollectionStepsAreRefusedAndNoEndIsReached) {
  browser->setCntr(container);
  logger.records.clear();
  for (const Step& each : steps()) EXPECT_EQ(each.take(*browser), E_POINTER) << each.name;
  EXPECT_EQ(logger.records.back().message, u"Leaving function [E_POINTER]\n");
  EXPECT_FALSE(browser->EoF());
  EXPECT_FALSE(browser->BoF());
}

TEST_F(BusinessObjectBrowser, AnExceptionOfTheCollectionPassesThrough) {
  setBoth();
  collection->throwing = true;
  EXPECT_EQ(failureOf([&] { browser->Next(); }), "-1: Can't move next, EOF or BOF met");
  EXPECT_EQ(logger.records.back().message, u"Leaving function [S_OK]\n");
}

TEST_F(BusinessObjectBrowser, ANewCollectionReplacesTheFormerOne) {
  setBoth();
  Collection* const former = std::exchange(collection, new Collection(calls, "second"));
  browser->setPCol(former);
  EXPECT_THAT(calls, IsEmpty()) << "the same one stays";
  browser->setPCol(collection);
  EXPECT_EQ(browser->getPCol(), collection);
  EXPECT_THAT(calls, ElementsAre("~collection"));
  browser->setPCol(nullptr);
  EXPECT_EQ(browser->getPCol(), nullptr);
  EXPECT_THAT(calls, ElementsAre("~collection", "~second"));
  EXPECT_EQ(browser->First(), E_POINTER);
  collection = nullptr;
}

TEST_F(BusinessObjectBrowser, ANewContainerReplacesTheFormerOne) {
  setBoth();
  Container* const former = std::exchange(container, new Container(calls, "second"));
  browser->setCntr(former);
  EXPECT_THAT(calls, IsEmpty()) << "the same one stays";
  browser->setCntr(container);
  EXPECT_EQ(browser->getCntr(), container);
  EXPECT_THAT(calls, ElementsAre("~container"));
  browser->setCntr(nullptr);
  EXPECT_EQ(browser->getCntr(), nullptr);
  EXPECT_THAT(calls, ElementsAre("~container", "~second"));
  container = nullptr;
}

TEST_F(BusinessObjectBrowser, DeletesTheCollectionThenTheContainerThenRollsBack) {
  setBoth();
  browser->TransactionStart();
  host->calls.hooks["Company.EndTransaction"] = [&] { calls.push_back("roll back"); };
  release();
  EXPECT_THAT(calls, ElementsAre("~collection", "~container", "roll back"));
}

TEST_F(BusinessObjectBrowser, IsDeletedThroughItsBase) {
  CQXBusinessObject* const object = [&] {
    auto made = std::make_unique<CQXBusinessObjectBrowser>(company);
    made->setPCol(new Collection(calls, "second"));
    return made.release();
  }();
  delete object;
  EXPECT_THAT(calls, ElementsAre("~second"));
}

TEST_F(BusinessObjectBrowser, AFailureOfTheLastRollbackIsThrownAfterBothAreDeleted) {
  setBoth();
  browser->TransactionStart();
  loseCompany();
  EXPECT_EQ(failureOf([&] { release(); }), "_com_error -2147467259");
  EXPECT_THAT(calls, ElementsAre("~collection", "~container"));
}

}  // namespace
}  // namespace Persistence::test
