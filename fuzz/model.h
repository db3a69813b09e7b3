// A second opinion on what the library answers, simple instead of fast and made without its code:
// OIDs, map text, names and their strings, INTEGERs and times. DER is made by der() of
// test_util.h.

#ifndef PKIDER_FUZZ_MODEL_H
#define PKIDER_FUZZ_MODEL_H

#include <cstdio>
#include <ctime>
#include <fstream>
#include <list>
#include <optional>

#include "laws.h"

namespace model {

// Cuts an input into pieces: each begins with a byte that says how long it is.
class pieces_t {
 public:
  explicit pieces_t(std::string_view input) : rest_(input) {}
  bool more() const { return !rest_.empty(); }
  unsigned number() { return take_number(rest_, 1); }
  std::string piece() {
    const unsigned size = number();
    return std::string(take(rest_, size));
  }

 private:
  std::string_view rest_;
};

// ---- OIDs ----

inline bool all_of(std::string_view text, std::string_view set) {
  return text.find_first_not_of(set) == text.npos;
}

// Empty where the text is not an OID.
inline std::string encode_oid(const std::string& text) {
  std::vector<std::uint32_t> arcs;
  std::uint64_t arc = 0;
  bool digits = false;
  for (const char c : text + '.') {
    if (c == '.' && digits) {
      arcs.push_back(static_cast<std::uint32_t>(arc));
      arc = 0;
      digits = false;
      continue;
    }
    arc = arc * 10 + static_cast<unsigned char>(c) - '0';
    if (c < '0' || c > '9' || arc > 0xFFFFFFFF) {
      return "";
    }
    digits = true;
  }
  if (arcs.size() < 2 || arcs[0] > 2) {
    return "";
  }
  arcs[1] += arcs[0] * 40;
  std::string octets;
  for (auto next = arcs.begin() + 1; next != arcs.end(); ++next) {
    std::string base128(1, static_cast<char>(*next & 0x7F));
    while ((*next >>= 7) != 0) {
      base128.insert(0, 1, static_cast<char>(*next | 0x80));
    }
    octets += base128;
  }
  return octets.size() > 506 ? "" : octets;
}

// What is printed before the end, or before an arc that breaks off; the numbers wrap at 32 bits.
inline std::string print_oid(const std::string& octets, bool& whole) {
  std::string text;
  std::uint32_t arc = 0;
  for (const char c : octets) {
    arc = arc << 7 | (c & 0x7F);
    if ((c & 0x80) == 0) {
      text += text.empty() ? std::to_string(arc / 40) + '.' + std::to_string(arc % 40) + '.'
                           : std::to_string(arc) + '.';
      arc = 0;
    }
  }
  whole = !octets.empty() && (octets.back() & 0x80) == 0;
  return whole ? text.substr(0, text.size() - 1) : text;
}

// ---- Maps ----

struct entry_t {
  std::string oid, dotted, short_name, long_name;
};

inline std::string upper(std::string text) {
  for (char& c : text) {
    c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  }
  return text;
}

inline std::list<entry_t> parse_map(std::string_view text) {
  std::list<entry_t> entries;
  while (!text.empty()) {
    std::string_view line = take(text, text.find_first_of("\r\n"));
    take(text, 1);
    const auto take_blanks = [&line] { take(line, line.find_first_not_of(" \t")); };
    take_blanks();
    const std::string dotted(take(line, line.find_first_not_of("0123456789.")));
    const std::string oid = encode_oid(dotted);
    take_blanks();
    if (take(line, 1) != "=" || oid.empty()) {
      continue;
    }
    take_blanks();
    const std::string short_name(take(line, line.find_first_of(" \t=,")));
    take_blanks();
    const bool more = take(line, 1) == ",";
    take_blanks();
    entries.push_back({oid, dotted, upper(short_name), std::string(more ? line : "")});
  }
  return entries;
}

// ---- Names ----

struct attribute_t {
  const char *name, *oid;
  std::string value;   // an element
  std::string text;    // what it is printed as
  std::string reread;  // the element that is made of the text
};

using name_t = std::list<std::list<attribute_t>>;  // RDNs

inline std::string encode_name(const name_t& name, std::string attribute_t::*value) {
  std::string rdns;
  for (const auto& rdn : name) {
    std::string attributes;
    for (const attribute_t& a : rdn) {
      attributes += der(0x30, der(6, a.oid) + a.*value);
    }
    rdns += der(0x31, attributes);
  }
  return der(0x30, rdns);
}

// "NAME=text" of each attribute, with the signs between them; RDNs last first if `reverse`.
inline std::string print_name(const name_t& name, bool reverse) {
  std::string text;
  for (const auto& rdn : name) {
    std::string attributes;
    for (const attribute_t& a : rdn) {
      attributes += (attributes.empty() ? "" : "+") + std::string(a.name) + '=' + a.text;
    }
    text = text.empty() ? attributes : reverse ? attributes + ',' + text : text + ',' + attributes;
  }
  return text;
}

// A further attribute, of the last RDN or of a new one.
inline attribute_t& add_attribute(name_t& name, pieces_t& pieces) {
  static constexpr const char* types[][2] = {
      {"CN", "\x55\4\3"}, {"C", "\x55\4\6"}, {"1.2.3", "\x2A\3"}, {"ST", "\x55\4\x8"}};
  const unsigned which = pieces.number();
  if (name.empty() || which % 8 <= 4) {
    name.emplace_back();
  }
  name.back().push_back({types[which % 4][0], types[which % 4][1], "", "", ""});
  return name.back().back();
}

// ---- Strings of names ----

constexpr char printable[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 '()+,-./:=?";
constexpr char specials[] = "\"#+,;<=>\\";

// PrintableString, IA5String or UTF8String.
inline std::string encode_text(const std::string& text) {
  const bool ascii = std::none_of(text.begin(), text.end(), [](signed char c) { return c < 0; });
  return der(all_of(text, printable) ? 0x13 : ascii ? 0x16 : 0x0C, text);
}

inline std::string escape(std::string_view value, std::string_view set = specials) {
  std::string text;
  for (const char c : value) {
    text += set.find(c) == std::string_view::npos ? "" : "\\";
    text += c;
  }
  return text;
}

// In up to six bytes: what does not fit into the first goes into further ones, each of which costs
// the first a bit.
inline std::string utf8(std::uint32_t c) {
  if (c < 0x80) {
    return std::string(1, static_cast<char>(c));
  }
  std::string bytes;
  unsigned room = 0x40;
  for (; c >= room; room /= 2, c >>= 6) {
    bytes.insert(0, 1, static_cast<char>(0x80 | (c & 0x3F)));
  }
  return static_cast<char>((0x100 - room * 2) | c) + bytes;
}

using text_t = std::optional<std::string>;

// From the table of all pairs of bytes; a pair that means nothing is empty there.
inline text_t t61_to_utf8(std::string_view text) {
  static const std::vector<std::string> pairs = [] {
    std::vector<std::string> all;
    std::ifstream in(T61_PAIRS);
    for (std::string line; in >> line;) {
      all.push_back(from_hex(line));
    }
    return all;
  }();
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const unsigned first = number_of(text.substr(at, 1));
    const bool prefix = first >> 4 == 0xC;
    at += prefix ? 1 : 0;
    // A letter alone is looked up with a space, which is dropped; after a prefix at the end comes
    // 00.
    const unsigned second = !prefix ? ' ' : at < text.size() ? number_of(text.substr(at, 1)) : 0;
    const std::string& pair = pairs.at(first * 256 + second);
    if (pair.empty()) {
      return std::nullopt;
    }
    out += prefix ? pair : pair.substr(0, pair.size() - 1);
  }
  return out;
}

inline text_t wide_to_utf8(std::string_view text, std::size_t unit) {
  std::string out;
  while (text.size() >= unit) {
    const std::uint32_t c = take_number(text, unit);
    if (c > 0x10FFFF || c >> 11 == 0x1B) {
      return std::nullopt;
    }
    out += utf8(c);
  }
  return text.empty() && !out.empty() ? text_t(out) : std::nullopt;
}

inline text_t to_utf8(unsigned char tag, const std::string& octets) {
  return tag == 0x14                                    ? t61_to_utf8(octets)
         : tag == 0x1C                                  ? wide_to_utf8(octets, 4)
         : tag == 0x1E                                  ? wide_to_utf8(octets, 2)
         : tag != 0x12 || all_of(octets, "0123456789 ") ? text_t(octets)
                                                        : std::nullopt;
}

// ---- INTEGERs ----

// Without leading zeros, except the last byte.
inline std::string without_zeros(std::string number) {
  return number.erase(0, std::min(number.find_first_not_of('\0'), number.size() - 1));
}

// The number, unless it is negative or one of its beginnings, of which the longest is the greatest,
// is above the limit.
inline std::optional<unsigned> read_INTEGER(const std::string& octets, unsigned limit) {
  const std::string digits = without_zeros(octets);
  const bool small = digits.size() <= 5 && number_of(digits.substr(0, digits.size() - 1)) <= limit;
  return small && (octets[0] & 0x80) == 0 ? std::optional(number_of(octets)) : std::nullopt;
}

// ---- Times ----

// "YYYY.MM.DD hh:mm:ss" or "DD.MM.YYYY hh:mm:ss".
inline std::string show(const std::tm& t, bool year_first) {
  char date[40], text[64];
  const int year = t.tm_year + 1900, month = t.tm_mon + 1;
  year_first ? std::snprintf(date, sizeof date, "%d.%02d.%02d", year, month, t.tm_mday)
             : std::snprintf(date, sizeof date, "%02d.%02d.%d", t.tm_mday, month, year);
  std::snprintf(text, sizeof text, "%s %02d:%02d:%02d", date, t.tm_hour, t.tm_min, t.tm_sec);
  return text;
}

}  // namespace model

#endif
