// Finding the container in a file, and opening it.

#include "opened_container.h"

#include <algorithm>
#include <vector>

#include <pkider/asn_tag.h>

#include "input.h"
#include "kind.h"
#include "messages.h"
#include "text.h"

std::string read_container(const std::string& file) {
  std::string content = read_file(file);
  if (content.rfind(static_cast<char>(asn_tag_t::SEQUENCE), 0) == 0) {
    return content;
  }
  const std::vector<input_block_t> blocks = split_input(file, content);
  const auto container = std::find_if(blocks.begin(), blocks.end(), [](const input_block_t& block) {
    return block.label == "PKCS12" || kind_of(block) == kind_t::pkcs12;
  });
  if (container == blocks.end()) {
    throw input_error_t(file, "not a PKCS#12 file, but " + what_it_is(blocks.front()));
  }
  return container->der;
}

void open_container(const p12_options_t& options, opened_t& out) {
  const std::string& file = options.file;
  if (file == "-" && options.opening.password.file == "-") {
    throw input_error_t("standard input cannot hold both the container and its password");
  }
  split_container(file, read_container(file), out.container);
  admit_container(file, out.container, out.deriver);
  out.password = read_password(options.opening.password, "Password of " + printable(file));
  check_mac(file, out.container, out.password, out.deriver);
}
