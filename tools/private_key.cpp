// PKCS#8 keys (RFC 5208) read, decrypted and described.

#include "private_key.h"

#include <cstdint>

#include "asn_cursor.h"
#include "bytes.h"
#include "encryption.h"
#include "input.h"
#include "kind.h"
#include "known_oids.h"
#include "messages.h"
#include "public_key.h"
#include "text.h"

namespace {

bool is_key_block(const input_block_t& block) {
  const kind_t kind = kind_of(block);
  return block.label == key_label || block.label == encrypted_key_label ||
         (block.label.empty() &&
          (kind == kind_t::pkcs8 || kind == kind_t::encrypted_pkcs8 || kind == kind_t::unknown));
}

bool is_key_of_other_form(const input_block_t& block) {
  const kind_t kind = kind_of(block);
  return kind == kind_t::pkcs1 || kind == kind_t::sec1 || kind == kind_t::dsa_key ||
         kind == kind_t::legacy_encrypted_key;
}

// The keys of a file, plain or still encrypted. Keys in other forms are reported.
std::vector<key_file_t> read_key_blocks(const std::string& file) {
  const std::vector<input_block_t> blocks = read_input(file);
  std::vector<key_file_t> keys;
  for (const input_block_t& block : blocks) {
    if (is_key_block(block)) {
      keys.push_back({file, block.der, ""});
    }
  }
  if (keys.empty()) {
    throw input_error_t(file, "holds no PKCS#8 private key, but " + what_it_is(blocks.front()));
  }
  for (const input_block_t& block : blocks) {
    if (is_key_of_other_form(block)) {
      note(file, "passed over " + what_it_is(block));
    }
  }
  return keys;
}

// Looks at what needs no password. False when the key is not encrypted.
bool read_protection(key_file_t& key, encrypted_key_t& encrypted, deriver_t& deriver) {
  private_key_t plain;
  if (read_private_key(view(key.der), plain)) {
    key.protection = "plain";
    return false;
  }
  if (!read_encrypted_key(view(key.der), encrypted)) {
    throw input_error_t(key.where, "no PKCS#8 private key, but " + what_it_is({"", key.der}));
  }
  const encryption_t& encryption = encrypted.encryption;
  if (!encryption.why_not.empty()) {
    throw input_error_t(key.where, "encrypted " + encryption.why_not);
  }
  try {
    admit(encryption, deriver);
  } catch (const pbe_error_t& e) {
    throw input_error_t(key.where, e.what());
  }
  key.protection = "encrypted, " + encryption.text;
  return true;
}

void open_key(key_file_t& key, const encrypted_key_t& encrypted, const secret_t& password,
              deriver_t& deriver) {
  std::string plaintext;
  private_key_t opened;
  try {
    if (!decrypt(encrypted.encryption, password, deriver, encrypted.data, plaintext) ||
        !read_private_key(view(plaintext), opened)) {
      throw input_error_t(key.where, "wrong password, or a damaged file");
    }
  } catch (const pbe_error_t& e) {
    throw input_error_t(key.where, e.what());
  }
  key.der = plaintext;
}

// ---- Description ----

std::string size_text(unsigned bits) {
  return bits == 0 ? "unknown" : std::to_string(bits) + " bits";
}

void add_gost_sets(record_t& record, const private_key_t& key) {
  gost_param_sets_t sets;
  if (read_gost_param_sets(key.params, sets)) {
    add_param_set(record, "key parameters", sets.key);
    add_param_set(record, "digest parameters", sets.digest);
  }
}

void add_curve(record_t& record, const private_key_t& key) {
  asn_iter_t cur = asn1_iter_(key.params);
  blob_t oid;
  if (asn1_read_view_(asn_tag_t::OID, &cur, &oid)) {
    add_param_set(record, "key parameters", oid);
  }
}

}  // namespace

// ---- What the header declares ----

private_key_t private_key_at(const std::string& where, const blob_t& der) {
  private_key_t key;
  if (!read_private_key(der, key)) {
    throw input_error_t(where, "not a PKCS#8 private key, or a damaged one");
  }
  return key;
}

std::vector<key_file_t> open_key_file(const std::string& file, const password_source_t& source,
                                      deriver_t& deriver) {
  std::vector<key_file_t> keys = read_key_blocks(file);
  std::vector<encrypted_key_t> encrypted(keys.size());
  bool any_encrypted = false;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    keys[i].where = keys.size() == 1 ? file : file + ": key " + std::to_string(i + 1);
    any_encrypted |= read_protection(keys[i], encrypted[i], deriver);
  }
  if (!any_encrypted) {
    return keys;
  }
  const secret_t password = read_password(source, "Password of " + printable(file));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (encrypted[i].encryption.cipher != nullptr) {
      open_key(keys[i], encrypted[i], password, deriver);
    }
  }
  return keys;
}

void add_private_key(record_t& record, const std::string& where, const blob_t& der, bool reveal) {
  const private_key_t key = private_key_at(where, der);
  const bool is_gost = find_key_algorithm(key.oid).kind == key_kind_t::gost;
  const unsigned bits = key_bits(key);
  record.add("algorithm", describe_oid(key.algorithm.data, key.algorithm.size));
  is_gost ? add_gost_sets(record, key) : add_curve(record, key);
  gost_octets_t gost;
  if (is_gost && !read_gost_octets(key, gost)) {
    throw input_error_t(where, "the key is malformed: " + std::to_string(key.octets.size) +
                                   " octets, which is not a key of " + size_text(bits));
  }
  record.add("key size", size_text(bits), std::uint64_t{bits});
  if (gost.masks != 0) {
    record.add("masks", std::to_string(gost.masks), std::uint64_t{gost.masks});
  }
  if (reveal) {
    record.add(gost.masks != 0 ? "masked key octets" : "key octets",
               hex(is_gost ? blob_t{static_cast<unsigned>(gost.octets.size()), gost.octets.data()}
                           : key.octets));
  }
}

std::string private_key_summary(const private_key_t& key) {
  const unsigned bits = key_bits(key);
  return describe_oid(key.algorithm.data, key.algorithm.size) +
         (bits == 0 ? "" : ", " + size_text(bits));
}
