// Key material does not outlive its use.

#ifndef PKIDER_SRC_SECRET_H
#define PKIDER_SRC_SECRET_H

#include <cstring>
#include <string>

#include <pkider/asn_tag.h>

// Wipes all that a string's memory may still hold, beyond its size too, and leaves it empty.
inline void wipe_string_(std::string& s) {
  s.resize(s.capacity());
  explicit_bzero(s.data(), s.size());
  s.clear();
}

// A builder whose buffer is wiped at its end. A buffer it outgrows is not: reserve before the first
// secret byte.
template <unsigned N>
class secret_tag_t_ : public asn_tag_t_<N> {
 public:
  explicit secret_tag_t_(unsigned char identifier) : asn_tag_t_<N>(identifier) {}
  ~secret_tag_t_() { explicit_bzero(this->buf, this->capacity); }
};

#endif
