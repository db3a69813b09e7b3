// Damaged containers: a clean failure or a right read, never a crash.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <tuple>

#include "cli.h"
#include "container.h"
#include "test_util.h"

namespace {

// Derives in earnest what the good sample needs, once. For any other salt or count one round gives
// a wrong key just as well.
class quick_pbe : public gost_pbe {
 public:
  quick_pbe(const std::string& password, bool any_mac)
      : gost_pbe(secret_t(password.begin(), password.end())),
        any_mac_(any_mac),
        password_(password) {}

  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    return any_mac_ || gost_pbe::verify_mac(mac, data, size);
  }

  static bool learning;

 protected:
  secret_t derive(const blob_t& salt, unsigned iterations, unsigned block) override {
    static std::map<std::tuple<std::string, std::string, unsigned, unsigned>, secret_t> learned;
    const auto asked = std::make_tuple(password_, bytes_of(salt), iterations, block);
    const auto known = learned.find(asked);
    if (known != learned.end()) {
      return known->second;
    }
    return learning ? learned[asked] = gost_pbe::derive(salt, iterations, block)
                    : gost_pbe::derive(salt, 1, block);
  }

 private:
  bool any_mac_;
  std::string password_;
};

bool quick_pbe::learning = true;

std::string list(const std::list<pkcs12_bag_t>& bags) {
  std::string text;
  for (const pkcs12_bag_t& bag : bags) {
    text += std::to_string(bag.type) + ' ' + to_hex(bytes_of(bag.value)) + ' ' +
            to_hex(bytes_of(bag.friendly_name)) + ' ' + to_hex(bytes_of(bag.local_key_id)) + '\n';
  }
  return text;
}

// Everything that was read, or the message.
std::string outcome(const std::string& der, bool any_mac,
                    const std::string& password = "pkider-sample") {
  try {
    quick_pbe crypto(password, any_mac);
    container_t container = split_container("sample", der);
    read_container("sample", &crypto, &container);
    return list(container.model.encrypted_bags) + list(container.model.plain_bags);
  } catch (const input_error& e) {
    return e.what();
  }
}

std::string sample() {
  std::ifstream file(SAMPLE, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(damaged_containers, every_prefix_and_every_flipped_bit) {
  protect_secrets();
  const std::string good = sample();
  const std::string right = outcome(good, false);
  ASSERT_EQ(std::count(right.begin(), right.end(), '\n'), 2) << right;
  quick_pbe::learning = false;
  EXPECT_EQ(outcome(good, false, "pkider-sampl"), "sample: wrong password, or a damaged file");
  for (std::size_t i = 0; i < good.size(); ++i) {
    EXPECT_EQ(outcome(good.substr(0, i), false).rfind("sample: ", 0), 0U) << i;
    for (int bit = 1; bit < 256; bit <<= 1) {
      std::string changed = good;
      changed[i] = static_cast<char>(changed[i] ^ bit);
      const std::string got = outcome(changed, false);
      EXPECT_TRUE(got == right || got.rfind("sample: ", 0) == 0) << i << ' ' << bit << ' ' << got;
      outcome(changed, true);
    }
  }
}

TEST(damaged_containers, hostile_counts) {
  quick_pbe crypto("x", false);
  std::string plaintext;
  const std::string octets(8, 'x');
  const blob_t view = {8, reinterpret_cast<const unsigned char*>(octets.data())};
  for (const unsigned iterations : {0U, 10'000'001U, 0xFFFFFFFFU}) {
    EXPECT_THROW(crypto.decrypt({view, iterations, view}, view.data, 8, plaintext), pbe_error);
  }
  EXPECT_FALSE(crypto.decrypt({view, 1, {7, view.data}}, view.data, 8, plaintext));
}

}  // namespace
