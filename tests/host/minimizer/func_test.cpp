#include "host/minimizer/func.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/core/throw.h"
#include "tests/host/minimizer/problems.h"

namespace {

TEST(Func, FloatFormReportsAndTheRunGoesOn) {
  QXTest::Problem<QXTest::Rosenbrock> problem;
  QXMinimizer::QXFunc1& f = problem;
  std::vector<std::pair<QXCore::QXErrorLevel, std::string>> reports;
  const auto former =
      QXCore::QXThrow.SetHandler([&](QXCore::QXErrorLevel level, const std::string& text) {
        reports.emplace_back(level, text);
      });
  const float* points[] = {nullptr};
  EXPECT_TRUE(f(points).empty());
  QXCore::QXThrow.SetHandler(former);
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].first, QXCore::QXErrorLevel::Error);
  EXPECT_EQ(reports[0].second,
            "This is a GPU-specific method and should only be called from the derived class.");
}

}  // namespace
