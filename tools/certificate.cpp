#include "certificate.h"

#include <string_view>

#include "asn_cursor.h"
#include "bytes.h"
#include "input.h"
#include "kind.h"
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

namespace {

constexpr auto context_3 = static_cast<asn_tag_t::Type>(0xA3);

// The next element, whatever it is.
blob_t next_element(asn_iter_t& cur) {
  blob_t element;
  return read_element(asn_tag_t::ANY, cur, element) ? element : blob_t();
}

// Extensions ::= [3] EXPLICIT SEQUENCE OF Extension, after the unique identifiers, which are
// optional
blob_t extensions_of(asn_iter_t cur) {
  asn_iter_t content;
  blob_t extensions;
  while (!asn1_next_is_(context_3, cur)) {
    if (next_element(cur).size == 0) {
      return extensions;
    }
  }
  if (asn1_read_tag_i_(context_3, &cur, &content)) {
    read_element(asn_tag_t::SEQUENCE, content, extensions);
  }
  return extensions;
}

}  // namespace

// Certificate ::= SEQUENCE { tbsCertificate, signatureAlgorithm, signatureValue BIT STRING }
// TBSCertificate ::= SEQUENCE { [0] version OPTIONAL, serialNumber INTEGER, signature, issuer,
//   validity SEQUENCE { notBefore, notAfter }, subject, subjectPublicKeyInfo, ... }
bool read_certificate(const std::string& der, certificate_t& out) {
  asn_iter_t file = asn1_iter_(view(der));
  asn_iter_t certificate;
  asn_iter_t tbs;
  asn_iter_t validity;
  if (kind_of({"", der}) != kind_t::certificate ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &file, &certificate) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &certificate, &tbs)) {
    return false;
  }
  out.signature_alg = next_element(certificate);
  if (asn1_next_is_(asn_tag_t::CONTEXT_0, tbs)) {
    next_element(tbs);
  }
  out.serial = next_element(tbs);
  next_element(tbs);
  out.issuer = next_element(tbs);
  if (asn1_read_tag_i_(asn_tag_t::ANY, &tbs, &validity)) {
    out.not_before = next_element(validity);
    out.not_after = next_element(validity);
  }
  out.subject = next_element(tbs);
  out.public_key = next_element(tbs);
  out.extensions = extensions_of(tbs);
  return true;
}

void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle) {
  const std::vector<input_block_t> blocks = read_input(file);
  struct passed_over_t {
    std::string line;
    std::string what;
  };
  unsigned count = 0;
  std::vector<passed_over_t> passed_over;
  for (const input_block_t& block : blocks) {
    const kind_t kind = kind_of(block);
    const std::string line = block.line == 0 ? "" : " (line " + std::to_string(block.line) + ')';
    if (kind != kind_t::certificate && kind != kind_t::unknown) {
      passed_over.push_back({line, what_it_is(block)});
      continue;
    }
    ++count;
    std::string where = file;
    if (blocks.size() > 1) {
      where.append(": certificate ").append(std::to_string(count)).append(line);
    }
    attempt([&] {
      certificate_t certificate;
      if (!read_certificate(block.der, certificate)) {
        throw input_error_t(where, "not a certificate, but " + what_it_is(block));
      }
      handle(where, certificate);
    });
  }
  if (count == 0) {
    throw input_error_t(file, "holds no certificate, but " + passed_over.front().what);
  }
  for (const passed_over_t& other : passed_over) {
    note(file + other.line + ": passed over " + other.what);
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
