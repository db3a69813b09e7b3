// Strings that can grow no further.

#include "out_string.h"

#include "rows.h"

namespace {

// Where no string is that long, std::bad_alloc is all that is thrown, and nothing is read.
TEST(OutString, ThrowsBadAllocAlone) {
  std::string s = "text";
  const std::size_t max = s.max_size();
  EXPECT_THROW(append_string_(s, {s.data(), max - 3}), std::bad_alloc);
  EXPECT_THROW(grow_string_(s, max - 3), std::bad_alloc);
  EXPECT_THROW(reserve_string_(s, ~0ULL), std::bad_alloc);
  EXPECT_THROW(size32_(1ULL << 32), std::bad_alloc);
  EXPECT_EQ(s, "text");
}

}  // namespace
