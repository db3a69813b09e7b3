// Wraps a digest in a DigestInfo, and looks algorithms up by code, by name and by OID.

#include <iostream>
#include <string>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>

int main() {
  // By name: the table gives the code, or 0 for what it does not know.
  const pki_alg_t sha1 = I2S_PKI_ALG_T->getInt("sha1", 0);

  // The digest of no bytes at all, then the DigestInfo that an RSA signature is made over.
  std::string digest =
      "\xDA\x39\xA3\xEE\x5E\x6B\x4B\x0D\x32\x55\xBF\xEF\x95\x60\x18\x90\xAF\xD8\x07\x09";
  asn_add_alg_to_digest(digest, sha1);
  std::string hex;
  TO_HEX_STD_STRING(reinterpret_cast<const unsigned char*>(digest.data()), unsigned(digest.size()),
                    hex, 0);
  std::cout << "DigestInfo: " << hex << '\n';

  // Read back: the algorithm is a view into `digest`.
  asn_algorid_t found;
  if (!asn_read_alg_from_digest(&found, digest))
    return 1;
  const pki_alg_t code = PKI_OID_TO_HASH_ALG(found.oid.data, found.oid.size);
  std::cout << "digest:     " << I2S_PKI_ALG_T->getString(code, "unknown") << '\n';

  // From dotted text to a name, and from a code to dotted text.
  const std::string dotted = "1.2.643.7.1.1.3.2";
  unsigned char oid[512];
  const unsigned size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), oid);
  const pki_alg_t signature = PKI_OID_TO_ALG(oid, size);
  std::cout << dotted << ": " << I2S_PKI_ALG_T->getString(signature, "unknown") << '\n';

  const pki_oid_ref_t* pss = PKI_CERT_SIGN_ALG_TO_OID(I2S_PKI_ALG_T->getInt("RSASSA-PSS", 0));
  std::string text;
  oid_asn_to_str_(pss->data, pss->data + pss->size, text);
  std::cout << "RSASSA-PSS: " << text << '\n';
}
