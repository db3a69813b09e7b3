// pkider dump: the tree of any DER, one element per line.

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <string>
#include <unordered_map>
#include <vector>

#include <pkider/asn_helper.h>
#include <pkider/platform.h>
#include <pkider/t61.h>

#include "asn_cursor.h"
#include "asn_time.h"
#include "bytes.h"
#include "input.h"
#include "known_oids.h"
#include "messages.h"
#include "oid_names.h"
#include "record.h"
#include "text.h"
#include "verbs.h"

namespace {

constexpr unsigned max_depth = 100;
constexpr unsigned max_shown_bytes = 64;
constexpr unsigned max_shown_text = 1024;

// ---- Elements ----

constexpr unsigned number_mask = 0x1F;
constexpr unsigned constructed_bit = 0x20;
constexpr unsigned class_shift = 6;

struct element_t {
  unsigned first = 0;        // identifier octet
  unsigned number = 0;       // of the tag
  unsigned header_size = 0;  // 0 where there is no element
  unsigned length = 0;       // as declared

  bool is_constructed() const { return (first & constructed_bit) != 0; }
  bool is_universal() const { return first >> class_shift == 0; }
};

// The header at the cursor's start. Tag numbers of 31 and above have further octets, in base
// 128 (X.690, 8.1.2.4); the last of them takes the place of the identifier for the length's reader.
element_t read_header(const asn_iter_t& cur) {
  element_t element;
  unsigned last = 0;
  if (cur.len == 0) {
    return element;
  }
  element.first = *cur.ptr;
  element.number = element.first & number_mask;
  if (element.number == number_mask) {
    constexpr unsigned max_octets = 4;
    element.number = 0;
    do {
      if (++last == cur.len || last > max_octets) {
        return element;
      }
      element.number = element.number << 7 | (cur.ptr[last] & 0x7FU);
    } while ((cur.ptr[last] & 0x80) != 0);
  }
  const asn1_header_t header = asn1_decode_header_(asn_tag_t::ANY, cur.ptr + last, cur.len - last);
  element.length = header.len;
  element.header_size = header.size == 0 ? 0 : last + header.size;
  return element;
}

// Whether `cur` is elements to its end, and those in constructed ones too.
bool is_well_formed(asn_iter_t cur, unsigned depth) {
  while (cur.len != 0) {
    const element_t element = read_header(cur);
    if (element.header_size == 0 || element.length > cur.len - element.header_size ||
        depth == max_depth) {
      return false;
    }
    cur.ptr += element.header_size;
    if (element.is_constructed() && !is_well_formed({cur.ptr, element.length}, depth + 1)) {
      return false;
    }
    cur.ptr += element.length;
    cur.len -= element.header_size + element.length;
  }
  return true;
}

// ---- Values ----

const char* universal_name(unsigned number) {
  constexpr const char* names[] = {nullptr,
                                   "BOOLEAN",
                                   "INTEGER",
                                   "BIT STRING",
                                   "OCTET STRING",
                                   "NULL",
                                   "OID",
                                   "ObjectDescriptor",
                                   "EXTERNAL",
                                   "REAL",
                                   "ENUMERATED",
                                   "EMBEDDED PDV",
                                   "UTF8String",
                                   "RELATIVE-OID",
                                   "TIME",
                                   nullptr,
                                   "SEQUENCE",
                                   "SET",
                                   "NumericString",
                                   "PrintableString",
                                   "T61String",
                                   "VideotexString",
                                   "IA5String",
                                   "UTCTime",
                                   "GeneralizedTime",
                                   "GraphicString",
                                   "VisibleString",
                                   "GeneralString",
                                   "UniversalString",
                                   "CHARACTER STRING",
                                   "BMPString"};
  return number < std::size(names) ? names[number] : nullptr;
}

std::string tag_text(const element_t& element) {
  constexpr const char* classes[] = {"UNIVERSAL ", "APPLICATION ", "", "PRIVATE "};
  const char* const name = element.is_universal() ? universal_name(element.number) : nullptr;
  return name != nullptr ? name
                         : '[' + std::string(classes[element.first >> class_shift]) +
                               std::to_string(element.number) + ']';
}

// As lines keep a sensible length, no more than the first bytes.
std::string bytes_text(const blob_t& content) {
  const bool whole = content.size <= max_shown_bytes;
  std::string text = hex({std::min(content.size, max_shown_bytes), content.data});
  return whole ? text : text + "... (" + std::to_string(content.size) + " bytes)";
}

// In quotes, but for JSON, which has its own. No more than the first bytes either.
std::string string_text(const std::string& text) {
  const std::string quote = json_output() ? "" : "\"";
  const bool whole = text.size() <= max_shown_text;
  return quote + text.substr(0, max_shown_text) + quote + (whole ? "" : "...");
}

std::string integer_text(const blob_t& content) {
  constexpr unsigned max_decimal = 8;
  if (content.size == 0 || content.size > max_decimal) {
    return bytes_text(content);
  }
  std::uint64_t value = (content.data[0] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
  for (unsigned i = 0; i < content.size; ++i) {
    value = value << 8 | content.data[i];
  }
  return std::to_string(static_cast<std::int64_t>(value));
}

// Names of attribute types and algorithms too. Few OIDs make up most of a file.
const std::string& oid_text(const blob_t& content) {
  static std::unordered_map<std::string, std::string> known;
  std::string& text = known[to_string(content)];
  if (text.empty()) {
    const OIDdescr_t* const entry = oid_map_find_asn(oid_map(), content.data, content.size);
    const char* const name = entry == nullptr          ? nullptr
                             : entry->oid_ln_size != 0 ? entry->oid_ln
                                                       : entry->oid_sn;
    text = name == nullptr ? describe_param_set(content) : dotted_oid(content) + " (" + name + ')';
  }
  return text;
}

std::string time_value_text(const blob_t& content, bool two_digits) {
  asn_time_t time;
  const std::string given = to_string(content);
  if (!read_asn_time(given, two_digits, time) || !time.exists) {
    return string_text(given) + " (no time)";
  }
  return json_output() ? iso_time_text(time) : time_text(time);
}

std::string wide_text(const blob_t& content, codepage_t codepage) {
  const CodepageConverter converter(codepage, CODEPAGE_UTF8);
  std::string text(converter.output_size(content.data, content.size), '\0');
  converter.convert(content.data, content.size, text.data(), size32(text));
  return text.empty() ? bytes_text(content) : string_text(text);
}

std::string t61_text(const blob_t& content) {
  std::string text;
  const bool good =
      ldap_t61s_to_utf8s(reinterpret_cast<const char*>(content.data), content.size, text);
  return good ? string_text(text) : bytes_text(content);
}

bool is_text(const blob_t& content) {
  return content.size != 0 && std::all_of(content.data, content.data + content.size,
                                          [](unsigned char c) { return c >= ' ' && c <= '~'; });
}

// The first octet counts the unused bits at the end.
std::string bit_string_text(const blob_t& content) {
  if (content.size == 0) {
    return "";
  }
  const std::string text = bytes_text({content.size - 1, content.data + 1});
  const unsigned unused = *content.data;
  return unused == 0 ? text : text + " (" + std::to_string(unused) + " unused bits)";
}

std::string universal_text(unsigned number, const blob_t& content) {
  switch (number) {
    case 1:
      return content.size == 1 ? (*content.data != 0 ? "TRUE" : "FALSE") : bytes_text(content);
    case 2:
    case 10:
      return integer_text(content);
    case 3:
      return bit_string_text(content);
    case 5:
      return content.size == 0 ? "" : bytes_text(content);
    case 6:
      return oid_text(content);
    case 12:
    case 18:
    case 19:
    case 22:
    case 26:
      return string_text(to_string(content));
    case 20:
      return t61_text(content);
    case 23:
    case 24:
      return time_value_text(content, number == 23);
    case 28:
      return wide_text(content, CODEPAGE_UCS4BE);
    case 30:
      return wide_text(content, CODEPAGE_UCS2BE);
    default:
      return bytes_text(content);
  }
}

std::string value_text(const element_t& element, const blob_t& content) {
  if (element.is_universal()) {
    return universal_text(element.number, content);
  }
  return is_text(content) ? string_text(to_string(content)) : bytes_text(content);
}

// ---- The tree ----

class tree_t {
 public:
  tree_t(const std::string& where, const std::string& der) : where_(where), begin_(bytes(der)) {}

  // Writes the elements of `cur`, up to the first fault. Throws input_error_t there.
  void show(const asn_iter_t& cur) {
    show_elements(cur, 0);
    flush(0);
  }

 private:
  void show_elements(asn_iter_t cur, unsigned depth) {
    while (cur.len != 0) {
      show_element(cur, depth);
    }
  }

  void show_element(asn_iter_t& cur, unsigned depth) {
    const element_t element = read_header(cur);
    const unsigned offset = static_cast<unsigned>(cur.ptr - begin_);
    if (element.header_size == 0) {
      fail(offset, no_element_text(cur));
    }
    const unsigned room = cur.len - element.header_size;
    const asn_iter_t content = {cur.ptr + element.header_size, std::min(element.length, room)};
    const asn_iter_t inner = inner_elements(element, content);
    line(offset, depth, element,
         inner.ptr == nullptr ? value_text(element, asn1_view_(content)) : "");
    if (inner.ptr != nullptr) {
      if (depth == max_depth) {
        fail(offset, "nested deeper than " + std::to_string(max_depth) + " elements");
      }
      show_elements(inner, depth + 1);
    }
    if (element.length > room) {
      fail(offset, "cut off: " + std::to_string(room) + " of " + std::to_string(element.length) +
                       " bytes are there");
    }
    cur.ptr = content.ptr + content.len;
    cur.len = room - content.len;
  }

  // What is in a constructed element, or in a string that is exactly one element; else null.
  static asn_iter_t inner_elements(const element_t& element, asn_iter_t content) {
    constexpr unsigned bit_string = 3;
    constexpr unsigned octet_string = 4;
    if (element.is_constructed()) {
      return content;
    }
    if (element.first == bit_string && content.len != 0 && *content.ptr == 0) {
      ++content.ptr;  // no unused bits
      --content.len;
    } else if (element.first != octet_string) {
      return {nullptr, 0};
    }
    const element_t inner = read_header(content);
    const bool one = inner.header_size != 0 && inner.is_universal() &&
                     universal_name(inner.number) != nullptr &&
                     inner.length == content.len - inner.header_size && is_well_formed(content, 0);
    return one ? content : asn_iter_t{nullptr, 0};
  }

  static std::string no_element_text(const asn_iter_t& cur) {
    const std::string shown = hex({std::min(cur.len, 4U), cur.ptr}, ' ');
    const bool indefinite = cur.len >= 2 && cur.ptr[1] == 0x80;
    return indefinite ? "a length that is not stated (" + shown + "), which DER does not have"
                      : "no element (" + shown + ')';
  }

  void line(unsigned offset, unsigned depth, const element_t& element, const std::string& value) {
    if (json_output()) {
      record_t record;
      record.add("file", where_);
      record.add("offset", "", std::uint64_t{offset});
      record.add("depth", "", std::uint64_t{depth});
      record.add("header length", "", std::uint64_t{element.header_size});
      record.add("length", "", std::uint64_t{element.length});
      record.add("tag", tag_text(element));
      record.add("value", value);
      print(record);
      return;
    }
    constexpr unsigned offset_width = 8;
    constexpr unsigned lengths_width = 18;
    std::string text = std::to_string(offset);
    text.insert(0, offset_width - std::min<std::size_t>(text.size(), offset_width), ' ');
    text.append("  ").append(std::to_string(element.header_size)).append("+");
    text.append(std::to_string(element.length));
    text.resize(std::max<std::size_t>(text.size() + 1, lengths_width), ' ');
    text.append(2UL * depth, ' ').append(tag_text(element));
    if (!value.empty()) {
      text.append(" ").append(printable(value));
    }
    pending_.append(text).append("\n");
    constexpr std::size_t enough = 65536;
    flush(enough);
  }

  void flush(std::size_t enough) {
    if (pending_.size() > enough) {
      std::cout << pending_;
      pending_.clear();
    }
  }

  [[noreturn]] void fail(unsigned offset, const std::string& fault) {
    flush(0);
    throw input_error_t(where_, "at offset " + std::to_string(offset) + ": " + fault);
  }

  std::string where_;
  const unsigned char* begin_;
  std::string pending_;
};

// PEM blocks, or all of the file as it is: any element may come first.
std::vector<input_block_t> read_elements(const std::string& file) {
  const std::string content = read_file(file);
  if (content.find("-----BEGIN ") != std::string::npos) {
    return split_input(file, content);
  }
  if (content.empty()) {
    throw input_error_t(file, "empty");
  }
  return {{"", content}};
}

void dump(const std::string& file, bool alone) {
  const std::vector<input_block_t> blocks = read_elements(file);
  for (const input_block_t& block : blocks) {
    std::string where = file;
    if (blocks.size() > 1) {
      where.append(": line ").append(std::to_string(block.line));
    }
    if (!json_output() && (!alone || blocks.size() > 1)) {
      std::cout << printable(where) << ":\n";
    }
    attempt([&] { tree_t(where, block.der).show(asn1_iter_(view(block.der))); });
  }
}

}  // namespace

// ---- The verb ----

void dump_files(const dump_options_t& options) {
  for_each_file(options.files,
                [&](const std::string& file) { dump(file, options.files.size() == 1); });
}
