// Small tools of all tests: byte strings from and to hex, and exact-size copies of inputs.

#ifndef PKIDER_TESTS_TEST_UTIL_H
#define PKIDER_TESTS_TEST_UTIL_H

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Bytes from hex digits; everything that is no hex digit is a separator: from_hex("30 03 02 01
// FF").
inline std::string from_hex(std::string_view text) {
  const auto digit = [](char c) {
    const unsigned char u = static_cast<unsigned char>(c);
    return std::isdigit(u) ? c - '0' : std::toupper(u) - 'A' + 10;
  };
  std::string digits;
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
               [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
  std::string out;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    out += static_cast<char>(digit(digits[i]) * 16 + digit(digits[i + 1]));
  }
  return out;
}

// "30 03 02 01 FF": upper case, one space between bytes.
inline std::string to_hex(const void* data, std::size_t size) {
  static constexpr char digits[] = "0123456789ABCDEF";
  const unsigned char* p = static_cast<const unsigned char*>(data);
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    if (i != 0) {
      out += ' ';
    }
    out += digits[p[i] >> 4];
    out += digits[p[i] & 15];
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

// One DER element around `content`, with a minimal length.
inline std::string der(unsigned char tag, const std::string& content) {
  const std::size_t n = content.size();
  std::string length;
  if (n < 0x80) {
    length = static_cast<char>(n);
  } else {
    for (std::size_t rest = n; rest != 0; rest >>= 8) {
      length.insert(length.begin(), static_cast<char>(rest & 0xFF));
    }
    length.insert(length.begin(), static_cast<char>(0x80 | length.size()));
  }
  return static_cast<char>(tag) + length + content;
}

// The rows of a file of tests/data: fields with " | " between, lines that begin with '#' left out.
inline std::vector<std::vector<std::string>> data_rows(const char* path) {
  std::ifstream in(path);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(in, line);) {
    if (line[0] == '#') {
      continue;
    }
    std::vector<std::string>& row = rows.emplace_back();
    std::size_t begin = 0;
    for (std::size_t end; (end = line.find(" | ", begin)) != std::string::npos; begin = end + 3) {
      row.push_back(line.substr(begin, end - begin));
    }
    row.push_back(line.substr(begin));
  }
  return rows.empty() ? throw std::runtime_error(path) : rows;
}

// The content octets of a dotted OID.
inline std::string oid_der(const std::string& dotted) {
  std::string out;
  unsigned long long arc = 0;
  std::size_t count = 0;
  for (std::size_t at = 0, dot = 0; dot != std::string::npos; at = dot + 1) {
    dot = dotted.find('.', at);
    const unsigned long long number = std::stoull(dotted.substr(at, dot - at));
    arc = count == 1 ? arc * 40 + number : number;
    if (count++ == 0) {
      continue;
    }
    std::string groups(1, static_cast<char>(arc % 128));
    while ((arc /= 128) != 0) {
      groups.insert(groups.begin(), static_cast<char>(128 + arc % 128));
    }
    out += groups;
  }
  return out;
}

// A copy in a heap block of exactly its size, so that AddressSanitizer sees any read past its end.
class exact_t {
 public:
  explicit exact_t(std::string_view bytes)
      : block_(new unsigned char[bytes.size()]), size_(static_cast<unsigned>(bytes.size())) {
    std::copy(bytes.begin(), bytes.end(), block_.get());
  }
  const unsigned char* data() const { return block_.get(); }
  unsigned size() const { return size_; }
  std::string bytes() const { return std::string(data(), data() + size_); }
  // True when the view is empty or lies wholly inside this block.
  template <class View>
  bool holds(const View& view) const {
    return view.size == 0 || (view.data >= data() && view.data <= data() + size_ &&
                              view.size <= static_cast<std::size_t>(data() + size_ - view.data));
  }

 private:
  std::unique_ptr<unsigned char[]> block_;
  unsigned size_;
};

// Calls `read(const exact_t&)` with every prefix of `sample` and every change of one of its bytes.
template <class Read>
void for_each_damaged(const std::string& sample, const Read& read) {
  for (std::size_t i = 0; i < sample.size(); ++i) {
    read(exact_t(sample.substr(0, i)));
    std::string changed = sample;
    for (int change = 1; change < 256; ++change) {
      changed[i] = static_cast<char>(sample[i] ^ change);
      read(exact_t(changed));
    }
  }
}

#endif
