// Where passwords come from, and what deriving keys from them may cost. Never from an argument:
// other users see those.

#ifndef PKIDER_TOOLS_PASSWORD_H
#define PKIDER_TOOLS_PASSWORD_H

#include <CLI/CLI.hpp>
#include <string>

#include "gost_pbe.h"
#include "secure_memory.h"

// The terminal is asked when both are empty.
struct password_source_t {
  std::string file;      // its first line
  std::string variable;  // of the environment
};

// Adds --PREFIXpassword-file and --PREFIXpassword-env. `whose` completes "the password of".
void add_password_options(CLI::App* verb, password_source_t* source, const std::string& prefix,
                          const std::string& whose);

// Adds --max-iterations.
void add_limit_option(CLI::App* verb, gost_pbe_options_t* options);

// Adds --iterations.
void add_iterations_option(CLI::App* verb, gost_pbe_options_t* options);

// Reads a password. `prompt` is for the terminal, which asks twice for one that is `chosen` now.
// Throws input_error_t.
secret_t read_password(const password_source_t& source, const std::string& prompt,
                       bool chosen = false);

// gost_pbe_options_t::progress for a person who waits: a line on standard error, once a derivation
// takes noticeable time. Empty when standard error is no terminal.
std::function<void(unsigned done, unsigned total)> terminal_progress();

#endif
