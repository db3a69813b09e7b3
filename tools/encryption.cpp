// The table of schemes, the readers of their parameters, and decryption.

#include "encryption.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "asn_cursor.h"
#include "ber.h"
#include "bytes.h"
#include "known_oids.h"

// ---- Ciphers of PBES2 ----

// Reads the cipher's parameters, the vector among them. False when they are malformed.
using read_parameters_t = bool (*)(asn_iter_t parameters, encryption_t& out);

struct cipher_t {
  std::string_view oid;
  const char* name;
  gcry_cipher_algos algorithm;
  gcry_cipher_modes mode;
  unsigned key_size;
  unsigned iv_size;
  read_parameters_t read_parameters;
};

namespace {

// IV ::= OCTET STRING
bool read_iv(asn_iter_t parameters, encryption_t& out) {
  return asn1_read_view_(asn_tag_t::OCTET_STRING, &parameters, &out.given_iv);
}

// RC2-CBC-Parameter ::= SEQUENCE { rc2ParameterVersion INTEGER, iv OCTET STRING }
bool read_rc2_parameters(asn_iter_t parameters, encryption_t& out) {
  asn_iter_t content;
  asn_iter_t version;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &parameters, &content) &&
         asn1_read_tag_i_(asn_tag_t::INTEGER, &content, &version) && read_iv(content, out);
}

// Gost28147-89-Parameters ::= SEQUENCE { iv OCTET STRING, encryptionParamSet OBJECT IDENTIFIER }
bool read_gost_parameters(asn_iter_t parameters, encryption_t& out) {
  asn_iter_t content;
  blob_t set;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &parameters, &content) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &content, &out.given_iv) ||
      !asn1_read_view_(asn_tag_t::OID, &content, &set)) {
    return false;
  }
  out.parameter_set = dotted_oid(set);
  return true;
}

constexpr auto cbc = GCRY_CIPHER_MODE_CBC;
constexpr auto cfb = GCRY_CIPHER_MODE_CFB;
constexpr auto stream = GCRY_CIPHER_MODE_STREAM;

// clang-format off
constexpr cipher_t ciphers[] = {
    {"2.16.840.1.101.3.4.1.2",       "AES-128-CBC",            GCRY_CIPHER_AES128,          cbc, 16, 16, read_iv},
    {"2.16.840.1.101.3.4.1.22",      "AES-192-CBC",            GCRY_CIPHER_AES192,          cbc, 24, 16, read_iv},
    {"2.16.840.1.101.3.4.1.42",      "AES-256-CBC",            GCRY_CIPHER_AES256,          cbc, 32, 16, read_iv},
    {"1.2.392.200011.61.1.1.1.2",    "Camellia-128-CBC",       GCRY_CIPHER_CAMELLIA128,     cbc, 16, 16, read_iv},
    {"1.2.392.200011.61.1.1.1.3",    "Camellia-192-CBC",       GCRY_CIPHER_CAMELLIA192,     cbc, 24, 16, read_iv},
    {"1.2.392.200011.61.1.1.1.4",    "Camellia-256-CBC",       GCRY_CIPHER_CAMELLIA256,     cbc, 32, 16, read_iv},
    {"1.2.840.113549.3.7",           "3DES-CBC",               GCRY_CIPHER_3DES,            cbc, 24,  8, read_iv},
    {"1.3.14.3.2.7",                 "DES-CBC",                GCRY_CIPHER_DES,             cbc,  8,  8, read_iv},
    {"1.2.840.113549.3.2",           "RC2-CBC",                GCRY_CIPHER_RFC2268_128,     cbc, 16,  8, read_rc2_parameters},
    {"1.2.840.113549.3.2",           "RC2-64-CBC",             GCRY_CIPHER_RFC2268_128,     cbc,  8,  8, read_rc2_parameters},
    {"1.2.840.113549.3.2",           "RC2-40-CBC",             GCRY_CIPHER_RFC2268_40,      cbc,  5,  8, read_rc2_parameters},
    {"1.2.643.2.2.21",               "GOST 28147-89 CFB",      GCRY_CIPHER_GOST28147_MESH,  cfb, 32,  8, read_gost_parameters},
};

// ---- Schemes that name hash and cipher in one (PKCS#12's own, PBES1) ----

struct fixed_scheme_t {
  std::string_view oid;
  kdf_t kdf;
  std::string_view hash;
  cipher_t cipher;
};

constexpr std::string_view md5 = "1.2.840.113549.2.5";
constexpr std::string_view sha1 = "1.3.14.3.2.26";

constexpr fixed_scheme_t fixed_schemes[] = {
    {"1.2.840.113549.1.12.1.1", kdf_t::pkcs12, sha1, {"", "RC4-128",        GCRY_CIPHER_ARCFOUR,     stream, 16, 0, nullptr}},
    {"1.2.840.113549.1.12.1.2", kdf_t::pkcs12, sha1, {"", "RC4-40",         GCRY_CIPHER_ARCFOUR,     stream,  5, 0, nullptr}},
    {"1.2.840.113549.1.12.1.3", kdf_t::pkcs12, sha1, {"", "3DES-CBC",       GCRY_CIPHER_3DES,        cbc,    24, 8, nullptr}},
    {"1.2.840.113549.1.12.1.4", kdf_t::pkcs12, sha1, {"", "3DES-CBC with two keys", GCRY_CIPHER_3DES, cbc,   16, 8, nullptr}},
    {"1.2.840.113549.1.12.1.5", kdf_t::pkcs12, sha1, {"", "RC2-128-CBC",    GCRY_CIPHER_RFC2268_128, cbc,    16, 8, nullptr}},
    {"1.2.840.113549.1.12.1.6", kdf_t::pkcs12, sha1, {"", "RC2-40-CBC",     GCRY_CIPHER_RFC2268_40,  cbc,     5, 8, nullptr}},
    {"1.2.840.113549.1.5.3",    kdf_t::pbkdf1, md5,  {"", "DES-CBC",        GCRY_CIPHER_DES,         cbc,     8, 8, nullptr}},
    {"1.2.840.113549.1.5.10",   kdf_t::pbkdf1, sha1, {"", "DES-CBC",        GCRY_CIPHER_DES,         cbc,     8, 8, nullptr}},
};
// clang-format on

constexpr std::string_view pbes2_oid = "1.2.840.113549.1.5.13";
constexpr std::string_view pbkdf2_oid = "1.2.840.113549.1.5.12";
constexpr std::string_view hmac_sha1_oid = "1.2.840.113549.2.7";

constexpr char malformed[] = "with malformed parameters";

std::string not_had(const std::string& name) {
  return "with " + name + ", which this command does not have";
}

std::string name_of(const std::string& oid) {
  const std::string_view name = known_oid_name(oid);
  return name.empty() ? "the algorithm " + oid : std::string(name);
}

bool read_count(asn_iter_t& cur, unsigned& count) {
  asn_iter_t number;
  return asn1_read_tag_i_(asn_tag_t::INTEGER, &cur, &number) && number.len <= sizeof count + 1 &&
         asn_read_INTEGER(number.ptr, number.len, count, 0xFFFFFFFF);
}

std::string rounds_text(unsigned iterations) {
  return std::to_string(iterations) + " iterations";
}

// PKCS-12PbeParams, PBEParameter ::= SEQUENCE { salt OCTET STRING, iterations INTEGER }
void read_fixed_scheme(const fixed_scheme_t& scheme, asn_iter_t parameters, encryption_t& out) {
  asn_iter_t content;
  derivation_t& key = out.key;
  key.kdf = scheme.kdf;
  key.hash = find_hash(scheme.hash);
  const bool is_pbes1 = scheme.kdf == kdf_t::pbkdf1;
  out.text = std::string(is_pbes1 ? "PBES1: " : "PKCS#12's own: ") + key.hash->name + ", " +
             scheme.cipher.name;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &parameters, &content) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &content, &key.salt) ||
      !read_count(content, key.iterations)) {
    out.why_not = malformed;
    return;
  }
  out.text += ", " + rounds_text(key.iterations);
  out.cipher = &scheme.cipher;
  key.purpose = 1;
  key.size = scheme.cipher.key_size;
  if (is_pbes1) {
    key.size += scheme.cipher.iv_size;  // both come out of one derivation
  } else {
    out.iv = key;
    out.iv.purpose = 2;
    out.iv.size = scheme.cipher.iv_size;
  }
}

// The one of the stated key size, in bytes, or else the first with this OID; null when there is
// none.
const cipher_t* find_cipher(const std::string& oid, unsigned stated_size) {
  const cipher_t* found = nullptr;
  for (const cipher_t& cipher : ciphers) {
    if (cipher.oid == oid && (found == nullptr || cipher.key_size == stated_size)) {
      found = &cipher;
    }
  }
  return found;
}

// PBES2-params ::= SEQUENCE { keyDerivationFunc, encryptionScheme }
void read_pbes2(asn_iter_t parameters, encryption_t& out) {
  asn_iter_t content;
  blob_t kdf;
  blob_t scheme;
  std::string oid;
  asn_iter_t rest;
  out.text = "PBES2";
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &parameters, &content) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &content, &kdf) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &content, &scheme) ||
      !read_algorithm(scheme, oid, rest)) {
    out.why_not = malformed;
    return;
  }
  const bool kdf_read = read_pbkdf2(kdf, out.key);
  const cipher_t* cipher = find_cipher(oid, out.key.size);
  const std::string cipher_name = cipher != nullptr ? cipher->name : name_of(oid);
  if (!kdf_read) {
    std::string kdf_oid;
    const bool other = read_algorithm(kdf, kdf_oid, rest) && kdf_oid != pbkdf2_oid;
    out.why_not = other ? not_had(name_of(kdf_oid)) : malformed;
    return;
  }
  if (out.key.hash == nullptr) {
    out.why_not = "with a key derivation whose hash this command does not have";
    return;
  }
  out.text += std::string(": PBKDF2 with HMAC-") + out.key.hash->name + ", " + cipher_name + ", " +
              rounds_text(out.key.iterations);
  if (cipher == nullptr) {
    out.why_not = not_had(cipher_name);
  } else if (!cipher->read_parameters(rest, out) || out.given_iv.size != cipher->iv_size) {
    out.why_not = malformed;
  }
  out.cipher = cipher;
  out.key.size = cipher != nullptr ? cipher->key_size : 0;
}

// ---- Decryption ----

struct cipher_closer_t {
  void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
};

// PKCS#7 padding, from 1 byte to a whole block.
bool take_padding_off(std::string& text, std::size_t block) {
  const std::size_t count = text.empty() ? 0 : static_cast<unsigned char>(text.back());
  if (count == 0 || count > block || count > text.size() ||
      !std::all_of(text.end() - static_cast<std::ptrdiff_t>(count), text.end(),
                   [&](char c) { return static_cast<unsigned char>(c) == count; })) {
    return false;
  }
  text.resize(text.size() - count);
  return true;
}

bool decrypt_with(const encryption_t& encryption, secret_t key, const blob_t& iv,
                  const blob_t& data, std::string& plaintext) {
  const cipher_t& cipher = *encryption.cipher;
  if (cipher.algorithm == GCRY_CIPHER_3DES && key.size() == 16) {
    key.insert(key.end(), key.begin(), key.begin() + 8);
  }
  const std::size_t block = gcry_cipher_get_algo_blklen(cipher.algorithm);
  if (cipher.mode == cbc && (data.size == 0 || data.size % block != 0)) {
    return false;
  }
  gcry_cipher_hd_t handle = nullptr;
  check_gcrypt(gcry_cipher_open(&handle, cipher.algorithm, cipher.mode, GCRY_CIPHER_SECURE));
  const std::unique_ptr<gcry_cipher_handle, cipher_closer_t> opened(handle);
  if (!encryption.parameter_set.empty()) {
    std::string set = encryption.parameter_set;
    if (gcry_cipher_ctl(handle, GCRYCTL_SET_SBOX, set.data(), 0) != 0) {
      throw pbe_error_t("is encrypted with GOST 28147-89 and the parameter set " + set +
                        ", which this command does not have");
    }
  }
  check_gcrypt(gcry_cipher_setkey(handle, key.data(), key.size()));
  if (iv.size != 0) {
    check_gcrypt(gcry_cipher_setiv(handle, iv.data, iv.size));
  }
  plaintext.resize(data.size);
  check_gcrypt(gcry_cipher_decrypt(handle, plaintext.data(), data.size, data.data, data.size));
  if (cipher.mode == cbc && !take_padding_off(plaintext, block)) {
    return false;
  }
  return ber_is_one_element(view(plaintext));
}

}  // namespace

// ---- What the header declares ----

bool read_algorithm(const blob_t& content, std::string& oid, asn_iter_t& parameters) {
  parameters = asn1_iter_(content);
  blob_t octets;
  if (!asn1_read_view_(asn_tag_t::OID, &parameters, &octets)) {
    return false;
  }
  oid = dotted_oid(octets);
  return true;
}

// PBKDF2-params ::= SEQUENCE { salt OCTET STRING, iterationCount INTEGER,
//   keyLength INTEGER OPTIONAL, prf AlgorithmIdentifier DEFAULT hmacWithSHA1 }
bool read_pbkdf2(const blob_t& algorithm, derivation_t& out) {
  std::string oid;
  asn_iter_t parameters;
  asn_iter_t content;
  blob_t prf;
  if (!read_algorithm(algorithm, oid, parameters) || oid != pbkdf2_oid ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &parameters, &content) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &content, &out.salt) ||
      !read_count(content, out.iterations)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::INTEGER, content) && !read_count(content, out.size)) {
    return false;
  }
  oid = hmac_sha1_oid;
  if (content.len != 0 && (!asn1_read_view_(asn_tag_t::SEQUENCE, &content, &prf) ||
                           !read_algorithm(prf, oid, parameters))) {
    return false;
  }
  out.kdf = kdf_t::pbkdf2;
  out.hash = find_hmac(oid);
  return true;
}

encryption_t read_encryption(const blob_t& algorithm) {
  encryption_t out;
  std::string oid;
  asn_iter_t parameters;
  if (!read_algorithm(algorithm, oid, parameters)) {
    out.text = "malformed";
    out.why_not = malformed;
    return out;
  }
  if (oid == pbes2_oid) {
    read_pbes2(parameters, out);
    return out;
  }
  for (const fixed_scheme_t& scheme : fixed_schemes) {
    if (scheme.oid == oid) {
      read_fixed_scheme(scheme, parameters, out);
      return out;
    }
  }
  out.text = name_of(oid);
  out.why_not = not_had(out.text);
  return out;
}

void admit(const encryption_t& encryption, deriver_t& deriver) {
  deriver.admit(encryption.key);
  if (encryption.iv.size != 0) {
    deriver.expect(encryption.iv.iterations);
  }
}

bool decrypt(const encryption_t& encryption, const secret_t& password, deriver_t& deriver,
             const blob_t& data, std::string& plaintext) {
  for (const secret_t& form : password_forms(encryption.key.kdf, password)) {
    secret_t key = deriver.derive(form, encryption.key);
    secret_t iv(encryption.given_iv.data, encryption.given_iv.data + encryption.given_iv.size);
    if (encryption.iv.size != 0) {
      iv = deriver.derive(form, encryption.iv);
    } else if (key.size() > encryption.cipher->key_size) {
      iv.assign(key.begin() + encryption.cipher->key_size, key.end());
      key.resize(encryption.cipher->key_size);
    }
    const blob_t iv_view = {static_cast<unsigned>(iv.size()), iv.data()};
    if (decrypt_with(encryption, std::move(key), iv_view, data, plaintext)) {
      return true;
    }
  }
  return false;
}

bool read_encrypted_key(const blob_t& der, encrypted_key_t& out) {
  asn_iter_t cur = asn1_iter_(der);
  asn_iter_t content;
  blob_t algorithm;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &content) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &content, &algorithm) ||
      !asn1_read_view_(asn_tag_t::OCTET_STRING, &content, &out.data)) {
    return false;
  }
  out.encryption = read_encryption(algorithm);
  return true;
}
