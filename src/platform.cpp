// The configuration directory, and code pages.

#include <cstdint>
#include <limits>

#include <pkider/platform.h>
#include <pkider/t61.h>

__attribute__((weak)) const char* system_config_dir() {
  return PKIDER_CONFIG_DIR;
}

namespace {

unsigned unit_size(codepage_t source, codepage_t target) {
  if (target != CODEPAGE_UTF8 || (source != CODEPAGE_UCS2BE && source != CODEPAGE_UCS4BE)) {
    return 0;
  }
  return source;
}

unsigned read_unit(const unsigned char* p, unsigned size) {
  unsigned value = 0;
  for (unsigned i = 0; i < size; ++i) {
    value = value << 8 | p[i];
  }
  return value;
}

bool is_scalar_value(unsigned c) {
  return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
}

}  // namespace

CodepageConverter::CodepageConverter(codepage_t source, codepage_t target)
    : unit_size_(unit_size(source, target)) {}

CodepageConverter::~CodepageConverter() = default;

unsigned CodepageConverter::output_size(const void* text, unsigned size) const {
  if (unit_size_ == 0 || size % unit_size_ != 0) {
    return 0;
  }
  const auto* p = static_cast<const unsigned char*>(text);
  std::uint64_t total = 0;
  for (const unsigned char* end = p + size; p != end; p += unit_size_) {
    const unsigned c = read_unit(p, unit_size_);
    if (!is_scalar_value(c)) {
      return 0;
    }
    total += static_cast<unsigned>(ldap_x_wc_to_utf8(nullptr, c, 0));
  }
  return total > std::numeric_limits<unsigned>::max() ? 0 : static_cast<unsigned>(total);
}

unsigned CodepageConverter::convert(const void* text, unsigned size, char* out,
                                    unsigned out_size) const {
  const unsigned total = output_size(text, size);
  if (total == 0 || total > out_size) {
    return 0;
  }
  const auto* p = static_cast<const unsigned char*>(text);
  for (const unsigned char* end = p + size; p != end; p += unit_size_) {
    out += ldap_x_wc_to_utf8(out, read_unit(p, unit_size_), 6);
  }
  return total;
}
