#include "qxdesk/screens/model/matrix_model.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::screens {
namespace {

class MatrixModelTest : public testing::Test {
 protected:
  MatrixModelTest() {
    MatrixColumn bound;
    bound.uid = u"A";
    bound.source = source_;
    matrix_.addColumn(bound);
    MatrixColumn free;
    free.uid = u"B";
    matrix_.addColumn(free);
  }
  std::u16string cells(long column) {
    std::u16string out;
    for (long row = 1; row <= matrix_.rowCount(); ++row) {
      out += matrix_.cell(row, *matrix_.columns()[static_cast<std::size_t>(column)]) + u"|";
    }
    return out;
  }

  std::shared_ptr<UserDataSource> source_ = std::make_shared<UserDataSource>(u"UD", 9, 10);
  MatrixModel matrix_;
};

TEST_F(MatrixModelTest, NewRowGetsTheValuesOfTheSources) {
  source_->setValue(u"one");
  matrix_.addRows(1, -1);
  source_->setValue(u"two");
  matrix_.addRows(2, 0);
  EXPECT_EQ(cells(0), u"two|two|one|");
  EXPECT_EQ(cells(1), u"|||");
}

TEST_F(MatrixModelTest, RefusesRowsAndColumnsOutside) {
  EXPECT_EQ(raisedBy([&] { matrix_.addRows(1, 1); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.addRows(-1, 0); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.addRows(2'000'000'000, -1); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.selectRow(0, true, true); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.cell(1, *matrix_.columns()[0]); }), kIllegalOffset);
  MatrixColumn other;
  matrix_.addRows(1, -1);
  EXPECT_EQ(raisedBy([&] { matrix_.cell(1, other); }), kInvalidColumn);
  other.uid = u"A";
  EXPECT_EQ(raisedBy([&] { matrix_.addColumn(other); }), kColumnAlreadyExists);
}

/// The rows of a matrix that the user clicks.
class ClickedRows : public MatrixModelTest {
 protected:
  ClickedRows() {
    matrix_.addRows(6, -1);
    matrix_.selectionMode = kSelectMany;
  }
  std::string selected() const {
    std::string out;
    for (long row = 1; row <= matrix_.rowCount(); ++row) {
      if (matrix_.isRowSelected(row)) out += std::to_string(row);
    }
    return out;
  }
  /// Clicks and returns the rows that are selected then.
  std::string click(long row, ClickKeys keys = {}) {
    matrix_.clickRow(row, keys);
    return selected();
  }
  static constexpr ClickKeys kCtrl{.ctrl = true};
  static constexpr ClickKeys kShift{.shift = true};
};

TEST_F(ClickedRows, AClickSelectsTheRowAlone) {
  EXPECT_EQ(click(2), "2");
  EXPECT_EQ(click(4), "4");
  EXPECT_EQ(click(4), "4");
}

TEST_F(ClickedRows, CtrlTurnsTheSelectionOfTheRowRound) {
  click(2);
  EXPECT_EQ(click(4, kCtrl), "24");
  EXPECT_EQ(click(2, kCtrl), "4");
  EXPECT_EQ(click(4, kCtrl), "");
}

TEST_F(ClickedRows, ShiftSelectsFromTheLastRowThatWasClickedWithoutIt) {
  EXPECT_EQ(click(3, kShift), "3") << "no row was clicked before";
  EXPECT_EQ(click(5, kShift), "345");
  EXPECT_EQ(click(1, kShift), "123");
  click(6, kCtrl);
  EXPECT_EQ(click(5, kShift), "56");
  click(1, kCtrl);
  EXPECT_EQ(click(2, {.ctrl = true, .shift = true}), "1256");
}

TEST_F(ClickedRows, TheRowThatWasClickedLastMovesWithTheRowsBeforeIt) {
  click(3);
  matrix_.addRows(1, 2);
  EXPECT_EQ(click(5, kShift), "45");
  matrix_.addRows(1, 4);
  EXPECT_EQ(click(5, kShift), "45");
  matrix_.clear();
  matrix_.addRows(3, -1);
  EXPECT_EQ(click(2, kShift), "2");
}

TEST_F(ClickedRows, KeysDoNothingWhereTheModeAllowsOneRowOrNone) {
  matrix_.selectionMode = kSelectOne;
  click(2);
  EXPECT_EQ(click(4, kCtrl), "4");
  EXPECT_EQ(click(6, kShift), "6");
  matrix_.selectionMode = kSelectNone;
  EXPECT_EQ(click(1), "6");
  EXPECT_EQ(raisedBy([&] { matrix_.clickRow(7, {}); }), kIllegalOffset);
}

TEST_F(MatrixModelTest, SelectsOneRowOrSeveral) {
  matrix_.addRows(3, -1);
  matrix_.selectRow(1, true, true);
  matrix_.selectRow(2, true, true);
  EXPECT_TRUE(matrix_.isRowSelected(1));
  matrix_.selectRow(3, true, false);
  EXPECT_FALSE(matrix_.isRowSelected(1));
  matrix_.selectionMode = kSelectOne;
  matrix_.selectRow(1, true, true);
  EXPECT_FALSE(matrix_.isRowSelected(3));
  EXPECT_TRUE(matrix_.isRowSelected(1));
}

}  // namespace
}  // namespace qx::screens
