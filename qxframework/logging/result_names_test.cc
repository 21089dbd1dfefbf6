#include "qxframework/logging/result_names.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/text.h"
#include "testing/registry_in_use.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qx::test::RegistryInUse;
using qx::test::TempFolder;

TEST(ResultNames, HostCodesHaveNamesAndSentences) {
  EXPECT_EQ(qx::resultName(-7000), u"UI_API_ERR_INVALID_FORM");
  EXPECT_EQ(qx::resultSentence(-7000), u"Invalid form");
  EXPECT_EQ(qx::resultName(-1), u"UI_API_ERR_GEN_FAILURE");
  EXPECT_EQ(qx::resultName(-2000), u"RX_API_ERR_SQL_FAILURE");
  EXPECT_EQ(qx::resultName(-7200), u"UI_ADDON_CONN_STR_NOTVALID");
  EXPECT_EQ(qx::resultSentence(-7061), u"Does not support bacth update");
}

TEST(ResultNames, FrameworkCodesHaveSentencesOnly) {
  EXPECT_EQ(qx::resultSentence(QX_E_DATABASE), u"Error create/update database.");
  EXPECT_EQ(qx::resultSentence(QX_E_CONNECTION), u"Error connecting to the company database.");
  EXPECT_EQ(qx::resultSentence(QX_E_SOFTWARE_UPDATE),
            u"Halvex Add-On terminated due to required software update.");
  EXPECT_EQ(qx::resultSentence(QX_E_UPGRADE_RUNNING),
            u"Halvex Add-On terminated due to running or incomplete DB upgrade.");
  EXPECT_EQ(qx::resultName(QX_E_DATABASE), u"");
  EXPECT_EQ(qx::resultText(QX_E_DATABASE), u"0x80040500");
}

TEST(ResultNames, StandardCodesHaveNamesHere) {
  EXPECT_EQ(qx::resultText(S_OK), u"S_OK");
  EXPECT_EQ(qx::resultText(S_FALSE), u"S_FALSE");
  EXPECT_EQ(qx::resultText(E_UNEXPECTED), u"E_UNEXPECTED");
  EXPECT_EQ(qx::resultSentence(E_UNEXPECTED), u"");
}

TEST(ResultNames, StandardCodesHaveTheSystemsSentenceWithTheCode) {
  EXPECT_EQ(qx::errorText(S_OK), u"The operation completed (0, 0x00000000)");
  EXPECT_EQ(qx::errorText(E_FAIL), u"Unspecified error (-2147467259, 0x80004005)");
  EXPECT_EQ(qx::errorText(E_INVALIDARG), u"The parameter is incorrect (-2147024809, 0x80070057)");
  EXPECT_EQ(qx::errorText(0x8007000E), u"Not enough memory (-2147024882, 0x8007000E)");
  EXPECT_EQ(qx::errorText(DISP_E_BADVARTYPE), u"Bad variable type (-2147352568, 0x80020008)");
}

TEST(ResultNames, SentencesOfTheHostHaveNoCode) {
  EXPECT_EQ(qx::errorText(-7000), u"Invalid form");
  EXPECT_EQ(qx::errorText(QX_E_DATABASE), u"Error create/update database.");
}

TEST(ResultNames, AClassThatIsNotRegisteredLeadsToTheRegistryFile) {
  const TempFolder folder;
  const auto file = folder.path() / "registry.toml";
  const std::string sentence = "Class not registered (-2147221164, 0x80040154). ";
  {
    const RegistryInUse missing(file);
    EXPECT_EQ(qx::toUtf8(qx::errorText(REGDB_E_CLASSNOTREG)),
              sentence + "Registry: " + file.string() +
                  ": there is no such file; create it or set QX_REGISTRY");
  }
  folder.write("registry.toml", "[HKEY_CURRENT_USER]\n");
  const RegistryInUse withoutTheClass(file);
  EXPECT_EQ(qx::toUtf8(qx::errorText(0x80040154)),
            sentence + file.string() + " names no library for it");
}

TEST(ResultNames, ALibraryThatDoesNotLoadLeadsToTheTrace) {
  EXPECT_EQ(qx::errorText(CO_E_DLLNOTFOUND),
            u"The library of the class does not load (-2147221000, 0x800401F8). Set QX_TRACE=1 to "
            u"see the reason");
}

TEST(ResultNames, CodesCountAs32Bits) {
  EXPECT_EQ(qx::resultText(0x80004005), u"E_FAIL");
  EXPECT_EQ(qx::resultText(static_cast<long>(0xFFFFE4A8UL)), u"UI_API_ERR_INVALID_FORM");
}

TEST(ResultNames, EveryNamedCodeHasItsLeavingMessage) {
  int named = 0;
  const auto expectMessage = [&](HRESULT code) {
    const std::u16string name(qx::resultName(code));
    const BSTR message = qx::leavingMessage(code);
    EXPECT_EQ(message == nullptr, name.empty()) << code;
    if (message == nullptr) return;
    ++named;
    EXPECT_EQ(qx::viewOfBstr(message), u"Leaving function [" + name + u"]\n");
    EXPECT_EQ(qx::viewOf(message), qx::viewOfBstr(message));
  };
  for (HRESULT code = -8000; code <= 10; ++code) expectMessage(code);
  for (const HRESULT code : {E_NOTIMPL, E_POINTER, E_UNEXPECTED, QX_E_DATABASE, E_INVALIDARG}) {
    expectMessage(code);
  }
  EXPECT_EQ(named, 63 + 2 + 4);  // of the host, of success, and of the list
  EXPECT_EQ(qx::viewOfBstr(qx::leavingMessage(0)), u"Leaving function [S_OK]\n");
}

TEST(ResultNames, NumbersInAGapAreUnknown) {
  EXPECT_EQ(qx::resultText(-7007), u"0xFFFFE4A1");
  EXPECT_EQ(qx::errorText(-7007), u"Unknown error (-7007, 0xFFFFE4A1)");
}

}  // namespace
