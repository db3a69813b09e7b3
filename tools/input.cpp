#include "input.h"

#include <gpg-error.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

#include "asn_cursor.h"
#include "bytes.h"
#include "messages.h"

namespace {

constexpr std::string_view pem_begin = "-----BEGIN ";
constexpr std::string_view pem_end = "-----END ";
constexpr std::string_view pem_dashes = "-----";

struct file_closer_t {
  void operator()(std::FILE* file) const {
    if (file != stdin) {
      static_cast<void>(std::fclose(file));
    }
  }
};

// Where the first line of `text`, from `from` on, that begins with `prefix` begins; npos if none.
std::size_t find_line(std::string_view text, std::string_view prefix, std::size_t from) {
  std::size_t at = text.find(prefix, from);
  while (at != std::string::npos && at != 0 && text[at - 1] != '\n') {
    at = text.find(prefix, at + 1);
  }
  return at;
}

// The bytes that base64 text stands for; empty when it is malformed.
std::string decode_base64(std::string text) {
  const gpgrt_b64state_t state = gpgrt_b64dec_start(nullptr);
  std::size_t decoded = 0;
  const bool good = gpgrt_b64dec_proc(state, text.data(), text.size(), &decoded) == 0;
  text.resize(good ? decoded : 0);
  return gpgrt_b64dec_finish(state) == 0 ? text : std::string();
}

// One SEQUENCE and nothing else.
bool is_der(const std::string& content) {
  asn_iter_t cur = asn1_iter_(view(content));
  asn_iter_t sequence;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &sequence) && cur.len == 0;
}

bool begins_with_sequence(const std::string& content) {
  unsigned length = 0;
  return asn1_read_tag(asn_tag_t::SEQUENCE, bytes(content), size32(content), &length) != nullptr;
}

std::vector<input_block_t> split_pem(const std::string& file, std::string_view text) {
  std::vector<input_block_t> blocks;
  std::size_t at = find_line(text, pem_begin, 0);
  while (at != std::string::npos) {
    const std::size_t label_at = at + pem_begin.size();
    const std::size_t label_end = text.find(pem_dashes, label_at);
    const std::size_t line_end = text.find('\n', at);
    if (label_end >= line_end) {
      throw input_error_t(file, "a PEM block's first line is malformed");
    }
    const std::string label(text.substr(label_at, label_end - label_at));
    const std::size_t end = find_line(text, pem_end, line_end);
    if (end == std::string::npos) {
      throw input_error_t(file, "the PEM block " + label + " has no end");
    }
    blocks.push_back({label, decode_base64(std::string(text.substr(line_end, end - line_end)))});
    at = find_line(text, pem_begin, end);
  }
  return blocks;
}

}  // namespace

std::string read_file(const std::string& file) {
  const std::unique_ptr<std::FILE, file_closer_t> stream(
      file == "-" ? stdin : std::fopen(file.c_str(), "rb"));
  if (stream == nullptr) {
    throw input_error_t(file, std::strerror(errno));
  }
  std::string content;
  char chunk[65536];
  std::size_t count = 0;
  while ((count = std::fread(chunk, 1, sizeof chunk, stream.get())) != 0) {
    content.append(chunk, count);
    if (content.size() > std::numeric_limits<unsigned>::max()) {
      throw input_error_t(file, "larger than 4 GiB");
    }
  }
  if (std::ferror(stream.get()) != 0) {
    throw input_error_t(file, std::strerror(errno));
  }
  return content;
}

std::vector<input_block_t> split_input(const std::string& file, const std::string& content) {
  if (is_der(content)) {
    return {{"", content}};
  }
  std::vector<input_block_t> blocks = split_pem(file, content);
  if (blocks.empty() && begins_with_sequence(content)) {
    return {{"", content}};
  }
  if (blocks.empty()) {
    throw input_error_t(file, content.empty() ? "empty" : "neither PEM nor DER");
  }
  return blocks;
}

std::vector<input_block_t> read_input(const std::string& file) {
  return split_input(file, read_file(file));
}
