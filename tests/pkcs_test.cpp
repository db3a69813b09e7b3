// PBES2, PKCS#8 and PKCS#12: changes to each part of a sample, calls, moves.

#include <type_traits>

#include <pkider/pkcs12_helper.h>

#include "asn_oids.h"
#include "pkcs12_writer.h"
#include "rows.h"

namespace {

// The samples of whole tests, and the plaintexts, of which the ciphertexts are the names.
const rows_t file("pkcs.txt", {"calls", "verify", "box", "encrypt", "compute", "written",
                               "computed", "C1", "C3", "C4", "C6", "nothing"});

std::string show(const pkcs5_pbe_gost_t& pbe) {
  return show(pbe.salt) + "/" + std::to_string(pbe.iterations) + "/" + show(pbe.iv);
}

std::string show(const pkcs12_mac_t& mac) {
  return show(mac.digest_alg) + "/" + show(mac.digest) + "/" + show(mac.mac_salt) + "/" +
         std::to_string(mac.mac_iterations);
}

std::string show(const std::list<pkcs12_bag_t>& bags) {
  std::string out;
  for (const pkcs12_bag_t& bag : bags) {
    out += (out.empty() ? "" : ", ") + std::string(bag.type == PKCS12_BAG_KEY ? "K " : "C ") +
           show(bag.value) + (bag.friendly_name.size == 0 ? "" : " n " + show(bag.friendly_name)) +
           (bag.local_key_id.size == 0 ? "" : " i " + show(bag.local_key_id));
  }
  return out;
}

std::string show(const pkcs12_easy_t& model) {
  return show(model.plain_bags) + "/" + show(model.encrypted_bags);
}

// Notes each call with its bytes, and accepts every MAC but BA DD. Ciphertext is C9 and plaintext,
// or the name of a text of the file.
struct fake_crypto_t : pbe_crypto_t {
  bool computes = true, refused = false;
  std::string calls;
  inline static const std::string salt = from_hex("A1A2"), iv = from_hex("B1B2B3");
  inline static const std::string digest = from_hex("D1D2"), mac_salt = from_hex("E1E2");

  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    calls += "verify " + show(mac) + " " + std::string(data, data + size) + "\n";
    refused = show(mac.digest) == "BA DD";
    return !refused;
  }
  bool compute_mac(const unsigned char* data, unsigned size, pkcs12_mac_t& mac) override {
    calls += "compute " + show(mac) + " " + std::string(data, data + size) + "\n";
    mac = {view(salt), view(digest), view(mac_salt), 1};
    return computes;
  }
  bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    calls += "decrypt " + show(pbe) + " " + std::string(data, data + size) + plaintext + "\n";
    const std::string ciphertext(data, data + size);
    const bool own = ciphertext[0] == '\xC9';
    const auto known = file.texts.find(size == 0 ? "nothing" : to_hex(ciphertext));
    const bool found = known != file.texts.end();
    plaintext = own ? ciphertext.substr(1) : found ? from_hex(known->second) : "";
    shown.push_back(view(plaintext));
    return own || found;
  }
  bool encrypt(const unsigned char* data, unsigned size, pkcs5_pbe_gost_t& pbe,
               std::string& ciphertext) override {
    calls += "encrypt " + show(pbe.salt) + show(pbe.iv) + ciphertext +
             std::string(data, data + size) + "\n";
    pbe = {view(salt), 2000, view(iv)};
    ciphertext = "\xC9" + std::string(data, data + size);
    return false;  // which changes nothing
  }
};

std::string outcome(bool ok, const std::string& fields, bool same) {
  return (ok ? "ok " : "no ") + fields + (same ? " same" : "");
}

std::string read_pbe(const exact_t& in) {
  pkcs5_pbe_gost_t pbe{old, 77, old};
  const bool ok = asn_read_pkcs5_pbe_gost(in.data(), in.size(), pbe);
  std::string out = "old";
  asn_write_pkcs5_pbe_gost(pbe, out);
  return outcome(ok, show(pbe), out == der(0x30, in.bytes()));
}

std::string read_key(const exact_t& in) {
  asn_pkcs8_priv_key_info_t any{old, old};
  pkcs8_pki_gost_t gost{pkcs8_gost_alg_t{9}, old};
  const bool any_ok = asn_read_pkcs8_priv_key_info(in.data(), in.size(), any);
  const bool gost_ok = asn_read_pkcs8_pki_gost(in.data(), in.size(), gost);
  std::string out = "old";
  asn_write_pkcs8_pki_gost(gost, out);
  const std::string fields = std::to_string(gost.key_alg) + "/" + show(gost.private_key);
  return outcome(any_ok, show(any.algorithm) + "/" + show(any.private_key), false) + ", " +
         outcome(gost_ok, fields, out == in.bytes());
}

std::string read_shrouded(const exact_t& in) {
  pkcs8_encrypted_pki_gost_t key{{old, 77, old}, old};
  const bool ok = asn_read_pkcs8_encrypted_pki_gost(in.data(), in.size(), key);
  std::string out = "old";
  asn_write_pkcs8_encrypted_pki_gost(key, out);
  return outcome(ok, show(key.pbe) + "/" + show(key.encrypted_data), out == in.bytes());
}

std::string read_mac(const exact_t& in) {
  pkcs12_mac_t mac{old, old, old, 77};
  const bool ok = asn_read_pkcs12_MacData(in.data(), in.size(), mac);
  return outcome(ok, show(mac), false);
}

std::string write(const pkcs12_easy_t& model, fake_crypto_t& crypto) {
  std::string out = "old";
  crypto.calls.clear();
  asn_write_pkcs12_easy(model, &crypto, out);
  return out;
}

std::string read_pfx(const exact_t& in) {
  fake_crypto_t crypto;
  pkcs12_easy_t model;
  shown.push_back(view(fake_crypto_t::salt));
  if (asn_read_pkcs12_easy(in.data(), in.size(), &crypto, model)) {
    const std::string bags = show(model);
    return bags + (write(model, crypto) == in.bytes() ? " same" : "");
  }
  return crypto.calls.empty() ? "no, unasked"
         : crypto.refused     ? "no, refused " + show(model.mac)
                              : "no, " + std::to_string(model.plain_bags.size()) + "+" +
                                std::to_string(model.encrypted_bags.size()) + " kept " +
                                std::to_string(model.decrypted_data.size());
}

const readers_t readers = {{"pbe", read_pbe}, {"key", read_key},  {"shrouded", read_shrouded},
                           {"mac", read_mac}, {"bags", read_pfx}, {"sealed", read_pfx},
                           {"pfx", read_pfx}, {"whole", read_pfx}};

std::string changed(const row_t& row) {
  std::string text = file.texts.at(row.operation);
  const std::size_t arrow = row.input.find(" -> ");
  text.replace(text.find(row.input.substr(0, arrow)), arrow, row.input.substr(arrow + 4));
  return read(readers, row.operation, exact_t(from_hex(text)));
}

TEST(Pkcs, Rows) {
  operations_t operations = {
      {"tag", [](auto& row) { return with_other_tags(file, row, readers); }}};
  for (const auto& [sample, reader] : readers) {
    operations[sample] = changed;
  }
  run_rows(file, operations);
}

TEST(Pkcs12, CallsInOrderAndMoves) {
  const exact_t in(file.sample("calls"));
  fake_crypto_t crypto;
  pkcs12_easy_t model;
  model.plain_bags.resize(1);
  shown = {{in.size(), in.data()}};
  ASSERT_TRUE(asn_read_pkcs12_easy(in.data(), in.size(), &crypto, model));
  const std::string decrypt = "decrypt A1 A2/2000/B1 B2 B3 ";
  EXPECT_EQ(crypto.calls, "verify 06 06 2A 85 03 02 02 09 05 00/D1 D2/E1 E2/1 " +
                              file.sample("verify") + "\n" + decrypt + "\xC1\n" + decrypt +
                              file.sample("box") + "\n" + decrypt + "\xC1\n");
  EXPECT_EQ(model.plain_bags.size(), 1u);  // what was there is kept
  EXPECT_EQ(model.decrypted_data.size(), 3u);
  EXPECT_EQ("\xC9" + model.decrypted_data.back(), file.sample("box"));

  static_assert(!std::is_copy_constructible_v<pkcs12_easy_t>);
  const std::string bags = show(model);
  const char* const short_plaintext = model.decrypted_data.front().data();
  pkcs12_easy_t moved(std::move(model)), assigned;
  assigned.decrypted_data.emplace_back("dropped");
  assigned = std::move(moved);
  EXPECT_EQ(show(assigned) + show(assigned.mac.digest), bags + "D1 D2");
  EXPECT_EQ(assigned.decrypted_data.front().data(), short_plaintext);

  const std::string value = from_hex("3000"), name = from_hex("00410042"), id = from_hex("01");
  model = pkcs12_easy_t();
  model.plain_bags = {{7, view(value), {}, {}}, {7, view(value), view(name), view(id)}};
  model.encrypted_bags = {{PKCS12_BAG_KEY, view(value), {}, {}}};
  model.mac = {view(value), view(id), {}, 2048};
  crypto.computes = false;
  EXPECT_EQ(to_hex(write(model, crypto)), to_hex(file.sample("written")));
  EXPECT_EQ(crypto.calls, "encrypt " + file.sample("encrypt") + "\ncompute ///0 " +
                              file.sample("compute") + "\n");
  crypto.computes = true;
  EXPECT_EQ(to_hex(write(model, crypto)), to_hex(file.sample("computed")));
  std::string unknown;
  asn_write_pkcs8_pki_gost({pkcs8_gost_alg_t{3}, view(id)}, unknown);
  EXPECT_EQ(unknown, from_hex("30(02(00) 30(06() 30(06() 06(2A850302021E01))) 04(04(01)))"));
}

// Past every change of a length's size, of the container's own after the MAC is known, too.
TEST(Write, Lengths) {
  for (const auto& [first, step] :
       {std::pair(0u, 1u), std::pair(65000u, 9u), std::pair(1u << 24, 560u)}) {
    for (const unsigned mac_size : {0u, 32u, 500u}) {
      for (unsigned size = first; size < first + 560; size += step) {
        const std::string key = der(4, std::string(size, 'k')), mac(mac_size, 'm');
        pkcs12_easy_t model, again;
        model.plain_bags = {{PKCS12_BAG_KEY, view(key), {}, {}}};
        model.mac = {{}, view(mac), {}, 1};
        fake_crypto_t crypto;
        crypto.computes = false;
        const std::string out = write(model, crypto);
        ASSERT_TRUE(asn_read_pkcs12_easy(view(out).data, view(out).size, &crypto, again)) << size;
        ASSERT_TRUE(bytes_of(again.plain_bags.front().value) == key) << size << ' ' << mac_size;
        ASSERT_TRUE(bytes_of(again.mac.digest) == mac && out.back() == '\1') << size;
      }
    }
  }
}

TEST(Write, Parts) {
  asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
  const asn_tag_t_<0> content(asn_tag_t::OCTET_STRING, "\1\2\3", 3);
  for (int i = 0; i < 2; ++i) {
    asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_data, content, out);
  }
  asn_write_pkcs12_bags({}, out);
  const unsigned char unread = 0;
  const blob_t claim = {0xFFFFFFFF, &unread};
  asn_write_pkcs12_bag({7, claim, {}, {}}, out);
  for (const unsigned type : {PKCS12_BAG_KEY, PKCS12_BAG_CERT}) {
    EXPECT_THROW(asn_write_pkcs12_bag({type, claim, {}, {}}, out), std::bad_alloc);
    EXPECT_THROW(asn_write_pkcs12_bags({{type, claim, claim, claim}}, out), std::bad_alloc);
  }
  const std::string info = "30(06(2A864886F70D010701) A0(0403010203))";
  EXPECT_EQ(to_hex(out.encoded(), out.encoded_size()),
            to_hex(from_hex("30(" + info + info + "3000 3000)")));
}

}  // namespace
