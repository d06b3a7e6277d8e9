#include "host/core/base.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/messages.h"

namespace {

using namespace QXCore;
using Vector = std::vector<double>;

TEST(Tag, EqualNamesShareATagAcrossThreads) {
  EXPECT_EQ(QXGetTag("grid"), QXGetTag(std::string("grid").c_str()));
  EXPECT_NE(QXGetTag("grid"), QXGetTag("Grid"));
  EXPECT_EQ(QXGetTagName(QXGetTag("electric field")), "electric field");
  EXPECT_EQ(QXGetTagName(0), "");
  EXPECT_EQ(QXGetTagName(~0u), "");

  std::vector<std::vector<unsigned int>> tags(4);
  std::vector<std::thread> threads;
  for (auto& mine : tags) {
    threads.emplace_back([&mine] {
      for (int i = 0; i < 500; ++i) mine.push_back(QXGetTag(std::to_string(i).c_str()));
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(std::set<unsigned int>(tags[0].begin(), tags[0].end()).size(), 500u);
  for (const auto& mine : tags) EXPECT_EQ(mine, tags[0]);
}

TEST(Base, ValuesComeBackAndOneTagHoldsOne) {
  QXBase base;
  EXPECT_FALSE(base.HasData("grid"));
  EXPECT_TRUE(base.GetData<Vector>("grid").empty());
  EXPECT_EQ(base.FindData(QXGetTag("grid")), nullptr);
  EXPECT_FALSE(base.DeleteData("grid"));

  EXPECT_TRUE(base.SetData("grid", Vector{1, 2}));
  EXPECT_TRUE(base.SetData("potential", Vector{3}));
  EXPECT_TRUE(base.SetData(QXGetTag("grid"), Vector{4}));
  EXPECT_TRUE(base.HasData(QXGetTag("grid")));
  EXPECT_EQ(base.GetData<Vector>("grid"), Vector{4});
  EXPECT_THAT(base.GetTags(), testing::ElementsAre(QXGetTag("grid"), QXGetTag("potential")));
  EXPECT_EQ(base.FindData(QXGetTag("grid"))->GetSize(), 1u);

  EXPECT_TRUE(base.DeleteData("grid"));
  EXPECT_FALSE(base.HasData("grid"));
  EXPECT_EQ(base.GetData<Vector>("potential"), Vector{3});
}

TEST(Base, AnotherTypeIsRefusedWithAWarning) {
  const QXTest::Messages messages;
  QXBase base;
  base.SetData("grid", Vector{1});
  EXPECT_FALSE(base.HasDataOfType<int>("grid"));
  EXPECT_TRUE(base.HasDataOfType<Vector>("grid"));
  EXPECT_TRUE(messages.all.empty());
  EXPECT_FALSE(base.SetData("grid", 5));
  EXPECT_EQ(base.GetData<int>("grid"), 0);
  EXPECT_EQ(base.GetData<Vector>("grid"), Vector{1});
  EXPECT_THAT(messages.all, testing::SizeIs(2));
  EXPECT_THAT(messages.all,
              testing::Each(testing::Pair(QXErrorLevel::Warning, testing::HasSubstr("\"grid\""))));
}

}  // namespace
