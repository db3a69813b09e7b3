// PKCS#12 files, opened with the password that the options name.

#ifndef PKIDER_TOOLS_OPENED_CONTAINER_H
#define PKIDER_TOOLS_OPENED_CONTAINER_H

#include <cstdint>
#include <string>

#include "container.h"
#include "derivation.h"
#include "secure_memory.h"
#include "verbs.h"

// DER or BER as it stands in the file, or the first container in PEM, as certtool writes it. Throws
// input_error_t when there is none.
std::string read_container(const std::string& file);

// A container whose MAC was checked, with what goes on with its password.
struct opened_t {
  explicit opened_t(std::uint64_t round_limit) : deriver(round_limit, terminal_progress()) {}
  deriver_t deriver;
  container_t container;
  secret_t password;
};

// Throws input_error_t unless the MAC is right, or there is none.
void open_container(const p12_options_t& options, opened_t& out);

#endif
