// Public keys, signature values and algorithms, DigestInfo: views lie inside the input, and
// codes and OIDs agree.

#include "asn_helper.h"
#include "laws.h"

namespace {

// The OID of the code that an OID gives has the same code: OIDs may share one.
void check_codes(const blob_t& oid) {
  const pki_alg_t hash = PKI_OID_TO_HASH_ALG(oid.data, oid.size);
  const pki_alg_t key = PKI_OID_TO_KEY_ALG(oid.data, oid.size);
  const pki_alg_t sign = PKI_OID_TO_CERT_SIGN_ALG(oid.data, oid.size);
  law(PKI_OID_TO_ALG(oid.data, oid.size) == (hash != 0 ? hash : key != 0 ? key : sign));
  const pki_oid_ref_t* const own = PKI_CERT_SIGN_ALG_TO_OID(sign);
  law(PKI_OID_TO_CERT_SIGN_ALG(own->data, own->size) == sign);
  law(hash == 0 || bytes_of(*PKI_HASH_ALG_TO_OID(hash)) == bytes_of(oid));
  law(key == 0 || bytes_of(*PKI_KEY_ALG_TO_OID(key)) == bytes_of(oid));
}

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
    check_codes(signalg.oid);
  }
}

void check_digest(const std::string& input, pki_alg_t alg) {
  asn_algorid_t read;
  asn_read_alg_from_digest(&read, input);
  std::string wrapped = input;
  asn_add_alg_to_digest(wrapped, alg);
  law(asn_read_alg_from_digest(&read, wrapped));
  law(bytes_of(*PKI_HASH_ALG_TO_OID(alg)) == bytes_of(read.oid));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check_codes({input.size(), input.data()});
  check_pubkey(input);
  check_signature(input);
  check_digest(std::string(text_of(data, size)), static_cast<pki_alg_t>(size % 12) << 16);
  return 0;
}
