// The splitter of printable names (CN=a+SN=b,O=c): the one reading of their syntax.

#ifndef PKIDER_SRC_DN_SPLITTER_H
#define PKIDER_SRC_DN_SPLITTER_H

#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

// One attribute, as ranges of the text it was found in.
struct RDNdescr_t {
  const char* name_begin;
  const char* name_end;
  const char* value_begin;  // right after the '=': blanks belong to the value
  const char* value_end;    // the separator or the terminating zero
  bool plus_joined;         // in the RDN of the attribute before it
};

namespace dn_text {

inline std::string_view name_of(const RDNdescr_t& attribute) {
  return {attribute.name_begin,
          static_cast<std::size_t>(attribute.name_end - attribute.name_begin)};
}

// What a byte of a value means, to the splitter and on the way to DER and back.
enum byte_class_t : unsigned char {
  not_printable = 1,  // outside PrintableString's alphabet
  not_ascii = 2,
  is_special = 4,  // one of the nine that a backslash must escape
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

inline constexpr byte_classes_t byte_classes;

inline unsigned class_of(char c) {
  return byte_classes.of[static_cast<unsigned char>(c)];
}

// As many bytes as are worth looking at together.
constexpr int group_size = 8;

inline unsigned classes_of_group(const char* p) {
  unsigned classes = 0;
  for (int i = 0; i < group_size; ++i) {
    classes |= class_of(p[i]);
  }
  return classes;
}

// Takes one attribute after the other off a printable DN.
class dn_splitter_t {
 public:
  explicit dn_splitter_t(const char* dn)
      : p_(skip_blanks(dn)), end_(p_ + std::strlen(p_)), more_(p_ != end_) {}

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
  static const char* skip_blanks(const char* p) {
    while (*p == ' ' || *p == '\t') {
      ++p;
    }
    return p;
  }

  static const char* find_name_end(const char* p) {
    while ((class_of(*p) & ends_name) == 0) {
      ++p;
    }
    return p;
  }

  // The next special byte or terminating zero, group by group as long as there is none. Adds what
  // the bytes before it are to `classes`.
  const char* find_special(const char* p, unsigned& classes) const {
    for (; end_ - p >= group_size; p += group_size) {
      const unsigned found = classes_of_group(p);
      if ((found & is_special) != 0) {
        break;
      }
      classes |= found;
    }
    for (unsigned found = class_of(*p); (found & (is_special | is_end)) == 0;
         found = class_of(*++p)) {
      classes |= found;
    }
    return p;
  }

  // The separator or terminating zero that ends a value; null when a quote stays open. Adds what
  // the bytes before it are to `classes`.
  const char* find_value_end(const char* p, unsigned& classes) const {
    bool quoted = false;
    for (;; ++p) {
      p = find_special(p, classes);
      const unsigned found = class_of(*p);
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

  const char* p_;
  const char* end_;
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

}  // namespace dn_text

// Appends the attributes of `dn` to `out`. On a malformed text returns false; those before the
// fault stay.
bool printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out);

#endif
