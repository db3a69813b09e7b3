// What the cursor and the builder do with sizes, one call a line: operation, arguments, a colon and
// the results. Every small size, and those around each limit.

#include <sys/mman.h>

#include <cstdio>
#include <vector>

#include <pkider/asn_tag.h>

#include "asn_cursor.h"

namespace {

constexpr unsigned top = 0xFFFFFFFF;

std::vector<unsigned> sizes(unsigned small) {
  std::vector<unsigned> all;
  for (unsigned i = 0; i < small; ++i) {
    all.push_back(i);
    all.push_back(top - i);
  }
  for (const unsigned limit : {1U << 7, 1U << 8, 1U << 16, 1U << 24, 1U << 31}) {
    for (unsigned i = 0; i < 5; ++i) {
      all.push_back(limit + i - 2);
    }
  }
  return all;
}

// Elements of every length in as many bytes of address space, of which the first are there.
void read_elements() {
  void* const space =
      mmap(nullptr, 1UL << 33, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  auto* const p = static_cast<unsigned char*>(space);
  if (space == MAP_FAILED || mprotect(space, 4096, PROT_READ | PROT_WRITE) != 0) {
    std::exit(1);
  }
  for (const unsigned n : sizes(24)) {
    for (unsigned first = 0; first < 0x100; ++first) {
      for (const unsigned length : sizes(24)) {
        const unsigned count = first < 0x80 ? 0 : first & 0x7F;
        if (count > 4    ? length != 0
            : count == 0 ? length != first % 0x80
                         : count < 4 && length >> 8 * count != 0) {
          continue;  // that header does not say that length
        }
        p[0] = 4;
        p[1] = static_cast<unsigned char>(first);
        for (unsigned i = 0; i < count && i < 4; ++i) {
          p[2 + i] = static_cast<unsigned char>(length >> 8 * (count - 1 - i));
        }
        asn_iter_t cursor = {p, n};
        asn_iter_t content;
        unsigned ignored = 0;
        const unsigned header = asn1_decode_header_(asn_tag_t::OCTET_STRING, p, n).size;
        const bool exported = asn1_read_tag(asn_tag_t::OCTET_STRING, p, n, &ignored) != nullptr;
        const bool taken = asn1_read_tag_i_(asn_tag_t::OCTET_STRING, &cursor, &content);
        const bool moved = cursor.ptr == p + header + length && cursor.len == n - header - length &&
                           content.ptr == p + header && content.len == length;
        if (taken ? !moved : cursor.ptr != p || cursor.len != n || content.ptr != nullptr) {
          std::exit(1);
        }
        std::printf("read %u %u %u: %u %d %d\n", n, first, length, header, taken, exported);
      }
    }
  }
}

// A builder that believes that it holds `length` bytes in a buffer of `capacity`.
struct pretending_t : asn_tag_t_<64> {
  pretending_t(unsigned length, unsigned claimed) : asn_tag_t_(4) {
    len = length;
    capacity = claimed;
  }
};

template <class Action>
unsigned capacity_after(unsigned length, unsigned capacity, Action action) {
  pretending_t builder(length, capacity);
  try {
    action(builder);
  } catch (const std::bad_alloc&) {
    return builder.len == length && builder.capacity == capacity ? 0 : 1;
  }
  return builder.capacity;
}

void build() {
  static const unsigned char content[300] = {};
  for (const unsigned length : sizes(200)) {
    if (length <= top - 6) {  // else it would not be in a buffer
      pretending_t builder(length, top);
      builder.append_bytes(nullptr, 0);
      std::printf("size %u: %u\n", length, builder.encoded_size());
    }
  }
  for (unsigned length = 0; length < 40; ++length) {
    for (unsigned capacity = length + 6; capacity < 64; ++capacity) {
      for (const unsigned extra : sizes(70)) {
        if (extra > sizeof content && extra < top - 21) {
          continue;  // that much would have to be copied
        }
        std::printf("reserve %u %u %u: %u\n", length, capacity, extra,
                    capacity_after(length, capacity, [&](auto& b) { b.reserve(extra); }));
        std::printf("append %u %u %u: %u\n", length, capacity, extra,
                    capacity_after(length, capacity,
                                   [&](auto& b) { b.append_element(4, content, extra); }));
      }
    }
  }
}

}  // namespace

#include "../src/asn_reader.cpp"

int main() {
  read_elements();
  build();
}
