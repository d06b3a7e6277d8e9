#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace QXTest {

/// Succeeds when the sizes agree and no element differs by more than its bound; a NaN on any side
/// fails.
inline testing::AssertionResult AllWithin(const std::vector<double>& actual,
                                          const std::vector<double>& expected,
                                          const std::vector<double>& bounds) {
  if (actual.size() != expected.size() || bounds.size() != expected.size())
    return testing::AssertionFailure() << actual.size() << " values for " << expected.size();
  for (size_t i = 0; i < actual.size(); ++i)
    if (!(std::fabs(actual[i] - expected[i]) <= bounds[i]))
      return testing::AssertionFailure()
             << "element " << i << " is " << actual[i] << ", expected " << expected[i] << " +- "
             << bounds[i] << ", off by " << actual[i] - expected[i];
  return testing::AssertionSuccess();
}

inline testing::AssertionResult AllNear(const std::vector<double>& actual,
                                        const std::vector<double>& expected, double tolerance) {
  return AllWithin(actual, expected, std::vector<double>(expected.size(), tolerance));
}

}  // namespace QXTest
