#include "qxframework/foundation/qx_ptr.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>

namespace {

struct Counted {
  explicit Counted(int& count) : alive(count) { ++alive; }
  ~Counted() { --alive; }
  int& alive;
  int value = 5;
};

TEST(QxPtr, DeletesTheObjectWithTheLastPointer) {
  int alive = 0;
  {
    qx_ptr<Counted> first(new Counted(alive), true);
    {
      const qx_ptr<Counted> second(first);
      EXPECT_EQ(second->value, 5);
    }
    EXPECT_EQ(alive, 1);
    EXPECT_EQ((*first).value, 5);
  }
  EXPECT_EQ(alive, 0);
}

TEST(QxPtr, WithoutOwnershipNeverDeletes) {
  int alive = 0;
  Counted object(alive);
  { const qx_ptr<Counted> pointer(&object, false); }
  EXPECT_EQ(alive, 1);
}

TEST(QxPtr, NullHasNoObject) {
  const qx_ptr<Counted> pointer(nullptr, true);
  EXPECT_EQ(pointer.get(), nullptr);
  EXPECT_FALSE(pointer != nullptr);
}

int countOf(qx_ptr<Counted> pointer) { return pointer == nullptr ? 0 : 1; }

TEST(QxPtr, ConstructsFromNullptrAndComparesWithIt) {
  int alive = 0;
  EXPECT_EQ(countOf(nullptr), 0);
  EXPECT_EQ(countOf({}), 0);
  EXPECT_EQ(countOf(qx_ptr<Counted>(new Counted(alive), true)), 1);
  qx_ptr<Counted> pointer(new Counted(alive), true);
  pointer = nullptr;
  EXPECT_EQ(alive, 0);
  EXPECT_TRUE(pointer == nullptr);
}

TEST(QxPtr, AssigningZeroReleasesTheObject) {
  int alive = 0;
  qx_ptr<Counted> pointer(new Counted(alive), true);
  pointer = 0;
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(pointer.get(), nullptr);
}

TEST(QxPtr, AssigningAnotherNumberThrowsItsText) {
  int alive = 0;
  qx_ptr<Counted> pointer(new Counted(alive), true);
  try {
    pointer = 1;
    FAIL() << "nothing was thrown";
  } catch (const char* text) {
    EXPECT_EQ(std::string(text),
              "miss usage of operator != overload, the first int parameter could only be NULL");
  }
  EXPECT_EQ(alive, 1);
}

TEST(QxPtr, AssignmentSharesTheNewObjectAndReleasesTheOld) {
  int first = 0;
  int second = 0;
  qx_ptr<Counted> a(new Counted(first), true);
  qx_ptr<Counted> b(new Counted(second), true);
  a = b;
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
  const qx_ptr<Counted>& self = a;
  a = self;
  EXPECT_EQ(second, 1);
}

struct Chained {
  qx_ptr<Chained> next;
};

TEST(QxPtr, AssignsFromAMemberOfTheReleasedObject) {
  qx_ptr<Chained> head(new Chained, true);
  head->next = qx_ptr<Chained>(new Chained, true);
  Chained* const second = head->next.get();
  head = head->next;
  EXPECT_EQ(head.get(), second);
}

TEST(QxPtr, ComparesTheAddressOfTheObject) {
  int alive = 0;
  Counted object(alive);
  const qx_ptr<Counted> pointer(&object, false);
  EXPECT_FALSE(pointer != &object);
  EXPECT_TRUE(pointer == &object);
  EXPECT_FALSE(pointer == nullptr);
  EXPECT_TRUE(pointer != nullptr);
}

TEST(QxPtr, AssigningNullReleasesTheObject) {
  int alive = 0;
  qx_ptr<Counted> pointer(new Counted(alive), true);
  pointer = NULL;  // NOLINT(modernize-use-nullptr): the idiom under test, without a warning
  EXPECT_EQ(alive, 0);
  EXPECT_TRUE(pointer == NULL);  // NOLINT(modernize-use-nullptr)
}

TEST(QxPtr, IsTrueUnlessItIsNull) {
  int alive = 0;
  Counted object(alive);
  const qx_ptr<Counted> pointer(&object, false);
  const qx_ptr<Counted> null;
  EXPECT_TRUE(pointer ? true : false);
  EXPECT_FALSE(null ? true : false);
  EXPECT_TRUE(!null);
  static_assert(!std::is_convertible_v<qx_ptr<Counted>, bool>, "it must not become a number");
}

}  // namespace
