#include <algorithm>
#include <cstring>
#include <string_view>

#include <pkider/asn_helper.h>
#include <pkider/asn_printable.h>
#include <pkider/asn_tag.h>
#include <pkider/int2str.h>
#include <pkider/platform.h>

#include "asn_cursor.h"
#include "asn_printable_i.h"
#include "der_writer.h"
#include "out_string.h"
#include "t61_i.h"

// ---- Splitting ----

namespace {

// What a byte of a value means, to the splitter and on the way to DER and back.
enum : unsigned char {
  not_printable = 1,  // outside PrintableString's alphabet
  not_ascii = 2,
  is_special = 4,  // Q27: one of the nine that a backslash must escape
  is_end = 8,      // the terminating zero
  ends_name = 16,  // '=', a blank or the terminating zero
};

constexpr bool is_one_of(const char* set, char c) {
  for (; *set != 0; ++set) {
    if (*set == c) {
      return true;
    }
  }
  return false;
}

struct byte_classes_t {
  unsigned char of[256];

  constexpr byte_classes_t() : of() {
    for (unsigned i = 0; i < 256; ++i) {
      const char c = static_cast<char>(i);
      const bool printable = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                             (c >= '0' && c <= '9') || is_one_of(" '()+,-./:=?", c);
      of[i] = static_cast<unsigned char>(
          (printable ? 0 : not_printable) | (i >= 0x80 ? not_ascii : 0) |
          (is_one_of("\"#+,;<=>\\", c) ? is_special : 0) | (i == 0 ? is_end : 0) |
          (i == 0 || is_one_of("= \t", c) ? ends_name : 0));
    }
  }
};

constexpr byte_classes_t byte_classes;

unsigned class_of(char c) {
  return byte_classes.of[static_cast<unsigned char>(c)];
}

const char* skip_blanks(const char* p) {
  while (*p == ' ' || *p == '\t') {
    ++p;
  }
  return p;
}

const char* find_name_end(const char* p) {
  while ((class_of(*p) & ends_name) == 0) {
    ++p;
  }
  return p;
}

// The separator or terminating zero that ends a value; null when a quote stays open. Adds what the
// bytes before it are to `classes`.
const char* find_value_end(const char* p, unsigned& classes) {
  bool quoted = false;
  for (;; ++p) {
    unsigned found = class_of(*p);
    for (; (found & (is_special | is_end)) == 0; found = class_of(*++p)) {
      classes |= found;
    }
    if (*p == 0) {
      return quoted ? nullptr : p;
    }
    if ((*p == '+' || *p == ',') && !quoted) {  // Q34: no ';'
      return p;
    }
    if (*p == '"') {
      quoted = !quoted;
    } else if (*p == '\\' && p[1] != 0) {
      ++p;
    }
    classes |= found;
  }
}

// Takes one attribute after the other off a printable DN.
class dn_splitter_t {
 public:
  explicit dn_splitter_t(const char* dn) : p_(skip_blanks(dn)), more_(*p_ != 0) {}

  bool more() const { return more_; }

  // The next attribute; false when the text is malformed there.
  bool next(RDNdescr_t& attribute) {
    attribute.name_begin = p_;
    attribute.name_end = find_name_end(p_);
    p_ = skip_blanks(attribute.name_end);
    if (*p_ != '=' || attribute.name_end == attribute.name_begin) {
      return false;
    }
    attribute.value_begin = p_ + 1;  // Q35: blanks included
    value_classes_ = 0;
    attribute.value_end = find_value_end(p_ + 1, value_classes_);
    if (attribute.value_end == nullptr) {
      return false;
    }
    attribute.plus_joined = joined_;
    joined_ = *attribute.value_end == '+';
    more_ = *attribute.value_end != 0;
    if (more_) {
      p_ = skip_blanks(attribute.value_end + 1);
    }
    return true;
  }

  // Whether the attribute after the last one is in the same RDN.
  bool joins_next() const { return joined_; }

  // The classes of all bytes of the last value, but those right after a backslash.
  unsigned value_classes() const { return value_classes_; }

 private:
  const char* p_;
  bool more_;
  bool joined_ = false;
  unsigned value_classes_ = 0;
};

// Shows every attribute of a printable DN to `visit`; false when the text is malformed.
template <class Visit>
bool for_each_attribute(const char* dn, Visit visit) {
  for (dn_splitter_t splitter(dn); splitter.more();) {
    RDNdescr_t attribute;
    if (!splitter.next(attribute)) {
      return false;
    }
    visit(attribute);
  }
  return true;
}

std::string_view name_of(const RDNdescr_t& attribute) {
  return {attribute.name_begin,
          static_cast<std::size_t>(attribute.name_end - attribute.name_begin)};
}

}  // namespace

bool printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out) {
  return for_each_attribute(dn, [&](const RDNdescr_t& attribute) { out.push_back(attribute); });
}

// ---- Queries and edits on the text ----

bool printable_dn_get_attr(const char* dn, const char* attr_name, std::string& result,
                           PrintableDnGetAttr mode) {
  const std::string_view wanted = attr_name;
  RDNdescr_t found = {};
  const auto find_first = [&](const RDNdescr_t& attribute) {
    if (found.name_begin == nullptr && name_of(attribute) == wanted) {
      found = attribute;
    }
  };
  if (!for_each_attribute(dn, find_first) || found.name_begin == nullptr) {
    return false;
  }
  result.append(mode == DN_GET_ATTR_VALUE ? found.value_begin : found.name_begin, found.value_end);
  return true;
}

bool printable_dn_contain_attrs(const char* dn, const char* attrs) {
  const char* component = attrs;
  const char* pattern = attrs;
  bool quoted = false;
  bool armed = true;
  char before = 0;
  for (; *dn != 0; before = *dn++) {
    const char c = *dn;
    const bool escaped = before == '\\';
    if (c == '"' && !escaped) {
      quoted = !quoted;
    } else if (c == ',' && !escaped && !quoted) {
      if (armed && *pattern == 0) {
        return true;
      }
      if (!armed) {
        armed = true;
        continue;
      }
    } else if (armed && *pattern == 0) {
      return c == ',' && !quoted;
    }
    if (!armed) {
      continue;
    }
    if (c != *pattern) {
      pattern = component;
      armed = false;  // Q32: until the next comma, also when this was one
      continue;
    }
    ++pattern;
    if (c == ',' && !quoted) {
      component = pattern;
    }
  }
  return *pattern == 0;
}

bool printable_dn_C_before_CN(const char* dn) {
  bool c_seen = false;
  bool cn_before_c = false;
  const auto look = [&](const RDNdescr_t& attribute) {
    const std::string_view name = name_of(attribute);
    c_seen = c_seen || name == "C";
    cn_before_c = cn_before_c || (name == "CN" && !c_seen);
  };
  return for_each_attribute(dn, look) && !(cn_before_c && c_seen);
}

char* printable_dn_reverse(char* dn) {
  unsigned count = 0;
  if (!for_each_attribute(dn, [&](const RDNdescr_t&) { ++count; })) {
    return nullptr;
  }
  if (count < 2) {
    return dn;
  }
  // Every RDN is turned around where it stands, behind the splitter's back, then all of them.
  char* begin = dn;
  char* end = nullptr;
  const auto turn = [&](const RDNdescr_t& attribute) {
    if (end != nullptr && !attribute.plus_joined) {
      reverse_bytes_(begin, end);
      begin = end + 1;  // Q33: with the blanks before it
    }
    end = dn + (attribute.value_end - dn);
  };
  for_each_attribute(dn, turn);
  reverse_bytes_(begin, end);
  reverse_bytes_(dn, end);
  return dn;
}

// ---- DER to text ----

namespace {

constexpr unsigned char utf8_string = 0x0C;
constexpr unsigned char numeric_string = 0x12;
constexpr unsigned char printable_string = 0x13;
constexpr unsigned char t61_string = 0x14;
constexpr unsigned char ia5_string = 0x16;
constexpr unsigned char universal_string = 0x1C;

constexpr unsigned text_tags = 1U << utf8_string | 1U << numeric_string | 1U << printable_string |
                               1U << t61_string | 1U << ia5_string | 1U << universal_string |
                               1U << asn_tag_t::BMP_STRING;

bool is_text(unsigned identifier) {
  return identifier <= asn_tag_t::BMP_STRING && (text_tags >> identifier & 1) != 0;
}

const char* chars(const unsigned char* p) {
  return reinterpret_cast<const char*>(p);
}

// Puts a backslash before each special character of `text` from `begin` on, from the last to the
// first, so that every byte moves once.
void escape_from(std::string& text, std::size_t begin) {
  const auto special = [](char c) { return (class_of(c) & is_special) != 0; };
  const char* const raw = text.data();
  std::size_t from = text.size();
  const auto count = std::count_if(raw + begin, raw + from, special);
  if (count == 0) {
    return;
  }
  grow_string_(text, static_cast<std::uint64_t>(count));
  for (std::size_t to = text.size(); to != from;) {
    text[--to] = text[--from];
    if (special(text[to])) {
      text[--to] = '\\';
    }
  }
}

bool is_numeric(const asn_iter_t& content) {
  return std::all_of(content.ptr, content.ptr + content.len,
                     [](unsigned char c) { return c == ' ' || (c >= '0' && c <= '9'); });
}

bool append_t61(const asn_iter_t& content, const unsigned char* input_end, std::string& out) {
  // Q30: a prefix at the very end of the input combines with 00, not with what lies behind it.
  static constexpr unsigned char nothing = 0;
  const unsigned char* following = content.ptr + content.len;
  return t61_append_utf8_(content.ptr, content.len, following == input_end ? &nothing : following,
                          out);
}

bool append_wide(const asn_iter_t& content, codepage_t source, std::string& out) {
  const CodepageConverter converter(source, CODEPAGE_UTF8);
  const unsigned size = converter.output_size(content.ptr, content.len);  // Q31: 0 when empty too
  return size != 0 &&
         converter.convert(content.ptr, content.len, grow_string_(out, size), size) != 0;
}

// The content of a string, as UTF-8.
bool append_string(unsigned char identifier, const asn_iter_t& content,
                   const unsigned char* input_end, std::string& out) {
  switch (identifier) {
    case t61_string:
      return append_t61(content, input_end, out);
    case universal_string:
      return append_wide(content, CODEPAGE_UCS4BE, out);
    case asn_tag_t::BMP_STRING:
      return append_wide(content, CODEPAGE_UCS2BE, out);
    case numeric_string:
      if (!is_numeric(content)) {
        return false;
      }
      break;
    default:
      break;
  }
  out.append(chars(content.ptr), content.len);  // Q29: not checked
  return true;
}

// The value and all that may follow it in its attribute.
bool append_value(asn_iter_t rest, const unsigned char* input_end, std::string& out) {
  if (rest.len == 0) {
    return false;
  }
  const unsigned char identifier = *rest.ptr;
  if (!is_text(identifier)) {
    out.push_back('#');  // Q28
    TO_HEX_STD_STRING(rest.ptr, rest.len, out, 0);
    return true;
  }
  asn_iter_t content;
  if (!asn1_read_tag_i_(asn_tag_t::Type{identifier}, &rest, &content)) {
    return false;
  }
  const std::size_t begin = out.size();
  if (!append_string(identifier, content, input_end, out)) {
    return false;
  }
  escape_from(out, begin);
  return true;
}

bool append_type(const asn_iter_t& oid, std::string& out, oid_map_handle_t map) {
  const OIDdescr_t* entry = map == nullptr ? nullptr : oid_map_find_asn(map, oid.ptr, oid.len);
  if (entry == nullptr) {
    return oid_asn_to_str_(oid.ptr, oid.ptr + oid.len, out);
  }
  out.append(entry->oid_sn, entry->oid_sn_size);
  return true;
}

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
// AttributeTypeAndValue     ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
bool append_rdn(asn_iter_t* name, const unsigned char* input_end, std::string& out,
                oid_map_handle_t map) {
  asn_iter_t rdn;
  if (!asn1_read_tag_i_(asn_tag_t::SET, name, &rdn)) {
    return false;
  }
  for (;;) {
    asn_iter_t attribute;
    asn_iter_t oid;
    if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &rdn, &attribute) ||
        !asn1_read_tag_i_(asn_tag_t::OID, &attribute, &oid) || !append_type(oid, out, map)) {
      return false;
    }
    out.push_back('=');
    if (!append_value(attribute, input_end, out)) {
      return false;
    }
    if (rdn.len == 0) {
      return true;
    }
    out.push_back('+');
  }
}

void reverse_from(std::string& text, std::size_t begin) {
  reverse_bytes_(text.data() + begin, text.data() + text.size());
}

}  // namespace

// Name ::= SEQUENCE OF RelativeDistinguishedName
bool asn_dn_to_printable(const unsigned char* der, unsigned len, std::string& out,
                         PrintableDnOrder order, oid_map_handle_t map) {
  asn_iter_t input = {der, len};
  asn_iter_t name;
  if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, &input, &name)) {
    return false;
  }
  if (name.len == 0) {
    return true;
  }
  const std::size_t base = out.size();
  reserve_string_(out, len);
  // Q26: the order is that of the DER unless the caller asks for the other.
  //
  // Reverse order in linear time: every RDN is turned around where it stands, then all of them.
  const bool reverse = order == DN_ORDER_REVERSE;
  bool complete = true;
  while (complete && name.len != 0) {
    const std::size_t begin = out.size();
    complete = append_rdn(&name, der + len, out, map);
    if (complete) {
      out.push_back(',');
    } else if (reverse) {
      out.resize(begin);
    }
    if (reverse) {
      reverse_from(out, begin);
    }
  }
  if (reverse) {
    reverse_from(out, base);
  }
  if (complete) {
    out.pop_back();
  }
  return complete;
}

bool asn_oid_to_printable(const unsigned char* der, unsigned len, std::string& out, bool with_oid,
                          oid_map_handle_t map) {
  asn_iter_t input = {der, len};
  asn_iter_t oid;
  if (!asn1_read_tag_i_(asn_tag_t::OID, &input, &oid)) {
    return false;
  }
  const OIDdescr_t* entry = map == nullptr ? nullptr : oid_map_find_asn(map, oid.ptr, oid.len);
  if (entry != nullptr) {
    out.assign(entry->oid_sn, entry->oid_sn_size);
    return true;
  }
  const pki_alg_t alg = PKI_OID_TO_ALG(oid.ptr, oid.len);
  if (alg == 0) {  // Q24: appended, where a name replaces
    return oid_asn_to_str_(oid.ptr, oid.ptr + oid.len, out);
  }
  out.assign(I2S_PKI_ALG_T->getString(alg, "unknown"));
  if (with_oid) {
    out.push_back('(');
    oid_asn_to_str_(oid.ptr, oid.ptr + oid.len, out);
    out.push_back(')');
  }
  return true;
}

// ---- Text to DER ----

namespace {

// The content and type of a value, in the text itself or in a scratch string.
struct dn_value_t {
  unsigned char tag;
  const char* data;
  std::size_t size;
};

// Q37: from the bytes alone.
unsigned char string_tag(unsigned classes) {
  if ((classes & not_ascii) != 0) {
    return utf8_string;
  }
  return (classes & not_printable) != 0 ? ia5_string : printable_string;
}

// 16 for anything but a hexadecimal digit.
unsigned hex_digit(char c) {
  if (c >= '0' && c <= '9') {
    return static_cast<unsigned>(c - '0');
  }
  if (c >= 'A' && c <= 'F') {
    return static_cast<unsigned>(c - 'A' + 10);
  }
  return c >= 'a' && c <= 'f' ? static_cast<unsigned>(c - 'a' + 10) : 16;
}

// The byte of the two hexadecimal digits at `p`, of which `end` limits the text.
bool read_hex_byte(const char* p, const char* end, char& byte) {
  if (end - p < 2 || hex_digit(p[0]) > 15 || hex_digit(p[1]) > 15) {
    return false;
  }
  byte = static_cast<char>(hex_digit(p[0]) << 4 | hex_digit(p[1]));
  return true;
}

// Text with escapes on its way out: what needs no change is taken from the text run by run, and
// without any copy where there was no escape at all.
class unescaped_t {
 public:
  unescaped_t(const char* begin, std::string& scratch) : run_(begin), scratch_(scratch) {
    scratch_.clear();
  }

  // Drops [from, to) from the text.
  void skip(const char* from, const char* to) {
    scratch_.append(run_, from);
    run_ = to;
    skipped_ = true;
  }
  // Puts `byte` where the last skip was.
  void insert(char byte) { scratch_.push_back(byte); }

  void finish(const char* end, dn_value_t& value) {
    if (!skipped_) {
      value.data = run_;
      value.size = static_cast<std::size_t>(end - run_);
      return;
    }
    scratch_.append(run_, end);
    value.data = scratch_.data();
    value.size = scratch_.size();
  }

 private:
  const char* run_;
  std::string& scratch_;
  bool skipped_ = false;
};

// name = value   with a backslash before special characters and pairs of hexadecimal digits.
bool read_plain(const char* p, const char* end, std::string& scratch, dn_value_t& value) {
  unescaped_t text(p, scratch);
  unsigned classes = 0;
  for (; p != end; ++p) {
    unsigned found = class_of(*p);
    if ((found & is_special) != 0) {
      if (*p != '\\' || p + 1 == end) {
        return false;
      }
      char byte = 0;
      if (read_hex_byte(p + 1, end, byte)) {
        text.skip(p, p + 3);
        text.insert(byte);
        found = class_of(byte);
        p += 2;
      } else {
        found = class_of(p[1]);
        if ((found & is_special) == 0) {
          return false;
        }
        text.skip(p, p + 1);
        ++p;
      }
    }
    classes |= found;
  }
  text.finish(end, value);
  value.tag = string_tag(classes);
  return true;
}

// Q36: name = "value"   where only \" is an escape.
bool read_quoted(const char* p, const char* end, std::string& scratch, dn_value_t& value) {
  unescaped_t text(p, scratch);
  unsigned classes = 0;
  for (; p != end; ++p) {
    if (*p == '\\') {
      if (p + 1 == end) {
        return false;
      }
      if (p[1] == '"') {
        text.skip(p, p + 1);
      }
      ++p;  // the backslash of a kept pair does not count towards the type
    }
    classes |= class_of(*p);
  }
  text.finish(end, value);
  value.tag = string_tag(classes);
  return true;
}

// Q38: name = #hex   of a DER element; bytes after it are dropped.
bool read_hex(const char* p, const char* end, std::string& scratch, dn_value_t& value) {
  if (end - p < 4 || (end - p) % 2 != 0) {
    return false;
  }
  scratch.clear();
  for (; p != end; p += 2) {
    char byte = 0;
    if (!read_hex_byte(p, end, byte)) {
      return false;
    }
    scratch.push_back(byte);
  }
  const auto* der = reinterpret_cast<const unsigned char*>(scratch.data());
  asn_iter_t input = {der, size32_(scratch)};
  asn_iter_t content;
  if (!asn1_read_tag_i_(asn_tag_t::Type{*der}, &input, &content)) {
    return false;
  }
  value = {*der, chars(content.ptr), content.len};
  return true;
}

// `classes` are those of the value's bytes: without special ones it stands as it is.
bool read_value(const RDNdescr_t& attribute, unsigned classes, std::string& scratch,
                dn_value_t& value) {
  const char* begin = attribute.value_begin;
  const char* end = attribute.value_end;
  if ((classes & is_special) == 0) {
    value = {string_tag(classes), begin, static_cast<std::size_t>(end - begin)};
    return true;
  }
  if (end - begin >= 2 && *begin == '"' && end[-1] == '"') {
    return read_quoted(begin + 1, end - 1, scratch, value);
  }
  if (end - begin >= 2 && *begin == '#') {
    return read_hex(begin + 1, end, scratch, value);
  }
  return read_plain(begin, end, scratch, value);
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
// The type is found in the map, or else spelled as a dotted OID.
bool append_type(const RDNdescr_t& attribute, oid_map_handle_t map, asn_tag_t_<320>& pair) {
  const std::string_view name = name_of(attribute);
  const OIDdescr_t* entry =
      map == nullptr ? nullptr : oid_map_find_sn(map, name.data(), size32_(name.size()));
  if (entry != nullptr) {
    pair.append_element(asn_tag_t::OID, entry->oid_asn, entry->oid_asn_size);
    return true;
  }
  unsigned char der[512];
  const unsigned size = oid_str_to_asn_(attribute.name_begin, attribute.name_end, der);
  pair.append_element(asn_tag_t::OID, der, size);
  return size != 0;
}

}  // namespace

bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map) {
  asn_tag_t_<1024> name(asn_tag_t::SEQUENCE);
  asn_tag_t_<512> rdn(asn_tag_t::SET);
  asn_tag_t_<320> pair(asn_tag_t::SEQUENCE);
  std::string scratch;
  for (dn_splitter_t splitter(dn); splitter.more();) {
    RDNdescr_t attribute;
    dn_value_t value;
    pair.reset(asn_tag_t::SEQUENCE);
    if (!splitter.next(attribute) || !append_type(attribute, map, pair) ||
        !read_value(attribute, splitter.value_classes(), scratch, value)) {
      return false;
    }
    pair.append_element(value.tag, value.data, size32_(value.size));
    append_one_of_many_(rdn, pair);  // Q39: in text order
    if (!splitter.joins_next()) {
      append_one_of_many_(name, rdn);
      rdn.reset(asn_tag_t::SET);
    }
  }
  assign_tag_(der, name);
  return true;
}

bool printable_dn_normalize(const std::string& in, std::string& out, std::string* der,
                            oid_map_handle_t map) {
  std::string own;
  std::string& name = der == nullptr ? own : *der;
  if (!printable_to_asn_dn(in.c_str(), name, map)) {
    return false;
  }
  out.clear();
  return asn_dn_to_printable(reinterpret_cast<const unsigned char*>(name.data()),
                             static_cast<unsigned>(name.size()), out, DN_ORDER_DIRECT, map);
}
