#pragma once

// The failures that the company objects report through GetLastError: a code, and a sentence in the
// user's language. The sentences are string resources of the module that this is linked into
// (qxdesk/company/strings, one file for each language), so a program that links this archive
// embeds qxdesk/company/company.toml.

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

/// The sentences. A number is the id of its string in every language file, so the numbers are
/// frozen: a new text takes the next one, and none is used again for another sentence.
enum class Text : unsigned {
  EngineMessage = 1,
  NotConnected = 2,
  AlreadyConnected = 3,
  NoCompanyGiven = 4,
  ForeignApplication = 5,
  ClientRefused = 6,
  ContextRefused = 7,
  FolderMissing = 8,
  NoPermission = 9,
  IsFolder = 10,
  NotADatabase = 11,
  ForeignDatabase = 12,
  NewerDatabase = 13,
  CannotOpen = 14,
  Locked = 15,
  ReadOnly = 16,
  Damaged = 17,
  DiskFull = 18,
  InputOutput = 19,
  Moved = 20,
  ConnectionLost = 21,
  CommitUnknown = 22,
  RolledBack = 23,
  Aborted = 24,
  Cancelled = 25,
  NoRight = 26,
  BadValue = 27,
  NoSavepoints = 28,
  LoginRefused = 29,
  NoDriver = 30,
  NoServer = 31,
  NoDatabase = 32,
  TooManyUsers = 33,
  TooLong = 34,
  OutOfRange = 35,
  BadDate = 36,
  TransactionOpen = 37,
  NoTransaction = 38,
  TransactionLost = 39,
  UnknownObject = 40,
  UnknownColumn = 41,
  TableExists = 42,
  TableMissing = 43,
  TableNameEmpty = 44,
  TableNameTooLong = 45,
  NameCharacters = 46,
  DescriptionTooLong = 47,
  UnknownTableType = 48,
  FieldExists = 49,
  FieldMissing = 50,
  FieldNameEmpty = 51,
  FieldNameTooLong = 52,
  UnknownFieldType = 53,
  SizeOutOfRange = 54,
  DefaultTooLong = 55,
  DefaultNotNumber = 56,
  DefaultNotDate = 57,
  DefaultNotTime = 58,
  MandatoryNeedsDefault = 59,
  ValidValueTwice = 60,
  ValidValueTooLong = 61,
  ValidValueNotSet = 62,
  NothingLoaded = 63,
  TypeChanged = 64,
  SizeShrinks = 65,
  KeyExists = 66,
  KeyMissing = 67,
  KeyNameEmpty = 68,
  KeyNameTooLong = 69,
  KeyWithoutColumns = 70,
  KeyColumnMissing = 71,
  KeyColumnTwice = 72,
  KeyColumnNotSet = 73,
  KeyNotUnique = 74,
  NotADate = 75,
  NotAnAmount = 76,
  NoRate = 77,
  UnknownDataInterface = 78,
  CompanyLost = 79,
  LogDamaged = 80,
  LockedOnServer = 81,
  TableLocked = 82,
  Conflict = 83,
  Deadlock = 84,
  RowExists = 85,
  Holder = 86,
  TablesNotLocked = 87,
  StoredName = 88,
  KeptByCompany = 89,
  OneRowTable = 90,
  End  ///< One past the last.
};

/// Returns the sentence in `language`, with "%1" and "%2" replaced by the arguments; a missing
/// argument is empty. Returns the English sentence for Serbian, Turkish and unknown languages, and
/// the number with the arguments if the module carries no sentences at all.
std::u16string sentence(Text text, const std::vector<std::u16string>& arguments,
                        HvLanguages language);

/// Thrown inside the company objects; their edge turns it into a code and the last error. what()
/// is the English sentence.
class CompanyError : public std::runtime_error {
 public:
  CompanyError(long code, Text text, std::vector<std::u16string> arguments = {});
  /// Takes the arguments as UTF-8.
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
