#include <map>
#include <type_traits>

#include "der_text.h"
#include "pkcs12_helper.h"

namespace {

const std::string untouched("\xEE", 1);

std::string show(const blob_t& blob) {
  return to_hex(bytes_of(blob));
}

std::string show(const pkcs12_mac_t& mac) {
  return show(mac.digest_alg) + "/" + show(mac.digest) + "/" + show(mac.mac_salt) + "/" +
         std::to_string(mac.mac_iterations);
}

std::string show(const std::list<pkcs12_bag_t>& bags) {
  std::string out;
  for (const pkcs12_bag_t& bag : bags) {
    out += out.empty() ? "" : ", ";
    out += (bag.type == PKCS12_BAG_KEY ? "K " : "C ") + show(bag.value);
    out += bag.friendly_name.size == 0 ? "" : " n " + show(bag.friendly_name);
    out += bag.local_key_id.size == 0 ? "" : " i " + show(bag.local_key_id);
  }
  return out;
}

std::string show(const pkcs12_easy_t& model) {
  return show(model.plain_bags) + "/" + show(model.encrypted_bags);
}

// Notes each call with its bytes. Decrypts the ciphertexts that it knows, and accepts every MAC but
// BA DD.
class fake_crypto_t : public pbe_crypto_t {
 public:
  std::map<std::string, std::string> plaintexts;
  bool computes = true;
  std::string calls;

  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    calls += "verify " + show(mac) + " " + to_hex(data, size) + "\n";
    return show(mac.digest) != "BA DD";
  }
  bool compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) override {
    calls += "compute " + show(mac) + " " + to_hex(data, size) + "\n";
    mac = {view(salt_), view(digest_), view(mac_salt_), 1};
    return computes;
  }
  bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    const std::string ciphertext = to_hex(data, size);
    calls += "decrypt " + show(pbe.salt) + "/" + std::to_string(pbe.iterations) + "/" +
             show(pbe.iv) + " " + ciphertext + " " + plaintext + "\n";
    plaintext = plaintexts.count(ciphertext) == 0 ? "" : plaintexts[ciphertext];
    return plaintexts.count(ciphertext) != 0;
  }
  bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
               std::string& ciphertext) override {
    calls += "encrypt " + show(pbe.salt) + show(pbe.iv) + ciphertext + to_hex(data, size) + "\n";
    pbe = {view(salt_), 2000, view(iv_)};
    ciphertext = "\xC9";
    plaintexts["C9"].assign(data, data + size);
    return false;  // which changes nothing
  }

 private:
  const std::string salt_ = from_hex("A1A2"), iv_ = from_hex("B1B2B3");
  const std::string digest_ = from_hex("D1D2"), mac_salt_ = from_hex("E1E2");
};

std::string read_mac(const exact_t& in) {
  pkcs12_mac_t mac{view(untouched), view(untouched), view(untouched), 77};
  const bool ok = asn_read_pkcs12_MacData(in.data(), in.size(), mac);
  return (ok ? "ok " : "no ") + show(mac);
}

class Pkcs12 : public testing::Test {
 protected:
  const rows_t file{"pkcs12.txt"};
  std::map<std::string, std::string> plaintexts;
  fake_crypto_t crypto;

  Pkcs12() {
    for (const row_t& row : file.rows) {
      if (row.sample == "plaintext") {
        plaintexts[row.change] = der_text(row.expected);
      }
    }
    crypto.plaintexts = plaintexts;
  }

  bool read(const exact_t& in, pkcs12_easy_t& model) {
    crypto.calls.clear();
    return asn_read_pkcs12_easy(in.data(), in.size(), &crypto, model);
  }

  std::string write(const pkcs12_easy_t& model) {
    crypto.calls.clear();
    std::string out = "old";
    asn_write_pkcs12_easy(model, &crypto, out);
    return out;
  }

  // What is read is read again from what is written of it.
  std::string outcome(const exact_t& in) {
    crypto.plaintexts = plaintexts;
    pkcs12_easy_t model, again;
    if (!read(in, model)) {
      std::ostringstream out;
      out << "refused " << model.plain_bags.size() << "+" << model.encrypted_bags.size() << " kept "
          << model.decrypted_data.size();
      return crypto.calls.empty() ? "refused unasked" : out.str();
    }
    const exact_t written(write(model));
    EXPECT_TRUE(read(written, again));
    EXPECT_EQ(show(again), show(model));
    return show(model) + (written.bytes() == in.bytes() ? " same" : "");
  }
};

TEST_F(Pkcs12, Changes) {
  for (const row_t& row : file.rows) {
    if (row.sample != "plaintext") {
      const exact_t in(file.changed(row));
      EXPECT_EQ(row.sample == "mac" ? read_mac(in) : outcome(in), row.expected)
          << row.sample << ": " << row.reason;
    }
  }
}

TEST_F(Pkcs12, OtherKindsAndTheModelsMac) {
  const std::string value = from_hex("3000"), name = from_hex("00410042"), id = from_hex("01"),
                    digest = from_hex("F1");
  pkcs12_easy_t model;
  model.plain_bags = {{7, view(value), {}, {}}, {7, view(value), view(name), view(id)}};
  model.mac = {view(value), view(digest), {}, 2048};
  crypto.computes = false;
  EXPECT_EQ(to_hex(write(model)), to_hex(der_text(file.text("others"))));
}

TEST_F(Pkcs12, CallsInOrderAndMoves) {
  const auto hex = [&](const char* name) { return to_hex(der_text(file.text(name))) + "\n"; };
  const exact_t in(der_text(file.text("calls")));
  pkcs12_easy_t model;
  model.plain_bags.resize(1);
  ASSERT_TRUE(read(in, model));
  const std::string decrypt = "decrypt A1 A2/2000/B1 B2 B3 ";
  EXPECT_EQ(crypto.calls, "verify 06 06 2A 85 03 02 02 09 05 00/D1 D2/E1 E2/1 " + hex("verify") +
                              decrypt + "C1 \n" + decrypt + "C2 \n" + decrypt + "C1 \n");
  EXPECT_EQ(model.plain_bags.size(), 1u);  // what was there is kept
  ASSERT_EQ(model.decrypted_data.size(), 3u);
  EXPECT_EQ(model.decrypted_data.back(), plaintexts["C2"]);

  static_assert(!std::is_copy_constructible_v<pkcs12_easy_t>);
  const std::string shown = show(model);
  const pkcs12_bag_t* const node = &model.plain_bags.front();
  const char* const short_plaintext = model.decrypted_data.front().data();
  pkcs12_easy_t moved(std::move(model)), assigned;
  assigned.decrypted_data.emplace_back("dropped");
  assigned = std::move(moved);
  EXPECT_EQ(show(assigned), shown);
  EXPECT_EQ(show(assigned.mac.digest), "D1 D2");
  EXPECT_EQ(&assigned.plain_bags.front(), node);
  EXPECT_EQ(assigned.decrypted_data.front().data(), short_plaintext);

  model = pkcs12_easy_t();
  model.encrypted_bags = {{PKCS12_BAG_KEY, assigned.encrypted_bags.front().value, {}, {}}};
  write(model);
  EXPECT_EQ(crypto.calls, "encrypt " + hex("encrypt") + "compute ///0 " + hex("compute"));
}

TEST_F(Pkcs12, DamagedInputStaysInBounds) {
  const std::string pfx = der_text(file.text("calls"));
  const std::string plaintext = plaintexts["C2"];
  for_each_damaged(pfx, [&](const exact_t& in) {
    pkcs12_easy_t model;
    EXPECT_FALSE(read(in, model) && in.size() < pfx.size()) << in.size();
    for (const pkcs12_bag_t& bag : model.plain_bags) {
      EXPECT_TRUE(in.holds(bag.value) && in.holds(bag.friendly_name) && in.holds(bag.local_key_id));
    }
  });
  const exact_t in(pfx);
  for_each_damaged(plaintext, [&](const exact_t& damaged) {
    pkcs12_easy_t model;
    crypto.plaintexts["C2"] = damaged.bytes();
    if (read(in, model)) {
      EXPECT_EQ(damaged.size(), plaintext.size());
      show(model);  // under the sanitizers
    }
  });
}

}  // namespace
