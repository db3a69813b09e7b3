// The verbs of the command: what each can be asked for, and the function that does it. They report
// a bad input by throwing input_error_t (messages.h).

#ifndef PKIDER_TOOLS_VERBS_H
#define PKIDER_TOOLS_VERBS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gost_pbe.h"
#include "password.h"

struct name_options_t {
  std::vector<std::string> files;
  bool issuer = false;
  bool reverse = false;
};

void show_names(const name_options_t& options);

struct dn_options_t {
  std::string text;
  bool der = false;
};

void normalize_names(const dn_options_t& options);

struct oid_options_t {
  std::vector<std::string> oids;
};

void show_oids(const oid_options_t& options);

struct cert_options_t {
  std::vector<std::string> files;
  bool verbose = false;
  std::optional<int> days;
};

void show_certificates(const cert_options_t& options);

struct dump_options_t {
  std::vector<std::string> files;
};

void dump_files(const dump_options_t& options);

// The verbs below handle secrets: with_secrets (secure_memory.h) is to call them.

// How what is encrypted is opened.
struct opening_options_t {
  password_source_t password;
  // Rounds that a run may take for what files ask: they can ask for billions.
  std::uint64_t round_limit = 2'000'000;
};

struct p12_options_t {
  std::string file;
  opening_options_t opening;
};

struct p12_show_options_t : p12_options_t {
  bool structure = false;
};

void show_container(const p12_show_options_t& options);

void verify_container(const p12_options_t& options);

struct p12_extract_options_t : p12_options_t {
  std::string directory;
  gost_pbe_options_t writing;
  bool encrypt = false;
  bool overwrite = false;
};

void extract_container(const p12_extract_options_t& options);

struct p12_create_options_t {
  std::vector<std::string> keys;
  std::vector<std::string> certificates;
  std::vector<std::string> names;
  std::string out;
  bool plain_certificates = false;
  bool pair_unchecked = false;
  bool overwrite = false;
  password_source_t password;
  opening_options_t key_opening;
  gost_pbe_options_t writing;
};

void create_container(const p12_create_options_t& options);

struct key_show_options_t {
  std::string file;
  opening_options_t opening;
  bool reveal = false;
};

void show_keys(const key_show_options_t& options);

struct key_match_options_t {
  std::string key;
  std::string certificates;
  opening_options_t opening;
};

void match_keys(const key_match_options_t& options);

#endif
