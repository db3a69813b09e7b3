// Certificates, requests and CRLs taken apart (RFC 5280, RFC 2986), also those in PKCS#7 bundles.

#include "certificate.h"

#include <algorithm>
#include <iterator>
#include <utility>

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
bool read_certificate(const blob_t& der, certificate_t& out) {
  asn_iter_t file = asn1_iter_(der);
  asn_iter_t certificate;
  asn_iter_t tbs;
  asn_iter_t validity;
  asn_iter_t cur = file;
  if (kind_of(der) != kind_t::certificate ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &file, &certificate) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &certificate, &tbs)) {
    return false;
  }
  out.whole = next_element(cur);
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

certificate_t certificate_in(const std::string& where, const std::string& der) {
  certificate_t certificate;
  if (!read_certificate(der, certificate)) {
    throw input_error_t(where, "a certificate in it is of another kind than X.509, or damaged");
  }
  return certificate;
}

// CertificationRequestInfo ::= SEQUENCE { version INTEGER, subject, ... }
// TBSCertList ::= SEQUENCE { version INTEGER OPTIONAL, signature, issuer, ... }
bool read_names(const std::string& der, names_t& out) {
  const kind_t kind = kind_of(view(der));
  asn_iter_t cur = asn1_iter_(view(der));
  asn_iter_t signed_object;
  asn_iter_t info;
  certificate_t certificate;
  if (kind == kind_t::certificate && read_certificate(der, certificate)) {
    out = {certificate.subject, certificate.issuer};
    return true;
  }
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &signed_object) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &signed_object, &info)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::INTEGER, info)) {
    next_element(info);
  }
  if (kind == kind_t::request) {
    out.subject = next_element(info);
    return true;
  }
  next_element(info);
  out.issuer = next_element(info);
  return kind == kind_t::crl;
}

namespace {

bool is_one_of(const std::vector<kind_t>& kinds, kind_t kind) {
  return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

// ContentInfo ::= SEQUENCE { contentType OID, content [0] SignedData }
// SignedData ::= SEQUENCE { version INTEGER, digestAlgorithms SET, encapContentInfo SEQUENCE,
//   certificates [0] IMPLICIT SET OF Certificate OPTIONAL, ... }
std::vector<input_block_t> certificates_in(const input_block_t& pkcs7) {
  asn_iter_t cur = asn1_iter_(view(pkcs7.der));
  asn_iter_t info;
  asn_iter_t content;
  asn_iter_t data;
  asn_iter_t certificates = {nullptr, 0};
  if (asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &info) && next_element(info).size != 0 &&
      asn1_read_tag_i_(asn_tag_t::CONTEXT_0, &info, &content) &&
      asn1_read_tag_i_(asn_tag_t::SEQUENCE, &content, &data)) {
    for (int field = 0; field < 3; ++field) {
      next_element(data);
    }
    asn1_read_tag_i_(asn_tag_t::CONTEXT_0, &data, &certificates);
  }
  std::vector<input_block_t> blocks;
  while (certificates.ptr != nullptr && certificates.len != 0) {
    const blob_t element = next_element(certificates);
    if (element.size == 0) {
      break;
    }
    blocks.push_back({pkcs7.label, to_string(element), pkcs7.line});
  }
  return blocks;
}

std::vector<input_block_t> read_objects(const std::string& file, const std::vector<kind_t>& kinds) {
  std::vector<input_block_t> blocks;
  for (input_block_t& block : read_input(file)) {
    const bool bundle = is_one_of(kinds, kind_t::certificate) && kind_of(block) == kind_t::pkcs7;
    std::vector<input_block_t> inner;
    if (bundle) {
      inner = certificates_in(block);
    }
    if (inner.empty()) {
      inner.push_back(std::move(block));
    }
    std::move(inner.begin(), inner.end(), std::back_inserter(blocks));
  }
  return blocks;
}

std::string line_text(const input_block_t& block) {
  return block.line == 0 ? "" : " (line " + std::to_string(block.line) + ')';
}

}  // namespace

void for_each_object(const std::string& file, const std::vector<kind_t>& kinds,
                     const handle_object_t& handle) {
  const std::vector<input_block_t> blocks = read_objects(file, kinds);
  std::vector<const input_block_t*> passed_over;
  unsigned count = 0;
  for (const input_block_t& block : blocks) {
    const kind_t kind = kind_of(block);
    if (kind != kind_t::unknown && !is_one_of(kinds, kind)) {
      passed_over.push_back(&block);
      continue;
    }
    std::string where = file;
    ++count;
    if (blocks.size() > 1) {
      const kind_t shown = kind == kind_t::unknown ? kinds.front() : kind;
      where.append(": ").append(short_name(shown)).append(" ").append(std::to_string(count));
      where.append(line_text(block));
    }
    if (kind == kind_t::unknown) {
      report(where,
             std::string("not a ") + short_name(kinds.front()) + ", but " + what_it_is(block));
    } else {
      attempt([&] { handle(where, block); });
    }
  }
  if (count == 0) {
    throw input_error_t(file, std::string("holds no ") + short_name(kinds.front()) + ", but " +
                                  what_it_is(*passed_over.front()));
  }
  for (const input_block_t* block : passed_over) {
    note(file + line_text(*block), "passed over " + what_it_is(*block));
  }
}

void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle) {
  for_each_object(file, {kind_t::certificate},
                  [&](const std::string& where, const input_block_t& block) {
                    certificate_t certificate;
                    read_certificate(block.der, certificate);
                    handle(where, certificate);
                  });
}

std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order) {
  std::string text;
  if (!asn_dn_to_printable(name.data, name.size, text, order, oid_map())) {
    throw input_error_t(where, std::string("the ") + what + " is malformed after \"" + text + '"');
  }
  return printable(text);
}
