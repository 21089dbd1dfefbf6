#include "qxframework/automation/system_message.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_error.h"

#include <gtest/gtest.h>

namespace {

TEST(SystemMessage, StandardCodesHaveASentence) {
  EXPECT_EQ(qx::viewOf(qx::systemMessage(S_OK)), u"The operation completed.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(S_FALSE)),
            u"The operation completed, but its answer is no.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_NOTIMPL)), u"Not implemented.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_NOINTERFACE)), u"No such interface supported.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_POINTER)), u"Invalid pointer.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_ABORT)), u"Operation aborted.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_FAIL)), u"Unspecified error.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_UNEXPECTED)), u"Catastrophic failure.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_ACCESSDENIED)), u"Access is denied.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_HANDLE)), u"The handle is invalid.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_OUTOFMEMORY)), u"Not enough memory.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(E_INVALIDARG)), u"The parameter is incorrect.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(REGDB_E_CLASSNOTREG)), u"Class not registered.");
  EXPECT_EQ(qx::viewOf(qx::systemMessage(DISP_E_BADVARTYPE)), u"Bad variable type.");
}

TEST(SystemMessage, CodesCountAs32Bits) {
  EXPECT_EQ(qx::viewOf(qx::systemMessage(0x80004005)), u"Unspecified error.");
}

TEST(SystemMessage, OtherCodesHaveNone) {
  EXPECT_EQ(qx::systemMessage(-7000), nullptr) << "a code of the host";
  EXPECT_EQ(qx::systemMessage(qx::resultCode(0x80040500)), nullptr) << "one of the framework";
  EXPECT_EQ(qx::systemMessage(2), nullptr) << "above the last";
  EXPECT_EQ(qx::systemMessage(qx::resultCode(0x80000001)), nullptr) << "below the first";
}

TEST(SystemMessage, ExceptionsHaveTheSameSentences) {
  EXPECT_EQ(qx::viewOf(_com_error(REGDB_E_CLASSNOTREG).ErrorMessage()), u"Class not registered.");
  EXPECT_EQ(qx::viewOf(_com_error(DISP_E_BADVARTYPE).ErrorMessage()), u"Bad variable type.");
}

}  // namespace
