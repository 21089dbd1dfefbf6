#include "tools/qxrc/string_table.h"

#include "tools/input/diagnostic.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace qx::qxrc {
namespace {

/// Returns the diagnostic for `content`, or "accepted".
std::string refusal(std::string_view content) {
  try {
    parseStringTable("1033.txt", content);
  } catch (const input::Diagnostic& error) {
    return error.what();
  }
  return "accepted";
}

TEST(StringTable, ReadsOneTextPerLineAndSkipsCommentsAndBlankLines) {
  const StringTable expected{{1, u"OK"}, {202, u"Initialization failed"}};
  EXPECT_EQ(parseStringTable("f", "# texts\n\n202 = Initialization failed\n  # more\n1=OK"),
            expected);
}

TEST(StringTable, ReplacesEscapes) {
  const StringTable expected{{7, u" a\nb\rc\td\\e "}};
  EXPECT_EQ(parseStringTable("f", "7 = \\sa\\nb\\rc\\td\\\\e\\s\n"), expected);
}

TEST(StringTable, KeepsFurtherBlanksNumberSignsAndEqualSigns) {
  const StringTable expected{{7, u" two  blanks # no comment = text "}};
  EXPECT_EQ(parseStringTable("f", "7 =  two  blanks # no comment = text \n"), expected);
}

TEST(StringTable, AcceptsAnEmptyText) {
  const StringTable expected{{7, u""}, {8, u""}};
  EXPECT_EQ(parseStringTable("f", "7 =\n8 = \n"), expected);
}

TEST(StringTable, SkipsTheByteOrderMarkAndCarriageReturns) {
  const StringTable expected{{1, u"a"}, {2, u"b"}};
  EXPECT_EQ(parseStringTable("f",
                             "\xEF\xBB\xBF"
                             "1 = a\r\n2 = b\r\n"),
            expected);
}

TEST(StringTable, ConvertsToUtf16WithSurrogatePairs) {
  const StringTable expected{{1, u"Grüße \U0001F600"}};
  EXPECT_EQ(parseStringTable("f",
                             "1 = Gr\xC3\xBC\xC3\x9F"
                             "e \xF0\x9F\x98\x80\n"),
            expected);
}

TEST(StringTable, RefusesALineWithoutAnEqualSign) {
  EXPECT_EQ(refusal("1 = a\n  nonsense\n"),
            "1033.txt:2:3: error: the line has no '='; write 'id = text', or # before a comment");
}

TEST(StringTable, RefusesAnIdThatIsNotANumber) {
  EXPECT_EQ(refusal("QX_TEXT = a\n"),
            "1033.txt:1:1: error: 'QX_TEXT' is not a string id; begin the line with a decimal "
            "number from 0 to 4294967295");
  EXPECT_NE(refusal("-1 = a"), "accepted");
  EXPECT_NE(refusal("4294967296 = a"), "accepted");
  EXPECT_NE(refusal("= a"), "accepted");
}

TEST(StringTable, RefusesADuplicateId) {
  EXPECT_EQ(refusal("5 = a\n6 = b\n5 = c\n"),
            "1033.txt:3:1: error: string id 5 is defined a second time here; remove one of the two "
            "lines or give it another id");
}

TEST(StringTable, RefusesAnUnknownEscapeAtItsColumnInCodePoints) {
  EXPECT_EQ(refusal("5 = \xC3\xBC\\q\n"),
            "1033.txt:1:6: error: unknown escape \\q; use \\n, \\r, \\t, \\s or \\\\; a backslash "
            "itself is written \\\\");
}

TEST(StringTable, RefusesABackslashAtTheEndOfTheLine) {
  EXPECT_EQ(refusal("5 = a\\\n6 = b\n"),
            "1033.txt:1:6: error: the line ends with a single backslash; write \\\\ for a "
            "backslash; a text cannot continue on the next line");
}

TEST(StringTable, RefusesMalformedUtf8WithItsPlace) {
  EXPECT_EQ(refusal("5 = a\n6 = b\xFF\n"),
            "1033.txt:2:6: error: the text is not valid UTF-8; save the file as UTF-8");
  EXPECT_EQ(refusal("# \xC3\n"),
            "1033.txt:1:3: error: the text is not valid UTF-8; save the file as UTF-8");
}

}  // namespace
}  // namespace qx::qxrc
