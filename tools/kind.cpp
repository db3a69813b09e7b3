// The table of structures that tell kinds apart.

#include "kind.h"

#include <cstdint>
#include <string_view>

#include "asn_cursor.h"
#include "asn_time.h"
#include "bytes.h"

namespace {

constexpr unsigned context_mask = 0xFC;
constexpr unsigned context = 0xA0;

// A kind is told by the elements in its SEQUENCE, and by those in the first SEQUENCE among them. A
// letter each: S SEQUENCE, I INTEGER, B BIT STRING, O OCTET STRING, o OBJECT IDENTIFIER, T a time,
// 0 to 3 a context tag, - another; in a row . stands for any. More elements may follow.
struct row_t {
  kind_t kind;
  std::string_view outer;
  std::string_view inner;
};

// The first that fits.
constexpr row_t rows[] = {
    {kind_t::certificate, "SSB", "0......"},
    {kind_t::crl, "SSB", "ISST"},
    {kind_t::crl, "SSB", "SST"},
    {kind_t::certificate, "SSB", "......"},
    {kind_t::request, "SSB", "ISS"},
    {kind_t::pkcs7, "o0", ""},
    {kind_t::pkcs8, "ISO", ""},
    {kind_t::pkcs12, "IS", "o0"},
    {kind_t::encrypted_pkcs8, "SO", "o"},
    {kind_t::public_key, "SB", "o"},
    {kind_t::pkcs1, "IIIIIIIII", ""},
    {kind_t::dsa_key, "IIIIII", ""},
    {kind_t::rsa_public_key, "II", ""},
    {kind_t::sec1, "IO", ""},
};

struct description_t {
  kind_t kind;
  const char* text;
};

constexpr description_t descriptions[] = {
    {kind_t::certificate, "a certificate: pkider cert FILE shows it"},
    {kind_t::crl, "a certificate revocation list: openssl crl -in FILE -noout -text shows it"},
    {kind_t::request, "a certificate request: openssl req -in FILE -noout -text shows it"},
    {kind_t::pkcs7, "a PKCS#7 or CMS message: openssl cms -cmsout -print -in FILE shows it"},
    {kind_t::pkcs12, "a PKCS#12 container: pkider p12 show FILE shows it"},
    {kind_t::pkcs8, "a private key: pkider key show FILE shows it"},
    {kind_t::encrypted_pkcs8, "an encrypted private key: pkider key show FILE shows it"},
    {kind_t::pkcs1, "an RSA key in PKCS#1 form: openssl pkcs8 -topk8 -in FILE makes it PKCS#8"},
    {kind_t::dsa_key, "a DSA key in openssl's form: openssl pkcs8 -topk8 -in FILE makes it PKCS#8"},
    {kind_t::sec1, "an EC key in SEC 1 form: openssl pkcs8 -topk8 -in FILE makes it PKCS#8"},
    {kind_t::public_key, "a public key: openssl pkey -pubin -in FILE -noout -text shows it"},
    {kind_t::rsa_public_key,
     "a public key in PKCS#1 form: openssl rsa -RSAPublicKey_in -in FILE -noout -text shows it"},
    {kind_t::legacy_encrypted_key,
     "a private key encrypted in the PEM way of before PKCS#8: openssl pkcs8 -topk8 -in FILE makes "
     "it PKCS#8"},
};

char letter_of(unsigned tag) {
  switch (tag) {
    case asn_tag_t::SEQUENCE:
      return 'S';
    case asn_tag_t::INTEGER:
      return 'I';
    case asn_tag_t::BIT_STRING:
      return 'B';
    case asn_tag_t::OCTET_STRING:
      return 'O';
    case asn_tag_t::OID:
      return 'o';
    case utc_time_tag:
    case generalized_time_tag:
      return 'T';
    default:
      return (tag & context_mask) == context ? static_cast<char>('0' + (tag - context)) : '-';
  }
}

// Whether the elements from `cur` on are those of `letters`. The first SEQUENCE among them goes to
// `sequence`.
bool fits(asn_iter_t cur, std::string_view letters, asn_iter_t& sequence) {
  sequence = {nullptr, 0};
  for (const char letter : letters) {
    const auto tag = static_cast<asn_tag_t::Type>(cur.len == 0 ? 0U : *cur.ptr);
    asn_iter_t content;
    if (!asn1_read_tag_i_(asn_tag_t::ANY, &cur, &content) ||
        (letter != '.' && letter != letter_of(tag))) {
      return false;
    }
    if (tag == asn_tag_t::SEQUENCE && sequence.ptr == nullptr) {
      sequence = content;
    }
  }
  return true;
}

std::string what_unknown_is(const input_block_t& block) {
  const asn_iter_t cur = asn1_iter_(view(block.der));
  const asn1_header_t header = asn1_decode_header_(asn_tag_t::SEQUENCE, cur.ptr, cur.len);
  if (header.size != 0 && header.len > cur.len - header.size) {
    const std::uint64_t whole = std::uint64_t{header.size} + header.len;
    return "cut off after " + std::to_string(cur.len) + " of " + std::to_string(whole) + " bytes";
  }
  return "something unknown, or damaged: pkider dump FILE shows how far it is DER";
}

}  // namespace

kind_t kind_of(const input_block_t& block) {
  return block.encrypted ? kind_t::legacy_encrypted_key : kind_of(view(block.der));
}

kind_t kind_of(const blob_t& der) {
  asn_iter_t cur = asn1_iter_(der);
  asn_iter_t outer;
  asn_iter_t inner;
  asn_iter_t unused;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &outer)) {
    return kind_t::unknown;
  }
  for (const row_t& row : rows) {
    if (fits(outer, row.outer, inner) && fits(inner, row.inner, unused)) {
      return row.kind;
    }
  }
  return kind_t::unknown;
}

const char* short_name(kind_t kind) {
  switch (kind) {
    case kind_t::certificate:
      return "certificate";
    case kind_t::request:
      return "request";
    case kind_t::crl:
      return "CRL";
    default:
      return "object";
  }
}

std::string what_it_is(const input_block_t& block) {
  const kind_t kind = kind_of(block);
  for (const description_t& description : descriptions) {
    if (description.kind == kind) {
      return description.text;
    }
  }
  return what_unknown_is(block);
}
