// The one ordered walk behind every get-next.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "sim/walk.h"

namespace {

TEST(SimWalkTest, AnswersTheEntryAfterTheKey) {
  const std::map<std::string, int> named = {{"alpha", 1}, {"beta", 2}, {"gamma", 3}};
  auto nameOf = [](const auto &entry) { return entry.first; };
  // After the key: the value found, or 0 for not found.
  const std::pair<std::string, int> cases[] = {{"", 1}, {"alpha", 2}, {"b", 2}, {"gamma", 0}, {"zulu", 0}};
  for (const auto &[after, value] : cases) {
    const std::pair<const std::string, int> *found = nullptr;
    open_error_t rc = walk::next(named, after, found, nameOf);
    EXPECT_EQ(rc, value ? OPEN_E_NONE : OPEN_E_NOT_FOUND) << "after \"" << after << "\"";
    EXPECT_EQ(rc == OPEN_E_NONE ? found->second : 0, value) << "after \"" << after << "\"";
  }

  // A composite key, and a walk that skips the entries it does not want.
  struct Row {
    std::pair<uint32_t, uint32_t> key;
    bool wanted;
  };
  const std::vector<Row> rows = {{{1, 1}, true}, {{1, 2}, false}, {{2, 1}, true}};
  auto wanted = [](const Row &r) { return r.wanted; };
  const Row *found = nullptr;
  ASSERT_EQ(walk::first(rows, found, &Row::key, wanted), OPEN_E_NONE);
  EXPECT_EQ(found, &rows[0]);
  ASSERT_EQ(walk::next(rows, found->key, found, &Row::key, wanted), OPEN_E_NONE);
  EXPECT_EQ(found, &rows[2]);
  EXPECT_EQ(walk::next(rows, found->key, found, &Row::key, wanted), OPEN_E_NOT_FOUND);
  EXPECT_EQ(walk::first(std::vector<Row>{}, found, &Row::key), OPEN_E_NOT_FOUND);
}

}  // namespace
