// pkider cert: what a certificate says about its holder, its key and its signature.

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>

#include <pkider/asn_helper.h>

#include "alg_codes.h"
#include "asn_cursor.h"
#include "asn_time.h"
#include "bytes.h"
#include "certificate.h"
#include "digest.h"
#include "extensions.h"
#include "known_oids.h"
#include "messages.h"
#include "public_key.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

// The magnitude of a negative INTEGER's content octets.
std::string negated(const blob_t& content) {
  std::string octets = to_string(content);
  unsigned carry = 1;
  for (auto at = octets.rbegin(); at != octets.rend(); ++at) {
    carry += static_cast<unsigned char>(~*at);
    *at = static_cast<char>(carry);
    carry >>= 8;
  }
  return octets;
}

blob_t without_padding(const blob_t& number) {
  const bool padded = number.size > 1 && number.data[0] == 0;
  return padded ? blob_t{number.size - 1, number.data + 1} : number;
}

// A serial number as others print it: without the zero byte that keeps it positive, and with a sign
// when it is negative.
std::string serial_text(const blob_t& element) {
  asn_iter_t cur = asn1_iter_(element);
  asn_iter_t number;
  if (!asn1_read_tag_i_(asn_tag_t::INTEGER, &cur, &number) || number.len == 0) {
    return "";
  }
  if ((number.ptr[0] & 0x80) != 0) {
    return '-' + hex(without_padding(view(negated(asn1_view_(number)))));
  }
  return hex(without_padding(asn1_view_(number)));
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
  // RSASSA-PSS with a hash that has no signature name, or with unknown parameters.
  const std::string name = describe_oid(signature.oid.data, signature.oid.size);
  const char* hash = I2S_PKI_ALG_T->getString(alg & alg_codes::hash_mask, nullptr);
  return alg != 0 && hash != nullptr ? name + " with " + hash : name;
}

// Does `add`, and shows a field that it cannot read as such: what follows is still shown.
void try_field(record_t& record, const char* name, const std::function<void()>& add) {
  try {
    add();
  } catch (const input_error_t& e) {
    record.add(name, "unreadable");
    report(e.file(), e.wrong());
  }
}

void add_name(record_t& record, const std::string& where, const char* name, const blob_t& element) {
  try_field(record, name, [&] { record.add(name, dn_text(where, name, element)); });
}

void add_time(record_t& record, const std::string& where, const char* name, const blob_t& element) {
  try_field(record, name, [&] {
    asn_time_t time;
    if (!read_asn_time(element, time)) {
      throw input_error_t(where, std::string("\"") + name + "\" is not a time");
    }
    record.add(name, time_text(time), iso_time_text(time));
    if (!time.exists) {
      report(where, std::string("\"") + name + "\" is not a time that exists: " + time.given);
    }
  });
}

void add_serial(record_t& record, const std::string& where, const blob_t& element) {
  try_field(record, "serial", [&] {
    const std::string text = serial_text(element);
    if (text.empty()) {
      throw input_error_t(where, "the serial number is malformed");
    }
    record.add("serial", text);
  });
}

// Reports a certificate that ends within so many days from now.
void check_end(const std::string& where, const certificate_t& certificate, int days) {
  constexpr std::int64_t seconds_per_day = 86400;
  asn_time_t end;
  if (!read_asn_time(certificate.not_after, end) || !end.exists) {
    throw input_error_t(where, "when it ends is not known");
  }
  const std::int64_t now = std::time(nullptr);
  if (end.seconds < now) {
    report(where, "ended on " + time_text(end));
  } else if (end.seconds < now + days * seconds_per_day) {
    const std::int64_t left = (end.seconds - now) / seconds_per_day;
    report(where, "ends in " + std::to_string(left) + " days, on " + time_text(end));
  }
}

record_t show(const std::string& where, const certificate_t& certificate, bool verbose) {
  record_t record;
  record.add("certificate", where);
  add_name(record, where, "subject", certificate.subject);
  add_name(record, where, "issuer", certificate.issuer);
  add_serial(record, where, certificate.serial);
  add_time(record, where, "not before", certificate.not_before);
  add_time(record, where, "not after", certificate.not_after);
  try_field(record, "key", [&] { add_public_key(record, where, certificate.public_key, verbose); });
  try_field(record, "signature",
            [&] { record.add("signature", signature_text(where, certificate.signature_alg)); });
  if (certificate.extensions.size != 0) {
    try_field(record, "extensions", [&] { add_extensions(record, where, certificate.extensions); });
  }
  record.add("SHA-1", hex(view(sha1(certificate.whole))));
  record.add("SHA-256", hex(view(sha256(certificate.whole))));
  record.add("Streebog-256", hex(view(streebog256(certificate.whole))));
  return record;
}

}  // namespace

void show_certificates(const cert_options_t& options) {
  for_each_file(options.files, [&](const std::string& file) {
    for_each_certificate(file, [&](const std::string& where, const certificate_t& certificate) {
      print(show(where, certificate, options.verbose));
      if (options.days) {
        check_end(where, certificate, *options.days);
      }
    });
  });
}
