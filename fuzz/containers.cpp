// PKCS#5, PKCS#8 and PKCS#12. Every input goes to every reader. The salt steers the toy
// cryptography, so that the fuzzer itself can write inner layers, have them refused, or have their
// plaintext break off. The input is a model in pieces, too, which is written and read again.

#include "model.h"
#include "plain_crypto.h"

namespace {

struct toy_crypto_t : plain_crypto_t {
  std::string covered;   // what the MAC is computed over
  bool refused = false;  // the last MAC

  bool verify_mac(const pkcs12_mac_t& mac, const unsigned char* data, unsigned size) override {
    covered.assign(data, data + size);
    refused = mac.mac_salt.size != 0 && mac.mac_salt.data[0] == 0xFF;
    return !refused;
  }
  bool decrypt(const pkcs5_pbe_gost_t& pbe, const unsigned char* data, unsigned size,
               std::string& plaintext) override {
    plaintext.assign(data, data + (pbe.salt.size == 2 ? size / 2 : size));
    return pbe.salt.size == 0 || pbe.salt.data[0] != 0xFF;
  }
};

using views_t = std::vector<blob_t>;
views_t views(const pkcs8_pki_gost_t& r) {
  return {r.private_key};
}
views_t views(const pkcs8_encrypted_pki_gost_t& r) {
  return {r.pbe.salt, r.pbe.iv, r.encrypted_data};
}
views_t views(const pkcs12_easy_t& model) {
  views_t all = {model.mac.digest, model.mac.mac_salt};
  for (const auto* bags : {&model.plain_bags, &model.encrypted_bags}) {
    for (const pkcs12_bag_t& bag : *bags) {
      all.insert(all.end(), {bag.value, bag.friendly_name, bag.local_key_id});
      law(bag.type == PKCS12_BAG_KEY || bag.type == PKCS12_BAG_CERT);
    }
  }
  return all;
}

bool read_model(const unsigned char* p, unsigned n, pkcs12_easy_t& out) {
  toy_crypto_t crypto;
  const bool read = asn_read_pkcs12_easy(p, n, &crypto, out);
  law(!read || !crypto.refused);
  return read;
}

template <class Record, class Read>
void check(const exact_t& input, Read read) {
  Record record;
  if (!read(input.data(), input.size(), record)) {
    return;
  }
  for (const blob_t& shown : views(record)) {
    bool owned = input.holds(shown);
    if constexpr (std::is_same_v<Record, pkcs12_easy_t>) {
      for (const std::string& text : record.decrypted_data) {
        owned = owned || contains(view(text).data, text.size(), shown);
      }
    }
    law(owned);
  }
}

// ---- Containers made by our own encoder ----

const std::string id_data = from_hex("06(2A864886F70D010701)"),
                  id_encrypted_data = from_hex("06(2A864886F70D010706)"),
                  id_key_bag = from_hex("06(2A864886F70D010C0A0101)"),
                  id_cert_bag = from_hex("06(2A864886F70D010C0A0103)"),
                  id_x509 = from_hex("06(2A864886F70D01091601)"),
                  id_name = from_hex("06(2A864886F70D010914)"),
                  id_local_key = from_hex("06(2A864886F70D010915)"),
                  digest_algorithm = from_hex("30(06(2A8503020209) 0500)");

// Of the salt, the rounds and the IV of plain_crypto_t.
const std::string pbe = from_hex(
    "30(06(2A864886F70D01050D) 30(30(06(2A864886F70D01050C) 30(04(0102030405060708) 02(01)"
    "30(06(2A850302020A) 0500))) 30(06(2A8503020215) 30(04(0102030405060708) "
    "06(2A850302021F01)))))");

std::string encode_info(const std::string& type, const std::string& content) {
  return der(0x30, type + der(0xA0, content));
}

std::string encode_attribute(const std::string& type, unsigned char tag, const blob_t& value) {
  return value.size == 0 ? "" : der(0x30, type + der(0x31, der(tag, bytes_of(value))));
}

std::string encode_bags(const std::list<pkcs12_bag_t>& bags) {
  std::string all;
  for (const pkcs12_bag_t& bag : bags) {
    const bool key = bag.type == PKCS12_BAG_KEY;
    std::string value = bytes_of(bag.value);
    value = key ? value : encode_info(id_x509, der(4, value));
    const std::string attributes = encode_attribute(id_name, 0x1E, bag.friendly_name) +
                                   encode_attribute(id_local_key, 4, bag.local_key_id);
    all += der(0x30, (key ? id_key_bag : id_cert_bag) + der(0xA0, value) +
                         (attributes.empty() ? "" : der(0x31, attributes)));
  }
  return der(0x30, all);
}

// The AuthenticatedSafe in its OCTET STRING, and the container around it.
std::string encode_safes(const pkcs12_easy_t& model) {
  std::string safes;
  if (!model.plain_bags.empty()) {
    safes += encode_info(id_data, der(4, encode_bags(model.plain_bags)));
  }
  if (!model.encrypted_bags.empty()) {
    const std::string bags = der(0x80, der(4, encode_bags(model.encrypted_bags)));
    const std::string data = der(0x30, from_hex("020100") + der(0x30, id_data + pbe + bags));
    safes += encode_info(id_encrypted_data, data);
  }
  return der(4, der(0x30, safes));
}

std::string encode_model(const pkcs12_easy_t& model, const std::string& octets) {
  const std::string digest = der(0x30, digest_algorithm + der(4, bytes_of(model.mac.digest)));
  const std::string count(1, static_cast<char>(model.mac.mac_iterations));
  const std::string mac = der(0x30, digest + der(4, bytes_of(model.mac.mac_salt)) + der(2, count));
  return der(0x30, from_hex("020103") + encode_info(id_data, octets) + mac);
}

// The writer writes what the encoder does; the reader finds it all again, unless the MAC is
// refused.
void check_known(model::pieces_t pieces) {
  std::list<std::string> held;
  const auto take = [&] { return view(held.emplace_back(pieces.piece())); };
  pkcs12_easy_t model, again;
  model.mac.digest = take();
  model.mac.mac_salt = take();
  model.mac.mac_iterations = pieces.number() % 128;
  while (pieces.more()) {
    const unsigned kind = pieces.number();
    auto& bags = kind % 4 < 2 ? model.plain_bags : model.encrypted_bags;
    bags.push_back({kind % 2, take(), take(), take()});
  }
  toy_crypto_t crypto;
  const std::string octets = encode_safes(model);
  std::string written;
  asn_write_pkcs12_easy(model, &crypto, written);
  law(written == encode_model(model, octets));
  const exact_t input(written);
  const bool read = asn_read_pkcs12_easy(input.data(), input.size(), &crypto, again);
  law(read == !crypto.refused && crypto.covered == octets);
  law(!read || encode_model(again, encode_safes(again)) == written);
}

}  // namespace

int harness_containers(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check<pkcs12_easy_t>(input, read_model);
  check_known(model::pieces_t(text_of(data, size)));
  check<pkcs8_pki_gost_t>(input, asn_read_pkcs8_pki_gost);
  check<pkcs8_encrypted_pki_gost_t>(input, asn_read_pkcs8_encrypted_pki_gost);
  asn_pkcs8_priv_key_info_t info;
  law(!asn_read_pkcs8_priv_key_info(input.data(), input.size(), info) ||
      (input.holds(info.algorithm) && input.holds(info.private_key)));
  pkcs12_mac_t mac;
  law(!asn_read_pkcs12_MacData(input.data(), input.size(), mac) ||
      (input.holds(mac.digest_alg) && input.holds(mac.digest) && input.holds(mac.mac_salt)));
  return 0;
}
