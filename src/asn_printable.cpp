// Distinguished names: queries and edits on their text, DER to text, text to DER.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <pkider/asn_helper.h>
#include <pkider/asn_oidmap.h>
#include <pkider/asn_printable.h>
#include <pkider/asn_reader.h>
#include <pkider/asn_tag.h>
#include <pkider/int2str.h>
#include <pkider/platform.h>

#include "asn_cursor.h"
#include "der_writer.h"
#include "dn_splitter.h"
#include "oid_map.h"
#include "out_string.h"
#include "t61_utf8.h"

using namespace asn1;
using namespace dn_text;

// ---- Queries and edits on the text ----

bool printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out) {
  return for_each_attribute(dn, [&](const RDNdescr_t& attribute) { out.push_back(attribute); });
}

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
  const char* begin = mode == DN_GET_ATTR_VALUE ? found.value_begin : found.name_begin;
  append_string_(result, {begin, static_cast<std::size_t>(found.value_end - begin)});
  return true;
}

namespace {

// A place in a text that is cut into pieces at its commas, but not at those in quotes or after a
// backslash. Only the one character before a place tells whether it is escaped: the comma of `a\\,`
// is.
class piece_scan_t {
 public:
  explicit piece_scan_t(const char* text) : p_(text) {}

  char here() const { return *p_; }
  bool is_quote() const { return *p_ == '"' && !escaped_; }
  bool is_comma_outside_quotes() const { return *p_ == ',' && !quoted_; }
  bool ends_piece() const { return is_comma_outside_quotes() && !escaped_; }

  void step() {
    if (is_quote()) {
      quoted_ = !quoted_;
    }
    escaped_ = *p_ == '\\';
    ++p_;
  }

  // Goes on to the piece after the next comma, or to the end of the text.
  void skip_piece() {
    while (*p_ != 0 && !ends_piece()) {
      step();
    }
    if (*p_ != 0) {
      step();
    }
  }

 private:
  const char* p_;
  bool quoted_ = false;
  bool escaped_ = false;
};

}  // namespace

bool printable_dn_contain_attrs(const char* dn, const char* attrs) {
  piece_scan_t scan(dn);
  const char* component = attrs;  // the first that is not found yet
  for (;;) {
    // Along a piece, and from piece to piece while they equal one component after the other.
    const char* wanted = component;
    for (; *wanted != 0 && *wanted == scan.here(); ++wanted) {
      if (scan.is_comma_outside_quotes()) {
        component = wanted + 1;
      }
      scan.step();
    }
    // The last component is found if the piece ends where it does. A quote there leaves it open.
    if (*wanted == 0 && !scan.is_quote()) {
      return scan.here() == 0 || scan.is_comma_outside_quotes();
    }
    if (scan.here() == 0) {
      return false;
    }
    // The piece differs here. Q32: where this is its comma, the piece after it is passed over, too.
    scan.step();
    scan.skip_piece();
    if (scan.here() == 0) {
      return *component == 0;
    }
  }
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
  // Every RDN is reversed where it stands, after the splitter has passed it, then the whole text.
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

// A bit for each identifier.
constexpr unsigned plain_tags = 1U << utf8_string | 1U << printable_string | 1U << ia5_string;
constexpr unsigned text_tags = plain_tags | 1U << numeric_string | 1U << t61_string |
                               1U << universal_string | 1U << asn_tag_t::BMP_STRING;

bool is_one_of(unsigned tags, unsigned identifier) {
  return identifier <= asn_tag_t::BMP_STRING && (tags >> identifier & 1) != 0;
}

const char* chars(const unsigned char* p) {
  return reinterpret_cast<const char*>(p);
}

bool is_special_char(char c) {
  return (class_of(c) & is_special) != 0;
}

char* escape_each(const char* p, const char* end, char* to) {
  for (; p != end; ++p) {
    if (is_special_char(*p)) {
      *to++ = '\\';
    }
    *to++ = *p;
  }
  return to;
}

// Q27: writes `text` to `to` with a backslash before each special character; returns where that
// ends. Groups of bytes without any are copied at once.
char* escape(std::string_view text, char* to) {
  const char* p = text.data();
  const char* const end = p + text.size();
  for (; end - p >= group_size; p += group_size) {
    if ((classes_of_group(p) & is_special) != 0) {
      to = escape_each(p, p + group_size, to);
    } else {
      std::memcpy(to, p, group_size);
      to += group_size;
    }
  }
  return escape_each(p, end, to);
}

// Q27: the same for `text` from `begin` on, in place: from the last character to the first, so that
// every byte moves once.
void escape_from(std::string& text, std::size_t begin) {
  const char* const raw = text.data();
  std::size_t from = text.size();
  const auto count = std::count_if(raw + begin, raw + from, is_special_char);
  if (count == 0) {
    return;
  }
  grow_string_(text, static_cast<std::uint64_t>(count));
  for (std::size_t to = text.size(); to != from;) {
    text[--to] = text[--from];
    if (is_special_char(text[to])) {
      text[--to] = '\\';
    }
  }
}

bool is_numeric(const asn_iter_t& content) {
  return std::all_of(content.ptr, content.ptr + content.len,
                     [](unsigned char c) { return c == ' ' || (c >= '0' && c <= '9'); });
}

// Appends the parts of a Name to a string.
class name_printer_t {
 public:
  name_printer_t(const unsigned char* input_end, std::string& out, oid_map_handle_t map)
      : input_end_(input_end), out_(out), map_(map) {}

  // Name ::= SEQUENCE OF RelativeDistinguishedName
  //
  // For the reverse order every RDN is reversed where it stands, then all of them together. Nothing
  // stays of a malformed one, and the comma before it comes last, as the others have theirs.
  bool append_rdns(asn_iter_t name, bool reverse) {
    const std::size_t begin = out_.size();
    bool complete = false;
    for (bool more = true; more;) {
      const std::size_t rdn_begin = out_.size();
      asn_iter_t rdn;
      complete = asn1_read_tag_i_(asn_tag_t::SET, &name, &rdn) && append_rdn(rdn);
      if (reverse && complete) {
        out_.reverse(rdn_begin);
      } else if (reverse) {
        out_.shorten(rdn_begin);
      }
      more = complete && name.len != 0;
      if (more) {
        out_.put(',');
      }
    }
    std::string& text = out_.flush();
    if (reverse && text.size() != begin) {
      const std::size_t last_comma = complete ? 0 : 1;
      reverse_bytes_(text.data() + begin, text.data() + text.size() - last_comma);
    }
    return complete;
  }

 private:
  // RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
  bool append_rdn(asn_iter_t rdn) {
    for (;;) {
      if (!append_attribute(&rdn)) {
        return false;
      }
      if (rdn.len == 0) {
        return true;
      }
      out_.put('+');
    }
  }

  // AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
  bool append_attribute(asn_iter_t* rdn) {
    asn_iter_t attribute;
    asn_iter_t type;
    if (!asn1_read_tag_i_(asn_tag_t::SEQUENCE, rdn, &attribute) ||
        !asn1_read_tag_i_(asn_tag_t::OID, &attribute, &type) || !append_type(type)) {
      return false;
    }
    return append_value(attribute);
  }

  // The short name, or dotted OID, and the '='.
  bool append_type(const asn_iter_t& type) {
    const OIDdescr_t* entry = map_ == nullptr ? nullptr : map_->by_asn.find(type.ptr, type.len);
    if (entry != nullptr) {
      out_.put({entry->oid_sn, entry->oid_sn_size}, '=');
      return true;
    }
    if (!oid_asn_to_str_(type.ptr, type.ptr + type.len, out_.flush())) {
      return false;
    }
    out_.put('=');
    return true;
  }

  // The value and all that may follow it in its attribute.
  bool append_value(asn_iter_t rest) {
    if (rest.len == 0) {
      return false;
    }
    const unsigned char identifier = *rest.ptr;
    if (!is_one_of(text_tags, identifier)) {
      out_.put('#');  // Q28
      TO_HEX_STD_STRING(rest.ptr, rest.len, out_.flush(), 0);
      return true;
    }
    asn_iter_t content;
    if (!asn1_read_tag_i_(asn_tag_t::Type{identifier}, &rest, &content)) {
      return false;
    }
    if (is_one_of(plain_tags, identifier)) {  // Q29: not checked
      append_escaped(content);
      return true;
    }
    return append_text(identifier, content);
  }

  // The content of another string, as UTF-8 and with escapes.
  bool append_text(unsigned char identifier, const asn_iter_t& content) {
    switch (identifier) {
      case t61_string:
        return append_t61(content);
      case universal_string:
        return append_wide(content, CODEPAGE_UCS4BE);
      case asn_tag_t::BMP_STRING:
        return append_wide(content, CODEPAGE_UCS2BE);
      default:
        return append_numeric(content);
    }
  }

  bool append_numeric(const asn_iter_t& content) {
    if (!is_numeric(content)) {
      return false;
    }
    append_escaped(content);
    return true;
  }

  // Escaped text is at most twice as long.
  void append_escaped(const asn_iter_t& content) {
    std::string_view text = {chars(content.ptr), content.len};
    constexpr std::size_t most = string_tail_t::max_room / 2;
    for (; text.size() > most; text.remove_prefix(most)) {
      out_.advance(escape(text.substr(0, most), out_.room(most * 2)));
    }
    out_.advance(escape(text, out_.room(text.size() * 2)));
  }

  bool append_t61(const asn_iter_t& content) {
    // Q30: a prefix at the very end of the input combines with 00: nothing after it is looked at.
    static constexpr unsigned char nothing = 0;
    const unsigned char* following = content.ptr + content.len;
    std::string& out = out_.flush();
    const std::size_t begin = out.size();
    const bool complete = t61_append_utf8_(content.ptr, content.len,
                                           following == input_end_ ? &nothing : following, out);
    escape_from(out, begin);
    return complete;
  }

  bool append_wide(const asn_iter_t& content, codepage_t source) {
    const CodepageConverter converter(source, CODEPAGE_UTF8);
    const unsigned size = converter.output_size(content.ptr, content.len);
    std::string& out = out_.flush();
    const std::size_t begin = out.size();
    const bool complete =
        size != 0 &&  // Q31: when empty, too
        converter.convert(content.ptr, content.len, grow_string_(out, size), size) != 0;
    escape_from(out, begin);
    return complete;
  }

  const unsigned char* input_end_;
  string_tail_t out_;
  oid_map_handle_t map_;
};

}  // namespace

// Name ::= SEQUENCE OF RelativeDistinguishedName (RFC 5280, 4.1.2.4)
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
  reserve_string_(out, len);
  // Q26: the order is that of the DER unless the caller asks for the other.
  return name_printer_t(der + len, out, map).append_rdns(name, order == DN_ORDER_REVERSE);
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
    append_string_(out, '(');
    oid_asn_to_str_(oid.ptr, oid.ptr + oid.len, out);
    append_string_(out, ')');
  }
  return true;
}

// ---- Text to DER ----

namespace {

std::string_view text_between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

// The content and type of a value, in the text itself or in a scratch string.
struct dn_value_t {
  unsigned char tag;
  std::string_view content;
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
    keep_until(from);
    run_ = to;
    skipped_ = true;
  }
  // Puts `byte` where the last skip was.
  void insert(char byte) { append_string_(scratch_, byte); }

  void finish(const char* end, dn_value_t& value) {
    if (!skipped_) {
      value.content = text_between(run_, end);
      return;
    }
    keep_until(end);
    value.content = scratch_;
  }

 private:
  void keep_until(const char* end) {
    append_string_(scratch_, {run_, static_cast<std::size_t>(end - run_)});
  }

  const char* run_;
  std::string& scratch_;
  bool skipped_ = false;
};

// Q56: name = value   with a backslash before special characters and pairs of hexadecimal digits.
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
    append_string_(scratch, byte);
  }
  const auto* der = reinterpret_cast<const unsigned char*>(scratch.data());
  asn_iter_t input = {der, size32_(scratch)};
  asn_iter_t content;
  if (!asn1_read_tag_i_(asn_tag_t::Type{*der}, &input, &content)) {
    return false;
  }
  value = {*der, {chars(content.ptr), content.len}};
  return true;
}

// `classes` are those of the value's bytes: without special ones it stands as it is.
bool read_value(const RDNdescr_t& attribute, unsigned classes, std::string& scratch,
                dn_value_t& value) {
  const char* begin = attribute.value_begin;
  const char* end = attribute.value_end;
  if ((classes & is_special) == 0) {
    value = {string_tag(classes), text_between(begin, end)};
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

// The type is found in the map, or else spelled as a dotted OID, which goes to `der`. Empty when it
// is neither.
blob_t find_type(const RDNdescr_t& attribute, oid_map_handle_t map, unsigned char (&der)[512]) {
  const std::string_view name = name_of(attribute);
  const OIDdescr_t* entry =
      map == nullptr ? nullptr : map->by_sn.find(name.data(), size32_(name.size()));
  if (entry != nullptr) {
    return {entry->oid_asn_size, entry->oid_asn};
  }
  return {oid_str_to_asn_(attribute.name_begin, attribute.name_end, der), der};
}

}  // namespace

// Name ::= SEQUENCE OF RelativeDistinguishedName
// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
// AttributeTypeAndValue     ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY }
bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map) {
  asn_tag_t_<1024> name(asn_tag_t::SEQUENCE);
  asn_tag_t_<512> rdn(asn_tag_t::SET);
  std::string scratch;
  unsigned char dotted[512];
  for (dn_splitter_t splitter(dn); splitter.more();) {
    RDNdescr_t attribute;
    dn_value_t value;
    if (!splitter.next(attribute)) {
      return false;
    }
    const blob_t type = find_type(attribute, map, dotted);
    if (type.size == 0 || !read_value(attribute, splitter.value_classes(), scratch, value)) {
      return false;
    }
    const auto pair = [&] {
      return sequence{oid{type}, primitive{value.tag, view(value.content)}};
    };
    if (rdn.len == 0 && !splitter.joins_next()) {
      append_one_of_many(name, set{pair()});  // Q26: in text order
      continue;
    }
    append_one_of_many(rdn, pair());  // Q39: in text order
    if (!splitter.joins_next()) {
      append_one_of_many(name, encoded{{rdn.encoded_size(), rdn.encoded()}});
      rdn.reset(asn_tag_t::SET);
    }
  }
  der.assign(reinterpret_cast<const char*>(name.encoded()), name.encoded_size());
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
