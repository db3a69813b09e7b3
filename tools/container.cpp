// PKCS#12 (RFC 7292) from the outside in: the MAC, the parts, their bags.

#include "container.h"

#include <string_view>
#include <utility>

#include "asn_cursor.h"
#include "asn_oids.h"
#include "ber.h"
#include "bytes.h"
#include "kind.h"
#include "known_oids.h"
#include "messages.h"

namespace {

constexpr char data_type[] = "1.2.840.113549.1.7.1";
constexpr char signed_type[] = "1.2.840.113549.1.7.2";
constexpr char enveloped_type[] = "1.2.840.113549.1.7.3";
constexpr char encrypted_type[] = "1.2.840.113549.1.7.6";

constexpr char key_bag[] = "1.2.840.113549.1.12.10.1.1";
constexpr char shrouded_key_bag[] = "1.2.840.113549.1.12.10.1.2";
constexpr char nested_bag[] = "1.2.840.113549.1.12.10.1.6";

struct bag_kind_t {
  std::string_view type;
  const char* kind;
};

constexpr bag_kind_t bag_kinds[] = {
    {key_bag, "private key"},
    {shrouded_key_bag, "private key"},
    {"1.2.840.113549.1.12.10.1.3", "certificate"},
    {"1.2.840.113549.1.12.10.1.4", "certificate revocation list"},
    {"1.2.840.113549.1.12.10.1.5", "secret"},
    {nested_bag, "bags within a bag"},
};

// ContentInfo ::= SEQUENCE { contentType OID, content [0] }
struct content_info_t {
  std::string type;
  asn_iter_t content;
};

bool read_content_info(asn_iter_t& cur, content_info_t& out) {
  asn_iter_t info;
  blob_t type;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &info) ||
      !asn1_read_view_(asn_tag_t::OID, &info, &type)) {
    return false;
  }
  out.type = dotted_oid(type);
  return asn1_read_tag_i_(asn_tag_t::CONTEXT_0, &info, &out.content);
}

// SafeBag ::= SEQUENCE { bagId OID, bagValue [0], bagAttributes SET OPTIONAL }
bool read_bag(asn_iter_t& cur, safe_bag_t& out) {
  asn_iter_t bag;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &bag)) {
    return false;
  }
  out.malformed = !asn1_read_view_(asn_tag_t::OID, &bag, &out.id) ||
                  !asn1_read_view_(asn_tag_t::CONTEXT_0, &bag, &out.value);
  if (out.malformed) {
    return true;
  }
  out.type = dotted_oid(out.id);
  out.attributes = asn1_view_(bag);
  if (out.type == shrouded_key_bag) {
    out.malformed = !read_encrypted_key(out.value, out.key);
  }
  return true;
}

// SafeContents ::= SEQUENCE OF SafeBag, in an OCTET STRING where the library wrote it.
bool read_bags(const blob_t& safe_contents, unsigned depth, std::vector<safe_bag_t>& out) {
  constexpr unsigned max_depth = 8;
  asn_iter_t cur = asn1_iter_(safe_contents);
  asn_iter_t content;
  if (asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cur, &content)) {
    cur = content;
  }
  if (depth > max_depth || !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &content)) {
    return false;
  }
  while (content.len != 0) {
    safe_bag_t bag;
    if (!read_bag(content, bag)) {
      return false;
    }
    if (bag.type != nested_bag) {
      out.push_back(bag);
    } else if (!read_bags(bag.value, depth + 1, out)) {
      return false;
    }
  }
  return true;
}

// EncryptedData ::= SEQUENCE { version INTEGER, EncryptedContentInfo, ... }
// EncryptedContentInfo ::= SEQUENCE { contentType OID, contentEncryptionAlgorithm,
//   encryptedContent [0] IMPLICIT OCTET STRING }
bool read_encrypted_part(asn_iter_t cur, safe_part_t& out) {
  constexpr unsigned char primitive_0 = 0x80;
  asn_iter_t data;
  asn_iter_t version;
  asn_iter_t info;
  blob_t type;
  blob_t algorithm;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &data) ||
      !asn1_read_tag_i_(asn_tag_t::INTEGER, &data, &version) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &data, &info) ||
      !asn1_read_view_(asn_tag_t::OID, &info, &type) ||
      !asn1_read_view_(asn_tag_t::SEQUENCE, &info, &algorithm) ||
      !read_octets(primitive_0, info, out.data)) {
    return false;
  }
  out.encrypted = true;
  out.encryption = read_encryption(algorithm);
  out.text = "encrypted, " + out.encryption.text;
  out.why_not = out.encryption.why_not.empty() ? "" : "encrypted " + out.encryption.why_not;
  return true;
}

bool read_part(content_info_t info, safe_part_t& out) {
  if (info.type == encrypted_type) {
    return read_encrypted_part(info.content, out);
  }
  if (info.type == data_type) {
    std::string octets;
    out.text = "plain";
    return read_octets(asn_tag_t::OCTET_STRING, info.content, octets) &&
           ber_to_der(view(octets), out.data) && read_bags(view(out.data), 0, out.bags);
  }
  out.text = info.type == enveloped_type ? "encrypted for the owner of a certificate"
                                         : "content of type " + info.type;
  out.why_not = out.text + ", which this command does not open";
  return true;
}

[[noreturn]] void fail_malformed(const std::string& where) {
  throw input_error_t(where, "a PKCS#12 file, but malformed");
}

// AuthenticatedSafe ::= SEQUENCE OF ContentInfo
void read_parts(const std::string& where, container_t& out) {
  asn_iter_t cur;
  asn_iter_t safe;
  if (!ber_to_der(view(out.safe), out.safe_der)) {
    fail_malformed(where);
  }
  cur = asn1_iter_(view(out.safe_der));
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &safe)) {
    fail_malformed(where);
  }
  while (safe.len != 0) {
    content_info_t info;
    if (!read_content_info(safe, info) || !read_part(info, out.parts.emplace_back())) {
      fail_malformed(where);
    }
  }
}

// Passes for a container's MAC, which was checked before.
class trusting_crypto_t : public pbe_crypto_t {
 public:
  bool verify_mac(const pkcs12_mac_t&, const unsigned char*, unsigned) override { return true; }
  bool compute_mac(const unsigned char*, unsigned, pkcs12_mac_t&) override { return false; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char*, unsigned, std::string&) override {
    return false;
  }
  bool encrypt(const unsigned char*, unsigned, pkcs5_pbe_gost_t&, std::string&) override {
    return false;
  }
};

template <unsigned N>
std::string oid_element(const unsigned char (&oid)[N]) {
  return der_element(asn_tag_t::OID, to_string({N, oid}));
}

std::string sequence(const std::string& content) {
  return der_element(asn_tag_t::SEQUENCE, content);
}

std::string octets(const std::string& content) {
  return der_element(asn_tag_t::OCTET_STRING, content);
}

std::string data_info(const std::string& content) {
  return sequence(oid_element(g_oid_pkcs7_id_data) +
                  der_element(asn_tag_t::CONTEXT_0, octets(content)));
}

// A container of one plain SafeBag, with an empty MAC.
std::string container_of(const std::string& bag) {
  const std::string version("\x02\x01\x03", 3);
  const std::string empty_mac = sequence(sequence(sequence("") + octets("")) + octets(""));
  return sequence(version + data_info(sequence(data_info(sequence(bag)))) + empty_mac);
}

std::string plain_bag(const safe_bag_t& bag, const std::string& key) {
  const bool is_shrouded = bag.type == shrouded_key_bag;
  const std::string id = is_shrouded ? oid_element(g_oid_pkcs12_id_keyBag)
                                     : der_element(asn_tag_t::OID, to_string(bag.id));
  return sequence(id + der_element(asn_tag_t::CONTEXT_0, is_shrouded ? key : to_string(bag.value)) +
                  to_string(bag.attributes));
}

// Why something in a scheme that the command has did not open.
std::string failure(const container_t& container) {
  return container.has_mac ? "does not open with the container's password: it has another one"
                           : "wrong password, or damaged (there is no MAC that would tell which)";
}

// What one run of open_bags goes through.
class opener_t {
 public:
  opener_t(std::string where, const container_t& container, const secret_t& password,
           deriver_t& deriver)
      : where_(std::move(where)), container_(container), password_(password), deriver_(deriver) {}

  std::list<opened_bag_t> open() {
    for (const safe_part_t& part : container_.parts) {
      ++part_number_;
      attempt([&] { open_part(part); });
    }
    return std::move(bags_);
  }

 private:
  [[noreturn]] void leave_out(const std::string& what, const std::string& why) const {
    throw input_error_t(where_, "left out " + what + ": " + why);
  }

  void open_part(const safe_part_t& part) {
    const std::string what = "part " + std::to_string(part_number_);
    if (!part.why_not.empty()) {
      leave_out(what, part.why_not);
    }
    if (!part.encrypted) {
      open_all(part.bags, part.text);
      return;
    }
    std::string plaintext;
    std::string der;
    std::vector<safe_bag_t> bags;
    if (!decrypted(part.encryption, view(part.data), plaintext)) {
      leave_out(what, failure(container_));
    }
    if (!ber_to_der(view(plaintext), der) || !read_bags(view(der), 0, bags)) {
      leave_out(what, "its bags are malformed");
    }
    // Keys of the part that are shrouded once more were not known of before.
    for (const safe_bag_t& bag : bags) {
      if (bag.key.encryption.cipher != nullptr) {
        admitted(bag.key.encryption);
      }
    }
    open_all(bags, part.text);
  }

  void open_all(const std::vector<safe_bag_t>& bags, const std::string& protection) {
    for (const safe_bag_t& bag : bags) {
      ++bag_number_;
      attempt([&] { open_bag(bag, protection); });
    }
  }

  void open_bag(const safe_bag_t& bag, const std::string& protection) {
    const std::string kind = bag_kind(bag.type);
    const std::string what = "bag " + std::to_string(bag_number_);
    if (bag.malformed) {
      leave_out(what, "it is malformed");
    }
    std::string key;
    std::string own_protection = protection;
    if (bag.type == shrouded_key_bag) {
      const encryption_t& encryption = bag.key.encryption;
      if (!encryption.why_not.empty()) {
        leave_out(what, "a private key, encrypted " + encryption.why_not);
      }
      if (!decrypted(encryption, bag.key.data, key)) {
        leave_out(what, "a private key: " + failure(container_));
      }
      own_protection = "encrypted, " + encryption.text;
    }
    opened_bag_t& opened = bags_.emplace_back();
    opened.kind = kind;
    opened.protection = own_protection;
    opened.pfx = container_of(plain_bag(bag, key));
    trusting_crypto_t crypto;
    if (!asn_read_pkcs12_easy(bytes(opened.pfx), size32(opened.pfx), &crypto, opened.model)) {
      bags_.pop_back();
      leave_out(what, "a " + kind + ", malformed");
    }
    if (!opened.model.plain_bags.empty()) {
      opened.bag = &opened.model.plain_bags.front();
    }
  }

  void admitted(const encryption_t& encryption) {
    try {
      admit(encryption, deriver_);
    } catch (const pbe_error_t& e) {
      throw input_error_t(where_, e.what());
    }
  }

  bool decrypted(const encryption_t& encryption, const blob_t& data, std::string& plaintext) {
    try {
      return decrypt(encryption, password_, deriver_, data, plaintext);
    } catch (const pbe_error_t& e) {
      throw input_error_t(where_, e.what());
    }
  }

  std::string where_;
  const container_t& container_;
  const secret_t& password_;
  deriver_t& deriver_;
  unsigned part_number_ = 0;
  unsigned bag_number_ = 0;
  std::list<opened_bag_t> bags_;
};

}  // namespace

std::string bag_kind(const std::string& type) {
  for (const bag_kind_t& kind : bag_kinds) {
    if (kind.type == type) {
      return kind.kind;
    }
  }
  return "bag of type " + type;
}

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }
void split_container(const std::string& where, const std::string& content, container_t& out) {
  if (!ber_to_der(view(content), out.der)) {
    throw input_error_t(where, "not a PKCS#12 file, but " + what_it_is({"", content}));
  }
  asn_iter_t cur = asn1_iter_(view(out.der));
  asn_iter_t pfx;
  asn_iter_t mac;
  content_info_t safe;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &pfx) ||
      !asn1_read_view_(asn_tag_t::INTEGER, &pfx, &out.version) || !read_content_info(pfx, safe)) {
    throw input_error_t(where, "not a PKCS#12 file, but " + what_it_is({"", out.der}));
  }
  if (safe.type == signed_type) {
    throw input_error_t(where,
                        "a PKCS#12 file that is signed with a certificate, instead of having "
                        "a password's MAC; this command does not open such files");
  }
  if (safe.type != data_type || !read_octets(asn_tag_t::OCTET_STRING, safe.content, out.safe)) {
    fail_malformed(where);
  }
  out.has_mac = pfx.len != 0;
  if (out.has_mac) {
    if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &pfx, &mac) ||
        !asn_read_pkcs12_MacData(mac.ptr, mac.len, out.mac_data)) {
      throw input_error_t(where, "a PKCS#12 file, but its MacData is malformed");
    }
    out.mac = read_mac(out.mac_data);
  }
  read_parts(where, out);
}

void admit_container(const std::string& where, const container_t& container, deriver_t& deriver) {
  if (container.has_mac && !container.mac.why_not.empty()) {
    throw input_error_t(where, "its MAC cannot be checked: " + container.mac.why_not);
  }
  try {
    if (container.has_mac) {
      admit(container.mac, deriver);
    }
    for (const safe_part_t& part : container.parts) {
      if (part.encrypted && part.why_not.empty()) {
        admit(part.encryption, deriver);
      }
      for (const safe_bag_t& bag : part.bags) {
        if (bag.type == shrouded_key_bag && bag.key.encryption.why_not.empty() && !bag.malformed) {
          admit(bag.key.encryption, deriver);
        }
      }
    }
  } catch (const pbe_error_t& e) {
    throw input_error_t(where, e.what());
  }
}

void check_mac(const std::string& where, const container_t& container, const secret_t& password,
               deriver_t& deriver) {
  if (container.has_mac && !verify(container.mac, password, deriver, view(container.safe))) {
    throw input_error_t(where, "wrong password, or a damaged file");
  }
}

std::list<opened_bag_t> open_bags(const std::string& where, const container_t& container,
                                  const secret_t& password, deriver_t& deriver) {
  return opener_t(where, container, password, deriver).open();
}
