// Public keys, signature values and algorithms, DigestInfo: views lie inside the input.

#include <pkider/asn_helper.h>

#include "laws.h"

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

// The OID of a digest's code comes back from the DigestInfo around the input.
void check_digest(std::string digest, pki_alg_t alg) {
  asn_algorid_t read;
  asn_read_alg_from_digest(&read, digest);
  asn_add_alg_to_digest(digest, alg);
  law(asn_read_alg_from_digest(&read, digest));
  law(PKI_OID_TO_HASH_ALG(read.oid.data, read.oid.size) ==
      (PKI_HASH_ALG_TO_OID(alg)->size == 0 ? 0 : alg));
}

}  // namespace

int harness_keys(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check_pubkey(input);
  check_signature(input);
  check_digest(std::string(text_of(data, size)), static_cast<pki_alg_t>(size % 12) << 16);
  return 0;
}
