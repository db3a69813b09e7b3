// Where passwords come from, and the options of what handles secrets. A password is never taken
// from an argument: other users see those.

#ifndef PKIDER_TOOLS_PASSWORD_H
#define PKIDER_TOOLS_PASSWORD_H

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <string>

#include "gost_pbe.h"
#include "secure_memory.h"

// Rounds that a run may take for what files ask: they can ask for billions.
constexpr std::uint64_t default_round_limit = 2'000'000;

// The terminal is asked when both are empty.
struct password_source_t {
  std::string file;      // its first line; "-" is the next line of standard input
  std::string variable;  // of the environment
};

// Adds --PREFIXpassword-file and --PREFIXpassword-env. `whose` completes "the password of".
void add_password_options(CLI::App* verb, password_source_t* source, const std::string& prefix,
                          const std::string& whose);

// Adds --max-iterations.
void add_limit_option(CLI::App* verb, std::uint64_t* round_limit);

// Adds --iterations.
void add_iterations_option(CLI::App* verb, gost_pbe_options_t* options);

// Has `verb` do `work` with secrets (secure_memory.h), and adds --may-swap.
void set_secret_work(CLI::App* verb, const std::function<void()>& work);

// Reads a password. `prompt` is for the terminal, which asks twice for one that is `chosen` now. A
// chosen password is not empty. Throws input_error_t.
secret_t read_password(const password_source_t& source, const std::string& prompt,
                       bool chosen = false);

#endif
