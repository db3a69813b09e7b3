#include "der_text.h"
#include "pkcs8_helper.h"

namespace {

// What the records hold before each read.
const std::string untouched("\xEE", 1);
const pkcs5_pbe_gost_t untouched_pbe{view(untouched), 77, view(untouched)};

std::string show(const pkcs5_pbe_gost_t& pbe) {
  return to_hex(bytes_of(pbe.salt)) + "/" + std::to_string(pbe.iterations) + "/" +
         to_hex(bytes_of(pbe.iv));
}

std::string read_pbe(const exact_t& in) {
  pkcs5_pbe_gost_t pbe = untouched_pbe;
  const bool ok = asn_read_pkcs5_pbe_gost(in.data(), in.size(), pbe);
  std::string out = "old";
  asn_write_pkcs5_pbe_gost(pbe, out);  // with its SEQUENCE, which the reader must not be given
  EXPECT_FALSE(asn_read_pkcs5_pbe_gost(view(out).data, view(out).size, pbe));
  EXPECT_TRUE(!ok || (in.holds(pbe.salt) && in.holds(pbe.iv)));
  return (ok ? "ok " : "no ") + show(pbe) + (out == der(0x30, in.bytes()) ? " same" : "");
}

std::string read_key(const exact_t& in) {
  asn_pkcs8_priv_key_info_t any{view(untouched), view(untouched)};
  pkcs8_pki_gost_t gost{pkcs8_gost_alg_t{9}, view(untouched)};
  const bool any_ok = asn_read_pkcs8_priv_key_info(in.data(), in.size(), any);
  const bool gost_ok = asn_read_pkcs8_pki_gost(in.data(), in.size(), gost);
  EXPECT_TRUE(!any_ok || (in.holds(any.algorithm) && in.holds(any.private_key)));
  EXPECT_TRUE(!gost_ok || in.holds(gost.private_key));
  std::string out = "old";
  asn_write_pkcs8_pki_gost(gost, out);
  const std::string oid = bytes_of(any.algorithm);
  return (any_ok ? "ok " : "no ") + (oid.empty() ? oid : to_hex(&oid.back(), 1)) + "/" +
         to_hex(bytes_of(any.private_key)) + (gost_ok ? ", ok " : ", no ") +
         std::to_string(gost.key_alg) + "/" + to_hex(bytes_of(gost.private_key)) +
         (out == in.bytes() ? " same" : "");
}

std::string read_shrouded(const exact_t& in) {
  pkcs8_encrypted_pki_gost_t key{untouched_pbe, view(untouched)};
  const bool ok = asn_read_pkcs8_encrypted_pki_gost(in.data(), in.size(), key);
  EXPECT_TRUE(!ok || (in.holds(key.pbe.salt) && in.holds(key.encrypted_data)));
  std::string out = "old";
  asn_write_pkcs8_encrypted_pki_gost(key, out);
  return (ok ? "ok " : "no ") + show(key.pbe) + "/" + to_hex(bytes_of(key.encrypted_data)) +
         (out == in.bytes() ? " same" : "");
}

const std::map<std::string, std::string (*)(const exact_t&)> readers = {
    {"pbe", read_pbe}, {"key", read_key}, {"shrouded", read_shrouded}};

TEST(Pkcs8, Changes) {
  const rows_t file("pkcs8.txt");
  for (const row_t& row : file.rows) {
    EXPECT_EQ(readers.at(row.sample)(exact_t(file.changed(row))), row.expected)
        << row.sample << ": " << row.reason;
  }
}

TEST(Pkcs8, DamagedInputStaysInBounds) {
  const rows_t file("pkcs8.txt");
  for (const auto& [name, read] : readers) {
    const std::string good = der_text(file.text(name));
    for_each_damaged(good, [&, read = read](const exact_t& in) {
      EXPECT_TRUE(read(in)[0] == 'n' || in.size() == good.size()) << in.size();
    });
  }
}

TEST(Pkcs8, EveryFormOfLengths) {
  for (const unsigned size : {0u, 57u, 58u, 59u, 127u, 128u, 255u, 256u, 506u, 70000u}) {
    const std::string octets(size, 'k');
    std::string out, pbe;
    const pkcs8_encrypted_pki_gost_t record{{view(octets), 2048, view(octets)}, view(octets)};
    asn_write_pkcs5_pbe_gost(record.pbe, pbe);
    asn_write_pkcs8_encrypted_pki_gost(record, out);
    EXPECT_EQ(out, der(0x30, pbe + der(4, octets))) << size;
    const std::string shown = to_hex(octets);  // and zero bytes of the count are left out
    EXPECT_EQ(read_shrouded(exact_t(out)), "ok " + shown + "/8/" + shown + "/" + shown + " same");
    asn_write_pkcs8_pki_gost({pkcs8_gost_alg_t{3}, view(octets)}, out);
    const std::string head = der_text("02(00) 30(06() 30(06() 06(2A850302021E01)))");
    EXPECT_EQ(out, der(0x30, head + der(4, der(4, octets)))) << size;
  }
}

}  // namespace
