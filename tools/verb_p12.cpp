// pkider p12: PKCS#12 containers with GOST cryptography, shown, taken apart and made.

#include <gcrypt.h>
#include <iconv.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>

#include <pkider/pkcs12_helper.h>
#include <pkider/platform.h>

#include "asn_cursor.h"
#include "bytes.h"
#include "certificate.h"
#include "container.h"
#include "input.h"
#include "known_oids.h"
#include "messages.h"
#include "output_file.h"
#include "password.h"
#include "private_key.h"
#include "text.h"
#include "verbs.h"

namespace {

// ---- Reading ----

struct reading_t {
  std::string file;
  password_source_t password;
  gost_pbe_options_t crypto;
};

// DER, or a PEM block as certtool writes it.
std::string container_der(const std::string& file) {
  std::string content = read_file(file);
  if (content.rfind("-----BEGIN PKCS12-----", 0) == 0) {
    return split_input(file, content).front().der;
  }
  return content;
}

// An opened container, with the cryptography that goes on with its password.
struct opened_t {
  container_t container;
  std::unique_ptr<gost_pbe_t> crypto;
};

opened_t open_container(const reading_t& reading) {
  const std::string& file = reading.file;
  opened_t opened;
  opened.container = split_container(file, container_der(file));
  opened.crypto = std::make_unique<gost_pbe_t>(
      read_password(reading.password, "Password of " + printable(file)), reading.crypto);
  read_container(file, opened.crypto.get(), &opened.container);
  const unsigned parts = opened.container.encrypted_parts;
  if (opened.crypto->opened_parts() < parts) {
    report(file + ": left out " + std::to_string(parts - opened.crypto->opened_parts()) + " of " +
           std::to_string(parts) +
           " encrypted parts: encrypted with other algorithms, or with another password");
  }
  return opened;
}

using handle_bag_t = std::function<void(const pkcs12_bag_t& bag, bool encrypted)>;

void for_each_bag(const pkcs12_easy_t& model, const handle_bag_t& handle) {
  for (const pkcs12_bag_t& bag : model.encrypted_bags) {
    attempt([&] { handle(bag, true); });
  }
  for (const pkcs12_bag_t& bag : model.plain_bags) {
    attempt([&] { handle(bag, false); });
  }
}

certificate_t certificate_of(const std::string& file, const std::string& der) {
  certificate_t certificate;
  if (!read_certificate(der, certificate)) {
    throw input_error_t(file, "a certificate in it is of another kind than X.509, or damaged");
  }
  return certificate;
}

// ---- Names ----

std::string friendly_name_text(const blob_t& name) {
  const CodepageConverter converter(CODEPAGE_UCS2BE, CODEPAGE_UTF8);
  std::string text(converter.output_size(name.data, name.size), '\0');
  if (text.empty()) {
    return hex(name);
  }
  converter.convert(name.data, name.size, text.data(), size32(text));
  return text;
}

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

// ---- show ----

std::string mac_text(const pkcs12_mac_t& mac) {
  asn_iter_t cur = asn1_iter_(mac.digest_alg);
  asn_iter_t oid;
  const bool read = asn1_read_tag_i_(asn_tag_t::OID, &cur, &oid);
  return (read ? describe_oid(oid.ptr, oid.len) : "malformed") + ", " +
         std::to_string(mac.mac_iterations) + " iterations";
}

void show_bag(const std::string& file, const pkcs12_bag_t& bag, bool encrypted) {
  const bool is_key = bag.type == PKCS12_BAG_KEY;
  std::cout << '\n';
  print_field("bag", is_key ? "private key" : "certificate");
  print_field("protection", encrypted ? "encrypted" : "plain");
  if (bag.friendly_name.size != 0) {
    print_field("friendly name", friendly_name_text(bag.friendly_name));
  }
  if (bag.local_key_id.size != 0) {
    print_field("local key id", hex(bag.local_key_id));
  }
  if (is_key) {
    show_private_key(file, bag.value, false);
    return;
  }
  const std::string der = to_string(bag.value);
  const certificate_t certificate = certificate_of(file, der);
  print_field("subject", dn_text(file, "subject", certificate.subject));
  print_field("issuer", dn_text(file, "issuer", certificate.issuer));
}

void show(const reading_t& reading) {
  const opened_t opened = open_container(reading);
  const container_t& container = opened.container;
  print_field("container", reading.file);
  print_field("version", hex(container.version));
  print_field("mac", mac_text(container.mac));
  for_each_bag(container.model, [&](const pkcs12_bag_t& bag, bool encrypted) {
    show_bag(reading.file, bag, encrypted);
  });
}

// ---- extract ----

struct extraction_t {
  reading_t reading;
  std::string directory;
  bool encrypt = false;
  bool overwrite = false;
};

struct output_t {
  std::string file;
  std::string content;
  mode_t mode;
  std::string summary;
};

std::string encrypted_key_pem(const blob_t& der, gost_pbe_t* crypto) {
  pkcs8_encrypted_pki_gost_t info;
  std::string ciphertext;
  crypto->encrypt(der.data, der.size, info.pbe, ciphertext);
  info.encrypted_data = view(ciphertext);
  std::string out;
  asn_write_pkcs8_encrypted_pki_gost(info, out);
  return to_pem(encrypted_key_label, view(out));
}

std::vector<output_t> outputs_of(const extraction_t& extraction, const opened_t& opened) {
  const std::string& file = extraction.reading.file;
  std::vector<output_t> outputs;
  unsigned keys = 0;
  unsigned certificates = 0;
  for_each_bag(opened.container.model, [&](const pkcs12_bag_t& bag, bool) {
    if (bag.type == PKCS12_BAG_KEY) {
      const std::string summary = private_key_summary(file, bag.value);
      const std::string content = extraction.encrypt
                                      ? encrypted_key_pem(bag.value, opened.crypto.get())
                                      : to_pem(key_label, bag.value);
      const std::string name = extraction.directory + "/key-" + std::to_string(++keys) + ".pem";
      outputs.push_back({name, content, private_mode, summary});
      return;
    }
    const std::string der = to_string(bag.value);
    const std::string summary = dn_text(file, "subject", certificate_of(file, der).subject);
    const std::string name =
        extraction.directory + "/cert-" + std::to_string(++certificates) + ".pem";
    outputs.push_back({name, to_pem("CERTIFICATE", bag.value), public_mode, summary});
  });
  return outputs;
}

void extract(const extraction_t& extraction) {
  const opened_t opened = open_container(extraction.reading);
  const std::vector<output_t> outputs = outputs_of(extraction, opened);
  for (const output_t& output : outputs) {
    check_absent(output.file, extraction.overwrite);
  }
  if (mkdir(extraction.directory.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    throw input_error_t(extraction.directory, std::strerror(errno));
  }
  for (const output_t& output : outputs) {
    write_output(output.file, output.content, output.mode, extraction.overwrite);
    std::cout << printable(output.file + ": " + output.summary) << '\n';
  }
}

// ---- create ----

struct creation_t {
  std::string key;
  std::vector<std::string> certificates;
  std::string name;
  std::string out;
  bool plain_certificates = false;
  bool overwrite = false;
  password_source_t password;
  password_source_t key_password;
  gost_pbe_options_t crypto;
};

std::vector<std::string> read_certificates(const std::vector<std::string>& files) {
  std::vector<std::string> ders;
  for (const std::string& file : files) {
    const std::size_t before = ders.size();
    for (const input_block_t& block : read_input(file)) {
      if (block.label.empty() || block.label == "CERTIFICATE") {
        certificate_of(file, block.der);
        ders.push_back(block.der);
      }
    }
    if (ders.size() == before) {
      throw input_error_t(file, "holds no certificate");
    }
  }
  return ders;
}

// Which certificate is the key's: the first where that cannot be told.
std::size_t certificate_for(const creation_t& creation, const blob_t& key,
                            const std::vector<std::string>& ders) {
  for (std::size_t i = 0; i < ders.size(); ++i) {
    const blob_t element = certificate_of(creation.out, ders[i]).public_key;
    asn_pubkey_t public_key;
    if (!asn_read_pubkey(element.data, static_cast<long>(element.size), public_key)) {
      continue;
    }
    if (pair_keys(creation.key, key, public_key) != pairing_t::different) {
      return i;
    }
  }
  throw input_error_t(creation.key, "none of the certificates belongs to this key");
}

// The usual identifier: the SHA-1 of the public key's SubjectPublicKeyInfo.
std::string local_key_id(const std::string& certificate) {
  const blob_t public_key = certificate_of("", certificate).public_key;
  std::string id(gcry_md_get_algo_dlen(GCRY_MD_SHA1), '\0');
  gcry_md_hash_buffer(GCRY_MD_SHA1, id.data(), public_key.data, public_key.size);
  return id;
}

void create(const creation_t& creation) {
  check_absent(creation.out, creation.overwrite);
  const std::string name = friendly_name_bytes(creation.name);
  const std::vector<std::string> certificates = read_certificates(creation.certificates);
  const key_file_t key = open_key_file(creation.key, creation.key_password, creation.crypto);
  const std::size_t own = certificate_for(creation, view(key.der), certificates);
  const std::string id = local_key_id(certificates[own]);

  pkcs12_easy_t model;
  model.encrypted_bags.push_back({PKCS12_BAG_KEY, view(key.der), view(name), view(id)});
  for (std::size_t i = 0; i < certificates.size(); ++i) {
    pkcs12_bag_t bag = {PKCS12_BAG_CERT, view(certificates[i]), {}, {}};
    if (i == own) {
      bag.friendly_name = view(name);
      bag.local_key_id = view(id);
    }
    (creation.plain_certificates ? model.plain_bags : model.encrypted_bags).push_back(bag);
  }
  gost_pbe_t crypto(
      read_password(creation.password, "New password of " + printable(creation.out), true),
      creation.crypto);
  std::string pfx;
  asn_write_pkcs12_easy(model, &crypto, pfx);
  write_output(creation.out, pfx, private_mode, creation.overwrite);
}

// ---- Options ----

void add_reading_options(CLI::App* verb, reading_t* reading) {
  verb->add_option("FILE", reading->file, "A PKCS#12 file; - is standard input")->required();
  add_password_options(verb, &reading->password, "", "the container");
  add_limit_option(verb, &reading->crypto);
}

void add_overwrite_option(CLI::App* verb, bool* overwrite) {
  verb->add_flag("--overwrite", *overwrite, "Replace output files that exist");
}

void add_show(CLI::App* verb) {
  const auto reading = std::make_shared<reading_t>();
  CLI::App* show_verb = verb->add_subcommand("show", "Show a container's keys and certificates");
  add_reading_options(show_verb, reading.get());
  show_verb->callback([reading] {
    protect_secrets();
    reading->crypto.progress = terminal_progress();
    show(*reading);
  });
}

void add_extract(CLI::App* verb) {
  const auto extraction = std::make_shared<extraction_t>();
  CLI::App* extract_verb =
      verb->add_subcommand("extract", "Write a container's keys and certificates as PEM files");
  add_reading_options(extract_verb, &extraction->reading);
  extract_verb
      ->add_option("--out", extraction->directory,
                   "The directory of key-1.pem, cert-1.pem and so on; made if there is none")
      ->required()
      ->type_name("DIR");
  extract_verb->add_flag("--encrypt", extraction->encrypt,
                         "Encrypt the keys, with the container's password");
  add_iterations_option(extract_verb, &extraction->reading.crypto);
  add_overwrite_option(extract_verb, &extraction->overwrite);
  extract_verb->callback([extraction] {
    protect_secrets();
    extraction->reading.crypto.progress = terminal_progress();
    extract(*extraction);
  });
}

void add_create(CLI::App* verb) {
  const auto creation = std::make_shared<creation_t>();
  CLI::App* create_verb =
      verb->add_subcommand("create", "Make a container of a private key and its certificates");
  create_verb->add_option("--key", creation->key, "A PKCS#8 key, plain or encrypted, PEM or DER")
      ->required()
      ->type_name("FILE");
  create_verb
      ->add_option("--cert", creation->certificates,
                   "Certificates, PEM or DER; the key's own is found among them if the key is a "
                   "GOST one, and is else the first")
      ->required()
      ->type_name("FILE");
  create_verb
      ->add_option("--name", creation->name, "The friendly name of the key and its certificate")
      ->required()
      ->type_name("TEXT");
  create_verb->add_option("--out", creation->out, "The container")->required()->type_name("FILE");
  create_verb->add_flag("--plain-certs", creation->plain_certificates,
                        "Leave the certificates unencrypted");
  create_verb->add_flag("--native", creation->crypto.native,
                        "Encrypt in this library's own form, which other programs cannot read");
  add_password_options(create_verb, &creation->password, "", "the container");
  add_password_options(create_verb, &creation->key_password, "key-", "an encrypted key");
  add_iterations_option(create_verb, &creation->crypto);
  add_limit_option(create_verb, &creation->crypto);
  add_overwrite_option(create_verb, &creation->overwrite);
  create_verb->callback([creation] {
    protect_secrets();
    creation->crypto.progress = terminal_progress();
    create(*creation);
  });
}

}  // namespace

void add_p12_verb(CLI::App& app) {
  CLI::App* verb = app.add_subcommand("p12", "PKCS#12 containers")->require_subcommand(1);
  add_show(verb);
  add_extract(verb);
  add_create(verb);
}
