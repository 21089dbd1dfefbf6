#pragma once

// Hostile statements from tables in testdata/payloads, one file for each class.
//
// A line is what both engines do with the statement, a blank and the statement itself: "ar SELECT
// 1" means that SQLite accepts and PostgreSQL refuses it.
//
// In a statement, "@{3|x}" is "xxx"; within it "#" is the number of the copy and "##" the one
// before. "@u{200B}" is the character of that number, "@dir" the folder that the test gives.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qx::test {

/// What becomes of a statement. The letters are those of the tables.
enum class Outcome : char {
  Accepted = 'a',
  Refused = 'r',
  Stopped = 't',  ///< it ran into a limit of time or memory
  NotRun = '-',   ///< it would run into the time limit of the engine, which is minutes there
};

struct Payload {
  int line = 0;
  Outcome onSqlite = Outcome::NotRun;
  Outcome onPostgres = Outcome::NotRun;
  std::u16string statement;
};

/// Returns the payloads of a file. Throws std::runtime_error with the place of a mistake in it.
std::vector<Payload> readPayloads(const std::filesystem::path& file, std::string_view folder);

/// Returns a statement with its abbreviations written out.
std::u16string writtenOut(std::string_view line, std::string_view folder);

}  // namespace qx::test
