#include "tools/formdraw/axis.h"

#include <gtest/gtest.h>

namespace qx::formdraw {
namespace {

TEST(Axis, PutsEdgesAtTheCellOfTheirPixel) {
  Axis axis(8);
  axis.add(0, 100, 1);
  axis.add(11, 20, 1);
  axis.add(12, 52, 1);
  axis.settle();
  EXPECT_EQ(axis.cell(0), 0);
  EXPECT_EQ(axis.cell(11), 1);
  EXPECT_EQ(axis.cell(52), 6);
  EXPECT_EQ(axis.cell(100), 12);
}

TEST(Axis, WidensAnIntervalThatIsTooNarrowAndMovesWhatFollows) {
  Axis axis(8);
  axis.add(0, 400, 1);
  axis.add(8, 80, 20);
  axis.add(88, 160, 1);
  axis.settle();
  EXPECT_EQ(axis.cell(8), 1);
  EXPECT_EQ(axis.cell(80), 21);
  EXPECT_EQ(axis.cell(88), 22);
  EXPECT_EQ(axis.cell(160), 31);
  EXPECT_EQ(axis.cell(400), 61);
}

TEST(Axis, GivesNeighboursCellsOfTheirOwn) {
  Axis axis(16);
  for (long top = 0; top < 40; top += 4) axis.add(top, top + 4, 1);
  axis.settle();
  for (long top = 0; top < 40; top += 4) EXPECT_EQ(axis.cell(top + 4), axis.cell(top) + 1) << top;
}

TEST(Axis, TakesEdgesWithinThreePixelsForOne) {
  Axis axis(16);
  axis.add(30, 44, 1);
  axis.add(33, 47, 1);
  axis.add(36, 50, 1);
  axis.settle();
  EXPECT_EQ(axis.cell(30), 1);
  EXPECT_EQ(axis.cell(33), 1);
  EXPECT_EQ(axis.cell(36), 2);
}

// Lines of text that are a little lower than a cell do not make the whole longer.
TEST(Axis, RoundingDoesNotAddUp) {
  Axis axis(16);
  for (long top = 0; top < 1600; top += 16) axis.add(top + 1, top + 15, 1);
  axis.add(0, 1600, 1);
  axis.settle();
  EXPECT_EQ(axis.cell(1), 0);
  EXPECT_EQ(axis.cell(15), 1);
  EXPECT_EQ(axis.cell(1585), 99);
  EXPECT_EQ(axis.cell(1600), 100);
}

TEST(Axis, TakesAnEdgeForOneWithTheEdgeAheadOfIt) {
  Axis axis(8);
  axis.add(1, 60, 1);
  axis.add(5, 60, 1);
  axis.add(8, 60, 1);
  axis.settle();
  EXPECT_EQ(axis.cell(5), 0);
  EXPECT_EQ(axis.cell(8), 0);
}

TEST(Axis, WidensAnIntervalBetweenEdgesThatItTakesForOne) {
  Axis axis(8);
  axis.add(8, 10, 4);
  axis.settle();
  EXPECT_EQ(axis.cell(8), 1);
  EXPECT_EQ(axis.cell(10), 5);
}

}  // namespace
}  // namespace qx::formdraw
