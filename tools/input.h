// Input files, and the PEM blocks in them.

#ifndef PKIDER_TOOLS_INPUT_H
#define PKIDER_TOOLS_INPUT_H

#include <string>
#include <vector>

// The whole content of `file`, or of standard input for "-". Throws input_error_t.
std::string read_file(const std::string& file);

// One DER input, with the label of its PEM block ("CERTIFICATE"); the label of bare DER is empty.
// A PEM block that is not base64 has no bytes.
struct input_block_t {
  std::string label;
  std::string der;
};

// The PEM blocks in `content`, in order and whatever their labels; or all of it as one block of
// DER. `file` is for messages. Throws input_error_t when it is neither, or a block has no end.
std::vector<input_block_t> split_input(const std::string& file, const std::string& content);

// split_input of read_file.
std::vector<input_block_t> read_input(const std::string& file);

#endif
