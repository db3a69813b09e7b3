// pkider cert: what a certificate says about its holder, its key and its signature.

#include <charconv>
#include <iostream>
#include <memory>

#include <pkider/asn_helper.h>

#include "alg_codes.h"
#include "asn_cursor.h"
#include "bytes.h"
#include "certificate.h"
#include "known_oids.h"
#include "messages.h"
#include "text.h"
#include "verbs.h"

namespace {

constexpr auto utc_time = static_cast<asn_tag_t::Type>(0x17);
constexpr auto generalized_time = static_cast<asn_tag_t::Type>(0x18);

// Takes `count` digits off the front of `text`.
bool take_number(std::string_view& text, std::size_t count, unsigned& number) {
  const char* const end = text.data() + std::min(count, text.size());
  const auto [at, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || at != text.data() + count) {
    return false;
  }
  text.remove_prefix(count);
  return true;
}

// UTCTime YYMMDDhhmmssZ or GeneralizedTime YYYYMMDDhhmmssZ (RFC 5280, 4.1.2.5), in the log form of
// a certificate time.
bool read_time(const blob_t& element, std::string& log_form) {
  asn_iter_t cur = asn1_iter_(element);
  asn_iter_t content;
  const bool two_digits = asn1_next_is_(utc_time, cur);
  if (!asn1_read_tag_i_(two_digits ? utc_time : generalized_time, &cur, &content)) {
    return false;
  }
  const std::string held = to_string(asn1_view_(content));
  std::string_view text = held;
  unsigned year = 0;
  unsigned month = 0;
  unsigned day = 0;
  unsigned hours = 0;
  unsigned minutes = 0;
  unsigned seconds = 0;
  if (!take_number(text, two_digits ? 2 : 4, year) || !take_number(text, 2, month) ||
      !take_number(text, 2, day) || !take_number(text, 2, hours) ||
      !take_number(text, 2, minutes) || !take_number(text, 2, seconds) || text != "Z") {
    return false;
  }
  if (two_digits) {
    year += year < 50 ? 2000 : 1900;
  }
  const cert_time64_t time = cert_time64_t{year} << 40 | cert_time64_t{month - 1U} << 32 |
                             cert_time64_t{day} << 24 | hours << 16 | minutes << 8 | seconds;
  CertTimeToLogStringGMT(time, log_form);
  return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

std::string time_text(const std::string& where, const char* what, const blob_t& element) {
  std::string text;
  if (!read_time(element, text)) {
    throw input_error_t(where, std::string(what) + " is neither a UTCTime nor a GeneralizedTime");
  }
  return text;
}

// A whole OBJECT IDENTIFIER element; unlike an algorithm, a parameter set always shows its dotted
// text too.
std::string parameter_set(const blob_t& element) {
  asn_iter_t cur = asn1_iter_(element);
  asn_iter_t oid;
  if (!asn1_read_tag_i_(asn_tag_t::OID, &cur, &oid)) {
    return "malformed";
  }
  std::string dotted;
  oid_asn_to_str_(oid.ptr, oid.ptr + oid.len, dotted);
  const std::string described = describe_oid(oid.ptr, oid.len);
  return described.rfind(dotted, 0) == 0 ? described : dotted + " (" + described + ')';
}

// A serial number as others print it: without the zero byte that keeps it positive.
std::string serial_text(const blob_t& serial) {
  const bool padded = serial.size > 1 && serial.data[0] == 0;
  return padded ? hex({serial.size - 1, serial.data + 1}) : hex(serial);
}

unsigned bit_count(const blob_t& number) {
  if (number.size == 0) {
    return 0;
  }
  unsigned bits = (number.size - 1) * 8;
  for (unsigned top = number.data[0]; top != 0; top >>= 1) {
    ++bits;
  }
  return bits;
}

void show_rsa_key(const std::string& where, const asn_pubkey_t& key, bool verbose) {
  asn_rsa_pubkey_t rsa;
  if (!asn_read_rsa_pubkey(key, rsa)) {
    throw input_error_t(where, "the RSA key is malformed");
  }
  print_field("key size", std::to_string(bit_count(rsa.modulus)) + " bits");
  if (verbose) {
    print_field("modulus", hex(rsa.modulus));
    print_field("exponent", hex(rsa.exponent));
  }
}

void show_gost_key(const std::string& where, const asn_pubkey_t& key, bool verbose) {
  asn_gost_pubkey_t gost;
  if (!asn_read_gost_pubkey(key, gost)) {
    throw input_error_t(where, "the GOST key is malformed");
  }
  print_field("key parameters", parameter_set(gost.public_key_param_set));
  print_field("digest parameters", parameter_set(gost.digest_param_set));
  if (gost.encryption_param_set.size != 0) {
    print_field("cipher parameters", parameter_set(gost.encryption_param_set));
  }
  if (verbose) {
    print_field("key", hex(gost.key));
  }
}

void show_public_key(const std::string& where, const blob_t& element, bool verbose) {
  asn_pubkey_t key;
  if (!asn_read_pubkey(element.data, static_cast<long>(element.size), key)) {
    throw input_error_t(where, "the public key is malformed");
  }
  print_field("public key", describe_oid(key.alg.data, key.alg.size));
  const pki_alg_t kind = PKI_OID_TO_KEY_ALG(key.alg.data, key.alg.size) & alg_codes::kind_mask;
  if (kind == alg_codes::rsa) {
    show_rsa_key(where, key, verbose);
    return;
  }
  if (kind >= alg_codes::gost_3410 && kind <= alg_codes::gost_3410_2012_512) {
    show_gost_key(where, key, verbose);
    return;
  }
  asn_iter_t params = asn1_iter_(key.params);
  if (asn1_next_is_(asn_tag_t::OID, params)) {  // of an elliptic curve
    print_field("key parameters", parameter_set(key.params));
  }
  if (verbose) {
    print_field("key", hex(key.key));
  }
}

std::string signature_text(const std::string& where, const blob_t& element) {
  asn_ike_signalg_t signature;
  if (!asn_read_ike_signalg(element.data, element.size, signature)) {
    throw input_error_t(where, "the signature algorithm is malformed");
  }
  const pki_alg_t alg = signature.to_pki_alg();
  if (const char* name = I2S_PKI_ALG_T->getString(alg, nullptr); alg != 0 && name != nullptr) {
    return name;
  }
  // RSASSA-PSS with a hash that has no signature name of its own, or with unknown parameters.
  const std::string name = describe_oid(signature.oid.data, signature.oid.size);
  const char* hash = I2S_PKI_ALG_T->getString(alg & alg_codes::hash_mask, nullptr);
  return alg != 0 && hash != nullptr ? name + " with " + hash : name;
}

void show(const std::string& where, const certificate_t& certificate, bool verbose) {
  print_field("subject", dn_text(where, "subject", certificate.subject));
  print_field("issuer", dn_text(where, "issuer", certificate.issuer));
  print_field("serial", serial_text(certificate.serial));
  print_field("not before", time_text(where, "notBefore", certificate.not_before));
  print_field("not after", time_text(where, "notAfter", certificate.not_after));
  show_public_key(where, certificate.public_key, verbose);
  print_field("signature", signature_text(where, certificate.signature_alg));
}

}  // namespace

void add_cert_verb(CLI::App& app) {
  struct options_t {
    std::vector<std::string> files;
    bool verbose = false;
  };
  const auto options = std::make_shared<options_t>();
  CLI::App* verb =
      app.add_subcommand("cert", "Show certificates: names, validity, key and signature");
  verb->add_flag("--verbose", options->verbose, "Show the key itself too, in hexadecimal");
  verb->add_option("FILE", options->files, "Certificates in PEM or DER; - is standard input")
      ->required();
  verb->callback([options] {
    bool first = true;
    for_each_file(options->files, [&](const std::string& file) {
      for_each_certificate(file, [&](const std::string& where, const certificate_t& certificate) {
        if (!first) {
          std::cout << '\n';
        }
        first = false;
        print_field("certificate", where);
        show(where, certificate, options->verbose);
      });
    });
  });
}
