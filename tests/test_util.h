// Small tools of all tests: byte strings from and to hex, exact-size copies of inputs.

#ifndef PKIDER_TESTS_TEST_UTIL_H
#define PKIDER_TESTS_TEST_UTIL_H

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <pkider/asn_reader.h>

// "30 03 02 01 FF": upper case, one space between bytes.
inline std::string to_hex(const void* data, std::size_t size) {
  static constexpr char digits[] = "0123456789ABCDEF";
  const auto* p = static_cast<const unsigned char*>(data);
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    out.append(i == 0 ? "" : " ").append({digits[p[i] >> 4], digits[p[i] & 15]});
  }
  return out;
}

inline std::string to_hex(std::string_view bytes) {
  return to_hex(bytes.data(), bytes.size());
}

// The bytes of any view with `data` and `size`: blob_t, pki_oid_ref_t.
template <class View>
std::string bytes_of(const View& view) {
  return std::string(view.data, view.data + view.size);
}

inline blob_t view(const std::string& bytes) {
  return {static_cast<unsigned>(bytes.size()),
          reinterpret_cast<const unsigned char*>(bytes.data())};
}

// True when the view is empty or lies wholly inside these bytes, whatever size it claims.
template <class View>
bool contains(const unsigned char* data, std::size_t size, const View& view) {
  const auto offset =
      reinterpret_cast<std::uintptr_t>(view.data) - reinterpret_cast<std::uintptr_t>(data);
  return view.size == 0 || (offset <= size && view.size <= size - offset);
}

// One DER element around `content`, with a minimal length.
inline std::string der(unsigned char tag, const std::string& content) {
  const std::uint64_t size = content.size();
  int octets = 1;
  while (size >> 8 * octets != 0) {
    ++octets;
  }
  std::string element(1, static_cast<char>(tag));
  if (size >= 0x80) {
    element += static_cast<char>(0x80 | octets);
  }
  while (octets-- != 0) {
    element += static_cast<char>(size >> 8 * octets);
  }
  return element + content;
}

// Bytes from pairs of hex digits, and tag(content) for an element whose length is worked out:
// from_hex("30(02(05) 0400)") is 30 05 02 01 05 04 00. All else is a separator.
inline std::string from_hex(std::string_view text) {
  std::vector<std::string> open(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '(') {
      open.emplace_back();
    } else if (text[i] == ')') {
      const std::string content = open.back();
      open.pop_back();
      const auto tag = static_cast<unsigned char>(open.back().back());
      open.back().pop_back();
      open.back() += der(tag, content);
    } else if (std::isxdigit(static_cast<unsigned char>(text[i])) != 0) {
      open.back() += static_cast<char>(std::stoi(std::string(text.substr(i++, 2)), nullptr, 16));
    }
  }
  return open.front();
}

// A copy in a heap block of exactly its size, so that AddressSanitizer sees any read past its end.
class exact_t {
 public:
  explicit exact_t(std::string_view bytes)
      : block_(new unsigned char[bytes.size()]), size_(static_cast<unsigned>(bytes.size())) {
    std::copy(bytes.begin(), bytes.end(), block_.get());
  }
  const unsigned char* data() const { return block_.get(); }
  const char* text() const { return reinterpret_cast<const char*>(data()); }
  unsigned size() const { return size_; }
  std::string bytes() const { return std::string(data(), data() + size_); }
  // True when the view is empty or lies wholly inside this block.
  template <class View>
  bool holds(const View& view) const {
    return contains(data(), size(), view);
  }

 private:
  std::unique_ptr<unsigned char[]> block_;
  unsigned size_;
};

#endif
