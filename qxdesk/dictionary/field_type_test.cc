#include "qxdesk/dictionary/field_type.h"

#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

/// The default of a field's column: kind and value, or the words with which it is refused.
std::string defaultOf(long type, long subType, const std::string& value) {
  std::string text;
  const std::string refusal = failureOf([&] {
    const ColumnLayout column = columnOf({"A", type, subType, 3, false, value});
    static constexpr const char* kKinds[] = {"none", "text", "number", "date", "now"};
    text = kKinds[static_cast<int>(column.byDefault.kind)];
    text += " " + column.byDefault.value;
  });
  return refusal.empty() ? text : refusal;
}

TEST(FieldTypeTest, ATypeDecidesTheColumn) {
  const auto kindOf = [](long type, long subType = 0) {
    return columnOf({"A", type, subType, 3}).kind;
  };
  EXPECT_EQ(kindOf(kAlphaField), ColumnKind::Text);
  EXPECT_EQ(kindOf(kMemoField), ColumnKind::Memo);
  EXPECT_EQ(kindOf(kNumericField), ColumnKind::Integer);
  EXPECT_EQ(kindOf(kDateField), ColumnKind::Date);
  EXPECT_EQ(kindOf(kDateField, kTimeSubType), ColumnKind::SmallInteger);
  EXPECT_EQ(kindOf(kFloatField), ColumnKind::Decimal);
  EXPECT_EQ(columnOf({"A", kAlphaField, 0, 3, true}), notNull(textColumn("U_A", 3)));
}

TEST(FieldTypeTest, DefaultsAreWrittenInTheFormOfTheirColumn) {
  EXPECT_EQ(defaultOf(kAlphaField, 0, "a'b"), "text a'b");
  EXPECT_EQ(defaultOf(kNumericField, 0, " 42 "), "number 42");
  EXPECT_EQ(defaultOf(kFloatField, 80, "-1.5"), "number -1.5");
  EXPECT_EQ(defaultOf(kDateField, 0, "20240229"), "date 2024-02-29 00:00:00");
  EXPECT_EQ(defaultOf(kDateField, 0, " getdate() "), "now ");
  EXPECT_EQ(defaultOf(kDateField, 0, "Current Timestamp"), "now ");
  for (const char* time : {"930", "0930", "09:30"}) {
    EXPECT_EQ(defaultOf(kDateField, kTimeSubType, time), "number 930");
  }
}

TEST(FieldTypeTest, ADefaultThatTheTypeDoesNotTakeIsRefused) {
  EXPECT_EQ(defaultOf(kAlphaField, 0, "abcd"),
            "-2106 The default value of the field 'A' is longer than the field (3).");
  for (const char* number : {"x", "1.5", "1 2", "0x10"}) {
    EXPECT_EQ(
        defaultOf(kNumericField, 0, number),
        "-2106 The default value '" + std::string(number) + "' of the field 'A' is not a number.");
  }
  for (const char* number : {"nan", "inf", "1); DROP TABLE HVCOMP"}) {
    EXPECT_TRUE(defaultOf(kFloatField, 0, number).starts_with("-2106")) << number;
  }
  EXPECT_TRUE(defaultOf(kDateField, 0, "20240231").starts_with("-2106"));
  for (const char* time : {"2460", "960", "12345", ":", "-1"}) {
    EXPECT_EQ(defaultOf(kDateField, kTimeSubType, time), "-2106 The default value '" +
                                                             std::string(time) +
                                                             "' of the field 'A' is not a time. "
                                                             "Write HHMM.");
  }
}

TEST(FieldTypeTest, ANumericFieldWithoutASizeGetsTheLargest) {
  FieldShape shape{"A", kNumericField};
  checkShape(shape);
  EXPECT_EQ(shape.size, kMaxNumericSize);
  shape.size = kMaxNumericSize + 1;
  EXPECT_THROW(checkShape(shape), CompanyError);
}

}  // namespace
}  // namespace qx::desk
