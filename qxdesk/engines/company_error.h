#pragma once

// The failures that the company objects tell of by GetLastError: a code, and a sentence in the
// language that was put. The sentences stand in one table, English for every one of them.

#include "qxframework/host/enums.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {

/// Codes of GetLastError. They are frozen: add-ons may test for them.
enum ErrorCode : long {
  kSqlFailure = -2000,
  kAlreadyExists = -2107,
  kNotConnected = -2100,
  kNoCompanyGiven = -2101,
  kOpenFailed = -2102,
  kContextRefused = -2103,
  kWrongTransactionState = -2104,
  kNotFound = -2105,
  kInvalidValue = -2106,
};

enum class Text {
  EngineMessage,
  NotConnected,
  AlreadyConnected,
  NoCompanyGiven,
  ForeignApplication,
  ClientRefused,
  ContextRefused,
  FolderMissing,
  NoPermission,
  IsFolder,
  NotADatabase,
  ForeignDatabase,
  NewerDatabase,
  CannotOpen,
  Locked,
  ReadOnly,
  Damaged,
  DiskFull,
  InputOutput,
  Moved,
  ConnectionLost,
  CommitUnknown,
  RolledBack,
  Aborted,
  Cancelled,
  NoRight,
  BadValue,
  NoSavepoints,
  LoginRefused,
  NoDriver,
  NoServer,
  NoDatabase,
  TooManyUsers,
  TooLong,
  OutOfRange,
  BadDate,
  TransactionOpen,
  NoTransaction,
  TransactionLost,
  UnknownObject,
  UnknownColumn,
  TableExists,
  TableMissing,
  TableNameEmpty,
  TableNameTooLong,
  NameCharacters,
  DescriptionTooLong,
  UnknownTableType,
  FieldExists,
  FieldMissing,
  FieldNameEmpty,
  FieldNameTooLong,
  UnknownFieldType,
  SizeOutOfRange,
  DefaultTooLong,
  DefaultNotNumber,
  DefaultNotDate,
  DefaultNotTime,
  MandatoryNeedsDefault,
  ValidValueTwice,
  ValidValueTooLong,
  ValidValueNotSet,
  NothingLoaded,
  TypeChanged,
  SizeShrinks,
  KeyExists,
  KeyMissing,
  KeyNameEmpty,
  KeyNameTooLong,
  KeyWithoutColumns,
  KeyColumnMissing,
  KeyColumnTwice,
  KeyColumnNotSet,
  KeyNotUnique,
  NotADate,
  NotAnAmount,
  NoRate,
  UnknownDataInterface,
  End,
};

/// The sentence in `language`, or in English; "%1" and "%2" are replaced by the arguments.
std::u16string sentence(Text text, const std::vector<std::u16string>& arguments,
                        HvLanguages language);

/// Raised inside the company objects, turned into a code and the last error at their edge. what()
/// is the English sentence.
class CompanyError : public std::runtime_error {
 public:
  CompanyError(long code, Text text, std::vector<std::u16string> arguments = {});
  /// With UTF-8 arguments.
  CompanyError(long code, Text text, std::string_view first, std::string_view second = {});

  long code() const { return code_; }
  Text text() const { return text_; }
  std::u16string sentenceIn(HvLanguages language) const {
    return sentence(text_, arguments_, language);
  }

 private:
  long code_;
  Text text_;
  std::vector<std::u16string> arguments_;
};

}  // namespace qx::desk
