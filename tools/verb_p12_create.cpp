// pkider p12 create: a container, with GOST encryption, of private keys and their certificates.

#include <iconv.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <pkider/pkcs12_helper.h>

#include "bytes.h"
#include "certificate.h"
#include "derivation.h"
#include "digest.h"
#include "gost_pbe.h"
#include "input.h"
#include "key_id.h"
#include "messages.h"
#include "output_file.h"
#include "password.h"
#include "private_key.h"
#include "text.h"
#include "verbs.h"

namespace {

struct iconv_closer_t {
  void operator()(void* converter) const { iconv_close(converter); }
};

std::string friendly_name_bytes(const std::string& name_text) {
  std::string text = name_text;  // iconv wants it writable
  const std::unique_ptr<void, iconv_closer_t> converter(iconv_open("UCS-2BE", "UTF-8"));
  std::string name(text.size() * 2, '\0');
  char* in = text.data();
  char* out = name.data();
  std::size_t in_left = text.size();
  std::size_t out_left = name.size();
  if (iconv(converter.get(), &in, &in_left, &out, &out_left) != 0) {
    throw input_error_t("--name", "not UTF-8, or a character above U+FFFF");
  }
  name.resize(name.size() - out_left);
  return name;
}

struct creation_certificate_t {
  std::string der;
  key_id_t id;
  std::string friendly_name;  // of the key that it belongs to, if any
  std::string local_key_id;
};

std::vector<creation_certificate_t> read_certificates(const std::vector<std::string>& files) {
  std::vector<creation_certificate_t> certificates;
  for (const std::string& file : files) {
    const std::size_t before = certificates.size();
    for (const input_block_t& block : read_input(file)) {
      if (block.label.empty() || block.label == "CERTIFICATE") {
        const certificate_t certificate = certificate_in(file, block.der);
        certificates.push_back({block.der, id_of_public_key(certificate.public_key), "", ""});
      }
    }
    if (certificates.size() == before) {
      throw input_error_t(file, "holds no certificate");
    }
  }
  return certificates;
}

// Which certificate is the key's.
creation_certificate_t& certificate_for(const p12_create_options_t& options, const key_file_t& key,
                                        std::vector<creation_certificate_t>& certificates) {
  const key_id_t id = public_id_of(private_key_at(key.where, view(key.der)));
  if (id.value.empty() && id.why_not == malformed_key) {
    throw input_error_t(key.where, malformed_key);
  }
  creation_certificate_t* candidate = nullptr;
  for (creation_certificate_t& certificate : certificates) {
    const match_t match = compare(id, certificate.id);
    if (match == match_t::same) {
      return certificate;
    }
    if (match == match_t::unknown && candidate == nullptr) {
      candidate = &certificate;
    }
  }
  if (candidate == nullptr) {
    throw input_error_t(key.where, "none of the certificates belongs to this key");
  }
  if (!options.pair_unchecked) {
    const std::string& why_not = id.value.empty() ? id.why_not : candidate->id.why_not;
    throw input_error_t(key.where, "cannot be compared with the certificates: " + why_not +
                                       "; --pair-unchecked takes the first that may be its own");
  }
  return *candidate;
}

std::vector<key_file_t> read_keys(const p12_create_options_t& options, deriver_t& deriver) {
  std::vector<key_file_t> keys;
  for (const std::string& file : options.keys) {
    std::vector<key_file_t> more = open_key_file(file, options.key_opening.password, deriver);
    keys.insert(keys.end(), more.begin(), more.end());
  }
  if (options.names.size() != 1 && options.names.size() != keys.size()) {
    throw input_error_t(
        "--name", "one name, or one for each of the " + std::to_string(keys.size()) + " keys");
  }
  return keys;
}

}  // namespace

void create_container(const p12_create_options_t& options) {
  check_output(options.out, options.overwrite);
  std::vector<std::string> names;
  for (const std::string& name : options.names) {
    names.push_back(friendly_name_bytes(name));
  }
  std::vector<creation_certificate_t> certificates = read_certificates(options.certificates);
  deriver_t deriver(options.key_opening.round_limit, terminal_progress());
  deriver.expect(2 * std::uint64_t{options.writing.iterations});
  const std::vector<key_file_t> keys = read_keys(options, deriver);

  pkcs12_easy_t model;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    creation_certificate_t& own = certificate_for(options, keys[i], certificates);
    own.friendly_name = names[names.size() == 1 ? 0 : i];
    // The usual identifier: the SHA-1 of the SubjectPublicKeyInfo.
    own.local_key_id = sha1(certificate_in("", own.der).public_key);
    model.encrypted_bags.push_back(
        {PKCS12_BAG_KEY, view(keys[i].der), view(own.friendly_name), view(own.local_key_id)});
  }
  for (const creation_certificate_t& certificate : certificates) {
    (options.plain_certificates ? model.plain_bags : model.encrypted_bags)
        .push_back({PKCS12_BAG_CERT, view(certificate.der), view(certificate.friendly_name),
                    view(certificate.local_key_id)});
  }
  gost_pbe_t crypto(
      read_password(options.password, "New password of " + printable(options.out), true), deriver,
      options.writing);
  std::string pfx;
  asn_write_pkcs12_easy(model, &crypto, pfx);
  write_outputs({{options.out, pfx, private_mode}}, options.overwrite);
}
