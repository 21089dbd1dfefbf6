#pragma once

// The connection string by which an add-on reaches the client:
//
//     embedded:?db=FILE&engine=mssql&language=3&appid=1
//
// The scheme and the question mark are followed by keys with their values, in any order and
// separated by "&". A value may hold any character as %XX of its UTF-8 bytes; "&", "%" and "#" need
// it.
//
// | key      | value                                                              | if left out |
// |----------|--------------------------------------------------------------------|-------------|
// | db       | the file of the company database, or "odbc:" and an ODBC           | required    |
// |          | connection string                                                  |             |
// | engine   | mssql, sybase, db2 or kordb: the dialect of the statements         | mssql       |
// | accept   | own: the forms of the dialect only; brackets: in db2 also those    | own         |
// |          | that the record cache writes                                       |             |
// | language | a number of the client, 3, or a name, en, de, pt-BR                | 3           |
// | appid    | 0 or more: which client this is; the same number is the same client| 1           |
// | user     | the user that is logged in                                         | manager     |
// | password | where the password of an ODBC database is: file:PATH, env:NAME or   | none        |
// |          | fd:NUMBER, see password_source.h                                   |             |
// | company  | the company's name                                                 | db's name   |
// | play     | a file with the actions of a user                                  | none        |
// | web      | an address with a port, 127.0.0.1:0: shows the screens in browsers | none        |
// | boxes    | default: a box without an answer takes its default button; refuse: | default     |
// |          | it fails                                                           |             |
// | statements | kept: statements stay translated and prepared by their shape; fresh: | kept      |
// |          | every statement is translated and prepared anew                    |             |
// | memory   | the megabytes that the rows of a statement may take, 16 or more    | 1024        |
// | progress | own: the progress bar is this process's; shared: all processes with| own         |
// |          | this appid share one                                               |             |

#include "qxdesk/session/password_source.h"
#include "qxframework/host/enums.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx::desk {

struct ConnectionString {
  std::string database;        ///< UTF-8, see database_name.h; with the password, if one is given
  std::string password;        ///< the place that `password` names; empty if it is not given
  std::size_t passwordAt = 0;  ///< of that place in the text
  long dbServerType = 1;       ///< see qx::DbServerType
  bool acceptBrackets = false;
  HvLanguages language = ln_English;
  long appId = 1;
  std::u16string userName = u"manager";
  std::u16string companyName;  ///< empty: not given
  std::string playFile;        ///< UTF-8; empty: none
  std::string webAddress;      ///< UTF-8, as given; empty: none
  bool refuseUnattendedBoxes = false;
  bool keepsStatements = true;
  long memoryMegabytes = 0;  ///< 0: not given
  bool sharedProgressBar = false;
  std::u16string shown;  ///< the text for messages: as given, with the passwords of db as "***"
};

/// Reports a text that is no connection string. what() is a sentence in UTF-8 that names the place,
/// the fault and the remedy.
class ConnectionStringError : public std::runtime_error {
 public:
  ConnectionStringError(std::size_t position, const std::string& sentence);
  /// Returns the place of the fault, in UTF-16 units from 0.
  std::size_t position() const { return position_; }

 private:
  std::size_t position_;
};

/// Reads the password that a source names; throws PasswordSourceError.
using PasswordReader = std::function<std::string(std::string_view source)>;

/// Parses a connection string, and reads the password whose place it names. Throws
/// ConnectionStringError.
ConnectionString parseConnectionString(std::u16string_view text,
                                       const PasswordReader& password = readPassword);

/// Returns the language of a number of the client or of a name in any case; 0 for any other text.
HvLanguages languageFromText(std::u16string_view text);
/// Returns the name of a language in lower case, such as "pt-br"; "en" for a value that is none.
std::u16string_view languageTag(HvLanguages language);

}  // namespace qx::desk
