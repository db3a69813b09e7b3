#include "cli.h"

#include <gpg-error.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <iomanip>
#include <iostream>
#include <limits>
#include <memory>

#include <pkider/int2str.h>

#include "asn_cursor.h"
#include "asn_oidmap_i.h"

// ---- Messages ----

namespace {

bool reported = false;

}  // namespace

void report(const std::string& message) {
  reported = true;
  std::cerr << "pkider: " << printable(message) << '\n';
}

bool anything_reported() {
  return reported;
}

void attempt(const std::function<void()>& work) {
  try {
    work();
  } catch (const input_error& e) {
    report(e.what());
  }
}

void for_each_file(const std::vector<std::string>& files,
                   const std::function<void(const std::string&)>& handle) {
  for (const std::string& file : files) {
    attempt([&] { handle(file); });
  }
}

// ---- Inputs ----

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
  asn_iter_t cur = {bytes(content), size(content)};
  asn_iter_t sequence;
  return asn1_read_tag_i_(asn_tag_t::SEQUENCE, &cur, &sequence) && cur.len == 0;
}

bool begins_with_sequence(const std::string& content) {
  unsigned length = 0;
  return asn1_read_tag(asn_tag_t::SEQUENCE, bytes(content), size(content), &length) != nullptr;
}

std::vector<input_block_t> split_pem(const std::string& file, std::string_view text) {
  std::vector<input_block_t> blocks;
  std::size_t at = find_line(text, pem_begin, 0);
  while (at != std::string::npos) {
    const std::size_t label_at = at + pem_begin.size();
    const std::size_t label_end = text.find(pem_dashes, label_at);
    const std::size_t line_end = text.find('\n', at);
    if (label_end >= line_end) {
      throw input_error(file, "a PEM block's first line is malformed");
    }
    const std::string label(text.substr(label_at, label_end - label_at));
    const std::size_t end = find_line(text, pem_end, line_end);
    if (end == std::string::npos) {
      throw input_error(file, "the PEM block " + label + " has no end");
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
    throw input_error(file, std::strerror(errno));
  }
  std::string content;
  char chunk[65536];
  std::size_t count = 0;
  while ((count = std::fread(chunk, 1, sizeof chunk, stream.get())) != 0) {
    content.append(chunk, count);
    if (content.size() > std::numeric_limits<unsigned>::max()) {
      throw input_error(file, "larger than 4 GiB");
    }
  }
  if (std::ferror(stream.get()) != 0) {
    throw input_error(file, std::strerror(errno));
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
    throw input_error(file, content.empty() ? "empty" : "neither PEM nor DER");
  }
  return blocks;
}

std::vector<input_block_t> read_input(const std::string& file) {
  return split_input(file, read_file(file));
}

// ---- DER ----

bool read_element(asn_tag_t::Type type, asn_iter_t* cur, blob_t* element) {
  const unsigned char* begin = cur->ptr;
  asn_iter_t content;
  if (!asn1_read_tag_i_(type, cur, &content)) {
    return false;
  }
  *element = asn1_view_(asn1_range_(begin, cur->ptr));
  return true;
}

// Certificate ::= SEQUENCE { tbsCertificate, signatureAlgorithm, signatureValue BIT STRING }
// TBSCertificate ::= SEQUENCE { [0] version OPTIONAL, serialNumber INTEGER, signature, issuer,
//   validity SEQUENCE { notBefore, notAfter }, subject, subjectPublicKeyInfo, ... }
bool read_certificate(const std::string& der, certificate_t* out) {
  asn_iter_t file = {bytes(der), size(der)};
  asn_iter_t certificate;
  asn_iter_t tbs;
  asn_iter_t skipped;
  asn_iter_t serial;
  asn_iter_t validity;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &file, &certificate) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &certificate, &tbs) ||
      !read_element(asn_tag_t::SEQUENCE, &certificate, &out->signature_alg) ||
      !asn1_read_tag_i_(asn_tag_t::BIT_STRING, &certificate, &skipped)) {
    return false;
  }
  if (asn1_next_is_(asn_tag_t::CONTEXT_0, tbs) &&
      !asn1_read_tag_i_(asn_tag_t::CONTEXT_0, &tbs, &skipped)) {
    return false;
  }
  if (!asn1_read_tag_i_(asn_tag_t::INTEGER, &tbs, &serial) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &tbs, &skipped) ||
      !read_element(asn_tag_t::SEQUENCE, &tbs, &out->issuer) ||
      !asn1_read_tag_i_(asn_tag_t::SEQUENCE, &tbs, &validity) ||
      !read_element(asn_tag_t::ANY, &validity, &out->not_before) ||
      !read_element(asn_tag_t::ANY, &validity, &out->not_after) ||
      !read_element(asn_tag_t::SEQUENCE, &tbs, &out->subject) ||
      !read_element(asn_tag_t::SEQUENCE, &tbs, &out->public_key)) {
    return false;
  }
  out->serial = asn1_view_(serial);
  return true;
}

void for_each_certificate(
    const std::string& file,
    const std::function<void(const std::string& where, const certificate_t&)>& handle) {
  const auto blocks = read_input(file);
  unsigned count = 0;
  for (const input_block_t& block : blocks) {
    // Also X509 CERTIFICATE and TRUSTED CERTIFICATE, but no CERTIFICATE REQUEST.
    constexpr std::string_view label = "CERTIFICATE";
    const std::size_t at = block.label.rfind(label);
    if (!block.label.empty() &&
        (at == std::string::npos || at + label.size() != block.label.size())) {
      continue;
    }
    ++count;
    const std::string where =
        blocks.size() == 1 ? file : file + ": certificate " + std::to_string(count);
    attempt([&] {
      certificate_t certificate;
      if (block.der.empty()) {
        throw input_error(where, "the PEM block is not base64");
      }
      if (!read_certificate(block.der, &certificate)) {
        throw input_error(where, "not a certificate, or a damaged one");
      }
      handle(where, certificate);
    });
  }
  if (count == 0) {
    throw input_error(file, "holds no certificate");
  }
}

// ---- Text ----

std::string hex(const blob_t& view, char separator) {
  std::string text;
  return TO_HEX_STD_STRING(view.data, view.size, text, separator);
}

namespace {

// Characters that change the direction of the text around them.
bool is_direction_mark(wchar_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

bool is_printable(wchar_t c) {
  return std::iswprint(static_cast<std::wint_t>(c)) != 0 && !is_direction_mark(c);
}

}  // namespace

std::string printable(std::string_view text) {
  static const char* const utf8 = std::setlocale(LC_CTYPE, "C.UTF-8");
  static_cast<void>(utf8);
  std::string out;
  while (!text.empty()) {
    wchar_t c = 0;
    std::mbstate_t state = {};
    const std::size_t read = std::mbrtowc(&c, text.data(), text.size(), &state);
    const bool valid = read != 0 && read <= text.size();
    const std::string_view unit = text.substr(0, valid ? read : 1);
    text.remove_prefix(unit.size());
    if (valid && is_printable(c)) {
      out += unit;
      continue;
    }
    for (const char byte : unit) {
      out += '\\';
      TO_HEX_STD_STRING(reinterpret_cast<const unsigned char*>(&byte), 1, out, 0);
    }
  }
  return out;
}

void print_field(const char* name, const std::string& value) {
  constexpr int value_column = 19;
  std::cout << std::left << std::setw(value_column) << std::string(name) + ':' << printable(value)
            << '\n';
}

std::string dn_text(const std::string& where, const char* what, const blob_t& name,
                    PrintableDnOrder order) {
  std::string text;
  if (!asn_dn_to_printable(name.data, name.size, text, order, oid_map())) {
    throw input_error(where, std::string("the ") + what + " is malformed after \"" + text + '"');
  }
  return printable(text);
}

// ---- The OID map ----

std::vector<std::string>& config_files() {
  static std::vector<std::string> files;
  return files;
}

namespace {

struct map_releaser_t {
  void operator()(OIDmaps_t* map) const { oid_map_release(map); }
};

// A map cannot be extended once it is built: its entries are written out and parsed again, the
// files' lines after them.
oid_map_handle_t extend(oid_map_handle_t map, const std::vector<std::string>& files) {
  std::string text;
  for (const OIDdescr_t& entry : map->entries) {
    text.append(entry.oid_str).append(" = ").append(entry.oid_sn);
    text.append(", ").append(entry.oid_ln).append("\n");
  }
  for (const std::string& file : files) {
    text += read_file(file) + '\n';
  }
  return oid_map_parse(text.data(), size(text));
}

}  // namespace

oid_map_handle_t oid_map() {
  if (config_files().empty()) {
    return OID_MAP_HANDLE_DEFAULT_FILE;
  }
  static const std::unique_ptr<OIDmaps_t, map_releaser_t> extended(
      extend(OID_MAP_HANDLE_DEFAULT_FILE, config_files()));
  return extended.get();
}

const OIDdescr_t* find_long_name(std::string_view name) {
  for (const OIDdescr_t& entry : oid_map()->entries) {
    if (entry.oid_ln_size == name.size() &&
        oid_strcmp_t::compare(entry.oid_ln, name.data(), entry.oid_ln_size) == 0) {
      return &entry;
    }
  }
  return nullptr;
}
