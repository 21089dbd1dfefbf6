#include "qxdesk/screens/model/message_boxes.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"
#include "qxframework/automation/developer_trace.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

std::u16string traced;

class MessageBoxesTest : public testing::Test {
 protected:
  MessageBoxesTest() {
    traced.clear();
    before_ = setDeveloperTraceSink([](std::u16string_view text) { traced += text; });
  }
  ~MessageBoxesTest() override { setDeveloperTraceSink(before_); }

  static MessageBoxCall box(std::u16string text, long defaultButton, std::u16string first = u"Yes",
                            std::u16string second = u"No") {
    MessageBoxCall call;
    call.text = std::move(text);
    call.defaultButton = defaultButton;
    call.buttons = {std::move(first), std::move(second), u""};
    return call;
  }

  MessageBoxes boxes_{false};

 private:
  TraceSink before_;
};

TEST_F(MessageBoxesTest, BoxWithoutAnswerTakesItsDefaultAndIsTraced) {
  EXPECT_EQ(boxes_.show(box(u"Sure?", 2)), 2);
  EXPECT_EQ(toUtf8(traced), "Message box without an answer: Sure?\n");
}

TEST_F(MessageBoxesTest, TakesQueuedAnswersInOrder) {
  boxes_.queueAnswer(2);
  boxes_.queueAnswer(1);
  EXPECT_EQ(boxes_.show(box(u"a", 1)), 2);
  EXPECT_EQ(boxes_.show(box(u"b", 2)), 1);
  EXPECT_EQ(traced, u"");
  EXPECT_EQ(toUtf8(printBoxes(boxes_)), "\"a\" [Yes] [No] -> 2\n\"b\" [Yes] [No] -> 1\n");
}

TEST_F(MessageBoxesTest, AsksTheAnswererIfNoAnswerIsQueued) {
  boxes_.setAnswerer([](const MessageBoxCall& call) -> std::optional<long> {
    if (call.text == u"known") return 2;
    return std::nullopt;
  });
  boxes_.queueAnswer(1);
  EXPECT_EQ(boxes_.show(box(u"known", 2)), 1);
  EXPECT_EQ(boxes_.show(box(u"known", 1)), 2);
  EXPECT_EQ(boxes_.show(box(u"unknown", 1)), 1);
  EXPECT_EQ(toUtf8(traced), "Message box without an answer: unknown\n");
}

TEST_F(MessageBoxesTest, AnswerWithAMissingButtonTakesTheDefault) {
  boxes_.queueAnswer(3);
  EXPECT_EQ(boxes_.show(box(u"Sure?", 2)), 2);
  EXPECT_EQ(toUtf8(traced), "Message box that lacks the button of its answer: Sure?\n");
}

TEST_F(MessageBoxesTest, MissingButtonsAndDefaultAreFilledIn) {
  EXPECT_EQ(boxes_.show(box(u"a", 5)), 1);
  EXPECT_EQ(boxes_.show(box(u"b", 1, u"", u"No")), 2);
  EXPECT_EQ(boxes_.show(box(u"c", 1, u"", u"")), 1);
  EXPECT_EQ(toUtf8(printBoxes(boxes_)),
            "\"a\" [Yes] [No] -> 1\n\"b\" [No] -> 2\n\"c\" [OK] -> 1\n");
}

TEST_F(MessageBoxesTest, BoxWithoutAnswerFailsIfSuchBoxesAreRefused) {
  MessageBoxes strict(true);
  EXPECT_EQ(raisedBy([&] { strict.show(box(u"Sure?", 1)); }), kGeneralFailure);
  strict.queueAnswer(2);
  EXPECT_EQ(strict.show(box(u"Sure?", 1)), 2);
}

}  // namespace
}  // namespace qx::screens
