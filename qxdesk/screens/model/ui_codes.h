#pragma once

// The codes with which the host's user interface refuses a call. The numbers are frozen: add-ons
// compare with them. The name and the sentence of each are in qxframework/logging/result_names.h.

#include "qxframework/automation/types.h"

namespace qx::screens {

enum UiCode : HRESULT {
  kGeneralFailure = -1,
  kNotSupported = -2,
  kInvalidForm = -7000,
  kInvalidItem = -7001,
  kFormFunctionNotSupported = -7002,
  kMenuAddFailed = -7003,
  kNotAUserItem = -7006,
  kFormNotFound = -7008,
  kFormAlreadyExists = -7010,
  kItemAlreadyExists = -7012,
  kStringTooLong10 = -7013,
  kColumnAlreadyExists = -7014,
  kInvalidColumn = -7015,
  kNotAUserDataSource = -7016,
  kInvalidFieldValue = -7018,
  kFormUidReserved = -7019,
  kNotValidTarget = -7023,
  kInvalidMenuItem = -7026,
  kNotAUserMenuItem = -7027,
  kIllegalOffset = -7028,
  kCannotLoadXml = -7040,
  kActionTypeNotValid = -7050,
  kTagNotInPosition = -7051,
  kFormSettingRect = -7063,
  kFormSettingVisible = -7065,
  kFormSettingDefaultButton = -7066,
  kFormSettingMode = -7067,
  kFormSettingColor = -7068,
  kFormSettingPane = -7069,
  kFormSettingUid = -7070,
  kUnknownFieldType = -7090,
  kItemAttributes = -7091,
  kItemBindingData = -7092,
  kColumnAttributes = -7110,
  kColumnBindingData = -7111,
  kMenuAlreadyExists = -7130,
  kMenuAddingMenu = -7131,
  kMenuInvalidType = -7132,
  kMenuPositionNotValid = -7133,
  kConnectionStringNotValid = -7200,
};

}  // namespace qx::screens
