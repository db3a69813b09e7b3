// Damaged containers: a clean failure or a right read, never a crash.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "bytes.h"
#include "container.h"
#include "messages.h"
#include "test_util.h"

namespace {

// Derives in earnest what the good sample needs, once. For any other salt or count one round gives
// a wrong key just as well.
struct quick_pbe_t : gost_pbe_t {
  inline static const std::string password = "pkider-sample";
  inline static bool learning = true;
  const bool any_mac;

  explicit quick_pbe_t(bool any) : gost_pbe_t({password.begin(), password.end()}), any_mac(any) {}

  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    return any_mac || gost_pbe_t::verify_mac(mac, data, size);
  }

  secret_t derive(const blob_t& salt, unsigned iterations, unsigned block) override {
    static std::map<std::string, secret_t> learned;
    const std::string asked = bytes_of(salt) + std::to_string(iterations) + std::to_string(block);
    if (learning) {
      learned[asked] = gost_pbe_t::derive(salt, iterations, block);
    }
    return learned.count(asked) != 0 ? learned[asked] : gost_pbe_t::derive(salt, 1, block);
  }
};

// Everything that was read, or the message.
std::string outcome(const std::string& der, bool any_mac = false) {
  try {
    quick_pbe_t crypto(any_mac);
    container_t container = split_container("sample", der);
    read_container("sample", &crypto, &container);
    std::string text;
    for (const auto* bags : {&container.model.encrypted_bags, &container.model.plain_bags}) {
      for (const pkcs12_bag_t& bag : *bags) {
        for (const blob_t& view : {bag.value, bag.friendly_name, bag.local_key_id}) {
          text += std::to_string(bag.type) + ' ' + to_hex(bytes_of(view)) + '\n';
        }
      }
    }
    return text;
  } catch (const input_error_t& e) {
    return e.what();
  }
}

TEST(damaged_containers, every_prefix_and_every_flipped_bit) {
  protect_secrets();
  std::ifstream file(SAMPLE, std::ios::binary);
  const std::string good(std::istreambuf_iterator<char>(file), {});
  const std::string right = outcome(good);
  ASSERT_EQ(std::count(right.begin(), right.end(), '\n'), 6) << right;
  quick_pbe_t::learning = false;
  EXPECT_NE(outcome(good.substr(0, good.size() - 3) + std::string(3, '\0')).find("in 0 rounds"),
            std::string::npos);
  for (std::size_t i = 0; i < good.size(); ++i) {
    EXPECT_EQ(outcome(good.substr(0, i)).rfind("sample: ", 0), 0U) << i;
    for (int bit = 1; bit < 256; bit <<= 1) {
      std::string changed = good;
      changed[i] = static_cast<char>(changed[i] ^ bit);
      const std::string got = outcome(changed);
      EXPECT_TRUE(got == right || got.rfind("sample: ", 0) == 0) << i << ' ' << bit << ' ' << got;
      outcome(changed, true);
    }
  }
}

}  // namespace
