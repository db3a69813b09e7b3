// Damaged containers: a clean failure or a right read, never a crash.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

#include "bytes.h"
#include "container.h"
#include "messages.h"
#include "test_util.h"

namespace {

// Everything that was read, or the message.
std::string outcome(const std::string& der, bool any_mac = false) {
  const std::string text = "pkider-sample";
  const secret_t password(text.begin(), text.end());
  try {
    deriver_t deriver(1000);
    container_t container;
    split_container("sample", der, container);
    admit_container("sample", container, deriver);
    if (!any_mac) {
      check_mac("sample", container, password, deriver);
    }
    std::string read;
    for (const opened_bag_t& opened : open_bags("sample", container, password, deriver)) {
      const pkcs12_bag_t bag = opened.bag == nullptr ? pkcs12_bag_t() : *opened.bag;
      for (const blob_t& view : {bag.value, bag.friendly_name, bag.local_key_id}) {
        read += opened.kind + ' ' + to_hex(bytes_of(view)) + '\n';
      }
    }
    return read;
  } catch (const input_error_t& e) {
    return e.what();
  }
}

TEST(damaged_containers, every_prefix_and_every_flipped_bit) {
  protect_secrets();
  std::cerr.setstate(std::ios::failbit);  // what is left out is reported there
  std::ifstream file(SAMPLE, std::ios::binary);
  const std::string good(std::istreambuf_iterator<char>(file), {});
  const std::string right = outcome(good);
  ASSERT_EQ(std::count(right.begin(), right.end(), '\n'), 6) << right;
  EXPECT_NE(outcome(good.substr(0, good.size() - 1) + '\0').find("in 0 rounds"), std::string::npos);
  for (std::size_t i = 0; i < good.size(); ++i) {
    EXPECT_EQ(outcome(good.substr(0, i)).rfind("sample: ", 0), 0U) << i;
    for (int bit = 1; bit < 256; bit <<= 1) {
      std::string changed = good;
      changed[i] = static_cast<char>(changed[i] ^ bit);
      outcome(changed, true);
      if (bit != 1 << i % 8) {  // the MAC sees one as well as the other
        continue;
      }
      const std::string got = outcome(changed);
      EXPECT_TRUE(got == right || got.rfind("sample: ", 0) == 0) << i << ' ' << bit << ' ' << got;
    }
  }
}

}  // namespace
