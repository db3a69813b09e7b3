#include "certificate.h"

#include <string_view>

#include "asn_cursor.h"
#include "bytes.h"
#include "input.h"
#include "messages.h"
#include "oid_names.h"
#include "text.h"

bool read_element(asn_tag_t::Type type, asn_iter_t& cur, blob_t& element) {
  const unsigned char* begin = cur.ptr;
  asn_iter_t content;
  if (!asn1_read_tag_i_(type, &cur, &content)) {
    return false;
  }
  element = asn1_view_(asn1_range_(begin, cur.ptr));
  return true;
}

// Certificate ::= SEQUENCE { tbsCertificate, signatureAlgorithm, signatureValue BIT STRING }
// TBSCertificate ::= SEQUENCE { [0] version OPTIONAL, serialNumber INTEGER, signature, issuer,
//   validity SEQUENCE { notBefore, notAfter }, subject, subjectPublicKeyInfo, ... }
bool read_certificate(const std::string& der, certificate_t& out) {
  asn_iter_t file = asn1_iter_(view(der));
  asn_iter_t certificate;
  asn_iter_t tbs;
  asn_iter_t skipped;
  asn_iter_t serial;
  asn_iter_t validity;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &file, &certificate) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &certificate, &tbs) ||
      !read_element(asn_tag_t::SEQUENCE, certificate, out.signature_alg) ||
      !asn1_read_tag_i_(asn_tag_t::BIT_STRING, &certificate, &skipped)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::CONTEXT_0, tbs) &&
      !asn1_read_tag_i_(asn_tag_t::CONTEXT_0, &tbs, &skipped)) {
    return false;
  }
  if (!asn1_read_tag_i_(asn_tag_t::INTEGER, &tbs, &serial) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &tbs, &skipped) ||
      !read_element(asn_tag_t::SEQUENCE, tbs, out.issuer) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &tbs, &validity) ||
      !read_element(asn_tag_t::ANY, validity, out.not_before) ||
      !read_element(asn_tag_t::ANY, validity, out.not_after) ||
      !read_element(asn_tag_t::SEQUENCE, tbs, out.subject) ||
      !read_element(asn_tag_t::SEQUENCE, tbs, out.public_key)) {
    return false;
  }
  out.serial = asn1_view_(serial);
  return true;
}

void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle) {
  const auto blocks = read_input(file);
  unsigned count = 0;
  for (const input_block_t& block : blocks) {
    // Also X509 CERTIFICATE and TRUSTED CERTIFICATE, but no CERTIFICATE REQUEST.
    constexpr std::string_view label = "CERTIFICATE";
    const std::size_t at = block.label.rfind(label);
    if (!block.label.empty() &&
        (at == std::string::npos || at + label.size() != block.label.size())) {
      continue;
    }
    ++count;
    const std::string where =
        blocks.size() == 1 ? file : file + ": certificate " + std::to_string(count);
    attempt([&] {
      certificate_t certificate;
      if (block.der.empty()) {
        throw input_error_t(where, "the PEM block is not base64");
      }
      if (!read_certificate(block.der, certificate)) {
        throw input_error_t(where, "not a certificate, or a damaged one");
      }
      handle(where, certificate);
    });
  }
  if (count == 0) {
    throw input_error_t(file, "holds no certificate");
  }
}

std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order) {
  std::string text;
  if (!asn_dn_to_printable(name.data, name.size, text, order, oid_map())) {
    throw input_error_t(where, std::string("the ") + what + " is malformed after \"" + text + '"');
  }
  return printable(text);
}
