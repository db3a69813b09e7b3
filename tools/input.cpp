// Files, and what is in them: PEM (RFC 7468, RFC 1421) and DER.

#include "input.h"

#include <gpg-error.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "asn_cursor.h"
#include "ber.h"
#include "bytes.h"
#include "kind.h"
#include "messages.h"

namespace {

constexpr std::string_view pem_begin = "-----BEGIN ";
constexpr std::string_view pem_end = "-----END ";
constexpr std::string_view pem_dashes = "-----";
constexpr std::string_view padding(" \t\r\n\0", 5);
constexpr std::string_view indefinite_sequence = "\x30\x80";  // BER

struct file_closer_t {
  void operator()(std::FILE* file) const {
    if (file != stdin) {
      static_cast<void>(std::fclose(file));
    }
  }
};

// Of a regular file; memory that grows instead would be copied and wiped again and again.
std::size_t expected_size(std::FILE* stream) {
  struct stat status = {};
  const bool known = fstat(fileno(stream), &status) == 0 && S_ISREG(status.st_mode);
  return known ? std::min(static_cast<std::size_t>(status.st_size), max_input_mib << 20) : 0;
}

std::string read_stream(const std::string& file, std::FILE* stream) {
  std::string content;
  content.reserve(expected_size(stream));
  char chunk[65536];
  std::size_t count = 0;
  while ((count = std::fread(chunk, 1, sizeof chunk, stream)) != 0) {
    content.append(chunk, count);
    if (content.size() > max_input_mib << 20) {
      throw input_error_t(
          file, "larger than " + std::to_string(max_input_mib) + " MiB, the most that is read");
    }
  }
  if (std::ferror(stream) != 0) {
    throw input_error_t(file, std::strerror(errno));
  }
  return content;
}

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// ---- PEM ----

// The bytes that base64 text stands for; empty when it is malformed. libgpg-error stops at the
// padding, so what follows it is looked at here.
std::string decode_base64(std::string text) {
  const std::size_t end = std::min(text.find('='), text.size());
  if (text.find_first_not_of("= \t\r\n", end) != std::string::npos) {
    return {};
  }
  const gpgrt_b64state_t state = gpgrt_b64dec_start(nullptr);
  std::size_t decoded = 0;
  const bool good = gpgrt_b64dec_proc(state, text.data(), text.size(), &decoded) == 0;
  text.resize(good ? decoded : 0);
  return gpgrt_b64dec_finish(state) == 0 ? text : std::string();
}

unsigned header_size(std::string_view content) {
  const asn_iter_t cur = asn1_iter_(view(content));
  return asn1_decode_header_(asn_tag_t::SEQUENCE, cur.ptr, cur.len).size;
}

// Whether an element begins here rather than text: '0' is also the first byte of a SEQUENCE, but
// text does not go on with the second byte of a long header.
bool begins_with_element(std::string_view content) {
  constexpr unsigned short_header = 2;
  return header_size(content) > short_header || starts_with(content, indefinite_sequence) ||
         kind_of(view(content)) != kind_t::unknown;
}

// Reads the PEM blocks of a text, and the DER that stands before and after them, in their order.
class pem_reader_t {
 public:
  explicit pem_reader_t(std::string_view text) : text_(text) {}

  // Appends the next block to `blocks`, or its fault to `faults`. False at the end of the text.
  bool next(std::vector<input_block_t>& blocks, std::vector<std::string>& faults) {
    if (read_der(blocks)) {
      return true;
    }
    const std::size_t begin = text_.find(pem_begin, at_);
    const std::size_t lost_end = text_.substr(0, begin).find(pem_end, at_);
    if (lost_end != std::string_view::npos) {
      faults.push_back(line_text(lost_end) + "the end of a PEM block that has no beginning");
      at_ = lost_end + pem_end.size();
      return true;
    }
    if (begin == std::string_view::npos) {
      return false;
    }
    read_block(begin, blocks, faults);
    return true;
  }

 private:
  // An element that is cut off goes as far as the next block.
  bool read_der(std::vector<input_block_t>& blocks) {
    const std::size_t begin = std::min(text_.find_first_not_of(padding, at_), text_.size());
    const std::string_view here = text_.substr(begin);
    if (!begins_with_element(here)) {
      return false;
    }
    asn_iter_t cur = asn1_iter_(view(here));
    asn_iter_t content;
    const bool whole = asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &content);
    const std::size_t size = whole ? here.size() - cur.len : here.find(pem_begin);
    blocks.push_back({"", std::string(here.substr(0, size))});
    at_ = begin + std::min(size, here.size());
    return true;
  }

  void read_block(std::size_t begin, std::vector<input_block_t>& blocks,
                  std::vector<std::string>& faults) {
    const std::size_t label_at = begin + pem_begin.size();
    const std::size_t line_end = std::min(text_.find_first_of("\r\n", begin), text_.size());
    const std::size_t label_end = text_.substr(0, line_end).find(pem_dashes, label_at);
    at_ = label_at;
    if (label_end == std::string_view::npos) {
      faults.push_back(line_text(begin) + "the first line of a PEM block is malformed");
      return;
    }
    input_block_t block;
    block.label = text_.substr(label_at, label_end - label_at);
    block.line = line_of(begin);
    const std::string where = line_text(begin) + "the PEM block " + block.label;
    const std::size_t body = label_end + pem_dashes.size();
    const std::size_t end = std::min(text_.find(pem_dashes, body), text_.size());
    if (!starts_with(text_.substr(end), std::string(pem_end) + block.label + "-----")) {
      faults.push_back(where + " has no end");
      return;
    }
    at_ = end + pem_end.size() + block.label.size() + pem_dashes.size();
    block.der = decode_base64(std::string(without_headers(text_.substr(body, end - body), block)));
    if (block.der.empty()) {
      faults.push_back(where + " is not base64");
      return;
    }
    blocks.push_back(std::move(block));
  }

  // Headers stand on the lines before an empty one (RFC 1421, 4.4): "DEK-Info: AES-256-CBC,01..."
  static std::string_view without_headers(std::string_view body, input_block_t& block) {
    if (body.find(':') == std::string_view::npos) {
      return body;
    }
    const std::size_t end = std::min(body.find('\n', body.rfind(':')), body.size());
    block.encrypted = body.substr(0, end).find("ENCRYPTED") != std::string_view::npos;
    return body.substr(end);
  }

  // Called for growing positions.
  unsigned line_of(std::size_t at) {
    for (; counted_ < at; ++counted_) {
      counted_ = std::min(text_.find('\n', counted_), at);
      line_ += counted_ == at ? 0 : 1;
    }
    return line_;
  }
  std::string line_text(std::size_t at) { return "line " + std::to_string(line_of(at)) + ": "; }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t counted_ = 0;
  unsigned line_ = 1;
};

// One fault says it all where there is nothing else; more are reported one by one.
std::vector<input_block_t> split_pem(const std::string& file, std::string_view text) {
  std::vector<input_block_t> blocks;
  std::vector<std::string> faults;
  pem_reader_t reader(text);
  while (reader.next(blocks, faults)) {
  }
  std::string last;
  if (blocks.empty() && !faults.empty()) {
    last = faults.back();
    faults.pop_back();
  }
  for (const std::string& fault : faults) {
    report(file, fault);
  }
  if (!last.empty()) {
    throw input_error_t(file, last);
  }
  return blocks;
}

// ---- DER ----

// SEQUENCEs up to the end, which may be blanks or zero bytes; what else is left stays in `rest`.
std::vector<input_block_t> split_der(const std::string& content, std::string_view& rest) {
  std::vector<input_block_t> blocks;
  asn_iter_t cur = asn1_iter_(view(content));
  asn_iter_t sequence;
  const unsigned char* begin = cur.ptr;
  while (asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &sequence)) {
    blocks.push_back({"", to_string(asn1_view_(asn1_range_(begin, cur.ptr)))});
    begin = cur.ptr;
  }
  rest = std::string_view(content).substr(content.size() - cur.len);
  const std::size_t end = rest.find_first_not_of(padding);
  rest.remove_prefix(std::min(end, rest.size()));
  return blocks;
}

std::string why_unreadable(std::string_view content) {
  if (content.empty()) {
    return "empty";
  }
  const bool utf16 = content.find(std::string_view("-\0-\0", 4)) != std::string_view::npos;
  return utf16 ? "in UTF-16: convert it with iconv -f UTF-16 -t UTF-8" : "neither PEM nor DER";
}

}  // namespace

// ---- What the header declares ----

std::string read_file(const std::string& file) {
  const std::unique_ptr<std::FILE, file_closer_t> stream(
      file == "-" ? stdin : std::fopen(file.c_str(), "rb"));
  if (stream == nullptr) {
    throw input_error_t(file, std::strerror(errno));
  }
  try {
    return read_stream(file, stream.get());
  } catch (const std::bad_alloc&) {
    throw input_error_t(file, "does not fit in memory");
  }
}

std::vector<input_block_t> split_input(const std::string& file, const std::string& content) {
  std::string_view rest;
  std::vector<input_block_t> elements = split_der(content, rest);
  if (!elements.empty() && rest.empty()) {
    return elements;
  }
  if (content.find(pem_begin) != std::string::npos || content.find(pem_end) != std::string::npos) {
    std::vector<input_block_t> blocks = split_pem(file, content);
    if (!blocks.empty()) {
      return blocks;
    }
  }
  if (header_size(rest) != 0 || starts_with(rest, indefinite_sequence)) {
    elements.push_back({"", std::string(rest)});
  } else if (!elements.empty()) {
    report(file, std::to_string(rest.size()) + " bytes at the end are not DER");
  }
  if (elements.empty()) {
    throw input_error_t(file, why_unreadable(content));
  }
  return elements;
}

std::vector<input_block_t> read_input(const std::string& file) {
  std::vector<input_block_t> blocks = split_input(file, read_file(file));
  for (input_block_t& block : blocks) {
    std::string der;
    if (starts_with(block.der, indefinite_sequence) && ber_to_der(view(block.der), der)) {
      block.der = std::move(der);
    }
  }
  return blocks;
}
