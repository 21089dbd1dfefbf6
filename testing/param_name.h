#pragma once

#include <gtest/gtest.h>

#include <string>

namespace qx::test {

/// Names the runs of a parameterised test by the parameter's `name`.
template <class Param>
std::string nameOf(const testing::TestParamInfo<Param>& info) {
  return info.param.name;
}

}  // namespace qx::test
