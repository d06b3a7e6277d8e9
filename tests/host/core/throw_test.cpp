#include "host/core/throw.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace QXCore;

class Throw : public testing::Test {
 protected:
  void TearDown() override {
    QXThrow.SetHandler({});
    QXThrow.SetDebug(false);
  }
};

TEST_F(Throw, WithoutHandlerWritesLinesToStderrAndReturnsFromFatal) {
  const std::string text(100000, 'x');
  testing::internal::CaptureStderr();
  QXThrow.Debug("dropped");
  QXThrow.Warning("%s of %d", "one", 2);
  QXThrow.Error("100%%");
  QXThrow.SetDebug(true);
  QXThrow.Debug("%s", text.c_str());
  QXThrow.Fatal("the end");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: one of 2\nError: 100%\nDebug: " + text + "\nFatal: the end\n");
}

TEST_F(Throw, HandlersReplaceEachOtherAndMayReport) {
  std::vector<std::pair<QXErrorLevel, std::string>> reports;
  EXPECT_FALSE(QXThrow.SetHandler([&](QXErrorLevel level, const std::string& text) {
    reports.emplace_back(level, text);
    if (level == QXErrorLevel::Error) QXThrow.Warning("from within: %s", text.c_str());
  }));
  QXThrow.Error("first");
  const auto former = QXThrow.SetHandler({});
  ASSERT_TRUE(former);
  former(QXErrorLevel::Fatal, "direct");
  const std::vector<std::pair<QXErrorLevel, std::string>> expected = {
      {QXErrorLevel::Error, "first"},
      {QXErrorLevel::Warning, "from within: first"},
      {QXErrorLevel::Fatal, "direct"}};
  EXPECT_EQ(reports, expected);
}

TEST_F(Throw, ManyThreadsReportWhileTheHandlerChanges) {
  constexpr int kReports = 2000;
  std::atomic<int> count = 0;
  const auto counter = [&](QXErrorLevel, const std::string&) { ++count; };
  QXThrow.SetHandler(counter);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kReports; ++i) {
        QXThrow.Warning("%d", i);
        if (i % 100 == 0) QXThrow.SetHandler(counter);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(count, 4 * kReports);
}

}  // namespace
