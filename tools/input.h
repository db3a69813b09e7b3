// Input files, and the PEM blocks or DER elements in them.

#ifndef PKIDER_TOOLS_INPUT_H
#define PKIDER_TOOLS_INPUT_H

#include <cstddef>
#include <string>
#include <vector>

// No larger file is read.
constexpr std::size_t max_input_mib = 256;

// The whole content of `file`, or of standard input for "-". Throws input_error_t when it cannot be
// read, is larger than max_input_mib, or does not fit in memory.
std::string read_file(const std::string& file);

// One DER input, and where it stood.
struct input_block_t {
  std::string label;  // of its PEM block ("CERTIFICATE"); empty for bare DER
  std::string der;
  unsigned line = 0;       // at which its PEM block begins, from 1
  bool encrypted = false;  // by the headers of its PEM block, as in RFC 1421
};

// What `content` holds: its PEM blocks in order and whatever their labels, wherever they begin, and
// the DER elements before and after them; or else its DER elements. The last one may be cut.
// Reports what looks like a PEM block and cannot be read, with its line, and DER followed by
// something else. Throws input_error_t when nothing can be read. `file` is for messages.
std::vector<input_block_t> split_input(const std::string& file, const std::string& content);

// split_input of read_file, with BER turned into DER.
std::vector<input_block_t> read_input(const std::string& file);

#endif
