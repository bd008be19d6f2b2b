// The SDK's own types.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "core_contract/method_id.h"
#include "core_contract/sdk_string.h"
#include "core_contract/sdk_vector.h"
#include "zelk_foundation_standin.h"

namespace zelk_test {
namespace {

using zelk::SdkString;
using zelk::foundation_standin::NodesOut;

TEST(SdkString, HoldsATextUpToItsFirstNul) {
  const struct {
    SdkString string;
    const char* text;
    uint64_t nodes;
  } rows[] = {
      {SdkString(), "", 0},
      // NOLINTNEXTLINE(bugprone-string-constructor): unlike std::string it takes null
      {SdkString(static_cast<const char*>(nullptr)), "", 0},
      {SdkString(""), "", 0},
      {SdkString(std::string("a\0b", 3)), "a", 1},
      {SdkString(std::string("\0b", 2)), "", 0},
      {SdkString("text"), "text", 1},
  };
  for (const auto& row : rows) {
    EXPECT_STREQ(row.string.c_str(), row.text);
    EXPECT_EQ(row.string.size(), std::string(row.text).size());
    EXPECT_EQ(row.string.empty(), row.nodes == 0);
  }
  EXPECT_EQ(NodesOut(), 2);
}

TEST(SdkString, OwnsANodeOfItsOwn) {
  {
    SdkString first("first");
    SdkString second(first);
    first = "changed";
    EXPECT_STREQ(second.c_str(), "first");
    second = *&second;
    EXPECT_STREQ(second.c_str(), "first");
    second = first;
    first = static_cast<const char*>(nullptr);
    EXPECT_STREQ(second.c_str(), "changed");
    zelk::foundation_standin::FailNodeAllocations(1);
    second = "no memory";
    EXPECT_STREQ(second.c_str(), "");
    EXPECT_EQ(NodesOut(), 0);
  }
  EXPECT_EQ(zelk::foundation_standin::NodesMisused(), 0);
}

TEST(SdkVector, GrowsByDoublingAndCopiesExactly) {
  zelk::zelk_tp_stl_c::vector<SdkString> list;
  EXPECT_EQ(list.capacity(), 0U);
  const uint64_t capacities[] = {1, 2, 4, 4, 8};
  for (const uint64_t capacity : capacities) {
    list.push_back(list.empty() ? SdkString("x") : list[0]);  // an element of its own
    EXPECT_EQ(list.capacity(), capacity);
    EXPECT_STREQ(list[list.size() - 1].c_str(), "x");
  }
  zelk::zelk_tp_stl_c::vector<SdkString> copy;
  copy = list;
  EXPECT_EQ(copy.size(), 5U);
  EXPECT_EQ(copy.capacity(), 5U);
  copy = *&copy;
  EXPECT_EQ(copy.size(), 5U);
  const zelk::zelk_tp_stl_c::vector<SdkString> reserved(32);
  EXPECT_EQ(reserved.capacity(), 32U);
  EXPECT_TRUE(reserved.empty());
}

TEST(MethodId, NamesAndValuesBelongTogether) {
  const std::map<int32_t, std::string> some = {
      {0, "kMethodIDUndefine"},
      {101, "kMethodIDAuthAutoLogin"},
      {102, "kMethodIDAuthLogin"},
      {107, "kMethodIDAuthLogout"},
      {110, "KMethodIDAuthScheme"},
      {203, "kMethodIDFriendQueryFriends"},
      {737, "kMethodIDAnalyticsGetDeviceInfo"},
      {1001, "kMethodIDUpdateStartRepoNewVersionInfo"},
      {1301, "kMethodIDExtendInvoke"},
      {2005, "kMethodIDPermissionTrackingCheck"},
  };
  EXPECT_EQ(zelk::kMethodIDNames.size(), 132U);
  for (const auto& [id, name] : some) EXPECT_EQ(zelk::kMethodIDNames.at(id), name);
}

}  // namespace
}  // namespace zelk_test
