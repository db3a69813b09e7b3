#include "container.h"

#include "asn_cursor.h"
#include "asn_oids.h"
#include "bytes.h"
#include "messages.h"
#include "prf_parameters.h"

namespace {

// Replaces `cur` by the content of its next element.
bool enter(asn_tag_t::Type type, asn_iter_t* cur) {
  asn_iter_t content;
  if (!asn1_read_tag_i_(type, cur, &content)) {
    return false;
  }
  *cur = content;
  return true;
}

// ContentInfo ::= SEQUENCE { contentType OID, content [0] }. Replaces `cur`, the content of one, by
// its [0]'s content.
bool enter_content(asn_iter_t* cur, blob_t* type) {
  asn_iter_t oid;
  if (!asn1_read_tag_i_(asn_tag_t::OID, cur, &oid)) {
    return false;
  }
  *type = asn1_view_(oid);
  return enter(asn_tag_t::CONTEXT_0, cur);
}

unsigned shrouded_keys(asn_iter_t safe_contents) {
  unsigned count = 0;
  asn_iter_t bag;
  asn_iter_t id;
  while (asn1_read_tag_i_(asn_tag_t::SEQUENCE, &safe_contents, &bag)) {
    if (asn1_read_tag_i_(asn_tag_t::OID, &bag, &id) &&
        asn_oid_equal_(asn1_view_(id), g_oid_pkcs12_id_shroudedKeyBag)) {
      ++count;
    }
  }
  return count;
}

unsigned count_encrypted_parts(const blob_t& mac_data) {
  unsigned count = 0;
  asn_iter_t safe = asn1_iter_(mac_data);
  asn_iter_t part;
  blob_t type;
  if (!enter(asn_tag_t::OCTET_STRING, &safe) || !enter(asn_tag_t::SEQUENCE, &safe)) {
    return 0;
  }
  while (asn1_read_tag_i_(asn_tag_t::SEQUENCE, &safe, &part)) {
    if (!enter_content(&part, &type)) {
      continue;
    }
    if (asn_oid_equal_(type, g_oid_pkcs7_id_encrypted_data)) {
      ++count;
    } else if (enter(asn_tag_t::OCTET_STRING, &part) && enter(asn_tag_t::SEQUENCE, &part)) {
      count += shrouded_keys(part);
    }
  }
  return count;
}

}  // namespace

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }
container_t split_container(const std::string& where, const std::string& der) {
  container_t out;
  out.original = der;
  out.der = with_prf_parameters(view(der));
  asn_iter_t cur = asn1_iter_(view(out.original));
  asn_iter_t version;
  asn_iter_t safe;
  asn_iter_t mac;
  blob_t type;
  if (!enter(asn_tag_t::SEQUENCE, &cur) || !asn1_read_tag_i_(asn_tag_t::INTEGER, &cur, &version) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &safe) || !enter_content(&safe, &type)) {
    throw input_error_t(where, "not a PKCS#12 file, or not in DER");
  }
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &mac)) {
    throw input_error_t(where, "a PKCS#12 file without a MAC, so the password cannot be checked");
  }
  if (!asn_read_pkcs12_MacData(mac.ptr, mac.len, out.mac)) {
    throw input_error_t(where, "a PKCS#12 file, but its MacData is malformed");
  }
  out.version = asn1_view_(version);
  out.mac_data = asn1_view_(safe);
  out.encrypted_parts = count_encrypted_parts(out.mac_data);
  return out;
}

void read_container(const std::string& where, gost_pbe_t* crypto, container_t* container) {
  bool good = false;
  crypto->set_mac_data(container->mac_data);
  try {
    good = asn_read_pkcs12_easy(bytes(container->der), size32(container->der), crypto,
                                container->model);
  } catch (const pbe_error_t& e) {
    throw input_error_t(where, e.what());
  }
  if (crypto->mac_refused()) {
    throw input_error_t(where, "wrong password, or a damaged file");
  }
  if (!good) {
    throw input_error_t(where, "a PKCS#12 file, but malformed");
  }
}
