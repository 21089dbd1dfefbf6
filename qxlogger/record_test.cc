#include "qxlogger/record.h"

#include "qxlogger/test_support.h"

#include <gtest/gtest.h>

namespace qx::logger {
namespace {

Record sample() {
  return {.time = test::kLeapDay,
          .level = 6,
          .appId = 7,
          .processId = 4711,
          .function = u"CQXEventSink::ItemEvent",
          .message = u"Entering function\n"};
}

TEST(LogRecord, IsOneLineOfSixFields) {
  const test::ScopedTimeZone zone("UTC0");
  EXPECT_EQ(formatRecord(sample()),
            "2024-02-29T12:34:56.789012+00:00\tDebug2\t7\t4711\tCQXEventSink::ItemEvent\t"
            "Entering function\n");
}

TEST(LogRecord, HasOneLineEndWithOrWithoutOneInItsMessage) {
  Record record = sample();
  const std::string with = formatRecord(record);
  record.message = u"Entering function";
  EXPECT_EQ(formatRecord(record), with);
  record.message = u"Entering function\r\n\r\n";
  EXPECT_EQ(formatRecord(record), with);
}

TEST(LogRecord, RemainsOneLineIfItsTextsHaveLineEnds) {
  const test::ScopedTimeZone zone("UTC0");
  Record record = sample();
  record.function = u"f\ng\t";
  record.message = u"one\ntwo\r\nthree\n";
  EXPECT_EQ(formatRecord(record),
            "2024-02-29T12:34:56.789012+00:00\tDebug2\t7\t4711\tf\\ng\\t\tone\\ntwo\\r\\nthree\n");
}

TEST(LogRecord, HasEmptyFieldsForEmptyTexts) {
  const test::ScopedTimeZone zone("UTC0");
  Record record = sample();
  record.function = {};
  record.message = {};
  record.appId = -1;
  EXPECT_EQ(formatRecord(record), "2024-02-29T12:34:56.789012+00:00\tDebug2\t-1\t4711\t\t\n");
}

TEST(LogRecord, ShowsLocalTimeWithItsOffset) {
  {
    const test::ScopedTimeZone zone("XYZ-5:30");
    Record record = sample();
    record.time += 1'000'000'000;
    EXPECT_EQ(formatRecord(record).substr(0, 32), "2024-02-29T18:04:57.789012+05:30");
  }
  const test::ScopedTimeZone zone("XYZ+3:30");
  Record record = sample();
  record.time += 2'000'000'000;
  EXPECT_EQ(formatRecord(record).substr(0, 32), "2024-02-29T09:04:58.789012-03:30");
}

TEST(LogRecord, PadsMicrosecondsToSixDigits) {
  const test::ScopedTimeZone zone("UTC0");
  Record record = sample();
  record.time = 1'709'210'101'000'007'999;
  EXPECT_EQ(formatRecord(record).substr(0, 32), "2024-02-29T12:35:01.000007+00:00");
}

TEST(LogRecord, NamesTheSixSeverities) {
  EXPECT_EQ(severityWord(0), "");
  EXPECT_EQ(severityWord(1), "Error");
  EXPECT_EQ(severityWord(2), "Warning");
  EXPECT_EQ(severityWord(3), "Information");
  EXPECT_EQ(severityWord(4), "Debug");
  EXPECT_EQ(severityWord(5), "Debug1");
  EXPECT_EQ(severityWord(6), "Debug2");
  EXPECT_EQ(severityWord(7), "");
}

}  // namespace
}  // namespace qx::logger
