// A function for each extension (RFC 5280, 4.2), and the table of them.

#include "extensions.h"

#include <arpa/inet.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "asn_cursor.h"
#include "asn_time.h"
#include "bytes.h"
#include "certificate.h"
#include "known_oids.h"
#include "messages.h"
#include "oid_names.h"
#include "text.h"

namespace {

using list_t = record_t::list_t;

// A value that is not as its type says; the extension is then shown by its size.
struct malformed_t {};

asn_iter_t enter(asn_tag_t::Type type, asn_iter_t& cur) {
  asn_iter_t content;
  if (!asn1_read_tag_i_(type, &cur, &content)) {
    throw malformed_t();
  }
  return content;
}

constexpr asn_tag_t::Type context(unsigned number) {
  return static_cast<asn_tag_t::Type>(0x80 | number);
}
constexpr asn_tag_t::Type constructed(unsigned number) {
  return static_cast<asn_tag_t::Type>(0xA0 | number);
}
constexpr auto boolean = static_cast<asn_tag_t::Type>(0x01);

// The name of an OID without its dotted text, or else that.
std::string short_oid_name(const blob_t& oid) {
  const std::string dotted = dotted_oid(oid);
  const std::string_view name = known_oid_name(dotted);
  return name.empty() ? dotted : std::string(name);
}

std::string text_of(const asn_iter_t& content) {
  return to_string(asn1_view_(content));
}

// What the elements of a SEQUENCE OF are, one after the other: `read` takes one off the iterator.
list_t list_of(asn_iter_t elements, std::string (*read)(asn_iter_t&)) {
  list_t out;
  while (elements.len != 0) {
    out.push_back(read(elements));
  }
  return out;
}

list_t sequence_of(asn_iter_t cur, std::string (*read)(asn_iter_t&)) {
  return list_of(enter(asn_tag_t::SEQUENCE, cur), read);
}

std::string oid_text(asn_iter_t& cur) {
  return short_oid_name(asn1_view_(enter(asn_tag_t::OID, cur)));
}

// A string of any type.
std::string string_text(asn_iter_t& cur) {
  return text_of(enter(asn_tag_t::ANY, cur));
}

// ---- GeneralName ----

// Four bytes, or sixteen, or twice as many with a mask.
std::string address_text(const blob_t& address) {
  char text[INET6_ADDRSTRLEN];
  const int family = address.size == 4 ? AF_INET : AF_INET6;
  const bool known = address.size == 4 || address.size == 16;
  return known && inet_ntop(family, address.data, text, sizeof text) != nullptr ? text
                                                                                : hex(address);
}

// OtherName ::= SEQUENCE { type-id OID, value [0] EXPLICIT ANY }; text values as text
std::string other_name_text(asn_iter_t cur) {
  constexpr auto utf8_string = static_cast<asn_tag_t::Type>(0x0C);
  constexpr auto ia5_string = static_cast<asn_tag_t::Type>(0x16);
  const asn_iter_t oid = enter(asn_tag_t::OID, cur);
  asn_iter_t value = enter(asn_tag_t::CONTEXT_0, cur);
  const blob_t whole = asn1_view_(value);
  const bool is_text = asn1_next_is_(utf8_string, value) || asn1_next_is_(ia5_string, value);
  return "other:" + short_oid_name(asn1_view_(oid)) + '=' +
         (is_text ? text_of(enter(asn_tag_t::ANY, value)) : '#' + hex(whole));
}

std::string directory_name_text(const asn_iter_t& name) {
  std::string text;
  if (!asn_dn_to_printable(name.ptr, name.len, text, DN_ORDER_DIRECT, oid_map())) {
    throw malformed_t();
  }
  return "directory:" + text;
}

std::string general_name_text(asn_iter_t& names) {
  constexpr unsigned number_mask = 0x1F;
  const unsigned number = *names.ptr & number_mask;
  const asn_iter_t content = enter(asn_tag_t::ANY, names);
  switch (number) {
    case 0:
      return other_name_text(content);
    case 1:
      return "email:" + text_of(content);
    case 2:
      return "DNS:" + text_of(content);
    case 4:
      return directory_name_text(content);
    case 6:
      return "URI:" + text_of(content);
    case 7:
      return "IP:" + address_text(asn1_view_(content));
    case 8:
      return "OID:" + short_oid_name(asn1_view_(content));
    default:
      return '[' + std::to_string(number) + "]:#" + hex(asn1_view_(content));
  }
}

void append_general_names(list_t& out, const asn_iter_t& names) {
  const list_t more = list_of(names, general_name_text);
  out.insert(out.end(), more.begin(), more.end());
}

// ---- Extensions: each function takes the content of extnValue ----

// BOOLEAN DEFAULT FALSE
bool read_flag(asn_iter_t& cur) {
  if (!asn1_next_is_(boolean, cur)) {
    return false;
  }
  const asn_iter_t value = enter(boolean, cur);
  if (value.len != 1) {
    throw malformed_t();
  }
  return *value.ptr != 0;
}

// GeneralNames ::= SEQUENCE OF GeneralName
list_t alternative_names(asn_iter_t cur) {
  return sequence_of(cur, general_name_text);
}

// BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER OPTIONAL }
list_t basic_constraints(asn_iter_t cur) {
  asn_iter_t constraints = enter(asn_tag_t::SEQUENCE, cur);
  if (!read_flag(constraints)) {
    return {"no CA"};
  }
  if (constraints.len == 0) {
    return {"CA"};
  }
  const asn_iter_t length = enter(asn_tag_t::INTEGER, constraints);
  const bool small = length.len == 1 && *length.ptr < 0x80;
  return {"CA", "path length " + (small ? std::to_string(*length.ptr) : hex(asn1_view_(length)))};
}

// KeyUsage ::= BIT STRING
list_t key_usage(asn_iter_t cur) {
  constexpr const char* names[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                   "dataEncipherment", "keyAgreement",   "keyCertSign",
                                   "cRLSign",          "encipherOnly",   "decipherOnly"};
  const asn_iter_t bits = enter(asn_tag_t::BIT_STRING, cur);
  list_t out;
  for (unsigned i = 0; i < std::size(names) && 1 + i / 8 < bits.len; ++i) {
    if ((bits.ptr[1 + i / 8] & (0x80 >> i % 8)) != 0) {
      out.emplace_back(names[i]);
    }
  }
  return out;
}

// ExtKeyUsageSyntax ::= SEQUENCE OF OID
list_t key_purposes(asn_iter_t cur) {
  return sequence_of(cur, oid_text);
}

list_t subject_key_id(asn_iter_t cur) {
  return {hex(asn1_view_(enter(asn_tag_t::OCTET_STRING, cur)))};
}

// AuthorityKeyIdentifier ::= SEQUENCE { [0] keyIdentifier OPTIONAL,
//   [1] authorityCertIssuer OPTIONAL, [2] authorityCertSerialNumber OPTIONAL }
list_t issuer_key_id(asn_iter_t cur) {
  asn_iter_t id = enter(asn_tag_t::SEQUENCE, cur);
  list_t out;
  if (asn1_next_is_(context(0), id)) {
    out.push_back(hex(asn1_view_(enter(context(0), id))));
  }
  if (asn1_next_is_(constructed(1), id)) {
    append_general_names(out, enter(constructed(1), id));
  }
  if (id.len != 0) {
    out.push_back("serial:" + hex(asn1_view_(enter(context(2), id))));
  }
  return out;
}

// CRLDistributionPoints ::= SEQUENCE OF SEQUENCE {
//   [0] distributionPoint { [0] fullName GeneralNames or [1] nameRelativeToCRLIssuer } OPTIONAL,
//   [1] reasons OPTIONAL, [2] cRLIssuer OPTIONAL }
list_t revocation_lists(asn_iter_t cur) {
  asn_iter_t points = enter(asn_tag_t::SEQUENCE, cur);
  list_t out;
  while (points.len != 0) {
    asn_iter_t point = enter(asn_tag_t::SEQUENCE, points);
    if (!asn1_next_is_(constructed(0), point)) {
      continue;
    }
    asn_iter_t name = enter(constructed(0), point);
    if (asn1_next_is_(constructed(0), name)) {
      append_general_names(out, enter(constructed(0), name));
    } else {
      out.push_back("relative:#" + hex(asn1_view_(enter(constructed(1), name))));
    }
  }
  return out;
}

// AccessDescription ::= SEQUENCE { accessMethod OID, accessLocation GeneralName }
std::string access_text(asn_iter_t& cur) {
  asn_iter_t description = enter(asn_tag_t::SEQUENCE, cur);
  const std::string method = oid_text(description);
  return method + ' ' + general_name_text(description);
}

// AuthorityInfoAccessSyntax ::= SEQUENCE OF AccessDescription
list_t issuer_addresses(asn_iter_t cur) {
  return sequence_of(cur, access_text);
}

// SEQUENCE { OID, ... }
std::string first_oid_text(asn_iter_t& cur) {
  asn_iter_t item = enter(asn_tag_t::SEQUENCE, cur);
  return oid_text(item);
}

// Policies, and statements of qualified certificates.
list_t oids_in_sequences(asn_iter_t cur) {
  return sequence_of(cur, first_oid_text);
}

// Such as SubjectSignTool ::= UTF8String
list_t one_text(asn_iter_t cur) {
  return {string_text(cur)};
}

// IssuerSignTool ::= SEQUENCE { signTool, cATool, signToolCert, cAToolCert UTF8String }
list_t several_texts(asn_iter_t cur) {
  return sequence_of(cur, string_text);
}

// PrivateKeyUsagePeriod's [0] notBefore or [1] notAfter, a GeneralizedTime
std::string key_time_text(asn_iter_t& cur) {
  const bool from = asn1_next_is_(context(0), cur);
  asn_time_t time;
  if (!read_asn_time(string_text(cur), false, time)) {
    throw malformed_t();
  }
  return (from ? "from " : "to ") + (json_output() ? iso_time_text(time) : time_text(time));
}

list_t key_period(asn_iter_t cur) {
  return sequence_of(cur, key_time_text);
}

struct extension_t {
  std::string_view oid;
  const char* field;
  list_t (*read)(asn_iter_t value);
};

constexpr extension_t extensions[] = {
    {"2.5.29.17", "alternative names", alternative_names},
    {"2.5.29.18", "issuer names", alternative_names},
    {"2.5.29.19", "constraints", basic_constraints},
    {"2.5.29.15", "key usage", key_usage},
    {"2.5.29.37", "key purposes", key_purposes},
    {"2.5.29.14", "key id", subject_key_id},
    {"2.5.29.35", "issuer key id", issuer_key_id},
    {"2.5.29.31", "revocation lists", revocation_lists},
    {"2.5.29.46", "delta lists", revocation_lists},
    {"1.3.6.1.5.5.7.1.1", "issuer addresses", issuer_addresses},
    {"2.5.29.32", "policies", oids_in_sequences},
    {"1.3.6.1.5.5.7.1.3", "statements", oids_in_sequences},
    {"2.5.29.16", "key period", key_period},
    {"1.2.643.100.111", "signing tool", one_text},
    {"1.2.643.100.112", "issuer tools", several_texts},
    {"2.16.840.1.113730.1.13", "comment", one_text},
};

std::string joined(const list_t& texts) {
  std::string out;
  for (const std::string& text : texts) {
    out += (out.empty() ? "" : ", ") + text;
  }
  return out;
}

// Extension ::= SEQUENCE { extnID OID, critical BOOLEAN DEFAULT FALSE, extnValue OCTET STRING }
void add_extension(record_t& record, asn_iter_t extension, list_t& others, list_t& critical_ones) {
  const blob_t oid = asn1_view_(enter(asn_tag_t::OID, extension));
  const bool critical = read_flag(extension);
  const asn_iter_t value = enter(asn_tag_t::OCTET_STRING, extension);
  const std::string dotted = dotted_oid(oid);
  if (critical) {
    critical_ones.push_back(short_oid_name(oid));
  }
  const std::string mark = critical ? " (critical)" : "";
  const auto* const row =
      std::find_if(std::begin(extensions), std::end(extensions),
                   [&](const extension_t& known) { return known.oid == dotted; });
  try {
    if (row != std::end(extensions)) {
      const list_t values = row->read(value);
      record.add(row->field, joined(values) + mark, values);
      return;
    }
  } catch (const malformed_t&) {
    others.push_back(describe_param_set(oid) + ", malformed, " + std::to_string(value.len) +
                     " bytes" + mark);
    return;
  }
  others.push_back(describe_param_set(oid) + ", " + std::to_string(value.len) + " bytes" + mark);
}

}  // namespace

// ---- What the header declares ----

void add_extensions(record_t& record, const std::string& where, const blob_t& element) {
  asn_iter_t cur = asn1_iter_(element);
  list_t others;
  list_t critical_ones;
  bool whole = true;
  try {
    asn_iter_t all = enter(asn_tag_t::SEQUENCE, cur);
    while (all.len != 0) {
      add_extension(record, enter(asn_tag_t::SEQUENCE, all), others, critical_ones);
    }
  } catch (const malformed_t&) {
    whole = false;
  }
  record.add_lines("other extension", others);
  record.add_json("critical extensions", critical_ones);
  if (!whole) {
    throw input_error_t(where, "an extension is malformed");
  }
}
