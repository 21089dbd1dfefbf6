#include "qxframework/diagnostics/internal/undecorate.h"

#include <gtest/gtest.h>

namespace {

using qx::diagnostics::fullSignature;
using qx::diagnostics::nameOnly;

TEST(Undecorate, MangledNameGetsItsWholeSignature) {
  EXPECT_EQ(fullSignature("_ZNK4Shop4sellEi"), "Shop::sell(int) const");
}

TEST(Undecorate, OtherNamesStayAsTheyAre) {
  EXPECT_EQ(fullSignature("main"), "main");
  EXPECT_EQ(fullSignature(""), "");
  EXPECT_EQ(fullSignature("_Znot mangled"), "_Znot mangled");
}

TEST(Undecorate, NameOnlyLeavesOutParametersAndQualifiers) {
  EXPECT_EQ(nameOnly("Shop::sell(int) const"), "Shop::sell");
  EXPECT_EQ(nameOnly("main"), "main");
  EXPECT_EQ(nameOnly("f()"), "f");
  EXPECT_EQ(nameOnly("f(int, char*) [clone .cold]"), "f");
}

TEST(Undecorate, NameOnlyLeavesOutTheResultOfATemplate) {
  EXPECT_EQ(nameOnly("int shop::sell<int>(int, char const*)"), "shop::sell<int>");
  EXPECT_EQ(nameOnly("std::map<int, char*> make<unsigned long>(int (*)(char))"),
            "make<unsigned long>");
}

TEST(Undecorate, NameOnlyKeepsUnnamedPlacesAndLambdas) {
  EXPECT_EQ(nameOnly("(anonymous namespace)::f(int)"), "(anonymous namespace)::f");
  EXPECT_EQ(nameOnly("f()::{lambda(int)#1}::operator()(int) const"),
            "f()::{lambda(int)#1}::operator()");
  EXPECT_EQ(nameOnly("f(void (*)(int))"), "f");
  EXPECT_EQ(nameOnly("f(X<&A::operator-> >)"), "f");
  EXPECT_EQ(nameOnly("void f<&operator< >(X<&operator< >, int)"), "f<&operator< >");
}

TEST(Undecorate, NameOnlyKeepsOperators) {
  EXPECT_EQ(nameOnly("A::operator()(int)"), "A::operator()");
  EXPECT_EQ(nameOnly("operator new(unsigned long)"), "operator new");
  EXPECT_EQ(nameOnly("A::operator unsigned long() const"), "A::operator unsigned long");
  EXPECT_EQ(nameOnly("operator<<(A&, int)"), "operator<<");
  EXPECT_EQ(nameOnly("A& operator<< <int>(A&, int)"), "operator<< <int>");
  EXPECT_EQ(nameOnly("A::operator->()"), "A::operator->");
  EXPECT_EQ(nameOnly("A::operator<=>(A const&) const"), "A::operator<=>");
  EXPECT_EQ(nameOnly("A::operator()"), "A::operator()");
}

}  // namespace
