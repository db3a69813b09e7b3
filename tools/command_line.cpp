// The command line with CLI11, which no other file knows: it takes long to compile.

#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "gost_pbe.h"
#include "messages.h"
#include "oid_names.h"
#include "password.h"
#include "record.h"
#include "secure_memory.h"
#include "verbs.h"

namespace {

// ---- Options that several verbs have ----

// Checks of an argument: what is wrong with it, or nothing.
using check_t = std::string (*)(const std::string&);

std::string check_not_empty(const std::string& text) {
  return text.empty() ? "may not be empty" : "";
}

std::string check_count(const std::string& text) {
  constexpr std::size_t max_digits = 10;
  const bool digits = !text.empty() && text.size() <= max_digits &&
                      text.find_first_not_of("0123456789") == std::string::npos;
  const std::uint64_t number = digits ? std::stoull(text) : 0;
  return number != 0 && number <= std::numeric_limits<std::uint32_t>::max()
             ? std::string()
             : "'" + text + "' is not a number from 1 to 4294967295";
}

std::string check_writable(const std::string& text) {
  if (std::string wrong = check_count(text); !wrong.empty()) {
    return wrong;
  }
  const auto asked = static_cast<unsigned>(std::stoul(text));
  const unsigned next = writable_iterations(asked);
  if (next == asked) {
    return {};
  }
  std::ostringstream message;
  message << asked << " (hexadecimal " << std::hex << asked << std::dec
          << ") has a zero byte below its first, which a container's encoding leaves out; take "
          << next << " (" << std::hex << next << ')';
  return message.str();
}

std::string check_not_standard_output(const std::string& file) {
  return file == "-" ? "- would be standard output, where nothing is written" : "";
}

CLI::Validator validator(check_t check) {
  return {check, ""};
}

// What a verb is about, and always needs.
template <class Value>
void add_argument(CLI::App& verb, const char* name, Value& value, const char* text) {
  verb.add_option(name, value, text)->required()->type_name("");
}

// Adds --PREFIXpassword-file and --PREFIXpassword-env. `whose` completes "the password of".
void add_password_options(CLI::App& verb, password_source_t& source, const std::string& prefix,
                          const std::string& whose) {
  CLI::Option* const file =
      verb.add_option("--" + prefix + "password-file", source.file,
                      "The password of " + whose +
                          " is the first line of this file; - is the next line of standard input")
          ->type_name("FILE")
          ->check(validator(check_not_empty));
  verb.add_option("--" + prefix + "password-env", source.variable,
                  "The password of " + whose + " is in this environment variable")
      ->type_name("NAME")
      ->check(validator(check_not_empty))
      ->excludes(file);
}

void add_opening_options(CLI::App& verb, opening_options_t& options, const std::string& prefix,
                         const std::string& whose) {
  add_password_options(verb, options.password, prefix, whose);
  verb.add_option("--max-iterations", options.round_limit,
                  "Refuse files that ask for more rounds of key derivation in all; a million take "
                  "about four seconds")
      ->check(validator(check_count))
      ->type_name("N")
      ->capture_default_str();
}

void add_iterations_option(CLI::App& verb, gost_pbe_options_t& options) {
  verb.add_option("--iterations", options.iterations,
                  "Rounds of key derivation in what is written; the number may have no zero byte "
                  "below its first")
      ->check(validator(check_writable))
      ->type_name("N")
      ->capture_default_str();
}

void add_overwrite_option(CLI::App& verb, bool& overwrite) {
  verb.add_flag("--overwrite", overwrite,
                "Replace regular files that exist, and keep their mode and owner");
}

// Has `verb` do `work` with secrets.
void set_secret_work(CLI::App& verb, const std::function<void()>& work) {
  const auto may_swap = std::make_shared<bool>(false);
  verb.add_flag("--may-swap", *may_swap,
                "Go on even if the memory for passwords and keys cannot be locked");
  verb.callback([may_swap, work] { with_secrets(*may_swap, work); });
}

// To every verb that does something itself.
void add_common_options(CLI::App& app) {
  const auto verbs = app.get_subcommands({});
  for (CLI::App* verb : verbs) {
    add_common_options(*verb);
  }
  if (verbs.empty()) {
    app.add_option("--config", config_files(),
                   "Extend the OID map by the lines of this file; may be given several times")
        ->type_name("FILE")
        ->expected(1)
        ->take_all();
    app.add_flag("--json", json_output(), "Write one JSON object per line, errors too");
  }
}

// ---- The verbs ----

void add_name(CLI::App& app) {
  const auto options = std::make_shared<name_options_t>();
  CLI::App& verb = *app.add_subcommand(
      "name",
      "Show the subject of certificates and requests, and the issuer of CRLs, one line each");
  verb.add_flag("--issuer", options->issuer,
                "Show subject and issuer, whichever there are, one line each");
  verb.add_flag("--reverse", options->reverse, "Write the last part of a name first");
  add_argument(
      verb, "FILE", options->files,
      "Certificates, requests, CRLs or PKCS#7 bundles, in PEM or DER; - is standard input");
  verb.callback([options] { show_names(*options); });
}

void add_dn(CLI::App& app) {
  const auto options = std::make_shared<dn_options_t>();
  CLI::App& verb = *app.add_subcommand("dn", "Show the normal form of a printable name");
  add_argument(
      verb, "TEXT", options->text,
      "A name, such as C=RU,O=Org+OU=Dev,CN=User1; - is one on each line of standard input");
  verb.add_flag("--der", options->der, "Show its DER too, in hexadecimal on a second line");
  verb.callback([options] { normalize_names(*options); });
}

void add_oid(CLI::App& app) {
  const auto options = std::make_shared<oid_options_t>();
  CLI::App& verb = *app.add_subcommand("oid", "Show object identifiers as text, DER and names");
  add_argument(verb, "OID", options->oids,
               "Dotted text, hexadecimal DER, or a name (quote those with blanks)");
  verb.callback([options] { show_oids(*options); });
}

void add_cert(CLI::App& app) {
  constexpr int max_days = 100000;
  const auto options = std::make_shared<cert_options_t>();
  CLI::App& verb = *app.add_subcommand(
      "cert", "Show certificates: names, validity, key, signature, extensions and fingerprints");
  verb.add_flag("--verbose", options->verbose, "Show the key itself too, in hexadecimal");
  verb.add_option("--check-end", options->days,
                  "Fail when a certificate ends within this many days")
      ->check(CLI::Range(0, max_days).description(""))
      ->type_name("DAYS");
  add_argument(verb, "FILE", options->files,
               "Certificates or PKCS#7 bundles, in PEM or DER; - is standard input");
  verb.callback([options] { show_certificates(*options); });
}

void add_dump(CLI::App& app) {
  const auto options = std::make_shared<dump_options_t>();
  CLI::App& verb = *app.add_subcommand(
      "dump", "Show the tree of any DER: offset, header and content length, type and value");
  add_argument(verb, "FILE", options->files, "Anything in PEM or DER; - is standard input");
  verb.callback([options] { dump_files(*options); });
}

void add_container_options(CLI::App& verb, p12_options_t& options) {
  verb.footer(
      "Containers open with MACs of MD5, SHA-1, SHA-2, SHA-3, GOST R 34.11-94 or Streebog, or "
      "none,\n"
      "and encrypted by PBES2 with AES, Camellia, 3DES, RC2 or GOST 28147-89, or by PKCS#12's own\n"
      "schemes.");
  add_argument(verb, "FILE", options.file, "A PKCS#12 file; - is standard input");
  add_opening_options(verb, options.opening, "", "the container");
}

void add_p12_show(CLI::App& p12) {
  const auto options = std::make_shared<p12_show_options_t>();
  CLI::App& verb = *p12.add_subcommand("show", "Show a container's keys and certificates");
  add_container_options(verb, *options);
  verb.add_flag("--structure", options->structure,
                "Show parts, bags and algorithms instead, which takes no password");
  set_secret_work(verb, [options] { show_container(*options); });
}

void add_p12_verify(CLI::App& p12) {
  const auto options = std::make_shared<p12_options_t>();
  CLI::App& verb = *p12.add_subcommand("verify", "Check a container's MAC, and nothing else");
  add_container_options(verb, *options);
  set_secret_work(verb, [options] { verify_container(*options); });
}

void add_p12_extract(CLI::App& p12) {
  const auto options = std::make_shared<p12_extract_options_t>();
  CLI::App& verb =
      *p12.add_subcommand("extract", "Write a container's keys and certificates as PEM files");
  add_container_options(verb, *options);
  verb.add_option("--out", options->directory,
                  "The directory of key-1.pem, cert-1.pem and so on; made if there is none")
      ->required()
      ->type_name("DIR")
      ->check(validator(check_not_standard_output));
  verb.add_flag("--encrypt", options->encrypt,
                "Encrypt the keys, with the container's password and GOST algorithms");
  add_iterations_option(verb, options->writing);
  add_overwrite_option(verb, options->overwrite);
  set_secret_work(verb, [options] { extract_container(*options); });
}

void add_p12_create(CLI::App& p12) {
  const auto options = std::make_shared<p12_create_options_t>();
  CLI::App& verb = *p12.add_subcommand(
      "create", "Make a container, with GOST encryption, of private keys and their certificates");
  verb.footer(
      "Containers are made with a MAC of GOST R 34.11-94 and encryption with GOST 28147-89.");
  verb.add_option("--key", options->keys,
                  "PKCS#8 keys, plain or encrypted, PEM or DER, each with its certificate")
      ->required()
      ->type_name("FILE");
  verb.add_option("--cert", options->certificates,
                  "Certificates, PEM or DER; each key's own is found among them")
      ->required()
      ->type_name("FILE");
  verb.add_option("--name", options->names,
                  "The friendly name of the keys and their certificates: one, or one for each key")
      ->required()
      ->type_name("TEXT");
  verb.add_option("--out", options->out, "The container")
      ->required()
      ->type_name("FILE")
      ->check(validator(check_not_standard_output));
  verb.add_flag("--plain-certs", options->plain_certificates, "Leave the certificates unencrypted");
  verb.add_flag("--pair-unchecked", options->pair_unchecked,
                "Pair a key that cannot be compared, with the first certificate of its algorithm");
  verb.add_flag("--native", options->writing.native,
                "Encrypt in this library's own form, which other programs cannot read");
  add_password_options(verb, options->password, "", "the container");
  add_opening_options(verb, options->key_opening, "key-", "encrypted keys");
  add_iterations_option(verb, options->writing);
  add_overwrite_option(verb, options->overwrite);
  set_secret_work(verb, [options] { create_container(*options); });
}

void add_p12(CLI::App& app) {
  CLI::App& p12 = *app.add_subcommand("p12", "PKCS#12 containers")->require_subcommand(1);
  add_p12_show(p12);
  add_p12_verify(p12);
  add_p12_extract(p12);
  add_p12_create(p12);
}

void add_key_show(CLI::App& key) {
  const auto options = std::make_shared<key_show_options_t>();
  CLI::App& verb = *key.add_subcommand("show", "Show a key's algorithm, parameter sets and size");
  add_argument(verb, "FILE", options->file, "PKCS#8 keys, plain or encrypted, PEM or DER");
  add_opening_options(verb, options->opening, "", "encrypted keys");
  verb.add_flag("--reveal", options->reveal,
                "Show the key's octets too: GOST keys least significant first, others as stored");
  set_secret_work(verb, [options] { show_keys(*options); });
}

void add_key_match(CLI::App& key) {
  const auto options = std::make_shared<key_match_options_t>();
  CLI::App& verb = *key.add_subcommand(
      "match", "Tell which certificates belong to a key; status 1 if none does");
  verb.add_option("--key", options->key, "PKCS#8 keys, plain or encrypted, PEM or DER")
      ->required()
      ->type_name("FILE");
  verb.add_option("--cert", options->certificates, "Certificates, PEM or DER")
      ->required()
      ->type_name("FILE");
  add_opening_options(verb, options->opening, "", "encrypted keys");
  set_secret_work(verb, [options] { match_keys(*options); });
}

void add_key(CLI::App& app) {
  CLI::App& key = *app.add_subcommand("key", "PKCS#8 private keys")->require_subcommand(1);
  add_key_show(key);
  add_key_match(key);
}

// ---- Arguments ----

// CLI11 takes an argument "[a,b]" of an option with several values for a list. The mark keeps it
// from seeing that; no argument can have such a byte.
constexpr char mark = '\0';

std::vector<std::string> marked_arguments(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  if (!arguments.empty() && arguments.front() == "help") {  // "help VERB" is "VERB --help"
    arguments.erase(arguments.begin());
    arguments.emplace_back("--help");
  }
  for (std::string& argument : arguments) {
    if (!argument.empty() && argument.front() == '[') {
      argument += mark;
    }
  }
  std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
  return arguments;
}

std::string without_mark(std::string argument) {
  if (!argument.empty() && argument.back() == mark) {
    argument.pop_back();
  }
  return argument;
}

void take_marks_off(CLI::App& app) {
  for (CLI::App* verb : app.get_subcommands({})) {
    take_marks_off(*verb);
  }
  for (CLI::Option* option : app.get_options()) {
    if (option->get_items_expected_max() > 0) {
      option->transform(without_mark, "");
    }
  }
}

// What is wrong with the command line, the word that is not understood first.
std::string usage_fault(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* verb = &app;
  std::string path = app.get_name();
  while (!verb->get_subcommands().empty()) {
    verb = verb->get_subcommands().front();
    path += ' ' + verb->get_name();
  }
  std::string fault = without_mark(error.what());
  if (const std::vector<std::string> rest = app.remaining(true); !rest.empty()) {
    const std::string word = without_mark(rest.front());
    const bool wants_verb = !verb->get_subcommands({}).empty();
    const char* const what = word.rfind('-', 0) == 0 && word.size() > 1 ? "unknown option"
                             : wants_verb                               ? "unknown verb"
                                                                        : "unexpected argument";
    fault = what + (" \"" + word) + '"';
  } else if (!verb->get_subcommands({}).empty()) {
    fault = "a verb is missing";
  }
  return fault + "; see " + path + " --help";
}

}  // namespace

// ---- The command ----

bool run_command_line(int argc, char** argv) {
  CLI::App app("Names, object identifiers, certificates and key containers in DER.", "pkider");
  app.set_version_flag("--version", "pkider " PKIDER_VERSION);
  app.require_subcommand(1);
  add_name(app);
  add_dn(app);
  add_oid(app);
  add_cert(app);
  add_dump(app);
  add_p12(app);
  add_key(app);
  add_common_options(app);
  take_marks_off(app);
  try {
    app.parse(marked_arguments(argc, argv));
  } catch (const CLI::Success& e) {
    app.exit(e);
  } catch (const CLI::ParseError& e) {
    json_output() = std::find(argv, argv + argc, std::string_view("--json")) != argv + argc;
    report(usage_fault(app, e));
    return false;
  }
  return true;
}
