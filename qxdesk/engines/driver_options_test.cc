#include "qxdesk/engines/driver_options.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

// The driver's list for a connection string without options.
const std::string kDefaults =
    "DRIVER=PostgreSQL Unicode;DATABASE=shop;SERVER=/s;PORT=;UID=me;PWD=a=b;SSLmode=disable;"
    "ReadOnly=0;Protocol=7.4;FakeOidIndex=0;ShowOidColumn=0;RowVersioning=0;ShowSystemTables=0;"
    "Fetch=100;UnknownSizes=0;MaxVarcharSize=255;MaxLongVarcharSize=8190;Debug=0;CommLog=0;"
    "UseDeclareFetch=0;TextAsLongVarchar=1;UnknownsAsLongVarchar=0;BoolsAsChar=1;Parse=0;"
    "ExtraSysTablePrefixes=;LFConversion=0;UpdatableCursors=1;TrueIsMinus1=0;BI=0;"
    "ByteaAsLongVarBinary=1;UseServerSidePrepare=1;LowerCaseIdentifier=0;D6=-101;OptionalErrors=0;"
    "FetchRefcursors=0;";

std::string with(const std::string& before, const std::string& after) {
  std::string completed = kDefaults;
  completed.replace(completed.find(";" + before + ";"), before.size() + 2, ";" + after + ";");
  return completed;
}

TEST(DriverOptions, TheDriversDefaultsNeedNoCorrection) {
  EXPECT_EQ(correctedOptions(kDefaults), "");
  EXPECT_FALSE(asksForReadOnly(kDefaults));
}

TEST(DriverOptions, AnOptionThatChangesValuesOrTransactionsIsCorrected) {
  EXPECT_EQ(correctedOptions(with("Protocol=7.4", "Protocol=7.4-0")), ";Protocol=7.4-2");
  EXPECT_EQ(correctedOptions(with("Protocol=7.4", "Protocol=7.4-1")), ";Protocol=7.4-2");
  EXPECT_EQ(correctedOptions(with("Protocol=7.4", "Protocol=7.4-2")), "");
  EXPECT_EQ(correctedOptions(with("LFConversion=0", "LFConversion=1")), ";LFConversion=0");
  EXPECT_EQ(correctedOptions(with("BI=0", "BI=12")), ";BI=0");
  EXPECT_EQ(correctedOptions(kDefaults + ";AB=2;"), ";AB=0");
}

TEST(DriverOptions, AnOptionThatOnlyTunesIsLeftToTheUser) {
  EXPECT_EQ(correctedOptions(with("UseDeclareFetch=0", "UseDeclareFetch=1")), "");
  EXPECT_EQ(correctedOptions(with("Fetch=100", "Fetch=7")), "");
  EXPECT_EQ(correctedOptions(kDefaults + "KeepaliveTime=5;"), "");
}

TEST(DriverOptions, AReadOnlyOptionIsRecognisedAndTakenFromTheDriver) {
  const std::string completed = with("ReadOnly=0", "ReadOnly=1");
  EXPECT_TRUE(asksForReadOnly(completed));
  EXPECT_EQ(correctedOptions(completed), ";ReadOnly=0");
}

TEST(DriverOptions, AShortListOfOptionsIsCorrectedExceptForReadOnly) {
  const std::string completed =
      "DRIVER=x;DATABASE=d;SERVER=s;PORT=;UID=u;PWD=;CA=d;A7=100;CX=1c305008a;A1=7.4;AB=1;";
  EXPECT_EQ(correctedOptions(completed),
            ";Protocol=7.4-2;LFConversion=0;BI=0;D6=-101;BoolsAsChar=1;TrueIsMinus1=0;"
            "TextAsLongVarchar=1;UnknownsAsLongVarchar=0;UnknownSizes=0;MaxVarcharSize=255;"
            "MaxLongVarcharSize=8190;FetchRefcursors=0;Parse=0;UseServerSidePrepare=1;AB=0");
}

}  // namespace
}  // namespace qx::desk
