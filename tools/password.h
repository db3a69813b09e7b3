// Where passwords come from; never from an argument: other users see those.

#ifndef PKIDER_TOOLS_PASSWORD_H
#define PKIDER_TOOLS_PASSWORD_H

#include <string>

#include "secure_memory.h"

// The terminal is asked when both are empty.
struct password_source_t {
  std::string file;      // its first line; "-" is the next line of standard input
  std::string variable;  // of the environment
};

// Reads a password. `prompt` is for the terminal, which asks twice for one that is `chosen` now. A
// chosen password is not empty. Throws input_error_t.
secret_t read_password(const password_source_t& source, const std::string& prompt,
                       bool chosen = false);

#endif
