#pragma once

// Enumerations whose values the host defines. They are frozen.

/// Languages of the client. The gaps are real. The client may report a value outside the list,
/// which reads the English resources. Names and resource ids are in
/// qxframework/foundation/languages.h.
enum HvLanguages : int {
  ln_Hebrew = 1,
  ln_Spanish_Ar = 2,
  ln_English = 3,
  ln_Polish = 5,
  ln_English_Sg = 6,
  ln_Spanish_Pa = 7,
  ln_English_Gb = 8,
  ln_German = 9,
  ln_Serbian = 10,
  ln_Danish = 11,
  ln_Norwegian = 12,
  ln_Italian = 13,
  ln_Hungarian = 14,
  ln_Chinese = 15,
  ln_Dutch = 16,
  ln_Finnish = 17,
  ln_Greek = 18,
  ln_Portuguese = 19,
  ln_Swedish = 20,
  ln_English_Cy = 21,
  ln_French_Fr = 22,
  ln_Spanish = 23,
  ln_Russian = 24,
  ln_Spanish_La = 25,
  ln_Czech_Cz = 26,
  ln_Slovak_Sk = 27,
  ln_Korean_Kr = 28,
  ln_Portuguese_Br = 29,
  ln_Japanese_Jp = 30,
  ln_Turkish_Tr = 31,
  ln_TrdtnlChinese_Hk = 35
};

/// Kinds of menu entries: a command, a popup that holds further entries, a separator.
enum HvMenuType : int { mt_String = 1, mt_Popup = 2, mt_Separator = 3 };

/// Kinds of status bar messages.
enum HvStatusBarMessageType : int { smt_None = 0, smt_Warning = 1, smt_Error = 2, smt_Info = 3 };

/// Kinds of amounts. The company has a number of decimal places for each.
enum HvMoneyPrecisionTypes : int {
  mpt_Sum = 0,
  mpt_Price = 1,
  mpt_Rate = 2,
  mpt_Quantity = 3,
  mpt_Percent = 4,
  mpt_Measure = 5
};

/// The purpose for which an amount is rounded; it chooses the number of decimal places. 7 is the
/// default. The stand-in host rounds by 1 to 5 as for the HvMoneyPrecisionTypes of that number, and
/// by every other value as for a sum.
enum RoundingContextEnum : int { rc_Default = 7 };

/// How a transaction ends. Every other value rolls back.
enum HvEndTransaction : int { et_Commit = 0, et_RollBack = 1 };
