// PKCS#5, PKCS#8 and PKCS#12. Every input goes to every reader; what is read is written and read
// again. The salt steers the toy cryptography, so that the fuzzer itself can write inner layers,
// have them refused, or have their plaintext break off.

#include <vector>

#include "../bench/plain_crypto.h"
#include "laws.h"

namespace {

class toy_crypto_t : public PlainCrypto {
 public:
  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    law(bytes_of(blob_t{size, data}).size() == size);  // all of them can be read
    return mac.mac_salt.size == 0 || mac.mac_salt.data[0] != 0xFF;
  }
  bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    plaintext.assign(data, data + (pbe.salt.size == 2 ? size / 2 : size));
    return pbe.salt.size == 0 || pbe.salt.data[0] != 0xFF;
  }
};

// What of a record survives writing and reading: its views, and its number.
struct parts_t {
  std::vector<blob_t> views;
  unsigned number = 0;
};

parts_t parts(const pkcs5_pbe_gost_t& r) {
  return {{r.salt, r.iv}, r.iterations};
}
parts_t parts(const pkcs8_pki_gost_t& r) {
  return {{r.private_key}, r.key_alg};
}
parts_t parts(const pkcs8_encrypted_pki_gost_t& r) {
  return {{r.pbe.salt, r.pbe.iv, r.encrypted_data}, r.pbe.iterations};
}
parts_t parts(const pkcs12_easy_t& model) {
  parts_t all{{model.mac.digest, model.mac.mac_salt}, model.mac.mac_iterations};
  for (const auto* bags : {&model.plain_bags, &model.encrypted_bags}) {
    for (const pkcs12_bag_t& bag : *bags) {
      all.views.insert(all.views.end(), {bag.value, bag.friendly_name, bag.local_key_id});
      law(bag.type == PKCS12_BAG_KEY || bag.type == PKCS12_BAG_CERT);
    }
  }
  return all;
}

// Numbers with a zero byte are written as others.
bool equal(const parts_t& a, const parts_t& b) {
  std::string content;
  asn_write_INTEGER(a.number, content);
  unsigned written = 0;
  law(asn_read_INTEGER(content.data(), static_cast<unsigned>(content.size()), written, ~0U));
  return written == b.number &&
         std::equal(a.views.begin(), a.views.end(), b.views.begin(), b.views.end(),
                    [](const blob_t& v, const blob_t& w) { return bytes_of(v) == bytes_of(w); });
}

// The writer of PBES2 parameters writes a whole element, of which the reader takes the content.
bool read_pbe(const unsigned char* p, unsigned n, pkcs5_pbe_gost_t& out) {
  unsigned length = 0;
  const unsigned char* const content = asn1_read_tag(asn_tag_t::SEQUENCE, p, n, &length);
  return content != nullptr && length <= n && asn_read_pkcs5_pbe_gost(content, length, out);
}

bool read_model(const unsigned char* p, unsigned n, pkcs12_easy_t& out) {
  toy_crypto_t crypto;
  return asn_read_pkcs12_easy(p, n, &crypto, out);
}

void write_model(const pkcs12_easy_t& model, std::string& out) {
  toy_crypto_t crypto;
  asn_write_pkcs12_easy(model, &crypto, out);
}

// Whether a view shows bytes of the input or of a plaintext that the record keeps.
template <class Record>
bool owned(const Record&, const exact_t& input, const blob_t& view) {
  return input.holds(view);
}

bool owned(const pkcs12_easy_t& model, const exact_t& input, const blob_t& view) {
  const auto shows = [&](const std::string& text) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    return view.data >= p && view.data + view.size <= p + text.size();
  };
  return input.holds(view) ||
         std::any_of(model.decrypted_data.begin(), model.decrypted_data.end(), shows);
}

template <class Record, class Read, class Write>
void check(const exact_t& input, Read read, Write write) {
  Record record;
  if (!read(input.data(), input.size(), record)) {
    return;
  }
  for (const blob_t& view : parts(record).views) {
    law(owned(record, input, view));
  }
  std::string written;
  write(record, written);
  const exact_t copy(written);
  Record again;
  law(read(copy.data(), copy.size(), again) && equal(parts(record), parts(again)));
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
