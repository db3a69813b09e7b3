// A second opinion on what the library answers, simple instead of fast and made without its code:
// OIDs, map text, names and their strings, INTEGERs and the calendar. DER is made by der() of
// test_util.h.

#ifndef PKIDER_FUZZ_MODEL_H
#define PKIDER_FUZZ_MODEL_H

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "test_util.h"

namespace model {

// Cuts an input into pieces: each begins with a byte that says how long it is.
class pieces_t {
 public:
  explicit pieces_t(std::string_view input) : rest_(input) {}
  bool more() const { return !rest_.empty(); }
  unsigned number() {
    const unsigned first = more() ? static_cast<unsigned char>(rest_[0]) : 0;
    rest_.remove_prefix(more() ? 1 : 0);
    return first;
  }
  std::string piece() {
    const unsigned size = number();
    const std::string taken(rest_.substr(0, size));
    rest_.remove_prefix(taken.size());
    return taken;
  }

 private:
  std::string_view rest_;
};

// ---- OIDs ----

inline bool all_of(std::string_view text, std::string_view set) {
  return text.find_first_not_of(set) == text.npos;
}

inline std::string encode_arc(std::uint32_t arc) {
  std::string octets(1, static_cast<char>(arc & 0x7F));
  while ((arc >>= 7) != 0) {
    octets.insert(0, 1, static_cast<char>(arc | 0x80));
  }
  return octets;
}

// Empty where the text is not an OID.
inline std::string encode_oid(std::string_view text) {
  std::string octets;
  std::uint64_t first = 0;
  for (std::size_t count = 0;; ++count) {
    const std::string_view digits = text.substr(0, text.find('.'));
    std::uint64_t arc = 0;
    for (const char c : digits) {
      arc = std::min<std::uint64_t>(arc * 10 + static_cast<std::uint64_t>(c - '0'), 1ULL << 32);
    }
    const bool last = digits.size() == text.size();
    if (digits.empty() || !all_of(digits, "0123456789") || arc >> 32 != 0 ||
        (count == 0 && (arc > 2 || last))) {
      return "";
    }
    if (count != 0) {
      octets += encode_arc(static_cast<std::uint32_t>(first + arc));
    }
    first = count == 0 ? arc * 40 : 0;
    if (last) {
      return octets.size() > 506 ? "" : octets;
    }
    text.remove_prefix(digits.size() + 1);
  }
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

// Takes all up to the first character that is, or is not, one of `set` off the front of `text`.
inline std::string take(std::string& text, const char* set, bool while_in) {
  const std::size_t end = while_in ? text.find_first_not_of(set) : text.find_first_of(set);
  const std::string taken = text.substr(0, end);
  text.erase(0, taken.size());
  return taken;
}

inline std::list<entry_t> parse_map(std::string text) {
  std::list<entry_t> entries;
  while (!text.empty()) {
    std::string line = take(text, "\r\n", false);
    take(text, "\r\n", true);
    const auto next_is = [&line](char c) {
      take(line, " \t", true);
      const bool found = !line.empty() && line[0] == c;
      line.erase(0, found ? 1 : 0);
      return found;
    };
    take(line, " \t", true);
    const std::string dotted = take(line, "0123456789.", true);
    const std::string oid = encode_oid(dotted);
    if (!next_is('=') || oid.empty()) {
      continue;
    }
    take(line, " \t", true);
    const std::string short_name = upper(take(line, " \t=,", false));
    const bool named = next_is(',');
    take(line, " \t", true);
    entries.push_back({oid, dotted, short_name, named ? line : ""});
  }
  return entries;
}

// ---- Names ----

struct attribute_t {
  const char *name, *oid;
  bool joined;  // to the one before it
  unsigned char tag;
  std::string octets;
};

inline std::string encode_name(const std::list<attribute_t>& attributes) {
  std::string rdns, rdn;
  for (const attribute_t& a : attributes) {
    if (!a.joined && !rdn.empty()) {
      rdns += der(0x31, rdn);
      rdn.clear();
    }
    rdn += der(0x30, der(6, a.oid) + der(a.tag, a.octets));
  }
  return der(0x30, rdn.empty() ? rdns : rdns + der(0x31, rdn));
}

// "NAME=text", one of each attribute, with the signs between them; RDNs last first if `reverse`.
inline std::string join_names(const std::list<attribute_t>& attributes,
                              const std::list<std::string>& texts, bool reverse) {
  std::list<std::string> rdns;
  auto text = texts.begin();
  for (const attribute_t& a : attributes) {
    if (a.joined && !rdns.empty()) {
      rdns.back() += '+';
    } else {
      rdns.emplace_back();
    }
    rdns.back() += std::string(a.name) + '=' + *text++;
  }
  std::string all;
  for (const std::string& rdn : rdns) {
    all = reverse ? rdn + ',' + all : all + rdn + ',';
  }
  return all.substr(0, all.size() - (all.empty() ? 0 : 1));
}

inline attribute_t take_type(pieces_t& pieces) {
  static constexpr const char* types[][2] = {
      {"CN", "\x55\4\3"}, {"C", "\x55\4\6"}, {"1.2.3", "\x2A\3"}, {"ST", "\x55\4\x8"}};
  const unsigned which = pieces.number();
  return {types[which % 4][0], types[which % 4][1], which % 8 > 4, 0, ""};
}

// ---- Strings of names ----

constexpr char printable[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 '()+,-./:=?";
constexpr char specials[] = "\"#+,;<=>\\";

inline unsigned char string_tag(std::string_view value) {
  const bool ascii =
      std::none_of(value.begin(), value.end(), [](char c) { return (c & 0x80) != 0; });
  return all_of(value, printable) ? 0x13 : ascii ? 0x16 : 0x0C;
}

inline std::string escape(std::string_view value) {
  std::string text;
  for (const char c : value) {
    text += std::string_view(specials).find(c) == std::string_view::npos ? "" : "\\";
    text += c;
  }
  return text;
}

// In up to six bytes: whatever does not fit the first goes into one more, which costs the first a
// bit.
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

// From the table of all pairs of bytes.
inline text_t t61_to_utf8(std::string_view text) {
  static const std::vector<std::string> pairs = [] {
    std::vector<std::string> lines;
    std::ifstream in(T61_PAIRS);
    for (std::string line; in >> line;) {
      lines.push_back(line == "-" ? line : from_hex(line));
    }
    return lines;
  }();
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto first = static_cast<unsigned char>(text[at]);
    const bool prefix = (first & 0xF0) == 0xC0;
    const unsigned second =
        prefix && ++at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    // A letter alone is a letter and a space, without the space.
    const std::string& pair = pairs.at(first * 256U + (prefix ? second : 0x20U));
    if (pair == "-") {
      return std::nullopt;
    }
    out += prefix ? pair : pair.substr(0, pair.size() - 1);
  }
  return out;
}

inline text_t wide_to_utf8(std::string_view text, std::size_t unit) {
  std::string out;
  for (; text.size() >= unit; text.remove_prefix(unit)) {
    std::uint32_t c = 0;
    for (const char byte : text.substr(0, unit)) {
      c = c << 8 | static_cast<unsigned char>(byte);
    }
    if (c > 0x10FFFF || c >> 11 == 0x1B) {
      return std::nullopt;
    }
    out += utf8(c);
  }
  return text.empty() && !out.empty() ? text_t(out) : std::nullopt;
}

inline text_t to_utf8(unsigned char tag, const std::string& octets) {
  switch (tag) {
    case 0x12:
      return all_of(octets, "0123456789 ") ? text_t(octets) : std::nullopt;
    case 0x14:
      return t61_to_utf8(octets);
    case 0x1C:
      return wide_to_utf8(octets, 4);
    case 0x1E:
      return wide_to_utf8(octets, 2);
    default:
      return octets;
  }
}

// ---- INTEGERs ----

// The number, unless it is negative or one of its beginnings, of which the longest is the greatest,
// is above the limit.
inline std::optional<unsigned> read_INTEGER(const std::string& octets, unsigned limit) {
  unsigned long long beginning = 0;
  for (const char c : octets.substr(0, octets.size() - 1)) {
    beginning = std::min(beginning * 256 + static_cast<unsigned char>(c), 1ULL << 40);
  }
  if (beginning > limit || (octets[0] & 0x80) != 0) {
    return std::nullopt;
  }
  return static_cast<unsigned>(beginning * 256 + static_cast<unsigned char>(octets.back()));
}

// ---- Calendar ----

struct civil_t {
  std::int64_t year;
  unsigned month, day, hour, minute, second;  // month and day from 1
};

// Counted from March 1, year 0, so that the leap day comes last.
inline std::int64_t seconds_of(const civil_t& t) {
  const std::int64_t months = t.year * 12 + t.month - 3, year = months / 12, month = months % 12;
  const std::int64_t days =
      year * 365 + year / 4 - year / 100 + year / 400 + (month * 153 + 2) / 5 + t.day - 1 - 719468;
  return ((days * 24 + t.hour) * 60 + t.minute) * 60 + t.second;
}

// For years from 1 on: from the first guess up to the last day that is not too late.
inline civil_t civil_of(std::int64_t seconds) {
  civil_t t = {(seconds / 86400 + 719468) * 400 / 146097, 1, 1, 0, 0, 0};
  while (seconds_of({t.year + 1, 1, 1, 0, 0, 0}) <= seconds)
    ++t.year;
  while (seconds_of(t) > seconds)
    --t.year;
  while (t.month < 12 && seconds_of({t.year, t.month + 1, 1, 0, 0, 0}) <= seconds)
    ++t.month;
  const std::int64_t rest = seconds - seconds_of(t);
  t.day += static_cast<unsigned>(rest / 86400);
  t.hour = static_cast<unsigned>(rest / 3600 % 24);
  t.minute = static_cast<unsigned>(rest / 60 % 60);
  t.second = static_cast<unsigned>(rest % 60);
  return t;
}

// "YYYY.MM.DD hh:mm:ss" or "DD.MM.YYYY hh:mm:ss".
inline std::string show(const civil_t& t, bool year_first) {
  char date[40], text[64];
  const int year = static_cast<int>(t.year);
  year_first ? std::snprintf(date, sizeof date, "%d.%02u.%02u", year, t.month, t.day)
             : std::snprintf(date, sizeof date, "%02u.%02u.%d", t.day, t.month, year);
  std::snprintf(text, sizeof text, "%s %02u:%02u:%02u", date, t.hour, t.minute, t.second);
  return text;
}

}  // namespace model

#endif
