// pkider p12: PKCS#12 containers, shown, verified, taken apart and made.

#include <gcrypt.h>
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <list>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

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
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

// ---- Reading ----

struct reading_t {
  std::string file;
  password_source_t password;
  std::uint64_t round_limit = default_round_limit;
};

// DER or BER, or a PEM block as certtool writes it; another one where there is none, to tell what
// it is.
std::string container_der(const std::string& file) {
  std::string content = read_file(file);
  if (content.rfind(static_cast<char>(asn_tag_t::SEQUENCE), 0) == 0) {
    return content;
  }
  const std::vector<input_block_t> blocks = split_input(file, content);
  const auto container = std::find_if(blocks.begin(), blocks.end(), [](const input_block_t& block) {
    return block.label == "PKCS12";
  });
  return container == blocks.end() ? blocks.front().der : container->der;
}

// A container whose MAC was checked, with what goes on with its password.
struct opened_t {
  explicit opened_t(std::uint64_t round_limit) : deriver(round_limit, terminal_progress()) {}
  deriver_t deriver;
  container_t container;
  secret_t password;
};

void open_container(const reading_t& reading, opened_t& out) {
  const std::string& file = reading.file;
  if (file == "-" && reading.password.file == "-") {
    throw input_error_t("standard input cannot hold both the container and its password");
  }
  split_container(file, container_der(file), out.container);
  admit_container(file, out.container, out.deriver);
  out.password = read_password(reading.password, "Password of " + printable(file));
  check_mac(file, out.container, out.password, out.deriver);
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

record_t head_of(const std::string& file, const container_t& container) {
  record_t record;
  record.add("container", file);
  record.add("version", hex(container.version));
  record.add("mac", container.has_mac ? container.mac.text
                                      : "none: nothing tells whether the container was changed");
  return record;
}

void add_bag(record_t& record, const std::string& file, const pkcs12_bag_t& bag) {
  if (bag.friendly_name.size != 0) {
    record.add("friendly name", friendly_name_text(bag.friendly_name));
  }
  if (bag.local_key_id.size != 0) {
    record.add("local key id", hex(bag.local_key_id));
  }
  if (bag.type == PKCS12_BAG_KEY) {
    add_private_key(record, file, bag.value, false);
    return;
  }
  const std::string der = to_string(bag.value);
  const certificate_t certificate = certificate_of(file, der);
  record.add("subject", dn_text(file, "subject", certificate.subject));
  record.add("issuer", dn_text(file, "issuer", certificate.issuer));
}

void show(const reading_t& reading) {
  const std::string& file = reading.file;
  opened_t opened(reading.round_limit);
  open_container(reading, opened);
  std::vector<record_t> bags;
  for (const opened_bag_t& each :
       open_bags(file, opened.container, opened.password, opened.deriver)) {
    record_t& record = bags.emplace_back();
    record.add("bag", each.kind);
    record.add("protection", each.protection);
    if (each.bag != nullptr) {
      attempt([&] { add_bag(record, file, *each.bag); });
    }
  }
  record_t head = head_of(file, opened.container);
  head.add_json("bags", std::move(bags));
  print(head);
}

// What can be told without the password.
void show_structure(const std::string& file) {
  container_t container;
  split_container(file, container_der(file), container);
  std::vector<record_t> parts;
  for (const safe_part_t& part : container.parts) {
    record_t& record = parts.emplace_back();
    record.add("part", part.text);
    record.add("size", std::to_string(part.data.size()) + " bytes",
               std::uint64_t{part.data.size()});
    std::vector<record_t> bags;
    for (const safe_bag_t& bag : part.bags) {
      const std::string& shrouded = bag.key.encryption.text;
      record_t& bag_record = bags.emplace_back();
      bag_record.add("bag", bag.malformed ? "malformed" : bag_kind(bag.type));
      bag_record.add("protection", shrouded.empty() ? part.text : "encrypted, " + shrouded);
    }
    record.add_json("bags", std::move(bags));
  }
  record_t head = head_of(file, container);
  head.add_json("parts", std::move(parts));
  print(head);
}

// ---- verify ----

void verify(const reading_t& reading) {
  opened_t opened(reading.round_limit);
  open_container(reading, opened);
  if (!opened.container.has_mac) {
    throw input_error_t(reading.file, "a PKCS#12 file without a MAC: nothing can be verified");
  }
  record_t record;
  record.add("container", reading.file);
  record.add("mac", opened.container.mac.text);
  print(record, printable(reading.file + ": the MAC is right (" + opened.container.mac.text + ')'));
}

// ---- extract ----

struct extraction_t {
  reading_t reading;
  std::string directory;
  gost_pbe_options_t writing;
  bool encrypt = false;
  bool overwrite = false;
};

// A key or a certificate on its way to a file.
struct extract_t {
  std::string name;  // without the directory
  std::string summary;
  key_id_t id;
  bool is_key;
  output_file_t output;
};

std::string encrypted_key_pem(const blob_t& der, gost_pbe_t& crypto) {
  pkcs8_encrypted_pki_gost_t info;
  std::string ciphertext;
  crypto.encrypt(der.data, der.size, info.pbe, ciphertext);
  info.encrypted_data = view(ciphertext);
  std::string out;
  asn_write_pkcs8_encrypted_pki_gost(info, out);
  return to_pem(encrypted_key_label, view(out));
}

std::vector<extract_t> extracts_of(const extraction_t& extraction, opened_t& opened) {
  const std::string& file = extraction.reading.file;
  const std::list<opened_bag_t> bags =
      open_bags(file, opened.container, opened.password, opened.deriver);
  gost_pbe_t crypto(opened.password, opened.deriver, extraction.writing);
  if (extraction.encrypt) {
    const auto count = std::count_if(bags.begin(), bags.end(), [](const opened_bag_t& bag) {
      return bag.bag != nullptr && bag.bag->type == PKCS12_BAG_KEY;
    });
    const auto more = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(count, 1) - 1);
    opened.deriver.expect(more * extraction.writing.iterations);
  }
  std::vector<extract_t> extracts;
  unsigned keys = 0;
  unsigned certificates = 0;
  for (const opened_bag_t& each : bags) {
    attempt([&] {
      if (each.bag == nullptr) {
        throw input_error_t(file, "left out a " + each.kind +
                                      ": only private keys and "
                                      "certificates are written");
      }
      const blob_t& value = each.bag->value;
      if (each.bag->type == PKCS12_BAG_KEY) {
        const private_key_t key = private_key_at(file, value);
        const std::string pem =
            extraction.encrypt ? encrypted_key_pem(value, crypto) : to_pem(key_label, value);
        const std::string name = "key-" + std::to_string(++keys) + ".pem";
        extracts.push_back({name,
                            private_key_summary(key),
                            public_id_of(key),
                            true,
                            {extraction.directory + '/' + name, pem, private_mode}});
        return;
      }
      const std::string der = to_string(value);
      const certificate_t certificate = certificate_of(file, der);
      const std::string name = "cert-" + std::to_string(++certificates) + ".pem";
      extracts.push_back(
          {name,
           dn_text(file, "subject", certificate.subject),
           id_of_public_key(certificate.public_key),
           false,
           {extraction.directory + '/' + name, to_pem("CERTIFICATE", value), public_mode}});
    });
  }
  return extracts;
}

bool is_extracted_name(const std::string& name) {
  static const std::regex pattern("(key|cert)-[0-9]+\\.pem");
  return std::regex_match(name, pattern);
}

// Throws input_error_t when the directory would hold files of two containers.
void check_not_mixed(const std::string& directory, const std::vector<extract_t>& extracts) {
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator(directory, none)) {
    const std::string file = entry.path();
    const std::string name = entry.path().filename();
    const bool ours = std::any_of(extracts.begin(), extracts.end(),
                                  [&](const extract_t& extract) { return extract.name == name; });
    if (is_extracted_name(name) && !ours) {
      throw input_error_t(file,
                          "is left from another container, and would be taken for this one's: "
                          "remove it, or extract into another directory");
    }
  }
}

// Makes the directory unless it is there. Returns whether it did.
bool make_directory(const std::string& directory) {
  if (mkdir(directory.c_str(), S_IRWXU) == 0) {
    return true;
  }
  struct stat status = {};
  const int error = errno;
  if (error != EEXIST || stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    throw input_error_t(directory, std::strerror(error));
  }
  return false;
}

// Tries what will have to work once the container is open.
void check_directory(const extraction_t& extraction) {
  const std::string& directory = extraction.directory;
  if (make_directory(directory)) {
    rmdir(directory.c_str());
    return;
  }
  check_output(directory + "/key-1.pem", extraction.overwrite);
}

// Null for a certificate, and for a key that has none.
const extract_t* certificate_of_key(const extract_t& key, const std::vector<extract_t>& extracts) {
  const auto own = std::find_if(extracts.begin(), extracts.end(), [&](const extract_t& other) {
    return key.is_key && !other.is_key && compare(key.id, other.id) == match_t::same;
  });
  return own == extracts.end() ? nullptr : &*own;
}

std::string belongs_text(const extract_t& key, const std::vector<extract_t>& extracts) {
  if (const extract_t* own = certificate_of_key(key, extracts)) {
    return ", of " + own->name;
  }
  return key.id.value.empty() ? "; which certificate is its own cannot be told: " + key.id.why_not
                              : ", of none of the certificates";
}

void extract(const extraction_t& extraction) {
  check_directory(extraction);
  opened_t opened(extraction.reading.round_limit);
  if (extraction.encrypt) {
    opened.deriver.expect(extraction.writing.iterations);  // of one key, as most have
  }
  open_container(extraction.reading, opened);
  const std::vector<extract_t> extracts = extracts_of(extraction, opened);
  if (extracts.empty()) {
    throw input_error_t(extraction.reading.file, "nothing in it could be extracted");
  }
  std::vector<output_file_t> outputs;
  for (const extract_t& each : extracts) {
    check_replaceable(each.output.name, extraction.overwrite);
    outputs.push_back(each.output);
  }
  check_not_mixed(extraction.directory, extracts);
  const bool made = make_directory(extraction.directory);
  try {
    write_outputs(outputs, extraction.overwrite);
  } catch (const input_error_t&) {
    if (made) {
      rmdir(extraction.directory.c_str());  // which it lets be unless it is empty
    }
    throw;
  }
  for (const extract_t& each : extracts) {
    const std::string belongs = each.is_key ? belongs_text(each, extracts) : "";
    record_t record;
    record.add("file", each.output.name);
    record.add(each.is_key ? "private key" : "subject", each.summary);
    if (const extract_t* own = certificate_of_key(each, extracts)) {
      record.add("certificate", own->output.name);
    }
    print(record, printable(each.output.name + ": " + each.summary + belongs));
  }
}

// ---- create ----

struct creation_t {
  std::vector<std::string> keys;
  std::vector<std::string> certificates;
  std::vector<std::string> names;
  std::string out;
  bool plain_certificates = false;
  bool pair_unchecked = false;
  bool overwrite = false;
  password_source_t password;
  password_source_t key_password;
  gost_pbe_options_t writing;
  std::uint64_t round_limit = default_round_limit;
};

struct creation_certificate_t {
  std::string der;
  key_id_t id;
  std::string friendly_name;  // of the key that it belongs to, if any
  std::string local_key_id;
};

// The usual identifier: the SHA-1 of the public key's SubjectPublicKeyInfo.
std::string local_key_id(const blob_t& public_key) {
  std::string id(gcry_md_get_algo_dlen(GCRY_MD_SHA1), '\0');
  gcry_md_hash_buffer(GCRY_MD_SHA1, id.data(), public_key.data, public_key.size);
  return id;
}

std::vector<creation_certificate_t> read_certificates(const std::vector<std::string>& files) {
  std::vector<creation_certificate_t> certificates;
  for (const std::string& file : files) {
    const std::size_t before = certificates.size();
    for (const input_block_t& block : read_input(file)) {
      if (block.label.empty() || block.label == "CERTIFICATE") {
        const certificate_t certificate = certificate_of(file, block.der);
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
creation_certificate_t& certificate_for(const creation_t& creation, const key_file_t& key,
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
  if (!creation.pair_unchecked) {
    const std::string& why_not = id.value.empty() ? id.why_not : candidate->id.why_not;
    throw input_error_t(key.where, "cannot be compared with the certificates: " + why_not +
                                       "; --pair-unchecked takes the first that may be its own");
  }
  return *candidate;
}

std::vector<key_file_t> read_keys(const creation_t& creation, deriver_t& deriver) {
  std::vector<key_file_t> keys;
  for (const std::string& file : creation.keys) {
    std::vector<key_file_t> more = open_key_file(file, creation.key_password, deriver);
    keys.insert(keys.end(), more.begin(), more.end());
  }
  if (creation.names.size() != 1 && creation.names.size() != keys.size()) {
    throw input_error_t(
        "--name", "one name, or one for each of the " + std::to_string(keys.size()) + " keys");
  }
  return keys;
}

void create(const creation_t& creation) {
  check_output(creation.out, creation.overwrite);
  std::vector<std::string> names;
  for (const std::string& name : creation.names) {
    names.push_back(friendly_name_bytes(name));
  }
  std::vector<creation_certificate_t> certificates = read_certificates(creation.certificates);
  deriver_t deriver(creation.round_limit, terminal_progress());
  deriver.expect(2 * std::uint64_t{creation.writing.iterations});
  const std::vector<key_file_t> keys = read_keys(creation, deriver);

  pkcs12_easy_t model;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    creation_certificate_t& own = certificate_for(creation, keys[i], certificates);
    own.friendly_name = names[names.size() == 1 ? 0 : i];
    own.local_key_id = local_key_id(certificate_of("", own.der).public_key);
    model.encrypted_bags.push_back(
        {PKCS12_BAG_KEY, view(keys[i].der), view(own.friendly_name), view(own.local_key_id)});
  }
  for (const creation_certificate_t& certificate : certificates) {
    (creation.plain_certificates ? model.plain_bags : model.encrypted_bags)
        .push_back({PKCS12_BAG_CERT, view(certificate.der), view(certificate.friendly_name),
                    view(certificate.local_key_id)});
  }
  gost_pbe_t crypto(
      read_password(creation.password, "New password of " + printable(creation.out), true), deriver,
      creation.writing);
  std::string pfx;
  asn_write_pkcs12_easy(model, &crypto, pfx);
  write_outputs({{creation.out, pfx, private_mode}}, creation.overwrite);
}

// ---- Options ----

const CLI::Validator not_standard_output(
    [](const std::string& file) {
      return file == "-" ? "- would be standard output, where nothing is written" : std::string();
    },
    "");

constexpr char what_opens[] =
    "Containers open with MACs of SHA-1, SHA-2, SHA-3, GOST R 34.11-94 or Streebog, or none, and\n"
    "encrypted by PBES2 with AES, Camellia, 3DES, RC2 or GOST 28147-89, or by PKCS#12's own "
    "schemes.";
constexpr char what_is_made[] =
    "Containers are made with a MAC of GOST R 34.11-94 and encryption with GOST 28147-89.";

void add_reading_options(CLI::App* verb, reading_t* reading) {
  verb->footer(what_opens);
  verb->add_option("FILE", reading->file, "A PKCS#12 file; - is standard input")->required();
  add_password_options(verb, &reading->password, "", "the container");
  add_limit_option(verb, &reading->round_limit);
}

void add_overwrite_option(CLI::App* verb, bool* overwrite) {
  verb->add_flag("--overwrite", *overwrite,
                 "Replace regular files that exist, and keep their mode and owner");
}

void add_show(CLI::App* verb) {
  const auto reading = std::make_shared<reading_t>();
  const auto structure = std::make_shared<bool>(false);
  CLI::App* show_verb = verb->add_subcommand("show", "Show a container's keys and certificates");
  add_reading_options(show_verb, reading.get());
  show_verb->add_flag("--structure", *structure,
                      "Show parts, bags and algorithms instead, which takes no password");
  set_secret_work(show_verb, [reading, structure] {
    *structure ? show_structure(reading->file) : show(*reading);
  });
}

void add_verify(CLI::App* verb) {
  const auto reading = std::make_shared<reading_t>();
  CLI::App* verify_verb =
      verb->add_subcommand("verify", "Check a container's MAC, and nothing else");
  add_reading_options(verify_verb, reading.get());
  set_secret_work(verify_verb, [reading] { verify(*reading); });
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
      ->type_name("DIR")
      ->check(not_standard_output);
  extract_verb->add_flag("--encrypt", extraction->encrypt,
                         "Encrypt the keys, with the container's password and GOST algorithms");
  add_iterations_option(extract_verb, &extraction->writing);
  add_overwrite_option(extract_verb, &extraction->overwrite);
  set_secret_work(extract_verb, [extraction] { extract(*extraction); });
}

void add_create(CLI::App* verb) {
  const auto creation = std::make_shared<creation_t>();
  CLI::App* create_verb = verb->add_subcommand(
      "create", "Make a container, with GOST encryption, of private keys and their certificates");
  create_verb->footer(what_is_made);
  create_verb
      ->add_option("--key", creation->keys,
                   "PKCS#8 keys, plain or encrypted, PEM or DER, each with its certificate")
      ->required()
      ->type_name("FILE");
  create_verb
      ->add_option("--cert", creation->certificates,
                   "Certificates, PEM or DER; each key's own is found among them")
      ->required()
      ->type_name("FILE");
  create_verb
      ->add_option("--name", creation->names,
                   "The friendly name of the keys and their certificates: one, or one for each key")
      ->required()
      ->type_name("TEXT");
  create_verb->add_option("--out", creation->out, "The container")
      ->required()
      ->type_name("FILE")
      ->check(not_standard_output);
  create_verb->add_flag("--plain-certs", creation->plain_certificates,
                        "Leave the certificates unencrypted");
  create_verb->add_flag("--pair-unchecked", creation->pair_unchecked,
                        "Pair a key that cannot be compared with the first certificate of its "
                        "algorithm");
  create_verb->add_flag("--native", creation->writing.native,
                        "Encrypt in this library's own form, which other programs cannot read");
  add_password_options(create_verb, &creation->password, "", "the container");
  add_password_options(create_verb, &creation->key_password, "key-", "encrypted keys");
  add_iterations_option(create_verb, &creation->writing);
  add_limit_option(create_verb, &creation->round_limit);
  add_overwrite_option(create_verb, &creation->overwrite);
  set_secret_work(create_verb, [creation] { create(*creation); });
}

}  // namespace

// ---- The verb ----

void add_p12_verb(CLI::App& app) {
  CLI::App* verb = app.add_subcommand("p12", "PKCS#12 containers")->require_subcommand(1);
  add_show(verb);
  add_verify(verb);
  add_extract(verb);
  add_create(verb);
}
