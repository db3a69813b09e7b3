// pkider key: what a PKCS#8 private key is, without giving it away, and whose.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "bytes.h"
#include "certificate.h"
#include "messages.h"
#include "password.h"
#include "private_key.h"
#include "text.h"
#include "verbs.h"

namespace {

// ---- show ----

struct showing_t {
  std::string file;
  password_source_t password;
  std::uint64_t round_limit = default_round_limit;
  bool reveal = false;
};

void show(const showing_t& showing) {
  deriver_t deriver(showing.round_limit, terminal_progress());
  if (showing.reveal) {
    static_cast<void>(std::setvbuf(stdout, nullptr, _IONBF, 0));  // it would keep the digits
  }
  for (const key_file_t& key : open_key_file(showing.file, showing.password, deriver)) {
    record_t record;
    record.add("private key", key.where);
    record.add("protection", key.protection);
    attempt([&] { add_private_key(record, key.where, view(key.der), showing.reveal); });
    print(record);
  }
}

void add_show(CLI::App* verb) {
  const auto showing = std::make_shared<showing_t>();
  CLI::App* show_verb =
      verb->add_subcommand("show", "Show a key's algorithm, parameter sets and size");
  show_verb->add_option("FILE", showing->file, "PKCS#8 keys, plain or encrypted, PEM or DER")
      ->required();
  add_password_options(show_verb, &showing->password, "", "encrypted keys");
  add_limit_option(show_verb, &showing->round_limit);
  show_verb->add_flag("--reveal", showing->reveal,
                      "Show the key's octets too: GOST keys least significant first, others as "
                      "stored");
  set_secret_work(show_verb, [showing] { show(*showing); });
}

// ---- match ----

struct matching_t {
  std::string key;
  std::string certificates;
  password_source_t password;
  std::uint64_t round_limit = default_round_limit;
};

void match(const matching_t& matching) {
  deriver_t deriver(matching.round_limit, terminal_progress());
  for (const key_file_t& key : open_key_file(matching.key, matching.password, deriver)) {
    const key_id_t id = public_id_of(private_key_at(key.where, view(key.der)));
    bool found = false;
    std::string why_not;
    for_each_certificate(matching.certificates,
                         [&](const std::string& where, const certificate_t& certificate) {
                           const key_id_t other = id_of_public_key(certificate.public_key);
                           const match_t match = compare(id, other);
                           if (match == match_t::same) {
                             found = true;
                             record_t record;
                             record.add("certificate", where);
                             record.add("private key", key.where);
                             print(record, printable(where + ": belongs to " + key.where));
                           } else if (match == match_t::unknown) {
                             why_not = id.value.empty() ? id.why_not : other.why_not;
                           }
                         });
    if (!found) {
      report(key.where + (why_not.empty() ? ": none of the certificates belongs to this key"
                                          : ": cannot be compared: " + why_not));
    }
  }
}

void add_match(CLI::App* verb) {
  const auto matching = std::make_shared<matching_t>();
  CLI::App* match_verb = verb->add_subcommand(
      "match", "Tell which certificates belong to a key; status 1 if none does");
  match_verb->add_option("--key", matching->key, "PKCS#8 keys, plain or encrypted, PEM or DER")
      ->required()
      ->type_name("FILE");
  match_verb->add_option("--cert", matching->certificates, "Certificates, PEM or DER")
      ->required()
      ->type_name("FILE");
  add_password_options(match_verb, &matching->password, "", "encrypted keys");
  add_limit_option(match_verb, &matching->round_limit);
  set_secret_work(match_verb, [matching] { match(*matching); });
}

}  // namespace

// ---- The verb ----

void add_key_verb(CLI::App& app) {
  CLI::App* verb = app.add_subcommand("key", "PKCS#8 private keys")->require_subcommand(1);
  add_show(verb);
  add_match(verb);
}
