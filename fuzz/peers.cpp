// The library beside OpenSSL and libtasn1: where a peer reads an input and writes the same bytes
// again, so that it is good DER, the library reads the same out of it.

#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <pkider/asn_helper.h>
#include <pkider/asn_printable.h>
#include <pkider/pkcs8_helper.h>

#include "laws.h"
#include "model.h"

// Of libtasn1, whose header and OpenSSL's exclude each other.
extern "C" long asn1_get_length_der(const unsigned char* der, int size, int* used);

namespace {

template <class T>
using holder_t = std::unique_ptr<T, void (*)(T*)>;

// What `read` makes of the input, unless `write` makes anything else of that.
template <class T>
holder_t<T> reread(const exact_t& input, T* (*read)(T**, const unsigned char**, long),
                   int (*write)(const T*, unsigned char**), void (*release)(T*)) {
  const unsigned char* p = input.data();
  holder_t<T> object(read(nullptr, &p, static_cast<long>(input.size())), release);
  unsigned char* written = nullptr;
  const int size = object == nullptr ? -1 : write(object.get(), &written);
  const bool same = size >= 0 && std::string(written, written + size) == input.bytes();
  OPENSSL_free(written);
  ERR_clear_error();
  return same ? std::move(object) : holder_t<T>(nullptr, release);
}

std::string octets(const ASN1_OBJECT* oid) {
  return std::string(OBJ_get0_data(oid), OBJ_get0_data(oid) + OBJ_length(oid));
}

bool is(const BIGNUM* number, const blob_t& view) {
  const std::unique_ptr<BIGNUM, void (*)(BIGNUM*)> read(
      BN_bin2bn(view.data, static_cast<int>(view.size), nullptr), BN_free);
  return BN_cmp(number, read.get()) == 0;
}

void check_oid(const exact_t& input) {
  const auto oid = reread<ASN1_OBJECT>(input, d2i_ASN1_OBJECT, i2d_ASN1_OBJECT, ASN1_OBJECT_free);
  char text[4096];
  const int size = oid == nullptr ? 0 : OBJ_obj2txt(text, sizeof text, oid.get(), 1);
  // The second arc wraps where it and the first are more than 32 bits together.
  if (size <= 0 || size >= static_cast<int>(sizeof text) ||
      (text[0] == '2' && std::strtoull(text + 2, nullptr, 10) > 0xFFFFFFFF - 80)) {
    return;
  }
  unsigned char encoded[512];
  const unsigned count = oid_str_to_asn_(text, text + size, encoded);
  law(count == 0 || std::string(encoded, encoded + count) == octets(oid.get()));
  law(count != 0 || OBJ_length(oid.get()) > 4);  // an arc of more than 32 bits, or 506 bytes
}

void check_integer(const exact_t& input) {
  const auto number =
      reread<ASN1_INTEGER>(input, d2i_ASN1_INTEGER, i2d_ASN1_INTEGER, ASN1_INTEGER_free);
  std::uint64_t expected = 0;
  unsigned value = 0;
  if (number == nullptr || ASN1_INTEGER_get_uint64(&expected, number.get()) != 1) {
    ERR_clear_error();
    return;
  }
  const bool fits = expected <= 0xFFFFFFFF;
  const unsigned header = input.data()[1] < 0x80 ? 2 : 2 + (input.data()[1] & 0x7FU);
  const bool read =
      asn_read_INTEGER(input.data() + header, input.size() - header, value, 0xFFFFFFFF);
  law(fits ? read && value == expected : !read || expected >> 40 == 0);
}

// OpenSSL keeps the bytes of a name: it is made again of its entries.
void check_name(const exact_t& input) {
  const auto name = reread<X509_NAME>(input, d2i_X509_NAME, i2d_X509_NAME, X509_NAME_free);
  if (name == nullptr) {
    return;
  }
  const holder_t<X509_NAME> again(X509_NAME_new(), X509_NAME_free);
  std::string expected;
  bool comparable = true;
  for (int i = 0, set = -1; i < X509_NAME_entry_count(name.get()); ++i) {
    const X509_NAME_ENTRY* const entry = X509_NAME_get_entry(name.get(), i);
    const ASN1_STRING* const value = X509_NAME_ENTRY_get_data(entry);
    const int type = ASN1_STRING_type(value);
    const bool joined = X509_NAME_ENTRY_set(entry) == set;
    set = X509_NAME_ENTRY_set(entry);
    X509_NAME_add_entry(again.get(), entry, -1, joined ? -1 : 0);
    const std::string oid = octets(X509_NAME_ENTRY_get_object(entry));
    bool whole = false;
    expected += (expected.empty() ? "" : joined ? "+" : ",") + model::print_oid(oid, whole) + '=';
    unsigned char* utf8 = nullptr;
    const int size = ASN1_STRING_to_UTF8(&utf8, value);
    const bool wide = type == V_ASN1_BMPSTRING || type == V_ASN1_UNIVERSALSTRING;
    const bool narrow =
        type == V_ASN1_UTF8STRING || type == V_ASN1_PRINTABLESTRING || type == V_ASN1_IA5STRING;
    // Bytes above 7F are Latin-1 there, and T.61 too; wide strings may be empty.
    comparable = comparable && whole && size >= 0 && (wide ? size > 0 : narrow);
    const unsigned char* const data = wide && size >= 0 ? utf8 : ASN1_STRING_get0_data(value);
    const int count = wide ? std::max(size, 0) : ASN1_STRING_length(value);
    expected += model::escape(std::string(data, data + count));
    OPENSSL_free(utf8);
  }
  ERR_clear_error();
  unsigned char* written = nullptr;
  const int size = i2d_X509_NAME(again.get(), &written);
  comparable = comparable && size >= 0 && std::string(written, written + size) == input.bytes();
  OPENSSL_free(written);
  std::string text;
  if (comparable) {
    law(asn_dn_to_printable(input.data(), input.size(), text, DN_ORDER_DIRECT, nullptr));
    law(text == expected);
  }
}

void check_keys(const exact_t& input) {
  const auto algorithm = reread<X509_ALGOR>(input, d2i_X509_ALGOR, i2d_X509_ALGOR, X509_ALGOR_free);
  asn_ike_signalg_t signalg;
  if (algorithm != nullptr) {
    const ASN1_OBJECT* oid = nullptr;
    X509_ALGOR_get0(&oid, nullptr, nullptr, algorithm.get());
    law(asn_read_ike_signalg(input.data(), input.size(), signalg));
    law(bytes_of(signalg.oid) == octets(oid));
  }
  const auto signature = reread<ECDSA_SIG>(input, d2i_ECDSA_SIG, i2d_ECDSA_SIG, ECDSA_SIG_free);
  asn_dsa_certsign_t dsa;
  if (signature != nullptr) {
    law(asn_read_dsa_certsign(input.data(), input.size(), dsa));
    law(is(ECDSA_SIG_get0_r(signature.get()), dsa.r) &&
        is(ECDSA_SIG_get0_s(signature.get()), dsa.s));
  }
  const auto digest = reread<X509_SIG>(input, d2i_X509_SIG, i2d_X509_SIG, X509_SIG_free);
  if (digest != nullptr) {
    const X509_ALGOR* alg = nullptr;
    const ASN1_OBJECT* oid = nullptr;
    int parameters = 0;
    X509_SIG_get0(digest.get(), &alg, nullptr);
    X509_ALGOR_get0(&oid, &parameters, nullptr, alg);
    asn_algorid_t read;
    const std::string der = input.bytes();
    law(asn_read_alg_from_digest(&read, der) == (parameters != V_ASN1_UNDEF));
    law(bytes_of(read.oid) == octets(oid));
  }
  const auto key = reread<PKCS8_PRIV_KEY_INFO>(input, d2i_PKCS8_PRIV_KEY_INFO,
                                               i2d_PKCS8_PRIV_KEY_INFO, PKCS8_PRIV_KEY_INFO_free);
  if (key != nullptr) {
    const ASN1_OBJECT* oid = nullptr;
    const unsigned char* content = nullptr;
    int size = 0, parameters = 0;
    const X509_ALGOR* alg = nullptr;
    PKCS8_pkey_get0(&oid, &content, &size, &alg, key.get());
    X509_ALGOR_get0(nullptr, &parameters, nullptr, alg);
    asn_pkcs8_priv_key_info_t info;
    law(asn_read_pkcs8_priv_key_info(input.data(), input.size(), info) ==
        (parameters != V_ASN1_UNDEF));
    law(bytes_of(info.algorithm) == octets(oid));
    law(parameters == V_ASN1_UNDEF ||
        bytes_of(info.private_key) == std::string(content, content + size));
  }
}

// One header, by libtasn1, which takes any number of length bytes, and those that are there for
// all.
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
  check_oid(input);
  check_integer(input);
  check_name(input);
  check_keys(input);
  return 0;
}
