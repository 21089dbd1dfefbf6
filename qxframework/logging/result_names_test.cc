#include "qxframework/logging/result_names.h"

#include "qxframework/automation/bstr.h"

#include <gtest/gtest.h>

#include <string>

namespace {

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

TEST(ResultNames, StandardCodesHaveNamesOnly) {
  EXPECT_EQ(qx::resultText(S_OK), u"S_OK");
  EXPECT_EQ(qx::resultText(S_FALSE), u"S_FALSE");
  EXPECT_EQ(qx::resultText(E_UNEXPECTED), u"E_UNEXPECTED");
  EXPECT_EQ(qx::errorText(E_INVALIDARG), u"Unknown error (-2147024809, 0x80070057)");
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
