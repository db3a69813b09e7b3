// Object identifiers as text and DER (X.690, 8.19), and the maps that name them.

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include <pkider/asn_oidmap.h>
#include <pkider/platform.h>

#include "oid_map.h"
#include "out_string.h"

// ---- OID codec ----

namespace {

constexpr unsigned max_oid_size = 506;  // in room for one arc more

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Base 128, the most significant group first; at most five bytes.
unsigned char* put_arc(unsigned char* to, unsigned arc) {
  unsigned shift = 0;
  while (arc >> shift >= 0x80) {
    shift += 7;
  }
  for (; shift != 0; shift -= 7) {
    *to++ = static_cast<unsigned char>(arc >> shift | 0x80);
  }
  *to++ = arc & 0x7F;
  return to;
}

// At most ten digits; most arcs have one or two.
char* put_number(char* at, unsigned value) {
  if (value < 10) {
    *at = static_cast<char>('0' + value);
    return at + 1;
  }
  if (value < 100) {
    at[0] = static_cast<char>('0' + value / 10);
    at[1] = static_cast<char>('0' + value % 10);
    return at + 2;
  }
  return std::to_chars(at, at + 10, value).ptr;
}

}  // namespace

bool str_to_uint32_(const char*& p, const char* end, char sep, unsigned& value) {
  std::uint64_t number = 0;
  for (; p != end; ++p) {
    const unsigned digit = static_cast<unsigned char>(*p) - unsigned{'0'};
    if (digit > 9) {
      break;
    }
    number = number * 10 + digit;  // Q8: leading zeros too
    if (number > 0xFFFFFFFF) {
      return false;
    }
  }
  value = static_cast<unsigned>(number);
  return p == end || *p == sep;
}

// Takes one arc, of at least one digit, off the text at `p`.
static bool take_arc(const char*& p, const char* end, unsigned& arc) {
  const char* begin = p;
  return str_to_uint32_(p, end, '.', arc) && p != begin;
}

unsigned oid_str_to_asn_(const char* begin, const char* end, unsigned char (&out)[512]) {
  const char* p = begin;
  unsigned first = 0;
  if (!take_arc(p, end, first) || first > 2 || p == end) {
    return 0;
  }
  unsigned char* to = out;
  unsigned carried = first * 40;  // to the second arc; Q9: wraps, and that arc has no limit
  while (p != end) {
    ++p;
    unsigned arc = 0;
    if (!take_arc(p, end, arc)) {
      return 0;
    }
    to = put_arc(to, carried + arc);
    if (to > out + max_oid_size) {
      return 0;
    }
    carried = 0;
  }
  return static_cast<unsigned>(to - out);
}

bool oid_asn_to_str_(const unsigned char* begin, const unsigned char* end, std::string& text) {
  constexpr int two_arcs = 22;  // each with its point
  // What string_tail_t does, with the end in a register: a twentieth fewer instructions.
  char chunk[128];
  char* const chunk_end = chunk + sizeof chunk;
  char* tail = chunk;
  const auto flush = [&] {
    append_string_(text, {chunk, static_cast<std::size_t>(tail - chunk)});
    tail = chunk;
  };
  for (const unsigned char* p = begin; p != end; ++p) {
    const bool first = p == begin;
    if (!first) {
      *tail++ = '.';
    }
    unsigned value = *p & 0x7FU;
    while ((*p & 0x80) != 0) {
      if (++p == end) {  // Q12
        flush();
        return false;
      }
      value = value << 7 | (*p & 0x7FU);  // Q11: wraps
    }
    if (chunk_end - tail < two_arcs) {
      flush();
    }
    if (first) {
      tail = put_number(tail, value / 40);  // Q10: also where this is above 2
      *tail++ = '.';
      value %= 40;
    }
    tail = put_number(tail, value);
  }
  flush();
  return begin != end;
}

// ---- Maps ----

namespace {

// The second line of 2.5.4.8 only adds the alias S: output always says ST.
constexpr char builtin_text[] =
    "2.5.4.3 = CN, commonName\n"
    "2.5.4.4 = SN, surName\n"
    "2.5.4.6 = C, countryName\n"
    "2.5.4.7 = L, localityName\n"
    "2.5.4.8 = ST, stateName\n"
    "2.5.4.8 = S, stateName\n"
    "2.5.4.9 = STREET, streetAddress\n"
    "2.5.4.10 = O, organizationName\n"
    "2.5.4.11 = OU, organizationalUnitName\n"
    "2.5.4.12 = T, title\n"
    "2.5.4.20 = TEL, telephoneNumber\n"
    "2.5.4.23 = FAX, facsimileNumber\n"
    "2.5.4.41 = NQ, nameQualifier\n"
    "2.5.4.42 = GN, givenName\n"
    "2.5.4.43 = I, initials\n"
    "2.5.4.44 = GQ, generationQualifier\n"
    "2.5.4.46 = DNQ, dnQualifier\n"
    "2.5.4.65 = PS, pseudonym\n"
    "0.9.2342.19200300.100.1.1 = UID, uid\n"
    "0.9.2342.19200300.100.1.3 = MBOX, rfc822Mailbox\n"
    "0.9.2342.19200300.100.1.25 = DC, domainComponent\n"
    "1.2.840.113549.1.9.1 = E, emailAddress\n"
    "1.3.6.1.4.1.42.2.11.2.1 = SUNIP, ipAddress\n";
static_assert(sizeof builtin_text - 1 == 711);

// A stretch of map text.
struct text_t {
  const char* begin;
  const char* end;

  std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

bool is_line_end(char c) {
  return c == '\r' || c == '\n';
}
bool is_blank(char c) {
  return c == ' ' || c == '\t';
}
bool is_oid_char(char c) {
  return is_digit(c) || c == '.';
}
bool ends_short_name(char c) {
  return is_blank(c) || c == '=' || c == ',' || is_line_end(c);
}

// Takes the longest run of characters for which `belongs` holds off the front of `rest`.
template <class Predicate>
text_t take(text_t& rest, Predicate belongs) {
  const char* begin = rest.begin;
  rest.begin = std::find_if_not(begin, rest.end, belongs);
  return {begin, rest.begin};
}

text_t take_line(text_t& rest) {
  return take(rest, [](char c) { return !is_line_end(c); });
}

// Takes `c` and the blanks around it off the front of `rest`, if it comes next.
bool take_sign(text_t& rest, char c) {
  take(rest, is_blank);
  if (rest.begin == rest.end || *rest.begin != c) {
    return false;
  }
  ++rest.begin;
  take(rest, is_blank);
  return true;
}

const char* put(char*& at, const text_t& text) {
  const char* begin = at;
  at = std::copy(text.begin, text.end, at);
  *at++ = 0;
  return begin;
}

char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// One array holds the DER octets, then the three strings, each ended by a zero byte.
void add_entry(OIDmaps_t& map, const text_t& oid, const text_t& sn, const text_t& ln) {
  unsigned char der[512];
  const unsigned der_size = oid_str_to_asn_(oid.begin, oid.end, der);
  if (der_size == 0) {
    return;
  }
  auto bytes = std::make_unique<unsigned char[]>(der_size + oid.size() + sn.size() + ln.size() + 3);
  std::copy_n(der, der_size, bytes.get());
  char* at = reinterpret_cast<char*>(bytes.get()) + der_size;
  OIDdescr_t entry;
  entry.oid_asn = bytes.get();
  entry.oid_asn_size = der_size;
  entry.oid_str = put(at, oid);
  entry.oid_str_size = static_cast<unsigned>(oid.size());
  char* const name = at;
  entry.oid_sn = put(at, sn);
  entry.oid_sn_size = static_cast<unsigned>(sn.size());
  std::transform(name, at, name, upper);
  entry.oid_ln = put(at, ln);
  entry.oid_ln_size = static_cast<unsigned>(ln.size());
  map.entries.push_back(entry);
  bytes.release();
}

}  // namespace

void oid_map_parse_(OIDmaps_t& map, const char* text, unsigned size) {
  text_t rest = {text, text + size};
  for (;;) {
    take(rest, is_line_end);
    take(rest, is_blank);
    const text_t oid = take(rest, is_oid_char);
    if (rest.begin == rest.end) {
      break;
    }
    if (take_sign(rest, '=')) {
      const text_t sn = take(rest, [](char c) { return !ends_short_name(c); });
      // Q13: a long name keeps the blanks at its end.
      const text_t ln = take_sign(rest, ',') ? take_line(rest) : text_t{rest.begin, rest.begin};
      add_entry(map, oid, sn, ln);
    }
    take_line(rest);
  }
  map.by_asn.build(map.entries);
  map.by_str.build(map.entries);
  map.by_sn.build(map.entries);
}

OIDmaps_t::~OIDmaps_t() {
  for (const OIDdescr_t& entry : entries) {
    delete[] entry.oid_asn;
  }
}

oid_map_handle_t oid_map_parse(const char* text, unsigned size) {
  auto map = std::make_unique<OIDmaps_t>();
  oid_map_parse_(*map, text, size);
  return map.release();
}

void oid_map_release(oid_map_handle_t map) {
  delete map;
}

const OIDdescr_t* oid_map_find_asn(oid_map_handle_t map, const unsigned char* der, unsigned size) {
  return map->by_asn.find(der, size);
}

const OIDdescr_t* oid_map_find_str(oid_map_handle_t map, const char* text, unsigned size) {
  return map->by_str.find(text, size);
}

const OIDdescr_t* oid_map_find_sn(oid_map_handle_t map, const char* name, unsigned size) {
  return map->by_sn.find(name, size);
}

// ---- The default maps ----

namespace {

struct default_oid_map_t : OIDmaps_t {
  default_oid_map_t() { oid_map_parse_(*this, builtin_text, sizeof builtin_text - 1); }
};

struct file_closer_t {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};

constexpr long max_config_size = 1L << 20;

bool is_regular_file(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// The whole file, or nothing if it cannot be read whole. Every program that links the library waits
// for this: opening a FIFO would not end, and reading a large file would take long.
std::string read_config_file(const std::string& path) {
  if (!is_regular_file(path)) {
    return {};
  }
  const std::unique_ptr<std::FILE, file_closer_t> file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    return {};
  }
  static_cast<void>(std::fseek(file.get(), 0, SEEK_END));
  const long end = std::ftell(file.get());
  if (end > max_config_size) {
    return {};
  }
  // A size that cannot be told counts as 1.
  std::string text(static_cast<std::size_t>(end < 0 ? 1 : end), 0);
  std::rewind(file.get());
  if (std::fread(text.data(), text.size(), 1, file.get()) != 1) {
    return {};
  }
  return text;
}

struct default_file_oid_map_t : default_oid_map_t {
  default_file_oid_map_t() {
    const std::string text = read_config_file(std::string(system_config_dir()) + "zeloids.cfg");
    if (!text.empty()) {
      oid_map_parse_(*this, text.data(), static_cast<unsigned>(text.size()));
    }
  }
};

default_oid_map_t default_map;
default_file_oid_map_t default_file_map;

}  // namespace

const oid_map_handle_t OID_MAP_HANDLE_DEFAULT = &default_map;
const oid_map_handle_t OID_MAP_HANDLE_DEFAULT_FILE = &default_file_map;
