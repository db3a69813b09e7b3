// Strings and builders that are wiped: key material does not outlive its use.

#ifndef PKIDER_SRC_SECRET_H
#define PKIDER_SRC_SECRET_H

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include <pkider/asn_tag.h>

#include "out_string.h"

// Wipes all that a string's memory may still hold, beyond its size too, and leaves it empty.
inline void wipe_string_(std::string& s) {
  s.resize(s.capacity());
  explicit_bzero(s.data(), s.size());
  s.clear();
}

// A builder whose buffer is wiped at its end. A buffer it outgrows is not: it gets all its content
// at once.
class secret_tag_t_ : public asn_tag_t_<0> {
 public:
  using asn_tag_t_<0>::asn_tag_t_;
  ~secret_tag_t_() { explicit_bzero(buf, capacity); }
};

// A string that is wiped at its end, unless its text was taken.
class secret_string_t_ {
 public:
  // Begins with the room of an empty string, if any.
  explicit secret_string_t_(std::string room = {}) : text(std::move(room)) {}
  secret_string_t_(const secret_string_t_&) = delete;
  secret_string_t_& operator=(const secret_string_t_&) = delete;
  ~secret_string_t_() {
    if (!text.empty()) {
      wipe_string_(text);
    }
  }

  // Makes room for `count` more bytes; the memory outgrown is wiped.
  void reserve(std::uint64_t count) {
    if (count > text.capacity() - text.size()) {
      secret_string_t_ grown;
      reserve_string_(grown.text, text.size() + count);
      grown.text.append(text);
      text.swap(grown.text);
    }
  }

  std::string text;
};

#endif
