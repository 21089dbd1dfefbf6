// A definition that is run while the disk is full for a moment.

#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/version.h"
#include "testing/faulty_disk.h"
#include "testing/running_addon.h"
#include "testing/sqlite_file.h"

#include <gmock/gmock.h>

namespace {

using qx::test::rowsOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kDefinition = 100;
constexpr unsigned kKeysAlone = 101;

/// The disk comes first: the add-on opens its company at its start.
struct OnFaultyDisk {
  qx::test::FaultyDisk disk;
};

class FullDisk : public testing::Test, OnFaultyDisk, protected qx::test::RunningAddOn {
 protected:
  CQXDbDef definition() {
    return CQXDbDef(record.application, record.company, loader, u"SYST", ln_English,
                    GetModuleHandleW(nullptr));
  }
  long create(unsigned resource, bool noUpgradeStamp) {
    CQXVersion version(u"0.00.00.00.00");
    return definition().Create(resource, noUpgradeStamp, version);
  }
  CQXDbDef::_DBCHECK state() {
    CQXDbDef::_DBCHECK state = CQXDbDef::dbc_NoVersion;
    definition().CheckVersion(state);
    return state;
  }
  /// Lets the disk be full as long as a key is made.
  void fillTheDiskForKeys() {
    log.onRecord = [this](const qx::test::LogRecord& each) {
      if (each.function != u"CQXDbDef::AddOrRemoveUserIndex") return;
      disk.full = each.message == u"Entering function\n";
    };
  }
  std::vector<std::string> keys() const {
    return rowsOf(file, "SELECT TableName, KeyName FROM HVUKEY");
  }

  CQXResourceLoader loader;
};

TEST_F(FullDisk, AKeyThatFindsNoSpaceIsShownToTheUserAndIsMadeByARunOverTheKeysAlone) {
  fillTheDiskForKeys();
  EXPECT_EQ(create(kDefinition, false), S_OK);
  log.onRecord = nullptr;
  EXPECT_EQ(desk.statusBar(),
            "error: The key KIND of the table SYSTDATA could not be created: The disk of the "
            "company database is full.\n");
  EXPECT_EQ(state(), CQXDbDef::dbc_Ok);
  EXPECT_THAT(keys(), IsEmpty());

  EXPECT_EQ(create(kKeysAlone, true), S_OK);
  EXPECT_THAT(keys(), ElementsAre("@SYSTDATA|KIND"));
  EXPECT_THAT(rowsOf(file, "SELECT U_Kind FROM \"@SYSTDATA\" ORDER BY Code"),
              ElementsAre("A", "B"));
  EXPECT_EQ(state(), CQXDbDef::dbc_Ok);
}

TEST_F(FullDisk, AKeyThatExistsIsNotShown) {
  EXPECT_EQ(create(kDefinition, false), S_OK);
  EXPECT_EQ(create(kKeysAlone, true), S_OK);
  EXPECT_EQ(desk.statusBar(), "");
  EXPECT_THAT(keys(), ElementsAre("@SYSTDATA|KIND"));
}

}  // namespace
