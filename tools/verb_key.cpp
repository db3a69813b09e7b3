// pkider key: what a PKCS#8 private key is, without giving it away.

#include <iostream>
#include <memory>

#include "bytes.h"
#include "password.h"
#include "private_key.h"
#include "text.h"
#include "verbs.h"

namespace {

struct options_t {
  std::string file;
  password_source_t password;
  gost_pbe_options_t crypto;
  bool reveal = false;
};

void show(const options_t& options) {
  const key_file_t key = open_key_file(options.file, options.password, options.crypto);
  print_field("private key", options.file);
  print_field("protection", key.encrypted
                                ? "encrypted, " + std::to_string(key.iterations) + " iterations"
                                : "plain");
  show_private_key(options.file, view(key.der), options.reveal);
}

}  // namespace

void add_key_verb(CLI::App& app) {
  const auto options = std::make_shared<options_t>();
  CLI::App* verb = app.add_subcommand("key", "PKCS#8 private keys")->require_subcommand(1);
  CLI::App* show_verb =
      verb->add_subcommand("show", "Show a key's algorithm, parameter sets and size");
  show_verb->add_option("FILE", options->file, "A PKCS#8 key, plain or encrypted, PEM or DER")
      ->required();
  add_password_options(show_verb, &options->password, "", "an encrypted key");
  add_limit_option(show_verb, &options->crypto);
  show_verb->add_flag("--reveal", options->reveal,
                      "Show the key's octets too, as stored: GOST keys least significant first");
  show_verb->callback([options] {
    protect_secrets();
    options->crypto.progress = terminal_progress();
    show(*options);
  });
}
