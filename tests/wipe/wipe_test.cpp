// Watches the memory that the library gives back: no block may still hold key material, also when
// the nth allocation fails.

#include <malloc.h>
#include <string.h>

#include <cstdlib>
#include <new>

#include "pkcs12_helper.h"
#include "rows.h"

namespace {

const char secret[] = "\x5E\xC2Rk3y\xA9#0815";  // fits a std::string without a block

struct {
  bool armed = false;
  unsigned long failing = 0;  // which allocation fails
  unsigned seen = 0;          // blocks given back with the secret in them
  unsigned long allocations = 0;
} watch;

}  // namespace

// Not inlined: the compiler would take malloc and the operators for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  const bool fails = watch.armed && watch.allocations++ == watch.failing;
  if (void* block = fails ? nullptr : std::malloc(size)) {
    return block;
  }
  throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* block) noexcept {
  const std::size_t size = malloc_usable_size(block);
  watch.seen += watch.armed && memmem(block, size, secret, sizeof(secret) - 1) != nullptr;
  explicit_bzero(block, size);  // so that no later block shows what this one held
  std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}

namespace {

std::string secrets(unsigned count) {
  return count == 0 ? "" : secret + secrets(count - 1);
}

// The number of blocks that `action` gave back unwiped: in one run, and in those in which each
// allocation fails in turn.
template <class Action>
unsigned unwiped(const Action& action) {
  unsigned seen = 0;
  for (unsigned long n = 0; n == 0 || watch.allocations >= n; ++n) {
    watch = {true, n};
    try {
      action();
    } catch (const std::exception&) {
    }
    watch.armed = false;
    seen += watch.seen;
  }
  return seen;
}

enum answer_t { yes, no, thrown };

// Decrypts to one text, with a secret in the room behind it, and "encrypts" to as many 'x'.
struct fake_crypto_t : pbe_crypto_t {
  const answer_t given;
  const std::string text;

  fake_crypto_t(answer_t answer, const std::string& plaintext) : given(answer), text(plaintext) {}
  bool answer() const { return given == thrown ? throw std::exception() : given == yes; }
  bool verify_mac(const pkcs12_mac_t&, const unsigned char*, unsigned) override { return true; }
  bool compute_mac(const unsigned char*, unsigned, pkcs12_mac_t&) override { return false; }
  bool decrypt(const pkcs5_pbe_gost_t&, const unsigned char*, unsigned,
               std::string& plaintext) override {
    plaintext.reserve(text.size() + 2 * sizeof(secret));
    plaintext.append(text).append(secret).append(secret);  // the cut damages the first
    plaintext.resize(text.size());
    return answer();
  }
  bool encrypt(const unsigned char*, unsigned size, pkcs5_pbe_gost_t&,
               std::string& ciphertext) override {
    ciphertext.assign(size, 'x');
    return answer();
  }
};

TEST(Wipe, TheWatcherSees) {
  EXPECT_EQ(unwiped([] { std::list<std::string> copy(1, secret); }), 1u);
}

TEST(Wipe, ReadPlaintexts) {
  const rows_t file("pkcs.txt");
  const std::string bag = der(0x30, file.sample("kbag") + der(0xA0, secrets(9)));
  const struct {
    const char *situation, *sample;
    std::string plaintext;
    answer_t answer;
  } cases[] = {
      {"nothing but room", "lone", "", yes},
      {"key", "lone", secrets(9), yes},
      {"refused key", "lone", secrets(9), no},
      {"key of an object that throws", "lone", secrets(9), thrown},
      {"SafeContents", "sealed", der(4, der(0x30, bag)), yes},
      {"SafeContents with a fault", "sealed", der(4, der(0x30, bag + "!")), yes},
      {"no SafeContents", "sealed", secrets(9), yes},
      {"refused SafeContents", "sealed", secrets(9), no},
  };
  for (const auto& c : cases) {
    const exact_t in(file.sample(c.sample));
    fake_crypto_t crypto(c.answer, c.plaintext);
    EXPECT_EQ(unwiped([&] {
                pkcs12_easy_t filled, other;
                asn_read_pkcs12_easy(in.data(), in.size(), &crypto, filled);
                asn_read_pkcs12_easy(in.data(), in.size(), &crypto, other);
                filled = std::move(other);
                const pkcs12_easy_t moved(std::move(filled));
              }),
              0u)
        << c.situation;
  }
}

// What the library writes is the caller's, and is kept until the watch is over.
TEST(Wipe, Writes) {
  const std::string small = secrets(2), large = secrets(9000), name(300, 'n');
  pkcs12_easy_t model;
  std::list<std::string> outs;
  for (const std::string* key : {&small, &large, &small, &large}) {
    model.encrypted_bags.push_back({PKCS12_BAG_KEY, view(*key), view(name), {}});
    const auto write = [&] {
      asn_write_pkcs8_pki_gost({PKCS8_GOST_2001, view(*key)}, outs.emplace_back());
    };
    EXPECT_EQ(unwiped(write), 0u);
  }
  for (const answer_t answer : {thrown, no}) {
    fake_crypto_t crypto(answer, "");
    const auto write = [&] { asn_write_pkcs12_easy(model, &crypto, outs.emplace_back("old")); };
    EXPECT_EQ(unwiped(write), 0u);
    EXPECT_EQ(outs.back() == "old", answer == thrown);
  }
}

}  // namespace
