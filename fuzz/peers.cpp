// The library beside OpenSSL and libtasn1: where OpenSSL reads an input and writes the same bytes
// again, so that it is good DER, the library reads the same out of it.

#include <openssl/asn1t.h>
#include <openssl/err.h>
#include <openssl/x509.h>

#include <pkider/asn_helper.h>
#include <pkider/pkcs8_helper.h>

#include "laws.h"

// libtasn1's; its header and OpenSSL's cannot both be included.
extern "C" long asn1_get_length_der(const unsigned char* der, int size, int* used);

namespace {

// What OpenSSL reads in the input, if it then writes the same bytes; else null.
template <class T>
std::shared_ptr<T> reread(const exact_t& input, const ASN1_ITEM* type) {
  const unsigned char* p = input.data();
  const auto release = [type](ASN1_VALUE* value) { ASN1_item_free(value, type); };
  const std::shared_ptr<ASN1_VALUE> value(
      ASN1_item_d2i(nullptr, &p, static_cast<long>(input.size()), type), release);
  unsigned char* written = nullptr;
  const int size = value == nullptr ? 0 : ASN1_item_i2d(value.get(), &written, type);
  const bool same = size > 0 && std::string(written, written + size) == input.bytes();
  OPENSSL_free(written);
  ERR_clear_error();
  return same ? std::reinterpret_pointer_cast<T>(value) : nullptr;
}

// The library reads an algorithm's OID, and goes on only where there are parameters. Parameters
// with a tag of several bytes, which OpenSSL gives unusual types, it may misread.
bool check_algorithm(const X509_ALGOR* algorithm, bool read, const blob_t& oid) {
  const ASN1_OBJECT* object = nullptr;
  int type = 0;
  X509_ALGOR_get0(&object, &type, nullptr, algorithm);
  const unsigned char* const octets = OBJ_get0_data(object);
  law(bytes_of(oid) == std::string(octets, octets + OBJ_length(object)));
  const bool usual = type == V_ASN1_UNDEF || (type >= 0 && type < 0x1F);
  law(!usual || read == (type != V_ASN1_UNDEF));
  return usual && read;
}

void check_algorithms(const exact_t& input) {
  const X509_ALGOR* alg = nullptr;
  if (const auto peer = reread<X509_SIG>(input, ASN1_ITEM_rptr(X509_SIG))) {
    asn_algorid_t read;
    const std::string digest = input.bytes();
    X509_SIG_get0(peer.get(), &alg, nullptr);
    check_algorithm(alg, asn_read_alg_from_digest(&read, digest), read.oid);
  }
  if (const auto peer = reread<PKCS8_PRIV_KEY_INFO>(input, ASN1_ITEM_rptr(PKCS8_PRIV_KEY_INFO))) {
    const unsigned char* key = nullptr;
    int size = 0;
    PKCS8_pkey_get0(nullptr, &key, &size, &alg, peer.get());
    asn_pkcs8_priv_key_info_t read;
    const bool whole = asn_read_pkcs8_priv_key_info(input.data(), input.size(), read);
    law(!check_algorithm(alg, whole, read.algorithm) ||
        bytes_of(read.private_key) == std::string(key, key + size));
  }
}

// One header, by libtasn1, which takes any number of length bytes, and makes do with those that are
// there.
void check_header(const exact_t& input) {
  if (input.size() < 2) {
    return;
  }
  const unsigned char* const p = input.data();
  const int count = p[1] < 0x80 ? 0 : p[1] & 0x7F;
  int used = 0;
  const long size = asn1_get_length_der(p + 1, static_cast<int>(input.size()) - 1, &used);
  unsigned length = 0;
  const unsigned char* const content = asn1_read_tag(asn_tag_t::ANY, p, input.size(), &length);
  const bool fits = content != nullptr && length <= input.size() - (content - p);
  law(fits == (size >= 0 && count <= 4 && used == 1 + count));
  law(!fits || (size == length && content == p + 1 + used));
}

}  // namespace

int harness_peers(const std::uint8_t* data, std::size_t size) {
  const exact_t input(text_of(data, size));
  check_header(input);
  check_algorithms(input);
  return 0;
}
