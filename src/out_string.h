// Strings: growth that throws std::bad_alloc alone, reversal, 32-bit sizes.

#ifndef PKIDER_SRC_OUT_STRING_H
#define PKIDER_SRC_OUT_STRING_H

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>

// The size of a string with `count` bytes more. Throws std::bad_alloc where no string is that long.
inline std::size_t grown_size_(const std::string& s, std::uint64_t count) {
  if (count > s.max_size() - s.size()) {
    throw std::bad_alloc();
  }
  return s.size() + static_cast<std::size_t>(count);
}

// Makes room for `count` more bytes.
inline void reserve_string_(std::string& s, std::uint64_t count) {
  s.reserve(grown_size_(s, count));
}

// Appends bytes. They may be the string's own.
inline void append_string_(std::string& s, std::string_view bytes) {
  grown_size_(s, bytes.size());
  s.append(bytes);
}
inline void append_string_(std::string& s, char byte) {
  grown_size_(s, 1);
  s.push_back(byte);
}

// Appends `count` bytes for the caller to fill and returns the first.
inline char* grow_string_(std::string& s, std::uint64_t count) {
  const std::size_t old_size = s.size();
  s.resize(grown_size_(s, count));
  return s.data() + old_size;
}

inline std::uint64_t reversed_(std::uint64_t word) {
  return __builtin_bswap64(word);
}
inline std::uint32_t reversed_(std::uint32_t word) {
  return __builtin_bswap32(word);
}

// Reverses the word at `begin` and the one before `end`, and exchanges them. They may overlap. In
// an array that the compiler knows, _FORTIFY_SOURCE makes std::memcpy of a word a call.
template <class Word>
void reverse_ends_(char* begin, char* end) {
  Word head;
  Word tail;
  std::memcpy(&head, begin, sizeof head);
  std::memcpy(&tail, end - sizeof tail, sizeof tail);
  head = reversed_(head);
  tail = reversed_(tail);
  __builtin_memcpy(begin, &tail, sizeof tail);
  __builtin_memcpy(end - sizeof head, &head, sizeof head);
}

// std::reverse, word by word from both ends.
inline void reverse_bytes_(char* begin, char* end) {
  for (; end - begin > 16; begin += 8, end -= 8) {
    reverse_ends_<std::uint64_t>(begin, end);
  }
  if (end - begin >= 8) {
    reverse_ends_<std::uint64_t>(begin, end);
  } else if (end - begin >= 4) {
    reverse_ends_<std::uint32_t>(begin, end);
  } else if (end - begin >= 2) {
    std::swap(*begin, end[-1]);
  }
}

// The end of a string that grows by many small pieces: they are collected here first.
class string_tail_t {
 public:
  explicit string_tail_t(std::string& out) : out_(out) {}
  string_tail_t(const string_tail_t&) = delete;
  string_tail_t& operator=(const string_tail_t&) = delete;

  static constexpr std::size_t max_room = 512;

  // Room for `count` bytes, at most max_room, for the caller to fill before it calls advance.
  char* room(std::size_t count) {
    if (static_cast<std::size_t>(bytes_ + max_room - next_) < count) {
      flush();
    }
    return next_;
  }
  // Takes in what was written up to `end`.
  void advance(char* end) { next_ = end; }

  void put(char byte) {
    char* p = room(1);
    *p = byte;
    next_ = p + 1;
  }
  // Bytes, mostly few, and one more.
  void put(std::string_view bytes, char last) {
    if (bytes.size() >= max_room) {
      append_string_(flush(), bytes);
      put(last);
      return;
    }
    char* p = room(bytes.size() + 1);
    for (const char byte : bytes) {  // takes less than a call
      *p++ = byte;
    }
    *p = last;
    next_ = p + 1;
  }

  // Reverses all bytes from `begin` on.
  void reverse(std::size_t begin) {
    if (begin >= out_.size()) {
      reverse_bytes_(bytes_ + (begin - out_.size()), next_);
    } else {
      flush();
      reverse_bytes_(out_.data() + begin, out_.data() + out_.size());
    }
  }

  void shorten(std::size_t new_size) { flush().resize(new_size); }

  // Of the string with all pieces.
  std::size_t size() const { return out_.size() + static_cast<std::size_t>(next_ - bytes_); }

  // Hands all pieces to the string, which holds none of them before.
  std::string& flush() {
    append_string_(out_, {bytes_, static_cast<std::size_t>(next_ - bytes_)});
    next_ = bytes_;
    return out_;
  }

 private:
  std::string& out_;
  char* next_ = bytes_;
  char bytes_[max_room];
};

// The size of a string that must go into an element. Throws std::bad_alloc where it has no 32-bit
// size.
inline unsigned size32_(std::uint64_t size) {
  if (size > std::numeric_limits<unsigned>::max()) {
    throw std::bad_alloc();
  }
  return static_cast<unsigned>(size);
}
inline unsigned size32_(const std::string& s) {
  return size32_(s.size());
}

#endif
