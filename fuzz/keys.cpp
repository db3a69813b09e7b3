// Public keys, signature values and algorithms, DigestInfo: views lie inside the input, and show
// what our own encoder put there.

#include <pkider/asn_helper.h>

#include "model.h"

namespace {

void check_pubkey(const exact_t& input) {
  asn_pubkey_t pk;
  if (!asn_read_pubkey(input.data(), static_cast<long>(input.size()), pk)) {
    return;
  }
  asn_rsa_pubkey_t rsa;
  asn_gost_pubkey_t gost;
  law(!asn_read_rsa_pubkey(pk, rsa) || rsa.modulus.size < 2 || rsa.modulus.data[0] != 0);
  law(!asn_read_gost_pubkey(pk, gost) || gost.digest_param_set.data[0] == 0x06);
  for (const blob_t& view :
       {pk.alg, pk.params, pk.key, rsa.modulus, rsa.exponent, gost.key, gost.public_key_param_set,
        gost.digest_param_set, gost.encryption_param_set}) {
    law(input.holds(view));
  }
}

void check_signature(const exact_t& input) {
  asn_dsa_certsign_t dsa;
  asn_read_dsa_certsign(input.data(), input.size(), dsa);
  law(input.holds(dsa.r) && input.holds(dsa.s));
  asn_ike_signalg_t signalg;
  if (asn_read_ike_signalg(input.data(), input.size(), signalg)) {
    const pki_alg_t plain = PKI_OID_TO_CERT_SIGN_ALG(signalg.oid.data, signalg.oid.size);
    const pki_alg_t code = signalg.to_pki_alg();
    law(plain == 0x02 ? code == 0 || (code & 0xFF00FFFF) == 0x02 : code == plain);
    law(input.holds(signalg.oid) && input.holds(signalg.params));
  }
}

void check_digest(const std::string& digest) {
  asn_algorid_t read;
  asn_read_alg_from_digest(&read, digest);
  law(contains(view(digest).data, digest.size(), read.oid));
}

// A key of either kind, with everything that has a place in it.
void check_known(model::pieces_t pieces) {
  const std::string alg = pieces.piece(), first = pieces.piece(), second = pieces.piece(),
                    set = der(6, pieces.piece()), digest_set = der(6, pieces.piece()),
                    cipher_set = pieces.number() % 2 != 0 ? der(6, pieces.piece()) : "",
                    tail = pieces.piece();
  const std::string numbers = der(0x30, der(2, first) + der(2, second)), octets = der(4, first);
  const std::string params = der(0x30, set + digest_set + cipher_set);
  for (const std::string& key : {numbers, octets}) {
    const exact_t spki(der(0x30, der(0x30, der(6, alg) + params) + der(3, '\0' + key)) + tail);
    asn_pubkey_t pk;
    law(asn_read_pubkey(spki.data(), static_cast<long>(spki.size()), pk));
    law(bytes_of(pk.alg) == alg && bytes_of(pk.params) == params && bytes_of(pk.key) == key);
    asn_rsa_pubkey_t rsa;
    law(asn_read_rsa_pubkey(pk, rsa) == (key == numbers));
    law(key != numbers ||
        (bytes_of(rsa.modulus) == model::without_zeros(first) && bytes_of(rsa.exponent) == second));
    asn_gost_pubkey_t gost;
    law(asn_read_gost_pubkey(pk, gost) == (key == octets));
    law(bytes_of(gost.public_key_param_set) == set &&
        bytes_of(gost.key) == (key == octets ? first : ""));
    law(bytes_of(gost.digest_param_set) == digest_set &&
        bytes_of(gost.encryption_param_set) == cipher_set);
  }
  asn_dsa_certsign_t dsa;
  const exact_t signature(numbers + tail);
  law(asn_read_dsa_certsign(signature.data(), signature.size(), dsa));
  law(bytes_of(dsa.r) == first && bytes_of(dsa.s) == second);
  asn_ike_signalg_t signalg;
  const exact_t algorithm(der(0x30, der(6, alg) + params) + tail);
  law(asn_read_ike_signalg(algorithm.data(), algorithm.size(), signalg));
  law(bytes_of(signalg.oid) == alg && bytes_of(signalg.params) == params + tail);
}

}  // namespace

int harness_keys(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check_pubkey(input);
  check_signature(input);
  check_known(model::pieces_t(text_of(data, size)));
  check_digest(input.bytes());
  return 0;
}
