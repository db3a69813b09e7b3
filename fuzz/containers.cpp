// PKCS#5, PKCS#8 and PKCS#12. Every input goes to every reader; what is read is written and read
// again. The salt steers the toy cryptography, so that the fuzzer itself can write inner layers,
// have them refused, or have their plaintext break off.

#include <vector>

#include "../bench/plain_crypto.h"
#include "laws.h"

namespace {

struct toy_crypto_t : PlainCrypto {
  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    law(bytes_of(blob_t{size, data}).size() == size);  // all of them can be read
    return mac.mac_salt.size == 0 || mac.mac_salt.data[0] != 0xFF;
  }
  bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    plaintext.assign(data, data + (pbe.salt.size == 2 ? size / 2 : size));
    return pbe.salt.size == 0 || pbe.salt.data[0] != 0xFF;
  }
} toy_crypto;

// The views that survive writing and reading.
struct views_t {
  using list = std::vector<blob_t>;
  list operator()(const pkcs5_pbe_gost_t& r) const { return {r.salt, r.iv}; }
  list operator()(const pkcs8_pki_gost_t& r) const { return {r.private_key}; }
  list operator()(const pkcs8_encrypted_pki_gost_t& r) const {
    return {r.pbe.salt, r.pbe.iv, r.encrypted_data};
  }
  list operator()(const pkcs12_easy_t& model) const {
    list all = {model.mac.digest, model.mac.mac_salt};
    for (const auto* bags : {&model.plain_bags, &model.encrypted_bags}) {
      for (const pkcs12_bag_t& bag : *bags) {
        all.insert(all.end(), {bag.value, bag.friendly_name, bag.local_key_id});
        law(bag.type == PKCS12_BAG_KEY || bag.type == PKCS12_BAG_CERT);
      }
    }
    return all;
  }
} constexpr views;

// The writer of PBES2 parameters writes a whole element, of which the reader takes the content.
bool read_pbe(const unsigned char* p, unsigned n, pkcs5_pbe_gost_t& out) {
  unsigned length = 0;
  const unsigned char* const content = asn1_read_tag(asn_tag_t::SEQUENCE, p, n, &length);
  return content != nullptr && length <= n && asn_read_pkcs5_pbe_gost(content, length, out);
}

bool read_model(const unsigned char* p, unsigned n, pkcs12_easy_t& out) {
  return asn_read_pkcs12_easy(p, n, &toy_crypto, out);
}

void write_model(const pkcs12_easy_t& model, std::string& out) {
  asn_write_pkcs12_easy(model, &toy_crypto, out);
}

// Whether a view shows bytes of the input or of a plaintext that the record keeps.
template <class Record>
bool owned(const Record& record, const exact_t& input, const blob_t& view) {
  bool kept = false;
  if constexpr (std::is_same_v<Record, pkcs12_easy_t>) {
    for (const std::string& text : record.decrypted_data) {
      const auto* p = reinterpret_cast<const unsigned char*>(text.data());
      kept = kept || (view.data >= p && view.data + view.size <= p + text.size());
    }
  }
  return kept || input.holds(view);
}

// Numbers with a zero byte are written as others: they show in what is written next.
template <class Record, class Read, class Write>
void check(const exact_t& input, Read read, Write write) {
  Record record, again;
  std::string written, rewritten;
  if (!read(input.data(), input.size(), record)) {
    return;
  }
  write(record, written);
  const exact_t copy(written);
  law(read(copy.data(), copy.size(), again));
  write(again, rewritten);
  const std::vector<blob_t> found = views(record), kept = views(again);
  law(written == rewritten && found.size() == kept.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    law(owned(record, input, found[i]) && bytes_of(found[i]) == bytes_of(kept[i]));
  }
}

}  // namespace

int harness_containers(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check<pkcs12_easy_t>(input, read_model, write_model);
  check<pkcs5_pbe_gost_t>(input, read_pbe, asn_write_pkcs5_pbe_gost);
  check<pkcs8_pki_gost_t>(input, asn_read_pkcs8_pki_gost, asn_write_pkcs8_pki_gost);
  check<pkcs8_encrypted_pki_gost_t>(input, asn_read_pkcs8_encrypted_pki_gost,
                                    asn_write_pkcs8_encrypted_pki_gost);
  asn_pkcs8_priv_key_info_t info;
  if (asn_read_pkcs8_priv_key_info(input.data(), input.size(), info)) {
    law(input.holds(info.algorithm) && input.holds(info.private_key));
  }
  pkcs12_mac_t mac;
  if (asn_read_pkcs12_MacData(input.data(), input.size(), mac)) {
    law(input.holds(mac.digest_alg) && input.holds(mac.digest) && input.holds(mac.mac_salt));
  }
  return 0;
}
